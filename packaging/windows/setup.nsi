; The installer for Windows: for one user, without an administrator's rights. Data are not its business: neither the
; installation nor its removal touches the folder of Yag.mdb.
; makensis -DVERSION=1.0.0 -DFILES=FOLDER -DOUTPUT=FILE.exe setup.nsi

; 64 bits, as the program is.
Target amd64-unicode
Unicode true
!include "MUI2.nsh"
!include "FileFunc.nsh"

!define NAME "Mendrik Presva"
!define PROGRAM "presva.exe"
!define TOOL "presva-mdb.exe"
!define REMOVAL "Software\Microsoft\Windows\CurrentVersion\Uninstall\${NAME}"

Name "${NAME}"
OutFile "${OUTPUT}"
InstallDir "$LOCALAPPDATA\Programs\${NAME}"
InstallDirRegKey HKCU "${REMOVAL}" "InstallLocation"
RequestExecutionLevel user
SetCompressor /SOLID lzma
; A file that cannot be replaced ends the installation: without a question it would be left out, and the rest told as done.
AllowSkipFiles off
BrandingText " "

VIProductVersion "${VERSION}.0"
VIAddVersionKey /LANG=1055 "ProductName" "${NAME}"
VIAddVersionKey /LANG=1055 "CompanyName" "Mendrik"
VIAddVersionKey /LANG=1055 "FileDescription" "${NAME} kurulumu"
VIAddVersionKey /LANG=1055 "FileVersion" "${VERSION}"
VIAddVersionKey /LANG=1055 "ProductVersion" "${VERSION}"
VIAddVersionKey /LANG=1055 "LegalCopyright" "Mendrik"

!ifdef ICON
!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!endif
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_RUN "$INSTDIR\${PROGRAM}"
!define MUI_FINISHPAGE_RUN_TEXT "${NAME} şimdi başlasın"
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "Turkish"

; A program that runs cannot be replaced: its file does not open for writing.
!macro AWAIT_END_OF UN FILE TEXT
    ${UN}again${FILE}:
    IfFileExists "$INSTDIR\${FILE}" 0 ${UN}free${FILE}
    ClearErrors
    FileOpen $0 "$INSTDIR\${FILE}" a
    IfErrors ${UN}held${FILE}
    FileClose $0
    Goto ${UN}free${FILE}
    ${UN}held${FILE}:
    MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "${TEXT} Kapalıysa bu klasöre yazma izniniz yok: $INSTDIR" /SD IDCANCEL IDRETRY ${UN}again${FILE}
    SetErrorLevel 2
    Quit
    ${UN}free${FILE}:
!macroend
!macro AWAIT_END UN
Function ${UN}awaitEnd
    !insertmacro AWAIT_END_OF "${UN}" "${PROGRAM}" "${NAME} açık. Programı kapatın, sonra Yeniden Dene'ye basın."
    !insertmacro AWAIT_END_OF "${UN}" "${TOOL}" "${TOOL} çalışıyor. Bitmesini bekleyin, sonra Yeniden Dene'ye basın."
FunctionEnd
!macroend
!insertmacro AWAIT_END ""
!insertmacro AWAIT_END "un."

Section "Program"
    Call awaitEnd
    SetOutPath "$INSTDIR"
    ; The programs last: after a stop in the middle they are the old ones, and say so.
    File /r /x "${PROGRAM}" /x "${TOOL}" "${FILES}/*"
    File "${FILES}/${TOOL}"
    File "${FILES}/${PROGRAM}"
    WriteUninstaller "$INSTDIR\kaldir.exe"
    CreateShortcut "$SMPROGRAMS\${NAME}.lnk" "$INSTDIR\${PROGRAM}"
    WriteRegStr HKCU "${REMOVAL}" "DisplayName" "${NAME}"
    WriteRegStr HKCU "${REMOVAL}" "DisplayVersion" "${VERSION}"
    WriteRegStr HKCU "${REMOVAL}" "DisplayIcon" "$INSTDIR\${PROGRAM}"
    WriteRegStr HKCU "${REMOVAL}" "Publisher" "Mendrik"
    WriteRegStr HKCU "${REMOVAL}" "InstallLocation" "$INSTDIR"
    WriteRegStr HKCU "${REMOVAL}" "UninstallString" '"$INSTDIR\kaldir.exe"'
    WriteRegStr HKCU "${REMOVAL}" "QuietUninstallString" '"$INSTDIR\kaldir.exe" /S'
    WriteRegDWORD HKCU "${REMOVAL}" "NoModify" 1
    WriteRegDWORD HKCU "${REMOVAL}" "NoRepair" 1
    ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
    IntFmt $0 "0x%08X" $0
    WriteRegDWORD HKCU "${REMOVAL}" "EstimatedSize" "$0"
SectionEnd

Section "Uninstall"
    Call un.awaitEnd
    ; Only what was put there: the folder may have been chosen among somebody's own files.
    !include "${REMOVED}"
    Delete "$INSTDIR\kaldir.exe"
    RMDir "$INSTDIR"
    Delete "$SMPROGRAMS\${NAME}.lnk"
    DeleteRegKey HKCU "${REMOVAL}"
SectionEnd
