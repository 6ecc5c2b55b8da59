#!/bin/sh
# docs_test.sh CASE BUILD_FOLDER: what the documents show and promise, tried.
set -eu
source=$(cd "$(dirname "$0")/../.." && pwd)
build=$2
docs=$source/docs
export VANTRA_PREFIX=examples
world=$(mktemp -d)
trap 'rm -rf "$world"' EXIT
cd "$world"

fail() { echo "failed: $*"; exit 1; }
compiler() { [ "$1" = c ] && echo x86_64-w64-mingw32-gcc-posix -std=c99 || echo x86_64-w64-mingw32-g++-posix -std=c++20; }
# Each fence "```c compile" or "```cpp compile" as a file of its own, named after its page.
extract() {
  for page in "$source"/*.md "$docs"/*.md "$docs"/reference/*.md; do
    awk -v page="$(basename "$page" .md)" '
      /^```$/ { file = "" }
      file { print > file }
      /^```(c|cpp) compile$/ { file = page "-" ++count "." substr($1, 4) }' "$page"
  done
}

code() {
  extract
  for file in *.c *.cpp; do
    $(compiler "${file##*.}") -Wall -Wextra -Werror -I"$source/include" -c "$file" -o compiled.o || fail "$file"
  done
  [ "$(ls -- *.c *.cpp | wc -l)" -ge 20 ] || fail "code is missing"
  awk '/^```$/ { isHost = 0 } isHost { print } /^```c$/ { isHost = 1 }' "$source/README.md" | cmp - "$source/examples/ten_lines.c"
}

# Documents of the worked example, of a split, of an obfuscated session and of a changed choice.
schema() {
  extract
  $(compiler c) -I"$source/include" document-format-1.c "$build/src/libVantra.dll.a" -o example.exe
  cp "$build/Vantra.dll" "$build/Sendrix2.exe" "$build/vantra-demo.exe" .
  profile=$source/build/wine/$VANTRA_PREFIX/drive_c/users/$(id -un)/AppData/Roaming/Tolvex
  usage='HKCU\Software\Tolvex\CommonFiles\Usage'
  wine() { "$source/cmake/wine-run" "$@" >output 2>&1 || fail "$* ended with $?: $(cat output)"; }
  wine reg add "$usage" /v send /d 0 /f
  wine reg add "$usage" /v obfuscate /d 0 /f
  rm -rf "$profile"
  mkdir -p "$profile/Sendrix2/Logs" tree
  wine example.exe
  wine reg delete "$usage" /v obfuscate /f
  for i in $(seq 200); do echo "$i" >"tree/$i.txt"; done
  wine vantra-demo.exe --consent yes tree
  wine reg delete 'HKCU\Software\Tolvex' /f
  for file in "$profile"/Sendrix2/Logs/ulog_*; do
    name=$(basename "$file")
    case $name in
    *.rdy) tail -c +21 "$file" | LC_ALL=C tr '!-~' 'P-~!-O' >"$name.xml" ;;
    *) cp "$file" "$name" ;;
    esac
  done
  [ "$(ls ulog_*.xml | wc -l)" -ge 5 ] || fail "documents are missing: $(ls ulog_*)"
  xmllint --noout --schema "$docs/usage-document.xsd" "$docs/usage-document-example.xml" ulog_*.xml
  # A schema that takes anything would prove nothing.
  for spoil in 's/ seq="3"/ seq="2"/' 's/<EndSession .*//' 's/ group="1"//' 's/<DataRec/<DataRecord/'; do
    sed "$spoil" "$docs/usage-document-example.xml" >spoilt.xml
    ! xmllint --noout --schema "$docs/usage-document.xsd" spoilt.xml 2>/dev/null || fail "valid after $spoil"
  done
  # The worked example is what the library writes: only identifiers, times, digests and the machine differ.
  shape() { sed -E 's/[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}|[0-9a-f]{32}|[0-9-]{10}T[0-9:]{8}Z/X/g' "$1"; }
  hosts_part() { shape "$1" | grep -E 'group="1"|<EventRec|"Drawing"|"Circles"|Session|UsageDoc' | sed 's/seq="[0-9]*"//; s/group="[2-9]"//'; }
  hosts_part "$docs/usage-document-example.xml" >shown
  hosts_part ulog_Acme_Draw_*.xml >written
  diff shown written || fail "the worked example has changed"
}

# The policy templates for administrators, which refer to each other by name.
templates() {
  xmllint --noout "$docs/admx/vantra.admx" "$docs/admx/en-US/vantra.adml"
  grep -o 'string\.[A-Za-z0-9_]*' "$docs/admx/vantra.admx" | sort -u >used
  sed -n 's/.*<string id="\([^"]*\)".*/string.\1/p' "$docs/admx/en-US/vantra.adml" | sort -u >defined
  diff used defined || fail "strings differ"
  grep -q 'key="SOFTWARE\\Policies\\Tolvex\\ORPIX" valueName="enabled"' "$docs/admx/vantra.admx" || fail "another value"
}

# Links within the repository lead to files, and to headings where they name one.
links() {
  cd "$source"
  for page in *.md docs/*.md docs/reference/*.md; do
    sed -n 's/^##* //p' "$page" | tr 'A-Z ' 'a-z-' | tr -cd 'a-z0-9_\n-' | sed "s|^|$page#|"
    grep -o '](\([^):]*\))' "$page" | sed "s|^](#|$page#|; t; s|^](|${page%"${page##*/}"}./|" | tr -d ')' >>"$world/links"
  done | sort -u >"$world/headings"
  sort -u "$world/links" | xargs realpath -m --relative-to=. | sort -u >"$world/targets"
  lost=$(grep '#' "$world/targets" | comm -23 - "$world/headings"
    grep -v '#' "$world/targets" | while read -r file; do [ -e "$file" ] || echo "$file"; done)
  [ -s "$world/headings" ] && [ -z "$lost" ] || fail "links to what is not there: $lost"
}

# What the code has and a document must name: each export, message of the log and value of the registry. Says all that
# is missing.
complete() {
  cd "$source"
  missing() { echo "failed: $*" | tee -a "$world/missing"; }
  exports=$(sed -n 's/^int32_t \(UT[A-Za-z]*\)(.*/\1/p' include/vantra/vantra.h)
  messages=$(grep -rhoE '"[^"]+", [0-9]+[)}]' src | sed -E 's/^"(UT[A-Za-z]+ )?//; s/(: | - ).*"|"//; s/[)}]$//')
  values=$(sed -nE 's/.*(Query\(|IsOn\(|\] = )L"([A-Za-z]+)".*/\2/p' src/settings/UsageSettings.*)
  [ -n "$exports" ] && [ -n "$messages" ] && [ -n "$values" ] || fail "the code looks otherwise"
  for name in $exports; do
    grep -qF "| [$name]($name.md) |" docs/reference/README.md || missing "docs/reference/README.md: no page of $name"
    for file in examples/csharp/Vantra.cs examples/python/vantra.py; do
      grep -qw "$name" $file || missing "$file: no declaration of $name"
    done
  done
  echo "$messages" | while IFS= read -r message; do
    grep -F "${message%, *}" docs/troubleshooting.md | grep -qw "${message##*, }" || missing "docs/troubleshooting.md: no line $message"
  done
  for name in $values; do
    sed -n '/^## Registry/,/^## SKLog/p' docs/deployment.md | grep -q "[\`\\]$name\`" || missing "docs/deployment.md: no value $name"
  done
  [ ! -e "$world/missing" ]
}

"$1"
