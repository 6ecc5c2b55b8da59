#!/bin/sh
# image_test.sh CASE BUILD_FOLDER TOOLCHAIN_FILE: the files that are shipped, as a loader and an attacker see them.
set -eu
export LC_ALL=C
source=$(cd "$(dirname "$0")/../.." && pwd)
build=$2
toolchain=$3
tool=x86_64-w64-mingw32

fail() { echo "failed: $*"; exit 1; }
calls() { # FUNCTION: how many of our objects do
  find "$build/src" "$build/libvantra_core.a" -name '*.obj' -o -name '*.a' | xargs $tool-nm 2>/dev/null | grep -c " U $1\$" || true
}

# What every process has, and what Windows takes from its own folder without looking elsewhere.
known='ADVAPI32|KERNEL32|msvcrt|ole32|SHELL32|USER32'

headers() {
  for image in Vantra.dll Sendrix2.exe vantra-demo.exe vantra-inspect.exe vantra-catalog.exe; do
    headers=$($tool-objdump -p "$build/$image")
    for flag in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
      echo "$headers" | grep -q "^[[:space:]]*$flag\$" || fail "$image is not marked $flag"
    done
    ! echo "$headers" | grep 'Entry 5 0*  *0* Base Relocation' || fail "$image cannot be moved"
    ! $tool-objdump -h "$build/$image" | grep CODE | grep -v READONLY || fail "code of $image can be written"
    strangers=$(echo "$headers" | sed -n 's/^.*DLL Name: //p' | grep -Evx "($known)\.dll" || true)
    [ "$strangers" = "$([ $image != vantra-demo.exe ] || echo Vantra.dll)" ] || fail "$image imports $strangers"
  done
  # A new import joins the list once Windows 7 is known to have it; what it has not is looked up at run time.
  $tool-objdump -p "$build/Vantra.dll" | sed -n 's/^\t[0-9a-f]*\t *[0-9]*  \([A-Za-z_]\)/\1/p' | sort >imported
  newer=$(tr " " "\n" <"$source/tests/package/windows-7.txt" | comm -23 imported -)
  [ -s imported ] && [ -z "$newer" ] || fail "Vantra.dll imports $newer: is it in Windows 7?"
  $tool-objdump -p "$build/Vantra.dll" | sed -n 's/^\t\[ *[0-9]*\] \([A-Za-z_].*\)$/\1/p' | sort >exported
  sed -n 's/^.*[ *]\(UT[A-Za-z]*\)(.*$/\1/p' "$source/include/vantra/vantra.h" | sort -u >declared
  [ -s declared ] && diff declared exported || fail "vantra.h and functions.hpp differ"
  for check in __stack_chk_fail __memcpy_chk; do
    [ "$(calls $check)" -gt 0 ] || fail "nothing calls $check"
  done
}

# Nothing in them tells where or when they were built. The compiler refuses the sources' own time.
reproducible() {
  for file in Vantra.dll Vantra.dll.debug src/libVantra.dll.a Sendrix2.exe vantra-demo.exe vantra-inspect.exe; do
    ! grep -aqF "$source" "$build/$file" || fail "$file tells where it was built"
    times=$($tool-objdump -ap "$build/$file" | grep -E "^Time/Date|^rw" | grep -Ev "1970|Time/Date stamp\s+0\$" || true)
    [ -z "$times" ] || fail "$file tells when it was built: $times"
  done
  grep -q ' -Wdate-time .* -Werror ' "$build/build.ninja" || fail "__DATE__ would be let in"
}
# The whole proof, for ./dev build --again: sources in another folder, built at another time.
again() {
  mkdir -p 'built elsewhere'
  cp -r "$source/CMakeLists.txt" "$source/cmake" "$source/include" "$source/src" 'built elsewhere'
  cmake -G Ninja -S 'built elsewhere' -B again --toolchain "$toolchain" -D CMAKE_BUILD_TYPE=Release \
    -D VANTRA_BUILD_TESTS=OFF -D VANTRA_BUILD_TOOLS=OFF -D VANTRA_INSTALL=OFF
  cmake --build again --target Vantra
  for file in Vantra.dll Vantra.dll.debug src/libVantra.dll.a; do
    cmp "$build/$file" "again/$file" || fail "$file depends on where or when it is built"
  done
}

rm -rf "$build/image/$1"
mkdir -p "$build/image/$1"
cd "$build/image/$1"
"$1"
