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
  for image in Vantra.dll Sendrix2.exe vantra-demo.exe vantra-inspect.exe; do
    headers=$($tool-objdump -p "$build/$image")
    for flag in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
      echo "$headers" | grep -q "^[[:space:]]*$flag\$" || fail "$image is not marked $flag"
    done
    ! echo "$headers" | grep 'Entry 5 0*  *0* Base Relocation' || fail "$image cannot be moved"
    ! $tool-objdump -h "$build/$image" | grep CODE | grep -v READONLY || fail "code of $image can be written"
    strangers=$(echo "$headers" | sed -n 's/^.*DLL Name: //p' | grep -Evx "($known)\.dll" || true)
    [ "$strangers" = "$([ $image != vantra-demo.exe ] || echo Vantra.dll)" ] || fail "$image imports $strangers"
  done
  $tool-objdump -p "$build/Vantra.dll" | sed -n 's/^\t\[ *[0-9]*\] \([A-Za-z_].*\)$/\1/p' | sort >exported
  sed -n 's/^.*[ *]\(UT[A-Za-z]*\)(.*$/\1/p' "$source/include/vantra/vantra.h" | sort -u >declared
  [ "$(wc -l <exported)" = 16 ] && diff declared exported || fail "these are not the sixteen"
  for check in __stack_chk_fail __memcpy_chk; do
    [ "$(calls $check)" -gt 0 ] || fail "nothing calls $check"
  done
}

# Sources in another folder, built at another time.
reproducible() {
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
