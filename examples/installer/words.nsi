; An installer of a host, for all users of a machine: installs, upgrades while hosts run, and removes what is this
; product's and nothing else. docs/installer.md gives the reasons.
;
;     makensis -NOCD -DVERSION=1.0 -DHOST=words.exe -DPACKAGE=vantra-1.0.0-win64 words.nsi
Unicode true
Target amd64-unicode
RequestExecutionLevel admin
SetCompressor /SOLID lzma

!define KEY "AcmeWords" ; the usage key, family and name are those that the host passes
!define FAMILY "Acme"
!define NAME "Words"
!define USAGE "Software\Tolvex\CommonFiles\Usage"
!define OWN "Software\${FAMILY}\${NAME}"
!define UNINSTALL "Software\Microsoft\Windows\CurrentVersion\Uninstall\AcmeWords"
!define FIRST_RUN "Software\Microsoft\Active Setup\Installed Components\{6B0C9D52-5C7B-4E0C-9C8B-5F3B0B2A7A11}"

Name "Acme Words ${VERSION}"
OutFile "words-${VERSION}-setup.exe"
InstallDir "$PROGRAMFILES64\Acme\Words"
Page directory
Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

; A file that is in use cannot be written or deleted, but renamed. Those that run keep the old one.
!macro Replace FILE SOURCE
  Delete "$INSTDIR\${FILE}.old"
  Rename "$INSTDIR\${FILE}" "$INSTDIR\${FILE}.old"
  File "/oname=${FILE}" "${SOURCE}"
  Delete "$INSTDIR\${FILE}.old"
!macroend

; A file has the time of its installation: a shipped Sendrix2.cfg counts only when it is newer than the last start.
SetDateSave off

Section
  SetRegView 64
  SetShellVarContext all
  SetOutPath "$INSTDIR"
  !insertmacro Replace "words.exe" "${HOST}"
  !insertmacro Replace "Vantra.dll" "${PACKAGE}/bin/Vantra.dll"
  !insertmacro Replace "Sendrix2.exe" "${PACKAGE}/agent/Sendrix2.exe"
  !insertmacro Replace "Sendrix2.cfg" "${__FILEDIR__}/Sendrix2.cfg"
  File /r "${PACKAGE}/licenses"
  File "${PACKAGE}/LICENSE"
  WriteUninstaller "$INSTDIR\uninstall.exe"

  ; At each user's next logon Windows starts the agent once, which makes the Logs folder.
  WriteRegStr HKLM "${FIRST_RUN}" "" "Acme Words"
  WriteRegStr HKLM "${FIRST_RUN}" "Version" "1,0,0,0"
  WriteRegStr HKLM "${FIRST_RUN}" "StubPath" '"$INSTDIR\Sendrix2.exe"'
  ; For the user at the screen at once, by the shell and so without the installer's rights.
  IfSilent +2
  Exec '"$WINDIR\explorer.exe" "$INSTDIR\Sendrix2.exe"'

  ; Which versions there were is what the removal must know.
  WriteRegStr HKLM "${OWN}\Versions" "${VERSION}" ""
  CreateShortcut "$SMPROGRAMS\Acme Words.lnk" "$INSTDIR\words.exe"
  WriteRegStr HKLM "${UNINSTALL}" "DisplayName" "Acme Words"
  WriteRegStr HKLM "${UNINSTALL}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL}" "UninstallString" '"$INSTDIR\uninstall.exe"'
SectionEnd

; What is this product's in the registry and the profile of the user $0, by full names.
Function un.User
  DeleteRegKey HKU "$0\${USAGE}\${KEY}"
  StrCpy $1 0
  version:
    EnumRegValue $2 HKLM "${OWN}\Versions" $1
    StrCmp $2 "" profile
    DeleteRegKey HKU "$0\${USAGE}\${KEY}_${FAMILY}_${NAME}_$2"
    IntOp $1 $1 + 1
    Goto version
  profile:
  StrCmp $R0 "last" 0 +2
  DeleteRegKey HKU "$0\${USAGE}\${FAMILY}"
  ReadRegStr $3 HKU "$0\Software\Microsoft\Windows\CurrentVersion\Explorer\Shell Folders" "AppData"
  StrCmp $3 "" done
  !define ID "????????-????-????-????-????????????"
  Delete "$3\Tolvex\Sendrix2\Logs\ulog_${FAMILY}_${NAME}_${ID}_${ID}*"
  Delete "$3\Tolvex\Sendrix2\Refused\ulog_${FAMILY}_${NAME}_${ID}_${ID}*"
  done:
FunctionEnd

Section "Uninstall"
  SetRegView 64
  SetShellVarContext all
  DeleteRegKey HKLM "${FIRST_RUN}"
  ; The family's own key goes with the last product of the family on this machine.
  StrCpy $R0 "last"
  StrCpy $R1 0
  product:
    EnumRegKey $R2 HKLM "Software\${FAMILY}" $R1
    StrCmp $R2 "" users
    IntOp $R1 $R1 + 1
    StrCmp $R2 "${NAME}" product
    StrCpy $R0 "others"
  users:
  StrCpy $R1 0
  user:
    EnumRegKey $0 HKU "" $R1
    StrCmp $0 "" files
    Call un.User
    IntOp $R1 $R1 + 1
    Goto user
  files:
  DeleteRegKey HKLM "${OWN}"
  DeleteRegKey /ifempty HKLM "Software\${FAMILY}"
  DeleteRegKey HKLM "${UNINSTALL}"
  Delete "$SMPROGRAMS\Acme Words.lnk"
  RMDir /r "$INSTDIR\licenses"
  Delete "$INSTDIR\LICENSE"
  Delete /REBOOTOK "$INSTDIR\words.exe*"
  Delete /REBOOTOK "$INSTDIR\Vantra.dll*"
  Delete /REBOOTOK "$INSTDIR\Sendrix2.exe*"
  Delete /REBOOTOK "$INSTDIR\Sendrix2.cfg*"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  RMDir "$PROGRAMFILES64\${FAMILY}"
SectionEnd
