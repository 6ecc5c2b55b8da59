#!/bin/sh
# stand_in_test.sh csharp|python BUILD_FOLDER: an example whose runtime cannot be had for Windows here makes these calls, with texts
# and numbers as they shall be, of a stand-in for the library on this machine; and goes on where there is none.
set -eu
export LC_ALL=C.UTF-8
source=$(cd "$(dirname "$0")/../.." && pwd)
package=$(echo "$2/package/moved here"/vantra-*)
world=$(mktemp -d)
trap 'rm -rf "$world"' EXIT
cd "$world"
fail() { echo "failed: $*"; cat output calls wanted 2>/dev/null; exit 1; }
case $1 in
csharp)
  command -v mcs >/dev/null || exit 77
  mcs -warnaserror -out:words.exe "$package"/examples/csharp/*.cs
  echo '<configuration><dllmap dll="Vantra.dll" target="./Vantra.dll"/></configuration>' >words.exe.config
  program='mono words.exe' folder=NULL
  ;;
python)
  cp "$package"/examples/python/*.py .
  program='python3 -B words.py' folder=folder
  ;;
esac
printf 'one two\nthree' >zähl.txt
run() { echo "$1" | $program zähl.txt >output 2>calls || fail "ended with $?"; }

gcc -std=gnu11 -Wall -Werror -shared -fPIC -I"$package/include" "$source/tests/package/stand_in.c" -o Vantra.dll
run y
cat >wanted <<END
Initialize AcmeWords 0 $folder
SetOptIn 1
StartSession Acme Words 1.0 NULL NULL
LogEvent 1 File Text Count zähl.txt
NewDataGroup 1 File Text Counts zähl.txt
AddToGroup 1 fffffff0 Lines 1
AddToGroup 1 fffffff0 Words 3
AddToGroup 1 fffffff0 Bytes 13
CloseSession 1
END
cmp -s wanted calls || fail "other calls"
run n
[ "$(cut -d ' ' -f 1,2 calls | tr '\n' ' ')" = 'Initialize AcmeWords SetOptIn 0 StartSession Acme ' ] || fail "calls without consent"
rm Vantra.dll
run y
[ "$(cat output)" = '1 3 13' ] && [ ! -s calls ] || fail "without the library"
