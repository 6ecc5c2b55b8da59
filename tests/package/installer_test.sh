#!/bin/sh
# installer_test.sh BUILD_FOLDER: the sample of an installer installs from the package, upgrades under a running host
# and removes what is the product's own, beside another product of the same user and files of others in its folder.
set -eu
source=$(cd "$(dirname "$0")/../.." && pwd)
command -v makensis >/dev/null || { echo "no makensis"; exit 77; }
export VANTRA_PREFIX=installer VANTRA_HOLD_OUTPUT=1
work=$1/installer drive=$source/build/wine/installer/drive_c
end() { WINEPREFIX=${drive%/*} /usr/lib/wine/wineserver64 -k || true; }
[ ! -d "$drive" ] || end
rm -rf "$work" "$source/build/wine/installer"
mkdir -p "$work"
cd "$work"
fail() { echo "failed: $*"; cat answer 2>/dev/null; exit 1; }
wine() { "$source/cmake/wine-run" "$@" >answer 2>&1; }
value() { wine reg query "$@"; }
usage='HKCU\Software\Tolvex\CommonFiles\Usage' policy='HKLM\SOFTWARE\Policies\Tolvex\ORPIX'
first_run='Software\Microsoft\Active Setup\Installed Components\{6B0C9D52-5C7B-4E0C-9C8B-5F3B0B2A7A11}'
product=$drive/'Shared Tools'
logs=$drive/users/$(id -un)/AppData/Roaming/Tolvex/Sendrix2/Logs
remove() { # WANTED_EXIT_CODE
  status=0
  wine cmd /c remove.bat || status=$?
  [ $status = "$1" ] || fail "the removal ended with $status instead of $1"
}
documents() { find "$logs" -name "ulog_$1_[0-9a-f]*" | wc -l; }

for version in 1.0 1.1; do
  makensis -V2 -WX -NOCD "-DVERSION=$version" "-DHOST=$1/examples/words_c.exe" \
    "-DPACKAGE=$(echo "$1/package/moved here"/vantra-*)" "$source/examples/installer/words.nsi"
done
mkfifo keeps
trap end EXIT
exec 7<>keeps
wine cmd <&7 &

# Another product of this user, whose name begins like ours.
wine reg add "$usage\\AcmeWords_Pro" /v OptIn /t REG_DWORD /d 0 /f
wine reg add "$usage" /v UserType /d tester /f
wine reg add "$policy" /v enabled /d 1 /f
mkdir -p "$product/licenses"
touch "$product/LICENSE" "$product/licenses/other"
# Wine would quote these folders, as nobody may.
echo 'words-1.0-setup.exe /S /D=C:\Shared Tools' >install.bat
echo '"C:\Shared Tools\uninstall.exe" /S _?=C:\Shared Tools' >remove.bat
wine cmd /c install.bat || fail "not installed"
value "HKLM\\$first_run" /v StubPath
grep -qF '"C:\Shared Tools\Sendrix2.exe"' answer || fail "no first run"
wine "$product/Sendrix2.exe"
[ -d "$logs" ] || fail "the first run makes no Logs"
wine reg add "HKCU\\$first_run" /f # as Windows does then
foreign=$logs/ulog_Acme_Words_Pro_00000000-0000-0000-0000-000000000000_00000000-0000-0000-0000-000000000000_0.rdy
: >"$foreign"

echo one two >file
{ until [ -e upgraded ]; do sleep 0.1; done; echo y; } | "$source/cmake/wine-run" "$product/words.exe" file >output 2>&1 &
host=$!
for _ in $(seq 100); do ! grep -q 'May Words' output || break; sleep 0.1; done
remove 32 # under a host
wine words-1.1-setup.exe /S || fail "not upgraded"
ls "$product" | grep -c '^\(words.exe\|Vantra.dll\).1.old$' | grep -qx 2 || fail "nothing was in use"
cmp "$product/Vantra.dll" "$1/Vantra.dll" || fail "no new library"
remove 32
touch upgraded
wait $host || fail "the host did not survive"
wine "$product/words.exe" file || fail "the new host does not run"
[ "$(documents Acme_Words)" = 2 ] || fail "not a document before the upgrade and one after it"
grep -q acme.example "$logs/../Sendrix2.cfg" || fail "another server"

for part in AcmeWords AcmeWords_Acme_Words_1.0 Acme; do value "$usage\\$part" || fail "no $part"; done
remove 0
[ "$(cd "$product" && echo * */*)" = 'LICENSE licenses uninstall.exe licenses/other' ] || fail "wrong files are left"
for part in AcmeWords AcmeWords_Acme_Words_1.0 Acme; do ! value "$usage\\$part" || fail "$part is left"; done
for key in 'HKLM\Software\Acme' 'HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\AcmeWords' "HKCU\\$first_run"; do
  ! value "$key" || fail "$key is left"
done
[ "$(documents Acme_Words)" = 0 ] && [ -f "$foreign" ] || fail "wrong documents are left"
value "$usage\\AcmeWords_Pro" /v OptIn && value "$usage" /v UserType && value "$policy" /v enabled || fail "another's is gone"
