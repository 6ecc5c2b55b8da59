#!/bin/sh
# tools_test.sh CASE BUILD_FOLDER: runs one case in a fresh world, in a Wine prefix that only these cases use.
set -eu
source=$(cd "$(dirname "$0")/../.." && pwd)
export VANTRA_PREFIX=tools
world=$(mktemp -d)
trap 'rm -rf "$world"' EXIT
cp "$2/Vantra.dll" "$2/Sendrix2.exe" "$2/vantra-demo.exe" "$2/vantra-inspect.exe" "$world"
cd "$world"
# An agent that an earlier case started may still be at work, and would make its folders again.
WINEPREFIX=$source/build/wine/$VANTRA_PREFIX /usr/lib/wine/wineserver64 -k 2>/dev/null || true
"$source/cmake/wine-run" reg delete 'HKCU\Software\Tolvex' /f >/dev/null 2>&1 || true
profile=$source/build/wine/tools/drive_c/users/$(id -un)/AppData/Roaming
rm -rf "$profile/Tolvex"
data=$profile/Tolvex/Sendrix2

fail() { echo "failed: $*"; cat output; exit 1; }
run() { # WANTED_EXIT_CODE PROGRAM...: its output, both streams, in the file output
  wanted=$1 status=0
  shift
  "$source/cmake/wine-run" "$@" >output 2>&1 || status=$?
  [ "$status" = "$wanted" ] || fail "$* ended with $status instead of $wanted"
}
says() { tr -d '\r' <output | grep -q -- "$1" || fail "not in the output: $1"; }
holds() { [ "$(cat "$1")" = "$2" ] || fail "$1 does not hold $2"; }
demo_documents() { ls "$data"/*/ulog_Vantra_Demo_* 2>/dev/null || true; }
decoded() { tail -c +21 "$1" | tr '!-~' 'P-~!-O'; }
make_tree() {
  mkdir -p tree/sub tree/.git tree/Build
  printf 'a\n\n \t\nb' >tree/private.cpp
  printf 'c\n' | tee tree/sub/x.CPP tree/.git/skipped.cpp tree/Build/skipped.cpp >/dev/null
  printf 'd\0\n' >tree/data.txt
}

agent_collects() {
  run 0 Sendrix2.exe
  says 'No finished document'
  for round in 1 2 3; do
    for name in a.xml b.rdy c.tmp; do echo $round >"$data/Logs/$name"; done
    run 0 Sendrix2.exe
    says "Collected a.xml"
  done
  for kept in a.xml:1 a~2.xml:2 a~3.xml:3 b~3.rdy:3; do holds "$data/Outbox/${kept%:*}" "${kept#*:}"; done
  [ "$(ls "$data/Logs")" = c.tmp ] || fail "Logs holds something else than c.tmp"
}
agent_explains() {
  mkdir -p "$data"
  echo in the way >"$data/Outbox"
  run 2 Sendrix2.exe
  says 'Sendrix2: cannot make .*Outbox: .*(error 183)'
  run 2 Sendrix2.exe --help
  says 'usage: Sendrix2'
}
demo_records() {
  make_tree
  run 0 Sendrix2.exe
  run 0 vantra-demo.exe --consent yes tree
  says '^C++  *2  *5  *2  *9$'
  says '^Binary  *1  *0  *0  *3$'
  says '^Total  *3 '
  says '<EndSession '
  decoded "$(demo_documents)" >document
  grep -q '<DataRec .*name="Lines" data="4"' document || fail "no record of four lines"
  grep -q '<EventRec doc="[0-9a-f]\{32\}" category="File" subcategory="C++"' document || fail "no event"
  ! grep -q private document || fail "a file's name is in the document"
}
demo_splits() {
  mkdir tree
  for i in $(seq 200); do echo $i >tree/$i.txt; done
  run 0 Sendrix2.exe
  run 0 vantra-demo.exe --consent yes tree
  says '<SplitSession '
  [ "$(demo_documents | wc -l)" = 2 ] || fail "not two documents"
}
demo_declines() {
  make_tree
  run 0 vantra-demo.exe --consent yes tree
  says 'no Logs folder'
  run 0 Sendrix2.exe
  run 0 vantra-demo.exe --consent no tree
  says '^Total  *3 '
  says 'SKLog.config'
  [ -z "$(demo_documents)" ] || fail "a document was written"
}
demo_asks() {
  mkdir tree
  run 0 Sendrix2.exe
  run 0 vantra-demo.exe tree </dev/null
  says 'no answer'
  printf 'what\n YES\r\n' >answer
  run 0 vantra-demo.exe tree <answer
  run 0 vantra-demo.exe tree </dev/null
  ! grep -q 'Your answer' output || fail "asked again"
  [ "$(demo_documents | wc -l)" = 2 ] || fail "the answer was not taken or not kept"
}
demo_arguments() {
  for bad in 'no-such-folder' '--consent perhaps .' '. .'; do run 2 vantra-demo.exe $bad; done
  run 0 vantra-demo.exe --help
}

# Documents as support and analysts get them: a session that crashed, one with a gap, one packed, one that is hostile.
inspect_tells() {
  example=$source/docs/usage-document-example.xml user=ee3ebfc2-9cf1-43b9-827a-84e9267912bf
  mkdir -p in/sub
  a=ulog_Acme_Draw_${user}_ba75520a-2a5a-4cd0-8658-84e928a7dd23 b=ulog_Acme_Draw_${user}_ca75520a-2a5a-4cd0-8658-84e928a7dd23
  cp "$example" "in/${a}_0.xml"
  sed 's/ba75520a/ca75520a/; s/2026-11-24/2026-11-25/; /EndSession/,$d' "$example" >"in/${b}_0.tmp"
  run 0 vantra-inspect.exe list --last in
  says 'abandoned .*ca75520a-'
  sed -n '1,5p' "$example" | sed 's/ba75520a/ca75520a/; s/NOVALUE/Crash/' >"in/sub/$b.xml"
  run 3 vantra-inspect.exe list --json --last in
  says '"session":"ca75520a.*"version":"3.1".*"files":2,"records":43,"events":1,"state":"crashed"}$'
  run 0 vantra-inspect.exe check "in/${a}_0.xml"
  cp "in/${a}_0.xml" "in/${a}_2.rdy"
  run 1 vantra-inspect.exe check --json in
  says '_2.rdy".*"rule":"name"'
  says '"offset":4425,"rule":"open"'
  run 0 vantra-inspect.exe list in
  says 'incomplete .*ba75520a-'
  head -c 100000000 /dev/zero | gzip >in/bomb.xml.gz
  gzip -c "$example" | head -c 900 >in/sub/cut.xml.gz
  status=0
  (ulimit -v 200000 && "$source/build/native/vantra-inspect" check --threads 2 in) >output 2>&1 || status=$?
  [ $status = 2 ] || fail "the bomb: $status"
  for threads in 1 3; do
    run 2 vantra-inspect.exe export --threads $threads --to csv -o rows$threads.csv in
    says 'cannot read .*cut.xml.gz: the packed data end too early'
    says '^vantra-inspect: .* rows of .* documents, 2 malformed records left out'
  done
  cmp rows1.csv rows3.csv
  run 0 vantra-inspect.exe export --partition day -o days "in/${a}_0.xml" "in/${b}_0.tmp"
  [ "$(cat days/day=2026-11-24/records.ndjson | wc -l)/$(ls days | wc -l)" = 44/2 ] || fail "not two days of rows"
  run 2 vantra-inspect.exe check nothing.xml
  says 'vantra-inspect: cannot read nothing.xml: File not found'
}

"$1"
