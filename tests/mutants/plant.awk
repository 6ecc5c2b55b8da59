# Reads C++ sources and prints one small fault for each line that can have one, as "RANK FILE LINE TEXT" with tabs
# between: TEXT goes in place of the line. The seed, the file and the line alone decide on the fault; whoever sorts
# by the ranks has the faults in an order of the seed's.

BEGIN {
  swaps = split("==,!=,<,<=,>,>=,&&,||,+,-,*,/,+=,-=,?,? !", operators, ",")
  words = split("true,false,min(,max(,++,--,kUser,kMachine", pairs, ",")
  rank = seed * 7919 % 2147483646 + 1
}

FNR == 1 {
  state = seed % 2147483646 + 1
  previous = ""
}

{
  state = Next(state)
  rank = Next(rank)
  count = 0
  mask = Mask($0)
  if (mask !~ /^ *(#|$|using |namespace |template|static_assert|class |struct |enum )/) Offers()
  if (mask !~ /^ *$/) previous = mask
  if (count) printf "%d\t%s\t%d\t%s\n", rank, FILENAME, FNR, offers[int(state / 2147483647 * count) + 1]
}

function Next(value) { return value * 16807 % 2147483647 }

# The line, with blanks in place of comments and of what is in quotes. Offers other texts for those on the way.
function Mask(line, i, c, quote, masked) {
  for (i = 1; i <= length(line); ++i) {
    c = substr(line, i, 1)
    if (quote == "" && substr(line, i, 2) == "//") break
    if (quote != "" && c == "\\") {
      ++i
      c = "  "
    } else if (c == quote) {
      quote = ""
    } else if (quote != "") {
      c = " "
    } else if (c == "\"" || (c == "'" && masked !~ /[0-9]$/)) {
      quote = c
      if (c == "\"" && line !~ /^ *(#|static_assert)/) Offer(i + 1, 0, "x")
    }
    masked = masked c
  }
  sub(/ +$/, "", masked)
  return masked
}

function Offer(at, size, text) { offers[++count] = substr($0, 1, at - 1) text substr($0, at + size) }

function Offers(i) {
  for (i = 1; i < swaps; i += 2) {
    Exchange(" " operators[i] " ", " " operators[i + 1] " ")
    Exchange(" " operators[i + 1] " ", " " operators[i] " ")
  }
  for (i = 1; i < words; i += 2) {
    Exchange(pairs[i], pairs[i + 1])
    Exchange(pairs[i + 1], pairs[i])
  }
  Numbers()
  Matches("[( ]![A-Za-z_(]", "negation")
  Matches(" [|] [A-Za-z_:0-9]+", "flag")
  Matches("[(,] ?[A-Za-z_][A-Za-z0-9_.]*, [A-Za-z_][A-Za-z0-9_.]*[,)]", "arguments")
  Conditions()
  # A statement that stands on a line of its own and declares nothing.
  if (previous ~ /[;{}:)]$/ && mask ~ /;$/ && mask !~ /^ *(return [^;]|delete )/ &&
      mask ~ /^ +([+][+]|--|[*])?[A-Za-z_][A-Za-z0-9_:.>-]*( = | [-+|&]= |\(|;|[+][+]|--|\[)/) {
    match(mask, /[^ ]/)
    Offer(RSTART, length($0), ";")
  }
}

function Exchange(from, to, at, found) {
  for (at = 1; found = index(substr(mask, at), from); at += found) Offer(at + found - 1, length(from), to)
}

function Numbers(at, text) {
  for (at = 1; match(substr(mask, at), /[^A-Za-z0-9_.'][0-9][0-9A-Fa-fx']*/); ) {
    at += RSTART
    text = substr(mask, at, RLENGTH - 1)
    at += RLENGTH - 1
    if (text ~ /^0x/) Offer(at, 0, "1")
    else if (text ~ /^[0-9]+$/) Offer(at - length(text), length(text), text + 1)
    else Offer(at - 1, 1, substr(text, length(text)) == "7" ? "6" : "7")
  }
}

function Matches(pattern, kind, at, text, comma) {
  for (at = 1; match(substr(mask, at), pattern); at += RLENGTH - 1) {
    at += RSTART - 1
    text = substr(mask, at, RLENGTH)
    comma = index(text, ", ")
    if (kind == "negation") Offer(at + 1, 1, "")
    else if (kind == "flag") Offer(at, RLENGTH, "")
    else if (comma > 2)
      Offer(at, RLENGTH, substr(text, 1, 1) substr(text, comma + 2, length(text) - comma - 2) ", " \
            substr(text, 2, comma - 2) substr(text, length(text)))
  }
}

# if (condition) with true or false in its place.
function Conditions(start, end, depth, c) {
  start = index(mask, "if (")
  if (!start) return
  start += 4
  for (end = start; end <= length(mask); ++end) {
    c = substr(mask, end, 1)
    depth += (c == "(") - (c == ")")
    if (c == ";" || depth < 0) break
  }
  if (depth >= 0) return
  Offer(start, end - start, "true")
  Offer(start, end - start, "false")
}
