#!/bin/sh
# tools_test.sh CASE BUILD_FOLDER: runs one case in a fresh world, in a Wine prefix that only these cases use.
set -eu
source=$(cd "$(dirname "$0")/../.." && pwd)
export VANTRA_PREFIX=tools
world=$(mktemp -d)
trap 'rm -rf "$world"' EXIT
cp "$2/Vantra.dll" "$2/Sendrix2.exe" "$2/Sendrix2.cfg" "$2/vantra-demo.exe" "$2/vantra-inspect.exe" "$world"
cd "$world"
# An agent that an earlier case started may still be at work, and would make its folders again.
WINEPREFIX=$source/build/wine/$VANTRA_PREFIX /usr/lib/wine/wineserver64 -k 2>/dev/null || true
"$source/cmake/wine-run" reg delete 'HKCU\Software\Tolvex' /f >/dev/null 2>&1 || true
profile=$source/build/wine/tools/drive_c/users/$(id -un)/AppData/Roaming
rm -rf "$profile/Tolvex"
data=$profile/Tolvex/Sendrix2
outbox="$source/build/wine/tools/drive_c/users/Public/Vantra Demo"
rm -rf "$outbox"

fail() { echo "failed: $*"; cat output; exit 1; }
run() { # WANTED_EXIT_CODE PROGRAM...: its output, both streams, in the file output
  wanted=$1 status=0
  shift
  "$source/cmake/wine-run" "$@" >output 2>&1 || status=$?
  [ "$status" = "$wanted" ] || fail "$* ended with $status instead of $wanted"
}
says() { tr -d '\r' <output | grep -q -- "$1" || fail "not in the output: $1"; }
holds() { [ "$(cat "$1")" = "$2" ] || fail "$1 does not hold $2"; }
demo_documents() { ls "$data/Logs"/ulog_Vantra_Demo_* "$outbox"/ulog_Vantra_Demo_* 2>/dev/null || true; }
decoded() { tail -c +21 "$1" | tr '!-~' 'P-~!-O'; }
make_tree() {
  mkdir -p tree/sub tree/.git tree/Build tree/out
  printf 'a\n\n \t\r\nb' >tree/private.cpp
  printf 'c\n' | tee tree/sub/x.CPP tree/.git/skipped.cpp tree/Build/skipped.cpp tree/out/skipped.cpp >/dev/null
  printf 'd\0\n' >tree/data.txt
}

