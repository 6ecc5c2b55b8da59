# Prints one small fault for each line of C++ sources that can have one: "RANK<tab>FILE<tab>LINE<tab>TEXT", where TEXT
# goes in the line's place. The seed, the file and the line alone choose the fault; sorted by the ranks, the faults are
# in an order of the seed's.

BEGIN {
  pairs = split(" == , != , < , <= , > , >= , && , || , + , - , * , / , += , -= , ? , ? !,true,false,min(,max(,++,--",
                pair, ",")
  rank = seed * 7919 % 2147483646 + 1
}

FNR == 1 { state = seed % 2147483646 + 1 }

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

function Offer(at, size, text) { offers[++count] = substr($0, 1, at - 1) text substr($0, at + size) }

# The line, with blanks in place of comments and of what is in quotes.
function Mask(line, i, c, quote, masked) {
  for (i = 1; i <= length(line) && (quote != "" || substr(line, i, 2) != "//"); ++i) {
    c = substr(line, i, 1)
    if (quote == "" && (c == "\"" || (c == "'" && masked !~ /[0-9]$/))) {
      quote = c
    } else if (c == quote) {
      quote = ""
    } else if (quote != "") {
      if (c == "\\") {
        ++i
        masked = masked " "
      }
      c = " "
    }
    masked = masked c
  }
  sub(/ +$/, "", masked)
  return masked
}

function Offers(i) {
  for (i = 1; i <= pairs; ++i) Each(pair[i], pair[i % 2 ? i + 1 : i - 1])
  Matches("[^A-Za-z0-9_.'][0-9][0-9A-Fa-fx']*", "number")
  Matches("\" *\"", "text")
  Matches("[( ]![A-Za-z_(]", "negation")
  Matches(" [|] [A-Za-z_:0-9]+", "flag")
  Matches("[(,] ?[A-Za-z_][A-Za-z0-9_.]*, [A-Za-z_][A-Za-z0-9_.]*[,)]", "arguments")
  Conditions()
  # A statement on a line of its own that declares nothing.
  if (previous ~ /[;{}:)]$/ && mask ~ /;$/ && mask !~ /^ *return [^;]/ &&
      mask ~ /^ +([+][+]|--|[*])?[A-Za-z_][A-Za-z0-9_:.>-]*( = | [-+|&]= |\(|;|[+][+]|--|\[)/) {
    match(mask, /[^ ]/)
    Offer(RSTART, length($0), ";")
  }
}

function Each(from, to, at, found) {
  for (at = 1; found = index(substr(mask, at), from); at += found) Offer(at + found - 1, length(from), to)
}

function Matches(pattern, kind, at, size, text, comma) {
  for (at = 1; match(substr(mask, at), pattern); at += size - 1) {
    at += RSTART - 1
    size = RLENGTH
    text = substr(mask, at, size)
    comma = index(text, ", ")
    if (kind == "text") Offer(at + 1, 0, "x")
    else if (kind == "negation") Offer(at + 1, 1, "")
    else if (kind == "flag") Offer(at, size, "")
    else if (kind == "arguments")
      Offer(at + 1, size - 2, substr(text, comma + 2, size - comma - 2) ", " substr(text, 2, comma - 2))
    else if (text ~ /[x']/) Offer(at + size - 1, 1, text ~ /[12]$/ ? "4" : "1")
    else Offer(at + 1, size - 1, substr(text, 2) + 1)
  }
}

# if (condition) with true or false in its place.
function Conditions(start, end, depth, c) {
  start = index(mask, "if (")
  if (!start) return
  start += 4
  for (end = start; end <= length(mask) && depth >= 0; ++end) {
    c = substr(mask, end, 1)
    depth += (c == "(") - (c == ")")
    if (c == ";") return
  }
  if (depth >= 0) return
  Offer(start, end - 1 - start, "true")
  Offer(start, end - 1 - start, "false")
}
