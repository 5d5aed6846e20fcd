// Dialogs: templates written in code (in dialog units), modeless and modal creation, the
// modal loop, EndDialog, the default dialog procedure, dialog keyboard handling, and the
// dialog-item helpers.
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "window/WindowImpl.h"

namespace zev {

using namespace wnd;

// ---- templates ----

DialogTemplate::DialogTemplate(DWORD style, short x, short y, short cx, short cy, const char* caption_,
                               DWORD exStyle)
    : header{style, exStyle, 0, x, y, cx, cy}, caption(caption_ ? caption_ : "") {}

DialogTemplate& DialogTemplate::SetFont(const char* face, WORD size) {
  fontFace = face ? face : "";
  pointSize = size;
  header.style |= DS_SETFONT;
  return *this;
}

DialogTemplate& DialogTemplate::SetClassName(const char* name) {
  className = name ? name : "";
  return *this;
}

DialogTemplate& DialogTemplate::Control(const char* text, WORD id, const char* cls, DWORD style, short x, short y,
                                        short cx, short cy, DWORD exStyle) {
  items.push_back({{style | WS_CHILD | WS_VISIBLE, exStyle, x, y, cx, cy, id}, cls ? cls : "", text ? text : ""});
  header.cdit = WORD(items.size());
  return *this;
}

DialogTemplate& DialogTemplate::PushButton(const char* t, WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control(t, id, "Button", BS_PUSHBUTTON | WS_TABSTOP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::DefPushButton(const char* t, WORD id, short x, short y, short cx, short cy,
                                              DWORD s) {
  return Control(t, id, "Button", BS_DEFPUSHBUTTON | WS_TABSTOP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::CheckBox(const char* t, WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control(t, id, "Button", BS_CHECKBOX | WS_TABSTOP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::AutoCheckBox(const char* t, WORD id, short x, short y, short cx, short cy,
                                             DWORD s) {
  return Control(t, id, "Button", BS_AUTOCHECKBOX | WS_TABSTOP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::RadioButton(const char* t, WORD id, short x, short y, short cx, short cy,
                                            DWORD s) {
  return Control(t, id, "Button", BS_RADIOBUTTON | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::AutoRadioButton(const char* t, WORD id, short x, short y, short cx, short cy,
                                                DWORD s) {
  return Control(t, id, "Button", BS_AUTORADIOBUTTON | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::GroupBox(const char* t, WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control(t, id, "Button", BS_GROUPBOX | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::LText(const char* t, WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control(t, id, "Static", SS_LEFT | WS_GROUP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::CText(const char* t, WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control(t, id, "Static", SS_CENTER | WS_GROUP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::RText(const char* t, WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control(t, id, "Static", SS_RIGHT | WS_GROUP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::Icon(const char* name, WORD id, short x, short y, DWORD s) {
  return Control(name, id, "Static", SS_ICON | s, x, y, 0, 0);
}
DialogTemplate& DialogTemplate::EditText(WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control("", id, "Edit", ES_LEFT | WS_BORDER | WS_TABSTOP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::ListBox(WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control("", id, "ListBox", LBS_NOTIFY | WS_BORDER | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::ComboBox(WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control("", id, "ComboBox", s, x, y, cx, cy);
}

namespace {

std::mutex& TemplatesMutex() {
  static std::mutex* m = new std::mutex;
  return *m;
}
std::map<std::string, DialogTemplate>& Templates() {
  static auto* t = new std::map<std::string, DialogTemplate>;
  return *t;
}
std::string TemplateKey(LPCSTR name) {
  if (IS_INTRESOURCE(name)) return "#" + std::to_string(reinterpret_cast<std::uintptr_t>(name));
  std::string k = name ? name : "";
  for (char& c : k) c = char(std::toupper(static_cast<unsigned char>(c)));
  return k;
}

LONG MulDivUnits(int v, int base, int div) { return LONG((std::int64_t(v) * base) / div); }

DialogData& DialogOf(Wnd* w) {
  if (!w->dlg) w->dlg = std::make_unique<DialogData>();
  return *w->dlg;
}

bool IsPushButton(Wnd* c) {
  return c->kind == ControlKind::PushButton;
}

HWND FindDefaultButton(Wnd* dlg) {
  for (Wnd* c : dlg->children)
    if (c->kind == ControlKind::PushButton && (c->style & BS_TYPEMASK) == BS_DEFPUSHBUTTON) return c->hwnd;
  return nullptr;
}

void SetFocusToControl(HWND ctl) {
  if (!ctl) return;
  SetFocus(ctl);
  // Tabbing into an edit selects its text.
  if (Wnd* c = Thread().Find(ctl); c && (Send(c, WM_GETDLGCODE, 0, 0) & DLGC_HASSETSEL))
    Send(c, EM_SETSEL, 0, -1);
}

bool Usable(const Wnd* c) { return (c->style & WS_VISIBLE) && !(c->style & WS_DISABLED); }

}  // namespace

void RegisterDialogTemplate(LPCSTR name, const DialogTemplate& tmpl) {
  std::lock_guard<std::mutex> g(TemplatesMutex());
  Templates()[TemplateKey(name)] = tmpl;
}

const DialogTemplate* FindDialogTemplate(LPCSTR name) {
  std::lock_guard<std::mutex> g(TemplatesMutex());
  auto it = Templates().find(TemplateKey(name));
  return it == Templates().end() ? nullptr : &it->second;
}

// ---- creation ----

HWND CreateDialogIndirectParamA(HINSTANCE instance, LPCDLGTEMPLATEA tmpl, HWND parent, DLGPROC proc,
                                LPARAM param) {
  if (!tmpl) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  DWORD style = tmpl->header.style;
  DWORD ex = tmpl->header.dwExtendedStyle;
  if (style & DS_MODALFRAME) ex |= WS_EX_DLGMODALFRAME;
  if (style & DS_CONTROL) {
    style &= ~(WS_CAPTION | WS_SYSMENU);
    style |= WS_CHILD;
    ex |= WS_EX_CONTROLPARENT;
  }
  const bool visible = (style & WS_VISIBLE) != 0;
  SIZE bu = Backend().DialogBaseUnits(tmpl->fontFace.empty() ? nullptr : tmpl->fontFace.c_str(), tmpl->pointSize);
  RECT r{0, 0, MulDivUnits(tmpl->header.cx, bu.cx, 4), MulDivUnits(tmpl->header.cy, bu.cy, 8)};
  AdjustWindowRectEx(&r, style, FALSE, ex);
  int x = MulDivUnits(tmpl->header.x, bu.cx, 4) + r.left;
  int y = MulDivUnits(tmpl->header.y, bu.cy, 8) + r.top;
  const int w = r.right - r.left, h = r.bottom - r.top;
  if (!(style & WS_CHILD) && parent && !(style & DS_ABSALIGN)) {
    POINT o{0, 0};
    ClientToScreen(parent, &o);
    x += o.x;
    y += o.y;
  }
  if (style & DS_CENTER) {
    RECT area{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    x = area.left + (area.right - area.left - w) / 2;
    y = area.top + (area.bottom - area.top - h) / 2;
  }
  LPCSTR cls = tmpl->className.empty() ? WC_DIALOG : tmpl->className.c_str();
  HWND dlg = CreateWindowExA(ex, cls, tmpl->caption.c_str(), style & ~WS_VISIBLE, x, y, w, h, parent, nullptr,
                             instance, reinterpret_cast<LPVOID>(param));
  if (!dlg) return nullptr;
  Wnd* dw = Thread().Find(dlg);
  DialogData& dd = DialogOf(dw);
  dd.proc = proc;
  dd.baseUnits = bu;
  dd.fontFace = tmpl->fontFace;
  dd.pointSize = tmpl->pointSize;
  for (const DialogTemplate::Item& it : tmpl->items) {
    const DLGITEMTEMPLATE& t = it.tmpl;
    HWND c = CreateWindowExA(t.dwExtendedStyle | WS_EX_NOPARENTNOTIFY, it.className.c_str(), it.text.c_str(),
                             t.style | WS_CHILD, MulDivUnits(t.x, bu.cx, 4), MulDivUnits(t.y, bu.cy, 8),
                             MulDivUnits(t.cx, bu.cx, 4), MulDivUnits(t.cy, bu.cy, 8), dlg,
                             reinterpret_cast<HMENU>(std::uintptr_t(t.id)), instance, nullptr);
    if (!IsWindow(dlg)) return nullptr;
    if (!c && !(style & DS_NOFAILCREATE)) {
      DestroyWindow(dlg);
      return nullptr;
    }
    if (c && (t.style & BS_TYPEMASK) == BS_DEFPUSHBUTTON && it.className == "Button" && !dd.defId) dd.defId = t.id;
  }
  if (dw->font) Send(dw, WM_SETFONT, reinterpret_cast<WPARAM>(dw->font), 0);
  HWND first = GetNextDlgTabItem(dlg, nullptr, FALSE);
  if (SendMessageA(dlg, WM_INITDIALOG, reinterpret_cast<WPARAM>(first), param) && IsWindow(dlg)) {
    HWND f = GetNextDlgTabItem(dlg, nullptr, FALSE);
    if (f) SetFocusToControl(f);
  }
  if (!IsWindow(dlg)) return nullptr;
  if (visible) ShowWindow(dlg, SW_SHOWNORMAL);
  return IsWindow(dlg) ? dlg : nullptr;
}

HWND CreateDialogParamA(HINSTANCE instance, LPCSTR name, HWND parent, DLGPROC proc, LPARAM param) {
  const DialogTemplate* t = FindDialogTemplate(name);
  if (!t) {
    SetLastError(1814);  // ERROR_RESOURCE_NAME_NOT_FOUND
    return nullptr;
  }
  DialogTemplate copy = *t;  // the table may change while the dialog runs
  return CreateDialogIndirectParamA(instance, &copy, parent, proc, param);
}

INT_PTR DialogBoxIndirectParamA(HINSTANCE instance, LPCDLGTEMPLATEA tmpl, HWND owner, DLGPROC proc,
                                LPARAM param) {
  if (!tmpl) return -1;
  HWND top = owner && IsWindow(owner) ? GetAncestor(owner, GA_ROOT) : nullptr;
  DialogTemplate hidden = *tmpl;
  const bool wantVisible = (hidden.header.style & WS_VISIBLE) != 0;
  hidden.header.style &= ~WS_VISIBLE;
  HWND dlg = CreateDialogIndirectParamA(instance, &hidden, top, proc, param);
  if (!dlg) return -1;
  if (Wnd* d = Thread().Find(dlg)) DialogOf(d).inModalLoop = true;
  if (top && IsWindowEnabled(top)) {
    EnableWindow(top, FALSE);
    if (Wnd* d = Thread().Find(dlg)) DialogOf(d).disabledOwner = top;
  }
  Backend().ModalChanged(dlg, top, true);
  bool shown = !wantVisible;
  if (Wnd* d = Thread().Find(dlg); d && (d->style & WS_VISIBLE)) shown = true;
  auto ended = [&] {
    Wnd* d = Thread().Find(dlg);
    return !d || (d->dlg && d->dlg->ended);
  };
  MSG msg;
  while (!ended()) {
    if (!PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
      if (!shown) {
        shown = true;
        ShowWindow(dlg, SW_SHOWNORMAL);
        continue;
      }
      if (top && !(hidden.header.style & DS_NOIDLEMSG))
        SendMessageA(top, WM_ENTERIDLE, MSGF_DIALOGBOX, reinterpret_cast<LPARAM>(dlg));
      if (ended()) break;
      if (!GetMessageA(&msg, nullptr, 0, 0)) {
        PostQuitMessage(int(msg.wParam));
        break;
      }
    } else if (msg.message == WM_QUIT) {
      PostQuitMessage(int(msg.wParam));
      break;
    }
    if (!IsWindow(dlg)) break;
    if (!IsDialogMessageA(dlg, &msg)) {
      TranslateMessage(&msg);
      DispatchMessageA(&msg);
    }
  }
  INT_PTR result = 0;
  if (Wnd* d = Thread().Find(dlg)) {
    DialogData& dd = DialogOf(d);
    result = dd.result;
    if (dd.disabledOwner) {
      HWND o = dd.disabledOwner;
      dd.disabledOwner = nullptr;
      EnableWindow(o, TRUE);
    }
  } else if (top && IsWindow(top) && !IsWindowEnabled(top)) {
    EnableWindow(top, TRUE);
  }
  Backend().ModalChanged(dlg, top, false);
  if (Wnd* d = Thread().Find(dlg)) {
    DialogOf(d).inModalLoop = false;
    DestroyWindow(dlg);
  }
  return result;
}

INT_PTR DialogBoxParamA(HINSTANCE instance, LPCSTR name, HWND owner, DLGPROC proc, LPARAM param) {
  const DialogTemplate* t = FindDialogTemplate(name);
  if (!t) {
    SetLastError(1814);
    return -1;
  }
  DialogTemplate copy = *t;
  return DialogBoxIndirectParamA(instance, &copy, owner, proc, param);
}

BOOL EndDialog(HWND dlg, INT_PTR result) {
  Wnd* w = Get(dlg);
  if (!w) return FALSE;
  BusyGuard g(w);
  DialogData& dd = DialogOf(w);
  dd.ended = true;
  dd.result = result;
  if (dd.disabledOwner) {
    HWND o = dd.disabledOwner;
    dd.disabledOwner = nullptr;
    EnableWindow(o, TRUE);
  }
  if (!w->dead && (w->style & WS_VISIBLE)) ShowWindow(dlg, SW_HIDE);
  // The modal loop looks at the end flag only after a message arrives.
  PostMessageA(dlg, WM_NULL, 0, 0);
  return TRUE;
}

// ---- the default dialog procedure ----

namespace {

LRESULT DefaultDialogHandling(Wnd* w, UINT msg, WPARAM wp, LPARAM lp) {
  HWND h = w->hwnd;
  DialogData& dd = DialogOf(w);
  switch (msg) {
    case WM_ERASEBKGND:
      return 1;
    case WM_SETFOCUS: {
      HWND f = dd.focusSave && IsChild(h, dd.focusSave) ? dd.focusSave : GetNextDlgTabItem(h, nullptr, FALSE);
      if (f && IsWindowEnabled(f)) SetFocusToControl(f);
      return 0;
    }
    case WM_ACTIVATE:
      if (LOWORD(DWORD(wp)) == WA_INACTIVE) {
        HWND f = GetFocus();
        if (f && IsChild(h, f)) dd.focusSave = f;
      } else if (!GetFocus() || !IsChild(h, GetFocus())) {
        HWND f = dd.focusSave && IsChild(h, dd.focusSave) ? dd.focusSave : GetNextDlgTabItem(h, nullptr, FALSE);
        if (f) SetFocusToControl(f);
      }
      return 0;
    case WM_SHOWWINDOW:
      if (!wp) {
        HWND f = GetFocus();
        if (f && IsChild(h, f)) dd.focusSave = f;
      }
      return DefWindowProcA(h, msg, wp, lp);
    case DM_SETDEFID: {
      int old = dd.defId;
      dd.defId = int(wp);
      if (old && old != int(wp))
        if (HWND b = GetDlgItem(h, old); b && IsPushButton(Thread().Find(b))) SendMessageA(b, BM_SETSTYLE, BS_PUSHBUTTON, TRUE);
      if (wp)
        if (HWND b = GetDlgItem(h, int(wp)); b && IsPushButton(Thread().Find(b)))
          SendMessageA(b, BM_SETSTYLE, BS_DEFPUSHBUTTON, TRUE);
      return TRUE;
    }
    case DM_GETDEFID: {
      if (dd.defId) return LRESULT(MAKELONG(WORD(dd.defId), DC_HASDEFID));
      if (HWND b = FindDefaultButton(w)) return LRESULT(MAKELONG(WORD(GetDlgCtrlID(b)), DC_HASDEFID));
      return 0;
    }
    case WM_NEXTDLGCTL: {
      HWND target = LOWORD(DWORD(lp)) ? reinterpret_cast<HWND>(wp) : GetNextDlgTabItem(h, GetFocus(), wp != 0);
      if (target) SetFocusToControl(target);
      return 0;
    }
    case WM_CLOSE: {
      HWND cancel = GetDlgItem(h, IDCANCEL);
      if (!cancel || IsWindowEnabled(cancel))
        PostMessageA(h, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), reinterpret_cast<LPARAM>(cancel));
      return 0;
    }
    case WM_GETFONT:
      return reinterpret_cast<LRESULT>(w->font);
    default:
      return DefWindowProcA(h, msg, wp, lp);
  }
}

bool ReturnsDirectly(UINT msg) {
  switch (msg) {
    case WM_INITDIALOG:
    case WM_CTLCOLORMSGBOX:
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORLISTBOX:
    case WM_CTLCOLORBTN:
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORSCROLLBAR:
    case WM_CTLCOLORSTATIC:
    case WM_COMPAREITEM:
    case WM_VKEYTOITEM:
    case WM_CHARTOITEM:
    case WM_QUERYDRAGICON:
      return true;
    default:
      return false;
  }
}

}  // namespace

LRESULT DefDlgProcA(HWND dlg, UINT msg, WPARAM wp, LPARAM lp) {
  Wnd* w = Thread().Find(dlg);
  if (!w) return 0;
  BusyGuard g(w);
  DialogData& dd = DialogOf(w);
  dd.msgResult = 0;
  INT_PTR r = dd.proc ? dd.proc(dlg, msg, wp, lp) : 0;
  if (w->dead) return r;
  if (!r) return DefaultDialogHandling(w, msg, wp, lp);
  return ReturnsDirectly(msg) ? r : w->dlg->msgResult;
}

// ---- keyboard handling ----

BOOL IsDialogMessageA(HWND dlg, MSG* msg) {
  if (!msg) return FALSE;
  Wnd* d = Thread().Find(dlg);
  if (!d) return FALSE;
  if (msg->hwnd != dlg && !IsChild(dlg, msg->hwnd)) return FALSE;
  if (CallMsgFilterA(msg, MSGF_DIALOGBOX)) return TRUE;
  if (msg->message == WM_KEYDOWN && Thread().Find(msg->hwnd)) {
    LRESULT code = SendMessageA(msg->hwnd, WM_GETDLGCODE, msg->wParam, reinterpret_cast<LPARAM>(msg));
    if (!(code & DLGC_WANTMESSAGE)) {
      switch (msg->wParam) {
        case VK_TAB:
          if (!(code & DLGC_WANTTAB)) {
            SendMessageA(dlg, WM_NEXTDLGCTL, GetKeyState(VK_SHIFT) < 0 ? 1 : 0, 0);
            return TRUE;
          }
          break;
        case VK_LEFT:
        case VK_UP:
        case VK_RIGHT:
        case VK_DOWN:
          if (!(code & DLGC_WANTARROWS)) {
            HWND next = GetNextDlgGroupItem(dlg, msg->hwnd, msg->wParam == VK_LEFT || msg->wParam == VK_UP);
            if (next && next != msg->hwnd) {
              SendMessageA(dlg, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(next), TRUE);
              Wnd* n = Thread().Find(next);
              if (n && (n->style & BS_TYPEMASK) == BS_AUTORADIOBUTTON && n->kind == ControlKind::RadioButton)
                SendMessageA(next, BM_CLICK, 0, 0);
            }
            return TRUE;
          }
          break;
        case VK_ESCAPE:
        case VK_CANCEL:
          SendMessageA(dlg, WM_COMMAND, IDCANCEL, reinterpret_cast<LPARAM>(GetDlgItem(dlg, IDCANCEL)));
          return TRUE;
        case VK_RETURN:
        case VK_EXECUTE: {
          HWND f = GetFocus();
          if (f == msg->hwnd && (SendMessageA(f, WM_GETDLGCODE, 0, 0) & DLGC_DEFPUSHBUTTON)) {
            if (IsWindowEnabled(f))
              SendMessageA(dlg, WM_COMMAND, MAKEWPARAM(WORD(GetDlgCtrlID(f)), BN_CLICKED), reinterpret_cast<LPARAM>(f));
          } else {
            DWORD dw = DWORD(SendMessageA(dlg, DM_GETDEFID, 0, 0));
            if (HIWORD(dw) == DC_HASDEFID) {
              HWND def = GetDlgItem(dlg, LOWORD(dw));
              if (!def || IsWindowEnabled(def))
                SendMessageA(dlg, WM_COMMAND, MAKEWPARAM(LOWORD(dw), BN_CLICKED), reinterpret_cast<LPARAM>(def));
            } else {
              SendMessageA(dlg, WM_COMMAND, IDOK, reinterpret_cast<LPARAM>(GetDlgItem(dlg, IDOK)));
            }
          }
          return TRUE;
        }
        default:
          break;
      }
    }
  }
  TranslateMessage(msg);
  DispatchMessageA(msg);
  return TRUE;
}

// ---- dialog items ----

HWND GetNextDlgTabItem(HWND dlg, HWND ctl, BOOL previous) {
  Wnd* d = Get(dlg);
  if (!d) return nullptr;
  std::vector<Wnd*> stops;
  for (Wnd* c : d->children)
    if ((c->style & WS_TABSTOP) && Usable(c)) stops.push_back(c);
  if (stops.empty()) return ctl;
  Wnd* cur = Thread().Find(ctl);
  auto& kids = d->children;
  auto pos = cur ? std::find(kids.begin(), kids.end(), cur) : kids.end();
  if (pos == kids.end()) return previous ? stops.back()->hwnd : stops.front()->hwnd;
  const int n = int(kids.size());
  int i = int(pos - kids.begin());
  for (int k = 1; k <= n; ++k) {
    Wnd* c = kids[std::size_t(((previous ? i - k : i + k) % n + n) % n)];
    if ((c->style & WS_TABSTOP) && Usable(c)) return c->hwnd;
  }
  return ctl;
}

HWND GetNextDlgGroupItem(HWND dlg, HWND ctl, BOOL previous) {
  Wnd* d = Get(dlg);
  if (!d) return nullptr;
  Wnd* cur = Thread().Find(ctl);
  if (!cur || cur->parent != d) {
    for (Wnd* c : d->children)
      if (Usable(c)) return c->hwnd;
    return nullptr;
  }
  std::vector<Wnd*> group = GroupOf(cur);
  const int n = int(group.size());
  int i = int(std::find(group.begin(), group.end(), cur) - group.begin());
  for (int k = 1; k < n; ++k) {
    Wnd* c = group[std::size_t(((previous ? i - k : i + k) % n + n) % n)];
    if (Usable(c)) return c->hwnd;
  }
  return ctl;
}

LRESULT SendDlgItemMessageA(HWND dlg, int id, UINT msg, WPARAM wParam, LPARAM lParam) {
  HWND c = GetDlgItem(dlg, id);
  return c ? SendMessageA(c, msg, wParam, lParam) : 0;
}

BOOL SetDlgItemTextA(HWND dlg, int id, LPCSTR text) {
  HWND c = GetDlgItem(dlg, id);
  return c ? SetWindowTextA(c, text) : FALSE;
}

UINT GetDlgItemTextA(HWND dlg, int id, LPSTR text, int maxCount) {
  HWND c = GetDlgItem(dlg, id);
  if (!c) {
    if (text && maxCount > 0) text[0] = 0;
    return 0;
  }
  return UINT(GetWindowTextA(c, text, maxCount));
}

BOOL SetDlgItemInt(HWND dlg, int id, UINT value, BOOL isSigned) {
  char buf[16];
  if (isSigned)
    std::snprintf(buf, sizeof buf, "%d", int(value));
  else
    std::snprintf(buf, sizeof buf, "%u", value);
  return SetDlgItemTextA(dlg, id, buf);
}

UINT GetDlgItemInt(HWND dlg, int id, BOOL* translated, BOOL isSigned) {
  if (translated) *translated = FALSE;
  HWND c = GetDlgItem(dlg, id);
  if (!c) return 0;
  std::string t = GetWindowTextString(c);
  const char* s = t.c_str();
  while (*s == ' ' || *s == '\t') ++s;
  if (!isSigned && *s == '-') return 0;
  char* end = nullptr;
  errno = 0;
  long long v = std::strtoll(s, &end, 10);
  if (end == s) return 0;
  while (*end == ' ' || *end == '\t') ++end;
  if (*end || errno == ERANGE) return 0;
  if (isSigned ? (v < INT_MIN || v > INT_MAX) : (v < 0 || v > UINT_MAX)) return 0;
  if (translated) *translated = TRUE;
  return UINT(v);
}

BOOL CheckDlgButton(HWND dlg, int id, UINT check) {
  HWND c = GetDlgItem(dlg, id);
  if (!c) return FALSE;
  SendMessageA(c, BM_SETCHECK, check, 0);
  return TRUE;
}

UINT IsDlgButtonChecked(HWND dlg, int id) { return UINT(SendDlgItemMessageA(dlg, id, BM_GETCHECK, 0, 0)); }

BOOL CheckRadioButton(HWND dlg, int firstId, int lastId, int checkId) {
  Wnd* d = Get(dlg);
  if (!d) return FALSE;
  std::vector<std::pair<HWND, int>> members;
  for (Wnd* c : d->children)
    if (int(c->id) >= firstId && int(c->id) <= lastId) members.emplace_back(c->hwnd, int(c->id));
  for (auto [h, id] : members)
    if (IsWindow(h)) SendMessageA(h, BM_SETCHECK, id == checkId ? BST_CHECKED : BST_UNCHECKED, 0);
  return TRUE;
}

}  // namespace zev
