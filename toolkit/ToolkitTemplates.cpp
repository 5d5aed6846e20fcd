// The layouts of the toolkit's own dialogs, in dialog units, with their control numbers.
#include "ToolkitTemplates.h"

#include <mutex>

#include "zevutil/CFlexMessageBox.h"
#include "zevutil/CPrintStatusDlg.h"
#include "zevutil/CZevDlg.h"
#include "zevutil/platform/Window.h"

namespace zev {

namespace {

constexpr DWORD kDialogStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | WS_VISIBLE;

// Two template buttons give the flexible box its button rectangle (the first) and the gap
// between buttons (from the first's right edge to the second's left edge); the box makes its
// own buttons and sizes itself.
DialogTemplate FlexMessageBoxTemplate() {
  DialogTemplate t(kDialogStyle, 0, 0, 186, 62, "");
  t.LText("", IDC_FLEXMSGBOX_PROMPT, 7, 7, 172, 24, SS_NOPREFIX)
      .DefPushButton("OK", IDOK, 39, 41, 50, 14)
      .PushButton("Cancel", IDCANCEL, 97, 41, 50, 14);
  return t;
}

DialogTemplate InputBoxTemplate() {
  DialogTemplate t(kDialogStyle, 0, 0, 200, 68, "");
  t.EditText(IDC_INPUTBOX_FIRST, 7, 7, 186, 12, ES_AUTOHSCROLL)
      .EditText(IDC_INPUTBOX_SECOND, 7, 25, 186, 12, ES_AUTOHSCROLL)
      .DefPushButton("OK", IDOK, 87, 47, 50, 14)
      .PushButton("Cancel", IDCANCEL, 143, 47, 50, 14);
  return t;
}

// The text line is two lines high: a step's text may take one and a half widths.
DialogTemplate ProgressTemplate() {
  DialogTemplate t(kDialogStyle & ~WS_SYSMENU, 0, 0, 240, 56, "");
  t.LText("", IDC_PROGRESS_TEXT, 7, 7, 226, 20, SS_NOPREFIX)
      .Control("", IDC_PROGRESS_BAR, "msctls_progress32", 0, 7, 34, 170, 10)
      .PushButton("Cancel", IDCANCEL, 183, 32, 50, 14);
  return t;
}

// The notice: an icon of the dialog icon size (48 pixels at the usual base units) beside the
// message, and OK.
DialogTemplate NoticeTemplate(short cx, short cy, short textCy) {
  DialogTemplate t(kDialogStyle, 0, 0, cx, cy, "");
  t.Control("", IDC_ZEVMSGBOX_ICON, "Static", SS_ICON, 8, 8, 28, 28)
      .LText("", IDC_ZEVMSGBOX_TEXT, 44, 8, short(cx - 52), textCy, SS_NOPREFIX)
      .DefPushButton("OK", IDOK, short(cx / 2 - 25), short(cy - 22), 50, 14);
  return t;
}

// The print job's status: four lines, and the cancel button whose place the "Cancelled"
// line takes once it is pressed.
DialogTemplate PrintStatusTemplate() {
  DialogTemplate t(kDialogStyle & ~WS_SYSMENU, 0, 0, 200, 86, "Printing");
  t.LText("Document:", 0xFFFF, 7, 7, 50, 10)
      .LText("", IDC_PRINTSTATUS_TITLE, 60, 7, 133, 10, SS_NOPREFIX)
      .LText("Printer:", 0xFFFF, 7, 19, 50, 10)
      .LText("", IDC_PRINTSTATUS_PRINTER, 60, 19, 133, 10, SS_NOPREFIX)
      .LText("Port:", 0xFFFF, 7, 31, 50, 10)
      .LText("", IDC_PRINTSTATUS_PORT, 60, 31, 133, 10, SS_NOPREFIX)
      .CText("", IDC_PRINTSTATUS_PAGE, 7, 47, 186, 10, SS_NOPREFIX)
      .PushButton("Cancel", IDCANCEL, 75, 64, 50, 14)
      .CText("Cancelled", IDC_PRINTSTATUS_CANCELLED, 7, 66, 186, 10, SS_NOPREFIX);
  return t;
}

}  // namespace

void RegisterToolkitTemplates() {
  static std::once_flag once;
  std::call_once(once, [] {
    RegisterDialogTemplate("IDD_FLEXMSGBOX", FlexMessageBoxTemplate());
    RegisterDialogTemplate(MAKEINTRESOURCEA(WORD(IDD_INPUTBOX)), InputBoxTemplate());
    RegisterDialogTemplate(MAKEINTRESOURCEA(WORD(IDD_PROGRESSCONTROL)), ProgressTemplate());
    RegisterDialogTemplate(MAKEINTRESOURCEA(WORD(IDD_ZEVMSGBOX)), NoticeTemplate(260, 100, 64));
    RegisterDialogTemplate(MAKEINTRESOURCEA(WORD(IDD_ZEVMSGBOX_SMALL)), NoticeTemplate(200, 64, 30));
    RegisterDialogTemplate(IDD_PRINTSTATUS, PrintStatusTemplate());
  });
}

}  // namespace zev
