; The installer for Windows: for one user, without administrator's rights. packaging/windows/make-setup calls makensis
; with RELEASE, FOLDER (the files to install), OUT, and FILES, a generated file with two macros: InstallFiles copies the
; files, RemoveFiles deletes exactly these.
;
;   quillon-1.10.0-2-setup.exe /S              installs or upgrades silently
;   quillon-1.10.0-2-setup.exe /S /D=C:\Tools  ... into another folder
;   uninstall.exe /S                           removes all but the user's own files

Target amd64-unicode
ManifestDPIAware true
SetCompressor /SOLID lzma
RequestExecutionLevel user
!include MUI2.nsh
!include "${FILES}"

Name "Quillon"
OutFile "${OUT}"
InstallDir "$LOCALAPPDATA\Programs\Quillon"
!define ENTRY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Quillon"
InstallDirRegKey HKCU "${ENTRY}" InstallLocation

!define MUI_FINISHPAGE_RUN "$INSTDIR\quillon.exe"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

; A program that runs cannot be replaced: half of the files would be new.
!macro RefuseWhileRunning
  ${If} ${FileExists} "$INSTDIR\quillon.exe"
    ClearErrors
    FileOpen $0 "$INSTDIR\quillon.exe" a
    ${If} ${Errors}
      MessageBox MB_ICONSTOP "Quillon runs, or $INSTDIR cannot be written. Close Quillon and try again." /SD IDOK
      SetErrorLevel 1
      Quit
    ${EndIf}
    FileClose $0
  ${EndIf}
!macroend

Section
  !insertmacro RefuseWhileRunning
  ; The former version removes its own files, and leaves the user's.
  ${If} ${FileExists} "$INSTDIR\uninstall.exe"
    ExecWait '"$INSTDIR\uninstall.exe" /S _?=$INSTDIR'
  ${EndIf}
  !insertmacro InstallFiles
  SetOutPath "$INSTDIR"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  CreateShortcut "$SMPROGRAMS\Quillon.lnk" "$INSTDIR\quillon.exe"
  WriteRegStr HKCU "${ENTRY}" DisplayName "Quillon"
  WriteRegStr HKCU "${ENTRY}" DisplayVersion "${RELEASE}"
  WriteRegStr HKCU "${ENTRY}" DisplayIcon "$INSTDIR\quillon.exe"
  WriteRegStr HKCU "${ENTRY}" Publisher "The Quillon authors"
  WriteRegStr HKCU "${ENTRY}" InstallLocation "$INSTDIR"
  WriteRegStr HKCU "${ENTRY}" UninstallString '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKCU "${ENTRY}" QuietUninstallString '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKCU "${ENTRY}" NoModify 1
  WriteRegDWORD HKCU "${ENTRY}" NoRepair 1
SectionEnd

Section Uninstall
  !insertmacro RefuseWhileRunning
  MessageBox MB_YESNO|MB_ICONQUESTION "Keep your settings, your log and your job records in $INSTDIR?" /SD IDYES IDYES keep
  Delete "$INSTDIR\Quillon.cfg"
  Delete "$INSTDIR\Boot.ini"
  Delete "$INSTDIR\Log.txt"
  Delete "$INSTDIR\Jobs\*"
keep:
  !insertmacro RemoveFiles
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  Delete "$SMPROGRAMS\Quillon.lnk"
  DeleteRegKey HKCU "${ENTRY}"
SectionEnd
