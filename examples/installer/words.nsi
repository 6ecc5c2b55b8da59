; An installer of a host, for all users of a machine: installs, upgrades while hosts run, and removes what is this
; product's and nothing else. docs/installer.md gives the reasons.
;
;     makensis -NOCD -DVERSION=1.0 -DHOST=words.exe -DPACKAGE=vantra-1.0.0-win64 words.nsi
Unicode true
Target amd64-unicode
RequestExecutionLevel admin
SetCompressor /SOLID lzma
AllowSkipFiles off ; a file that cannot be written ends it

!define KEY "AcmeWords" ; the usage key, family, name and version are those that the host passes
!define FAMILY "Acme"
!define NAME "Words"
!define USAGE "Software\Tolvex\CommonFiles\Usage"
!define OWN "Software\${FAMILY}\${NAME}"
!define UNINSTALL "Software\Microsoft\Windows\CurrentVersion\Uninstall\AcmeWords"
!define FIRST_RUN "Software\Microsoft\Active Setup\Installed Components\{6B0C9D52-5C7B-4E0C-9C8B-5F3B0B2A7A11}"
!define TERMS "$INSTDIR\licenses\Vantra"

Name "Acme Words ${VERSION}"
OutFile "words-${VERSION}-setup.exe"
InstallDir "$PROGRAMFILES64\Acme\Words"
InstallDirRegKey HKLM "${UNINSTALL}" "InstallLocation" ; an upgrade goes where the product is
Page directory
Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

; Where the system asks nobody, as with UAC off, a user may start this without the rights for it.
!macro NeedRights
  UserInfo::GetAccountType
  Pop $0
  StrCmp $0 "Admin" +4
  MessageBox MB_ICONSTOP "Only an administrator can do this." /SD IDOK
  SetErrorLevel 5
  Quit
!macroend

!macro ForEachFile DO
  !insertmacro ${DO} "words.exe" "${HOST}"
  !insertmacro ${DO} "Vantra.dll" "${PACKAGE}/bin/Vantra.dll"
  !insertmacro ${DO} "Sendrix2.exe" "${PACKAGE}/agent/Sendrix2.exe"
  !insertmacro ${DO} "Sendrix2.cfg" "${__FILEDIR__}/Sendrix2.cfg"
!macroend
; All are unpacked before the first is replaced: when the disk is full, the product stays as it was.
!macro Unpack FILE SOURCE
  File "/oname=${FILE}.new" "${SOURCE}"
!macroend
; A file that is in use cannot be written or deleted, but renamed. Those that run keep the old one.
!macro SetAside FILE
  Delete "$INSTDIR\${FILE}.*.old"
  StrCpy $0 0
  IntOp $0 $0 + 1
  IfFileExists "$INSTDIR\${FILE}.$0.old" -1
  Rename "$INSTDIR\${FILE}" "$INSTDIR\${FILE}.$0.old"
!macroend
!macro Replace FILE SOURCE
  !insertmacro SetAside "${FILE}"
  Rename "$INSTDIR\${FILE}.new" "$INSTDIR\${FILE}"
  IfFileExists "$INSTDIR\${FILE}.new" 0 +2
  Abort "${FILE} cannot be replaced."
  Delete "$INSTDIR\${FILE}.$0.old"
!macroend
; What waits for a restart has a name that no later installation gives to a file of its own.
!macro Remove FILE SOURCE
  !insertmacro SetAside "${FILE}"
  Delete /REBOOTOK "$INSTDIR\${FILE}.*.old"
  Delete "$INSTDIR\${FILE}.new"
!macroend

Function .onInit
  !insertmacro NeedRights
FunctionEnd
Function un.onInit
  !insertmacro NeedRights
FunctionEnd

; A file has the time of its installation: a shipped Sendrix2.cfg counts only when it is newer than the last start.
SetDateSave off

Section
  SetRegView 64
  SetShellVarContext all
  SetOutPath "$INSTDIR"
  !insertmacro ForEachFile Unpack
  !insertmacro ForEachFile Replace
  SetOutPath "${TERMS}"
  File "${PACKAGE}/licenses/*"
  File "${PACKAGE}/LICENSE"
  SetOutPath "$INSTDIR"
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
  WriteRegStr HKLM "${UNINSTALL}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
SectionEnd

; What is this product's in the registry and the profile of the user $0, by full names.
Function un.User
  DeleteRegKey HKU "$0\${FIRST_RUN}"
  DeleteRegKey HKU "$0\${USAGE}\${KEY}"
  StrCpy $1 0
  version:
    EnumRegValue $2 HKLM "${OWN}\Versions" $1
    StrCmp $2 "" profile
    DeleteRegKey HKU "$0\${USAGE}\${KEY}_${FAMILY}_${NAME}_$2"
    IntOp $1 $1 + 1
    Goto version
  profile:
  ; With a choice in it, it is somebody's usage key as well.
  ReadRegStr $3 HKU "$0\${USAGE}\${FAMILY}" "OptIn"
  StrCmp $3 "" 0 +3
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
  ; A host that runs on would find no choice when it ends, and delete every document of its user.
  look:
  Delete "$INSTDIR\words.exe.*.old"
  IfFileExists "$INSTDIR\words.exe.*.old" runs
  ClearErrors
  FileOpen $0 "$INSTDIR\words.exe" a
  IfErrors runs ends
  runs:
  MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "Acme Words is running. Close it first." /SD IDCANCEL IDRETRY look
  SetErrorLevel 32
  Quit
  ends:
  FileClose $0

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
  !insertmacro ForEachFile Remove
  RMDir /r "${TERMS}"
  RMDir "$INSTDIR\licenses"
  Delete "$INSTDIR\uninstall.exe"
  RMDir /REBOOTOK "$INSTDIR"
  RMDir "$PROGRAMFILES64\${FAMILY}"
SectionEnd
