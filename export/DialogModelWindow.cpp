// One window for any export dialog model: controls made from the model's list in its
// order, laid out by measuring their texts, every user action forwarded to the model and
// every control's state copied back after it.
#include "zevutil/DialogModelWindow.h"

#include <algorithm>
#include <string>

#include "zevutil/CExportObjectDialog.h"
#include "zevutil/CZevExportDlg.h"
#include "zevutil/platform/FileChooser.h"
#include "zevutil/platform/Window.h"

namespace zev {

namespace {

using K = DialogControlKind;

constexpr int kMargin = 10, kGap = 6, kCaptionW = 80, kFieldW = 300, kListH = 96, kIndent = 12, kGroupTop = 18;

// The caption shown before a field, by the field's id; fields of no known id have none.
const char* CaptionOf(int id, bool exporting) {
  switch (id) {
    case CZevDirectoryDialog::IDC_DIR_FOLDER:
    case CZevExportDlg::IDC_ZEXP_FOLDER: return "Folder:";
    case CZevDirectoryDialog::IDC_DIR_FILENAME:
    case CZevExportDlg::IDC_ZEXP_FILENAME: return "File name:";
    case CZevDirectoryDialog::IDC_DIR_FILTER:
    case CZevExportDlg::IDC_ZEXP_FILTER: return exporting ? "Save as type:" : "Files of type:";
    case CZevExportDlg::IDC_ZEXP_OBJECTS: return "Objects:";
    default: return nullptr;
  }
}

SIZE Measure(HWND h, const char* text) {
  SIZE s{0, 0};
  GetWindowTextExtent(h, text && *text ? text : " ", 0, &s);
  return s;
}

HWND Make(HWND parent, const char* cls, const char* text, DWORD style, int id, int x, int y, int w, int h) {
  return CreateWindowExA(WS_EX_NOPARENTNOTIFY, cls, text, WS_CHILD | WS_VISIBLE | style, x, y, w, h, parent,
                         reinterpret_cast<HMENU>(std::intptr_t(id)), nullptr, nullptr);
}

}  // namespace

CDialogModelWindow::~CDialogModelWindow() {
  if (m_hWnd && IsWindow(m_hWnd)) DestroyWindow(m_hWnd);
}

int CDialogModelWindow::FolderFieldId() const {
  for (int id : {int(CZevDirectoryDialog::IDC_DIR_FOLDER), int(CZevExportDlg::IDC_ZEXP_FOLDER)})
    if (const DialogControl* c = m_Model.Controls().Find(id); c && c->m_bExists) return id;
  return 0;
}

void CDialogModelWindow::Build(HWND dlg) {
  m_Model.OnInitDialog();
  const bool exporting = m_Model.GetCaption().Find("Import") < 0;
  const int lineH = Measure(dlg, "Ag").cy;
  const int rowH = lineH + 8;  // edits, combos and buttons
  const int folderId = FolderFieldId();
  int y = kMargin;
  int width = kCaptionW + kGap + kFieldW;
  int groupId = 0, groupY = 0;
  auto closeGroup = [&] {
    if (!groupId) return;
    y += kGap;
    MoveWindow(GetDlgItem(dlg, groupId), kMargin, groupY, width, y - groupY, FALSE);
    y += kGap;
    groupId = 0;
  };
  const auto& controls = m_Model.Controls().Controls();
  for (std::size_t i = 0; i < controls.size(); ++i) {
    const DialogControl& c = controls[i];
    if (!c.m_bExists) continue;
    const int x = kMargin + (groupId ? kIndent : 0);
    const int inner = width - (groupId ? 2 * kIndent : 0);
    const char* caption = CaptionOf(c.m_nID, exporting);
    const int fx = caption ? x + kCaptionW + kGap : x;
    const int fw = caption ? inner - kCaptionW - kGap : inner;
    if (caption) Make(dlg, "Static", caption, SS_LEFTNOWORDWRAP | SS_NOPREFIX, c.m_nID + kCaptionOffset, x, y + 4,
                      kCaptionW, lineH + 2);
    switch (c.m_eKind) {
      case K::Group:
        closeGroup();
        Make(dlg, "Button", c.m_strText, BS_GROUPBOX, c.m_nID, kMargin, y, width, kGroupTop);
        groupId = c.m_nID;
        groupY = y;
        y += kGroupTop + 2;
        break;
      case K::Check: {
        int w = std::min<int>(inner, Measure(dlg, c.m_strText).cx + 24);
        Make(dlg, "Button", c.m_strText, BS_CHECKBOX | WS_TABSTOP, c.m_nID, x, y, w, lineH + 4);
        y += lineH + 4 + 2;
        break;
      }
      case K::Label: {
        // A label followed by an edit field shares the row with it (the minimum length).
        SIZE s = Measure(dlg, c.m_strText);
        int h = s.cy + 2;
        const bool leadsField = i + 1 < controls.size() && controls[i + 1].m_eKind == K::Edit;
        Make(dlg, "Static", c.m_strText, SS_LEFTNOWORDWRAP | SS_NOPREFIX, c.m_nID, x, y, s.cx + 2, h);
        if (leadsField) {
          int ex = x + s.cx + 2 + kGap, ey = y + std::max(0, (h - rowH) / 2);
          std::size_t j = i + 1;
          const DialogControl& edit = controls[j];
          Make(dlg, "Edit", edit.m_strText, ES_AUTOHSCROLL | WS_BORDER | WS_TABSTOP, edit.m_nID, ex, ey, 60, rowH);
          ex += 60 + 2;
          if (j + 1 < controls.size() && controls[j + 1].m_eKind == K::Spin) {
            const DialogControl& spin = controls[++j];
            const int bw = rowH;
            Make(dlg, "Button", "+", BS_PUSHBUTTON, spin.m_nID, ex, ey, bw, rowH);
            Make(dlg, "Button", "-", BS_PUSHBUTTON, spin.m_nID + kSpinDownOffset, ex + bw + 2, ey, bw, rowH);
            ex += 2 * bw + 4;
          }
          if (j + 1 < controls.size() && controls[j + 1].m_eKind == K::Label) {
            const DialogControl& unit = controls[++j];
            SIZE us = Measure(dlg, unit.m_strText);
            Make(dlg, "Static", unit.m_strText, SS_LEFTNOWORDWRAP | SS_NOPREFIX, unit.m_nID, ex, ey + 4, us.cx + 2,
                 us.cy + 2);
          }
          i = j;
          h = std::max(h, rowH);
        }
        y += h + 4;
        break;
      }
      case K::Edit: {
        int w = fw - (c.m_nID == folderId ? 80 + kGap : 0);
        Make(dlg, "Edit", c.m_strText, ES_AUTOHSCROLL | WS_BORDER | WS_TABSTOP, c.m_nID, fx, y, w, rowH);
        if (c.m_nID == folderId) Make(dlg, "Button", "&Browse...", BS_PUSHBUTTON | WS_TABSTOP, kBrowseId, fx + w + kGap, y, 80, rowH);
        y += rowH + 4;
        break;
      }
      case K::Spin:
        Make(dlg, "Button", "+", BS_PUSHBUTTON, c.m_nID, fx, y, rowH, rowH);
        Make(dlg, "Button", "-", BS_PUSHBUTTON, c.m_nID + kSpinDownOffset, fx + rowH + 2, y, rowH, rowH);
        y += rowH + 4;
        break;
      case K::Combo:
        Make(dlg, "ComboBox", "", CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP, c.m_nID, fx, y, fw, rowH + 120);
        y += rowH + 4;
        break;
      case K::List:
        Make(dlg, "ListBox", "", LBS_EXTENDEDSEL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT | WS_VSCROLL | WS_BORDER | WS_TABSTOP,
             c.m_nID, fx, y, fw, kListH);
        y += kListH + 4;
        break;
    }
  }
  closeGroup();
  // OK and Cancel at the bottom right.
  y += kGap;
  const int clientW = width + 2 * kMargin;
  Make(dlg, "Button", "OK", BS_DEFPUSHBUTTON | WS_TABSTOP, IDOK, clientW - kMargin - 2 * 80 - kGap, y, 80, rowH);
  Make(dlg, "Button", "Cancel", BS_PUSHBUTTON | WS_TABSTOP, IDCANCEL, clientW - kMargin - 80, y, 80, rowH);
  RECT wr{0, 0, clientW, y + rowH + kMargin};
  AdjustWindowRectEx(&wr, DWORD(GetWindowLongA(dlg, GWL_STYLE)), FALSE, DWORD(GetWindowLongA(dlg, GWL_EXSTYLE)));
  const int w = wr.right - wr.left, h = wr.bottom - wr.top;
  SetWindowPos(dlg, nullptr, std::max(0, (GetSystemMetrics(SM_CXSCREEN) - w) / 2),
               std::max(0, (GetSystemMetrics(SM_CYSCREEN) - h) / 2), w, h, SWP_NOZORDER | SWP_NOACTIVATE);
  SetWindowTextA(dlg, m_Model.GetCaption());
  Mirror();
}

void CDialogModelWindow::Mirror() {
  HWND dlg = m_hWnd;
  if (!dlg) return;
  const bool saved = m_bMirroring;
  m_bMirroring = true;
  for (const DialogControl& c : m_Model.Controls().Controls()) {
    HWND h = GetDlgItem(dlg, c.m_nID);
    if (!h) continue;
    std::vector<HWND> parts{h};
    if (c.m_eKind == K::Spin) parts.push_back(GetDlgItem(dlg, c.m_nID + kSpinDownOffset));
    if (HWND cap = GetDlgItem(dlg, c.m_nID + kCaptionOffset)) parts.push_back(cap);
    if (c.m_nID == FolderFieldId()) parts.push_back(GetDlgItem(dlg, kBrowseId));
    for (HWND p : parts) {
      if (!p) continue;
      // The control's own visible bit: the dialog itself may not be shown yet.
      const bool shown = (GetWindowLongA(p, GWL_STYLE) & WS_VISIBLE) != 0;
      if (shown != (c.IsVisible() != 0)) ShowWindow(p, c.IsVisible() ? SW_SHOW : SW_HIDE);
      if ((IsWindowEnabled(p) != 0) != (c.m_bEnabled != 0)) EnableWindow(p, c.m_bEnabled ? TRUE : FALSE);
    }
    switch (c.m_eKind) {
      case K::Check:
        if (int(SendMessageA(h, BM_GETCHECK, 0, 0)) != (c.m_bChecked ? 1 : 0))
          SendMessageA(h, BM_SETCHECK, c.m_bChecked ? BST_CHECKED : BST_UNCHECKED, 0);
        [[fallthrough]];
      case K::Label:
      case K::Group:
      case K::Edit:
        if (GetWindowTextString(h) != c.m_strText.GetString()) SetWindowTextA(h, c.m_strText);
        break;
      case K::Combo: {
        int n = int(SendMessageA(h, CB_GETCOUNT, 0, 0));
        bool same = n == int(c.m_Items.size());
        for (int i = 0; same && i < n; ++i) {
          char buf[512] = {};
          if (SendMessageA(h, CB_GETLBTEXTLEN, WPARAM(i), 0) < LRESULT(sizeof buf)) SendMessageA(h, CB_GETLBTEXT, WPARAM(i), LPARAM(buf));
          same = c.m_Items[std::size_t(i)] == buf;
        }
        if (!same) {
          SendMessageA(h, CB_RESETCONTENT, 0, 0);
          for (const CString& s : c.m_Items) SendMessageA(h, CB_ADDSTRING, 0, LPARAM(s.GetString()));
        }
        if (int(SendMessageA(h, CB_GETCURSEL, 0, 0)) != c.m_nSel) SendMessageA(h, CB_SETCURSEL, WPARAM(c.m_nSel), 0);
        break;
      }
      case K::List: {
        int n = int(SendMessageA(h, LB_GETCOUNT, 0, 0));
        bool same = n == int(c.m_Items.size());
        for (int i = 0; same && i < n; ++i) {
          char buf[512] = {};
          if (SendMessageA(h, LB_GETTEXTLEN, WPARAM(i), 0) < LRESULT(sizeof buf)) SendMessageA(h, LB_GETTEXT, WPARAM(i), LPARAM(buf));
          same = c.m_Items[std::size_t(i)] == buf;
        }
        if (!same) {
          SendMessageA(h, LB_RESETCONTENT, 0, 0);
          for (const CString& s : c.m_Items) SendMessageA(h, LB_ADDSTRING, 0, LPARAM(s.GetString()));
        }
        for (int i = 0; i < int(c.m_Items.size()); ++i) {
          bool want = std::find(c.m_Selected.begin(), c.m_Selected.end(), i) != c.m_Selected.end();
          if ((SendMessageA(h, LB_GETSEL, WPARAM(i), 0) > 0) != want) SendMessageA(h, LB_SETSEL, want, LPARAM(i));
        }
        break;
      }
      case K::Spin:
        break;
    }
  }
  m_bMirroring = saved;
}

void CDialogModelWindow::End(int result) {
  m_nEnd = result;
  if (m_bModal)
    EndDialog(m_hWnd, result);
  else
    DestroyWindow(m_hWnd);
}

void CDialogModelWindow::OnCommand(int id, int code) {
  if (m_bMirroring) return;  // our own copying into the controls
  HWND dlg = m_hWnd;
  if (id == IDOK && code == BN_CLICKED) {
    if (m_Model.OnOK()) End(IDOK);
    else Mirror();
    return;
  }
  if (id == IDCANCEL) {
    m_Model.OnCancel();
    End(IDCANCEL);
    return;
  }
  if (id == kBrowseId && code == BN_CLICKED) {
    const int folder = FolderFieldId();
    FileChooserRequest req;
    req.mode = FileChooserRequest::Mode::Folder;
    req.title = "Choose a folder";
    req.initialPath = GetWindowTextString(GetDlgItem(dlg, folder));
    if (ChooseFile(dlg, req) == IDOK) {
      m_Model.OnEditText(folder, req.path.c_str());
      Mirror();
    }
    return;
  }
  const DialogControl* c = m_Model.Controls().Find(id);
  const DialogControl* spinDown = id > kSpinDownOffset ? m_Model.Controls().Find(id - kSpinDownOffset) : nullptr;
  if (spinDown && spinDown->m_eKind == K::Spin) {
    if (code == BN_CLICKED) m_Model.OnSpin(spinDown->m_nID, -1);
    Mirror();
    return;
  }
  if (!c) return;
  HWND h = GetDlgItem(dlg, id);
  switch (c->m_eKind) {
    case K::Check:
      if (code == BN_CLICKED) m_Model.OnClick(id);
      break;
    case K::Spin:
      if (code == BN_CLICKED) m_Model.OnSpin(id, +1);
      break;
    case K::Edit:
      if (code != EN_CHANGE) return;
      m_Model.OnEditText(id, GetWindowTextString(h).c_str());
      break;
    case K::Combo:
      if (code != CBN_SELCHANGE) return;
      m_Model.OnSelChange(id, int(SendMessageA(h, CB_GETCURSEL, 0, 0)), 1);
      break;
    case K::List: {
      if (code != LBN_SELCHANGE) return;
      const std::vector<int> was = c->m_Selected;
      const int n = int(SendMessageA(h, LB_GETCOUNT, 0, 0));
      for (int i = 0; i < n; ++i) {
        bool now = SendMessageA(h, LB_GETSEL, WPARAM(i), 0) > 0;
        bool before = std::find(was.begin(), was.end(), i) != was.end();
        if (now != before) m_Model.OnSelChange(id, i, now ? 1 : 0);
      }
      break;
    }
    default:
      return;
  }
  Mirror();
}

INT_PTR CDialogModelWindow::DlgProc(HWND dlg, UINT msg, WPARAM wParam, LPARAM lParam) {
  auto* self = reinterpret_cast<CDialogModelWindow*>(GetWindowLongPtrA(dlg, DWLP_USER));
  switch (msg) {
    case WM_INITDIALOG:
      self = reinterpret_cast<CDialogModelWindow*>(lParam);
      SetWindowLongPtrA(dlg, DWLP_USER, LONG_PTR(lParam));
      self->m_hWnd = dlg;
      self->Build(dlg);
      return TRUE;
    case WM_COMMAND:
      if (self) self->OnCommand(LOWORD(DWORD(wParam)), HIWORD(DWORD(wParam)));
      return TRUE;
    case WM_DESTROY:
      if (self) {
        if (!self->m_nEnd) {
          self->m_Model.OnCancel();
          self->m_nEnd = IDCANCEL;
        }
        self->m_hWnd = nullptr;
        SetWindowLongPtrA(dlg, DWLP_USER, 0);
      }
      return FALSE;
    default:
      return FALSE;
  }
}

namespace {
DialogTemplate ModelTemplate() { return DialogTemplate(WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME, 0, 0, 100, 60, ""); }
}  // namespace

INT_PTR CDialogModelWindow::DoModal(HWND owner) {
  if (m_hWnd) return -1;
  DialogTemplate t = ModelTemplate();
  t.header.style |= WS_VISIBLE;
  m_bModal = true;
  m_nEnd = 0;
  INT_PTR r = DialogBoxIndirectParamA(nullptr, &t, owner, DlgProc, LPARAM(this));
  m_bModal = false;
  return r;
}

HWND CDialogModelWindow::Create(HWND owner) {
  if (m_hWnd) return nullptr;
  DialogTemplate t = ModelTemplate();
  m_bModal = false;
  m_nEnd = 0;
  HWND dlg = CreateDialogIndirectParamA(nullptr, &t, owner, DlgProc, LPARAM(this));
  if (dlg) ShowWindow(dlg, SW_SHOW);
  return dlg;
}

}  // namespace zev