agent_collects() {
  run 0 Sendrix2.exe
  [ ! -s output ] || fail "it speaks"
  cp Sendrix2.cfg "$data"
  for round in 1 2 3; do
    for name in a.xml b.rdy c.tmp; do echo $round >"$data/Logs/$name"; done
    run 0 Sendrix2.exe send
    says '^sent 2$'
  done
  for kept in a.xml:1 a~2.xml:2 a~3.xml:3 b~3.rdy:3; do holds "$outbox/${kept%:*}" "${kept#*:}"; done
  [ "$(ls "$data/Logs")" = c.tmp ] || fail "Logs holds something else than c.tmp"
}
agent_explains() {
  run 0 Sendrix2.exe
  echo 1 >"$data/Logs/a.xml"
  run 1 Sendrix2.exe send
  says '^waits: no server is configured'
  cp Sendrix2.cfg "$data"
  echo in the way >"$outbox"
  run 1 Sendrix2.exe send
  says '^waits: the folder in url takes no document'
  run 0 Sendrix2.exe status
  says '^Waiting *1 document, 1 KiB'
  rm -r "$profile/Tolvex"
  echo in the way >"$profile/Tolvex"
  run 2 Sendrix2.exe send
  run 2 Sendrix2.exe now
  says 'usage: Sendrix2'
}
demo_records() {
  make_tree
  run 0 Sendrix2.exe
  run 0 vantra-demo.exe --consent yes tree
  says '^C++  *2  *5  *2  *10$'
  says '^Binary  *1  *0  *0  *3$'
  says '^Total  *3 '
  says '<EndSession '
  decoded "$(demo_documents)" >document
  says "^  \.\.\. $(($(wc -l <document) - 14)) more lines"
  grep -q '<DataRec .*group="1" name="Files" data="3"' document || fail "not three files"
  grep -q '<DataRec .*name="Lines" data="4"' document || fail "no record of four lines"
  grep -q '<EventRec doc="[0-9a-f]\{32\}" category="File" subcategory="C++"' document || fail "no event"
  ! grep -q private document || fail "a file's name is in the document"
  age=$(($(date +%s) - $(date -d "$(sed -n 's/^<EndSession .* time="\([^"]*\)".*/\1/p' document)" +%s)))
  [ "$age" -ge 0 ] && [ "$age" -lt 600 ] || fail "ended $age s ago"
}
demo_declines() {
  make_tree
  run 0 vantra-demo.exe --consent yes tree
  says 'no Logs folder'
  run 0 Sendrix2.exe
  run 0 vantra-demo.exe --consent no tree
  run 0 vantra-demo.exe tree </dev/null
  ! grep -q 'Your answer' output || fail "asked again"
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
  says "\"offset\":$(sed '/EndSession/,$d' "$example" | wc -c),\"rule\":\"open\""
  head -n 20 "$example" >"in/sub/${a}_0.tmp" # an older copy
  run 0 vantra-inspect.exe list in
  says 'incomplete *2 *88 .*ba75520a-'
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
  run 0 vantra-inspect.exe export --to csv --partition day -o days "in/${a}_0.xml" "in/${b}_0.tmp" "in/sub/$b.xml"
  [ "$(wc -l <days/day=2026-11-24/records.csv)/$(ls days | wc -l)" = 47/2 ] || fail "not two days of rows"
  # What a damaged document lacks, the next one tells.
  mkdir damaged
  sed 4,30d "$example" >"damaged/${a}_0.xml"
  cp "$example" "damaged/${a}_1.xml"
  run 0 vantra-inspect.exe export damaged
  ! grep -q '"family":null' output || fail "rows without a product"
  cp "$example" odd.txt
  run 2 vantra-inspect.exe export -o ./odd.txt odd.txt
  run 2 vantra-inspect.exe check nothing.xml NUL
  says 'vantra-inspect: cannot read nothing.xml: File not found'
  says 'cannot read NUL: it is a pipe or a device'
}
inspect_shows() {
  example=$source/docs/usage-document-example.xml
  run 0 vantra-inspect.exe show --raw ba75 "Z:$example"
  cmp output "$example"
  run 0 vantra-inspect.exe show --category 'dr*' "Z:$example"
  says 'group 7  *Drawing / Size / Shapes$'
  says '^  *Circles = 17$'
  run 0 vantra-inspect.exe show --json --since 2026-11-24T22:02:41 --until 2026-11-24 "Z:$example"
  [ "$(grep -c '"kind"' output)" = 12 ] || fail "not all of the day"
  says '"group":1,.*"name":"Session",.*"values":\[{"name":"Theme","value":"dark"},'
  run 0 vantra-inspect.exe show --json --since 2026-11-25 "Z:$example"
  [ ! -s output ] || fail "a day without records has some"
  printf '<EventRec doc="0" category="a\033[2J" subcategory="NOVALUE" name="\342\200\256x\342\201\251" time="2026-11-24T22:02:41Z" seq="0" />\n' >odd.xml
  run 0 vantra-inspect.exe show odd.xml
  says 'event  *a\\x1b\[2J / \\xe2\\x80\\xaex\\xe2\\x81\\xa9$'
  run 2 vantra-inspect.exe show --until tomorrow odd.xml
  run 2 vantra-inspect.exe show dead odd.xml
  # While a host records, and the agent takes what is finished.
  make_tree
  run 0 Sendrix2.exe
  "$source/cmake/wine-run" vantra-inspect.exe show --follow --json >followed 2>&1 &
  sleep 1
  run 0 vantra-demo.exe --consent yes tree
  wait $! || fail "following ended with $?"
  grep -q '"name":"Lines","value":"4"' followed && grep -q '"kind":"end"' followed || fail "$(cat followed)"
}
inspect_reports() {
  hostile='\&#60;/script\&#62;\&#60;!--\&#60;script\&#62;'  # as a replacement of sed's
  sed "s|\"File\"|\"$hostile\"|; s|\"Draw\"|\"$hostile\"|; s|\"en-US\"|\"$hostile\"|g" "$source/docs/usage-document-example.xml" >in.xml
  echo damage >>in.xml
  run 0 vantra-inspect.exe report --json in.xml
  says '{"table":"events",.*"product":"</script><!--<script>",.*"category":"</script>.*"name":"Save","count":1}'
  says '{"table":"machines",.*"entry":"Memory","value":"24 GiB","sessions":1}'
  run 0 vantra-inspect.exe report -o page.html in.xml
  grep -q '"malformed":1,' page.html || fail "the damage is not told"
  [ "$(grep -c '<script' page.html)/$(grep -c '</script' page.html)" = 2/2 ] || fail "a text has become a script"
  sed -n '/^<script>/,/^<\/script>/p' page.html | sed '1s/<script>//' | head -c -1 >script
  digest=$(head -c "$(($(wc -c <script) - 9))" script | sha256sum | cut -c-64 | tr a-f A-F | basenc --base16 -d | base64)
  grep -q "default-src 'none'; script-src 'sha256-$digest'; style-src 'sha256-" page.html || fail "the policy allows another script"
  ! grep -q 'unsafe-\|innerHTML\|https*://[^w]' page.html || fail "the page is not strict"
}
inspect_diagnoses() {
  usage='HKCU\Software\Tolvex\CommonFiles\Usage' policy='HKLM\SOFTWARE\Policies\Tolvex\ORPIX'
  wine() { "$source/cmake/wine-run" "$@" >/dev/null; }
  stored() { find "$profile/Tolvex" -printf '%p %T@ %s\n' | sort; "$source/cmake/wine-run" reg query 'HKCU\Software\Tolvex' /s 2>&1 || true; }
  finds() { # WANTED_EXIT_CODE WANTED_LINE ARGUMENT...
    code=$1 line=$2
    shift 2
    stored >before
    run "$code" vantra-inspect.exe doctor --host . --family Vantra --product Demo "$@"
    stored >after
    cmp before after || fail "the doctor changed something"
    says "$line"
  }
  wine Sendrix2.exe
  finds 1 '^refuses  *consent  *the user has not chosen' --key VantraDemo
  finds 0 'Sessions start and are written' --key VantraDemo --release-state 0
  wine reg add "$usage\\VantraDemo" /v OptIn /t REG_SZ /d 1 /f
  finds 0 '^open  *identifier  *none yet' --key VantraDemo
  rmdir "$data/Logs"
  finds 1 '^drops  *Logs' --key VantraDemo
  mkdir "$data/Logs"
  finds 1 'the log says "gsPrefx: "' --key 'a\b'
  finds 0 '^unknown  *consent'
  printf '[ULOG]\nStatus=Disabled\n' >Sendrix2.cfg
  finds 1 '^refuses  *status  *Disabled' --key VantraDemo
  printf '[ulog]\nstatus=Hibernate\nwakeupdate=2099-01-02\n' >"$data/Sendrix2.cfg"
  finds 1 '^refuses  *status  *Hibernate until 2099-01-02' --key VantraDemo
  touch -d '+1 minute' Sendrix2.cfg
  finds 0 '^open  *status  *active' --key VantraDemo
  printf '[hibernate]\nVantra_Demo=x|2099-01-02\n' >"$data/Sendrix2.cfg"
  touch -d '+2 minutes' "$data/Sendrix2.cfg"
  finds 1 '^refuses  *pause  *Vantra_Demo=x|2099-01-02' --key VantraDemo
  rm Sendrix2.exe "$data/Sendrix2.cfg" Sendrix2.cfg
  finds 1 'the log says "VerifyTransAgentExist failure"' --key VantraDemo
  wine reg add "$policy" /v enabled /t REG_DWORD /d 0 /f
  finds 1 '^refuses  *policy' --key VantraDemo
  wine reg delete 'HKLM\SOFTWARE\Policies\Tolvex' /f
}
inspect_erases() {
  low=${profile%/Roaming}/LocalLow
  make_tree
  run 0 Sendrix2.exe
  touch SKLog.config
  run 0 vantra-demo.exe --consent yes tree
  mkdir -p "$low/Tolvex/Sendrix2/Logs"
  cp "$(demo_documents)" "$low/Tolvex/Sendrix2/Logs"
  chmod 444 "$low"/Tolvex/Sendrix2/Logs/*
  # What the documents promise is what the program looks at, and what is on disk.
  run 0 vantra-inspect.exe privacy --json
  sed 's/.*"place":"\([^"]*\)".*/\1/; s/\\\\/\\/g; s/C:\\users\\[^\\]*\\AppData\\Roaming/%APPDATA%/; s/C:\\users\\[^\\]*/%USERPROFILE%/' output | sort -u >places
  sed -n '/^## Deleting everything/,$s/^| `\([^`]*\)`.*/\1/p' "$source/docs/privacy.md" | sort >promised
  diff promised places || fail "docs/privacy.md tells of other places"
  [ "$(grep -c '"kind":"file"' output)" = "$(find "$profile/Tolvex" "$low/Tolvex" -type f | wc -l)" ] || fail "not all files"
  run 0 vantra-inspect.exe privacy --export all
  grep -q '<EndSession ' all/Sendrix2-LocalLow/Logs/*.xml || fail "no readable document"
  grep -q '"name":"OptIn","type":"REG_DWORD","data":"1"' all/registry.ndjson || fail "no choice"
  run 2 vantra-inspect.exe privacy --export all
  echo y >answer
  run 1 vantra-inspect.exe privacy --erase <answer
  echo yes >answer
  run 0 vantra-inspect.exe privacy --erase <answer
  [ -z "$(find "$profile/Tolvex" "$low/Tolvex" -type f)" ] || fail "files are left"
  ! "$source/cmake/wine-run" reg query 'HKCU\Software\Tolvex\CommonFiles\Usage' >/dev/null 2>&1 || fail "values are left"
}

"$1"
