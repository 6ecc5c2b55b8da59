#!/bin/sh
# package_test.sh CASE BUILD_FOLDER TOOLCHAIN_FILE: what a developer does with a package, in a folder with a space.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
source=$(cd "$here/../.." && pwd)
build=$2
toolchain=$3
work=$build/package
for tool in inspect catalog; do [ -x "$source/build/native/vantra-$tool" ] || { echo "no native vantra-$tool"; exit 77; }; done
for tool in jq llvm-dlltool pkg-config zip; do command -v $tool >/dev/null || { echo "no $tool"; exit 77; }; done
unpacked=$(echo "$work/moved here"/vantra-*)
tool=x86_64-w64-mingw32

fail() { echo "failed: $*"; exit 1; }
bill() { jq -re "$1" ./*.spdx.json; }

pack() {
  export SOURCE_DATE_EPOCH=1000000000
  (umask 022 && "$source/cmake/package/pack" "$build" "$source/build/native" one)
  sleep 2 # times in a zip count in twos
  (umask 077 && TZ=Asia/Tokyo "$source/cmake/package/pack" "$build" "$source/build/native" two)
  cmp one/*.zip two/*.zip
  rm -rf "$work/moved here"
  mkdir "$work/moved here"
  cd "$work/moved here"
  cmake -E tar xf "$work"/pack/one/*.zip
  cd vantra-*
  sha256sum --quiet -c SHA256SUMS
  [ "$(bill '.files | length')" = $(($(wc -l <SHA256SUMS) - 1)) ] || fail "the bill does not list every file"
  bill '.files[] | select(.fileName == "./bin/Vantra.dll").checksums[1].checksumValue + "  bin/Vantra.dll"' | sha256sum -c
  cmp bin/Vantra.dll "$build/Vantra.dll"
  for page in *.md docs/*.md docs/reference/*.md; do
    for link in $(grep -o '](\([^):#]*\)[)#]' "$page" | tr -d '])#('); do
      [ -e "$(dirname "$page")/$link" ] || fail "$page leads to $link, which is not packed"
    done
  done
  inspect/vantra-inspect check docs/usage-document-example.xml
  VANTRA_PREFIX=examples "$source/cmake/wine-run" inspect/vantra-inspect.exe check docs/usage-document-example.xml
  $tool-nm bin/Vantra.dll.debug | awk '$3 == "UTInitialize" { print $1 }' |
    xargs $tool-addr2line -e bin/Vantra.dll.debug | grep '/src/api/UTLogData.cpp:[1-9]'
}
find_package() {
  cmake -G Ninja -S "$unpacked/examples" -B . --toolchain "$toolchain" -D "Vantra_DIR=$unpacked/lib/cmake/Vantra"
  cmake --build .
  VANTRA_PREFIX=examples ctest --output-on-failure
}
# A host of a package, with a catalogue that is wrong, then right, then changed, then only laid out otherwise.
catalogue() {
  cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.20)
project(Host CXX)
set(CMAKE_CXX_STANDARD 20)
find_package(Vantra CONFIG REQUIRED)
add_executable(host host.cpp)
target_link_libraries(host Vantra::Vantra)
vantra_add_catalogue(host events.toml LANGUAGES c cpp VERSION 1.2)
END
  echo '#include <events.hpp>
    int main() { vantra::Library library; events::session_files(library.StartSession({.family = "F", .name = "N", .version = "1"}), 1); }' >host.cpp
  sed 's/key = "Files"/key = "2Files"/' "$unpacked/catalogue/events.toml" >events.toml
  cmake -G Ninja -B . --toolchain "$toolchain" -D "Vantra_DIR=$unpacked/lib/cmake/Vantra"
  ! ninja >output || fail "a mistake is built"
  grep 'events.toml:[0-9]*:[0-9]*: error: key is "2Files", and the library would record "SK_2Files"' output
  cp "$unpacked/catalogue/events.toml" .
  ninja
  ninja | grep 'no work to do'
  sed 's/key = "Files"/key = "Folders"/' "$unpacked/catalogue/events.toml" >events.toml
  ! ninja >output || fail "the code is not made anew"
  grep "session_files" output
  echo '# not declared otherwise' | cat "$unpacked/catalogue/events.toml" - >events.toml
  ninja
  touch events.toml
  [ "$(ninja -n | grep -c 'host.cpp')" = 1 ] || fail "not what depends on it"
  ninja >output
  ! grep -q 'Building' output || fail "compiled for nothing"
}
import_libraries() {
  export PKG_CONFIG_PATH="$unpacked/lib/pkgconfig"
  for libraries in "$(pkg-config --libs vantra)" "'$unpacked/lib/Vantra.lib'"; do
    eval "$tool-gcc-posix '$unpacked/examples/c/words.c' $(pkg-config --cflags vantra) $libraries -o words.exe"
    $tool-objdump -p words.exe | grep -q 'DLL Name: Vantra.dll' || fail "$libraries is not Vantra's"
  done
}
subproject() {
  cat >CMakeLists.txt <<END
cmake_minimum_required(VERSION 3.25)
project(Host C CXX)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
add_subdirectory("$source" vantra)
add_executable(host "$source/examples/c/words.c")
target_link_libraries(host Vantra::Vantra)
END
  cmake -G Ninja -B . --toolchain "$toolchain"
  ninja CMakeFiles/host.dir/"${source#/}"/examples/c/words.c.obj vantra/CMakeFiles/vantra_core.dir/src/util/Paths.cpp.obj
  jq -r '.[] | select(.file | endswith("words.c")).command' compile_commands.json >command
  ! grep -e ' -W' command || fail "warnings of the library are a host's"
  ! grep -q gtest build.ninja || fail "the tests are a part of the host"
}

rm -rf "${work:?}/$1"
mkdir -p "$work/$1"
cd "$work/$1"
"$1"
