// The standard controls as class procedures: "Button" (push, check, radio, group box),
// "Edit", "Static", "ListBox", "ComboBox", the progress bar and the tab control, with the
// messages they answer and the notifications they send their parent.
#include <algorithm>
#include <cstring>

#include "window/WindowImpl.h"

namespace zev::wnd {

namespace {

int CompareNoCase(const std::string& a, const std::string& b) {
  std::size_t n = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < n; ++i) {
    int ca = std::tolower(static_cast<unsigned char>(a[i])), cb = std::tolower(static_cast<unsigned char>(b[i]));
    if (ca != cb) return ca < cb ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

bool StartsWithNoCase(const std::string& s, const std::string& prefix) {
  if (prefix.size() > s.size()) return false;
  return CompareNoCase(s.substr(0, prefix.size()), prefix) == 0;
}

std::string Str(LPARAM l) {
  const char* s = reinterpret_cast<const char*>(l);
  return s ? s : "";
}

LRESULT CopyOut(const std::string& s, LPARAM buf) {
  char* out = reinterpret_cast<char*>(buf);
  if (!out) return LRESULT(s.size());
  std::memcpy(out, s.data(), s.size());
  out[s.size()] = 0;
  return LRESULT(s.size());
}

void Changed(Wnd* w, StateChange what, int index = -1) { Backend().ControlChanged(w->hwnd, what, index); }

// ---- list storage shared by the list box, the combo box and the tab control ----

int Count(const Wnd* w) { return int(w->ctl.items.size()); }
bool InRange(const Wnd* w, WPARAM i) { return std::intptr_t(i) >= 0 && std::intptr_t(i) < Count(w); }

int InsertItem(Wnd* w, int index, ListItem item) {
  auto& v = w->ctl.items;
  if (index < 0 || index > int(v.size())) index = int(v.size());
  v.insert(v.begin() + index, std::move(item));
  if (w->ctl.curSel >= index) ++w->ctl.curSel;
  if (w->ctl.caret > index && w->ctl.caret < int(v.size())) ++w->ctl.caret;
  Changed(w, StateChange::ItemInserted, index);
  return index;
}

int SortedPosition(const Wnd* w, const std::string& text) {
  const auto& v = w->ctl.items;
  int pos = int(v.size());
  for (int i = 0; i < int(v.size()); ++i)
    if (CompareNoCase(v[std::size_t(i)].text, text) > 0) {
      pos = i;
      break;
    }
  return pos;
}

bool DeleteItem(Wnd* w, int index) {
  auto& v = w->ctl.items;
  if (index < 0 || index >= int(v.size())) return false;
  v.erase(v.begin() + index);
  if (w->ctl.curSel == index)
    w->ctl.curSel = -1;
  else if (w->ctl.curSel > index)
    --w->ctl.curSel;
  if (w->ctl.caret >= int(v.size())) w->ctl.caret = std::max(0, int(v.size()) - 1);
  Changed(w, StateChange::ItemDeleted, index);
  return true;
}

void ResetItems(Wnd* w) {
  w->ctl.items.clear();
  w->ctl.curSel = -1;
  w->ctl.caret = 0;
  w->ctl.anchor = -1;
  w->ctl.topIndex = 0;
  Changed(w, StateChange::ItemsReset);
}

int FindItem(const Wnd* w, WPARAM start, const std::string& text, bool exact) {
  int n = Count(w);
  if (n == 0) return -1;
  int first = (std::intptr_t(start) < 0 || std::intptr_t(start) >= n) ? 0 : int(start) + 1;
  for (int k = 0; k < n; ++k) {
    int i = (first + k) % n;
    const std::string& t = w->ctl.items[std::size_t(i)].text;
    if (exact ? CompareNoCase(t, text) == 0 : StartsWithNoCase(t, text)) return i;
  }
  return -1;
}

bool MultiSelect(const Wnd* w) { return (w->style & (LBS_MULTIPLESEL | LBS_EXTENDEDSEL)) != 0; }

// ---- buttons ----

UINT ButtonType(const Wnd* w) { return w->style & BS_TYPEMASK; }

UINT MaxCheck(UINT type) {
  switch (type) {
    case BS_CHECKBOX:
    case BS_AUTOCHECKBOX:
    case BS_RADIOBUTTON:
    case BS_AUTORADIOBUTTON:
      return 1;
    case BS_3STATE:
    case BS_AUTO3STATE:
      return 2;
    default:
      return 0;
  }
}

UINT ButtonDlgCode(const Wnd* w) {
  switch (ButtonType(w)) {
    case BS_DEFPUSHBUTTON: return DLGC_BUTTON | DLGC_DEFPUSHBUTTON;
    case BS_PUSHBUTTON:
    case BS_PUSHBOX:
    case BS_OWNERDRAW:
    case BS_USERBUTTON: return DLGC_BUTTON | DLGC_UNDEFPUSHBUTTON;
    case BS_RADIOBUTTON:
    case BS_AUTORADIOBUTTON: return DLGC_BUTTON | DLGC_RADIOBUTTON;
    case BS_GROUPBOX: return DLGC_STATIC;
    default: return DLGC_BUTTON;
  }
}

}  // namespace

// The members of w's WS_GROUP group: from the nearest sibling at or before w that has
// WS_GROUP, up to the next one that has it.
std::vector<Wnd*> GroupOf(Wnd* w) {
  std::vector<Wnd*> out;
  if (!w->parent) return {w};
  const auto& sib = w->parent->children;
  auto it = std::find(sib.begin(), sib.end(), w);
  if (it == sib.end()) return {w};
  auto start = it;
  while (start != sib.begin() && !((*start)->style & WS_GROUP)) --start;
  out.push_back(*start);
  for (auto j = start + 1; j != sib.end() && !((*j)->style & WS_GROUP); ++j) out.push_back(*j);
  return out;
}

void CheckRadioInGroup(Wnd* w) {
  BusyGuard g(w);
  Send(w, BM_SETCHECK, BST_CHECKED, 0);
  if (w->dead) return;
  std::vector<HWND> others;
  for (Wnd* s : GroupOf(w))
    if (s != w && (s->style & BS_TYPEMASK) == BS_AUTORADIOBUTTON && s->kind == ControlKind::RadioButton)
      others.push_back(s->hwnd);
  for (HWND h : others)
    if (Wnd* s = Thread().Find(h)) Send(s, BM_SETCHECK, BST_UNCHECKED, 0);
}

// A click on a button: the automatic check logic, then BN_CLICKED to the parent.
void ButtonClicked(Wnd* w) {
  BusyGuard g(w);
  switch (ButtonType(w)) {
    case BS_AUTOCHECKBOX:
      Send(w, BM_SETCHECK, w->ctl.check ? BST_UNCHECKED : BST_CHECKED, 0);
      break;
    case BS_AUTO3STATE:
      Send(w, BM_SETCHECK, (w->ctl.check + 1) % 3, 0);
      break;
    case BS_AUTORADIOBUTTON:
      CheckRadioInGroup(w);
      break;
    case BS_GROUPBOX:
      return;
    default:
      break;
  }
  if (!w->dead) NotifyParent(w, BN_CLICKED);
}

LRESULT CALLBACK_ButtonProc(HWND h, UINT m, WPARAM wp, LPARAM lp) {
  Wnd* w = Thread().Find(h);
  if (!w) return 0;
  ControlData& c = w->ctl;
  switch (m) {
    case WM_GETDLGCODE:
      return ButtonDlgCode(w);
    case BM_GETCHECK:
      return MaxCheck(ButtonType(w)) ? c.check : 0;
    case BM_SETCHECK: {
      UINT max = MaxCheck(ButtonType(w));
      if (!max) return 0;
      UINT v = std::min<UINT>(UINT(wp), max);
      if (w->kind == ControlKind::RadioButton) {
        DWORD s = v ? (w->style | WS_TABSTOP) : (w->style & ~WS_TABSTOP);
        w->style = s;
      }
      if (v != c.check) {
        c.check = v;
        Changed(w, StateChange::Check);
      }
      return 0;
    }
    case BM_GETSTATE:
      return LRESULT((MaxCheck(ButtonType(w)) ? c.check : 0) | (c.pushed ? BST_PUSHED : 0) |
                     (Thread().focus == h ? BST_FOCUS : 0));
    case BM_SETSTATE:
      c.pushed = wp ? 1 : 0;
      return 0;
    case BM_SETSTYLE: {
      DWORD old = w->style;
      w->style = (w->style & ~BS_TYPEMASK) | (DWORD(wp) & BS_TYPEMASK);
      w->kind = KindFor(w->cls, w->style);
      if (((old ^ w->style) & BS_TYPEMASK) == (BS_DEFPUSHBUTTON ^ BS_PUSHBUTTON) &&
          ((old | w->style) & BS_TYPEMASK) == BS_DEFPUSHBUTTON)
        Changed(w, StateChange::DefaultButton);
      else if (old != w->style)
        Changed(w, StateChange::Style);
      return 0;
    }
    case BM_CLICK:
      if (InputAllowed(h)) ButtonClicked(w);
      return 0;
    case BM_SETIMAGE:
    case BM_GETIMAGE:
      return 0;
    case WM_SETFOCUS:
      if (w->style & BS_NOTIFY) NotifyParent(w, BN_SETFOCUS);
      return 0;
    case WM_KILLFOCUS:
      if (w->style & BS_NOTIFY) NotifyParent(w, BN_KILLFOCUS);
      return 0;
    default:
      return DefWindowProcA(h, m, wp, lp);
  }
}

// ---- edit ----

bool ApplyKeyToText(Wnd* w, UINT vk, UINT ch, std::string* out) {
  ControlData& c = w->ctl;
  if (w->kind == ControlKind::ComboBox && (w->style & 3) == CBS_DROPDOWNLIST) return false;
  if (w->kind == ControlKind::Edit && (w->style & ES_READONLY)) return false;
  std::string t = w->text;
  std::size_t a = std::min<std::size_t>(std::size_t(std::max(0, std::min(c.selStart, c.selEnd))), t.size());
  std::size_t b = std::min<std::size_t>(std::size_t(std::max(0, std::max(c.selStart, c.selEnd))), t.size());
  std::string insert;
  if (ch == 8 || (vk == VK_BACK && !ch)) {
    if (a == b) {
      if (a == 0) return false;
      --a;
    }
  } else if (vk == VK_DELETE && !ch) {
    if (a == b) {
      if (b >= t.size()) return false;
      ++b;
    }
  } else if (ch == '\r' || ch == '\n') {
    if (w->kind != ControlKind::Edit || !(w->style & ES_MULTILINE)) return false;
    insert = "\r\n";
  } else if (ch >= 0x20 && ch != 0x7F) {
    char chr = char(ch);
    if (w->kind == ControlKind::Edit) {
      if ((w->style & ES_NUMBER) && !(chr >= '0' && chr <= '9')) {
        Backend().Beep(0);
        return false;
      }
      if (w->style & ES_UPPERCASE) chr = char(std::toupper(static_cast<unsigned char>(chr)));
      if (w->style & ES_LOWERCASE) chr = char(std::tolower(static_cast<unsigned char>(chr)));
    }
    insert.assign(1, chr);
  } else {
    return false;
  }
  if (!insert.empty() && t.size() - (b - a) + insert.size() > std::size_t(c.limit)) {
    if (w->kind == ControlKind::Edit) NotifyParent(w, EN_MAXTEXT);
    return false;
  }
  t.replace(a, b - a, insert);
  c.selStart = c.selEnd = int(a + insert.size());
  *out = std::move(t);
  return true;
}

void UserSetText(Wnd* w, const std::string& text) {
  BusyGuard g(w);
  w->text = text;
  w->ctl.modified = true;
  w->ctl.selStart = std::min<int>(w->ctl.selStart, int(text.size()));
  w->ctl.selEnd = std::min<int>(w->ctl.selEnd, int(text.size()));
  Backend().WindowTextChanged(w->hwnd);
  if (w->kind == ControlKind::ComboBox) {
    NotifyParent(w, CBN_EDITUPDATE);
    if (!w->dead) NotifyParent(w, CBN_EDITCHANGE);
  } else {
    NotifyParent(w, EN_UPDATE);
    if (!w->dead) NotifyParent(w, EN_CHANGE);
  }
}

namespace {

// Lines of a multi-line edit, as [start, end) character ranges without the line break.
std::vector<std::pair<int, int>> Lines(const Wnd* w) {
  std::vector<std::pair<int, int>> out;
  const std::string& t = w->text;
  if (!(w->style & ES_MULTILINE)) return {{0, int(t.size())}};
  int start = 0;
  for (int i = 0; i < int(t.size()); ++i) {
    if (t[std::size_t(i)] == '\n') {
      int end = (i > start && t[std::size_t(i - 1)] == '\r') ? i - 1 : i;
      out.emplace_back(start, end);
      start = i + 1;
    }
  }
  out.emplace_back(start, int(t.size()));
  return out;
}

int LineOfChar(const Wnd* w, int index) {
  auto lines = Lines(w);
  for (int i = 0; i < int(lines.size()); ++i)
    if (index <= lines[std::size_t(i)].second) return i;
  return int(lines.size()) - 1;
}

}  // namespace

LRESULT CALLBACK_EditProc(HWND h, UINT m, WPARAM wp, LPARAM lp) {
  Wnd* w = Thread().Find(h);
  if (!w) return 0;
  ControlData& c = w->ctl;
  switch (m) {
    case WM_GETDLGCODE: {
      UINT code = DLGC_WANTCHARS | DLGC_HASSETSEL | DLGC_WANTARROWS;
      if (w->style & ES_MULTILINE) code |= DLGC_WANTALLKEYS;
      return code;
    }
    case WM_SETTEXT: {
      BusyGuard g(w);
      w->text = Str(lp);
      c.selStart = c.selEnd = 0;
      c.modified = false;
      Backend().WindowTextChanged(h);
      NotifyParent(w, EN_UPDATE);
      if (!w->dead) NotifyParent(w, EN_CHANGE);
      return TRUE;
    }
    case WM_CHAR: {
      if (InputFrame* f = CurrentInput(h, m, wp, lp); f && f->nativeChar) return 0;  // the widget typed it
      std::string t;
      if (ApplyKeyToText(w, 0, UINT(wp), &t)) UserSetText(w, t);
      return 0;
    }
    case WM_CLEAR:
    case WM_CUT: {
      std::string t;
      if (c.selStart != c.selEnd && ApplyKeyToText(w, VK_DELETE, 0, &t)) UserSetText(w, t);
      return 0;
    }
    case WM_SETFOCUS:
      NotifyParent(w, EN_SETFOCUS);
      return 0;
    case WM_KILLFOCUS:
      NotifyParent(w, EN_KILLFOCUS);
      return 0;
    case EM_LIMITTEXT:
      c.limit = wp ? int(std::min<WPARAM>(wp, 0x7FFFFFFE)) : 0x7FFFFFFE;
      Changed(w, StateChange::TextLimit);
      return 0;
    case EM_GETLIMITTEXT:
      return c.limit;
    case EM_SETSEL: {
      int len = int(w->text.size());
      int a = int(std::intptr_t(wp)), b = int(lp);
      if (a == -1) {
        c.selStart = c.selEnd = std::min(c.selEnd, len);
      } else {
        if (b < 0 || b > len) b = len;
        a = std::clamp(a, 0, len);
        c.selStart = std::min(a, b);
        c.selEnd = std::max(a, b);
      }
      Changed(w, StateChange::EditSelection);
      return 0;
    }
    case EM_GETSEL:
      if (wp) *reinterpret_cast<DWORD*>(wp) = DWORD(c.selStart);
      if (lp) *reinterpret_cast<DWORD*>(lp) = DWORD(c.selEnd);
      return (c.selStart > 0xFFFF || c.selEnd > 0xFFFF) ? -1 : LRESULT(MAKELONG(WORD(c.selStart), WORD(c.selEnd)));
    case EM_REPLACESEL: {
      std::string t = w->text;
      std::size_t a = std::min<std::size_t>(std::size_t(c.selStart), t.size());
      std::size_t b = std::min<std::size_t>(std::size_t(c.selEnd), t.size());
      std::string ins = Str(lp);
      std::size_t room = std::size_t(c.limit) > t.size() - (b - a) ? std::size_t(c.limit) - (t.size() - (b - a)) : 0;
      if (ins.size() > room) {
        ins.resize(room);
        NotifyParent(w, EN_MAXTEXT);
        if (w->dead) return 0;
      }
      t.replace(a, b - a, ins);
      c.selStart = c.selEnd = int(a + ins.size());
      UserSetText(w, t);
      return 0;
    }
    case EM_GETMODIFY:
      return c.modified ? TRUE : FALSE;
    case EM_SETMODIFY:
      c.modified = wp != 0;
      return 0;
    case EM_SETREADONLY:
      w->style = wp ? (w->style | ES_READONLY) : (w->style & ~ES_READONLY);
      Changed(w, StateChange::ReadOnly);
      return TRUE;
    case EM_GETLINECOUNT:
      return LRESULT(Lines(w).size());
    case EM_LINEINDEX: {
      auto lines = Lines(w);
      int line = std::intptr_t(wp) < 0 ? LineOfChar(w, c.selEnd) : int(wp);
      return line < int(lines.size()) ? lines[std::size_t(line)].first : -1;
    }
    case EM_LINELENGTH: {
      auto lines = Lines(w);
      int line = std::intptr_t(wp) < 0 ? LineOfChar(w, c.selEnd) : LineOfChar(w, int(wp));
      return lines[std::size_t(line)].second - lines[std::size_t(line)].first;
    }
    case EM_LINEFROMCHAR:
      return LineOfChar(w, std::intptr_t(wp) < 0 ? c.selEnd : int(wp));
    case EM_GETLINE: {
      auto lines = Lines(w);
      char* buf = reinterpret_cast<char*>(lp);
      if (!buf || wp >= lines.size()) return 0;
      WORD max;
      std::memcpy(&max, buf, sizeof max);
      auto [a, b] = lines[wp];
      int n = std::min(b - a, int(max));
      std::memcpy(buf, w->text.data() + a, std::size_t(n));
      if (n < max) buf[n] = 0;
      return n;
    }
    case EM_SETPASSWORDCHAR:
      c.passwordChar = char(wp);
      w->style = wp ? (w->style | ES_PASSWORD) : (w->style & ~ES_PASSWORD);
      Changed(w, StateChange::Style);
      return 0;
    case EM_GETPASSWORDCHAR:
      return static_cast<unsigned char>(c.passwordChar);
    case EM_CANUNDO:
    case EM_UNDO:
    case EM_GETFIRSTVISIBLELINE:
    case EM_GETMARGINS:
    case EM_EMPTYUNDOBUFFER:
    case EM_SETMARGINS:
      return 0;
    case EM_SCROLLCARET:
    case EM_SETTABSTOPS:
    case EM_FMTLINES:
      return TRUE;
    case EM_GETRECT:
      if (lp) GetClientRect(h, reinterpret_cast<RECT*>(lp));
      return 0;
    default:
      return DefWindowProcA(h, m, wp, lp);
  }
}

// ---- static ----

LRESULT CALLBACK_StaticProc(HWND h, UINT m, WPARAM wp, LPARAM lp) {
  Wnd* w = Thread().Find(h);
  if (!w) return 0;
  switch (m) {
    case WM_GETDLGCODE:
      return DLGC_STATIC;
    case STM_SETICON:
    case STM_SETIMAGE: {
      HICON icon = reinterpret_cast<HICON>(m == STM_SETICON ? wp : WPARAM(lp));
      HICON old = w->ctl.icon;
      w->ctl.icon = icon;
      Changed(w, StateChange::Icon);
      return reinterpret_cast<LRESULT>(old);
    }
    case STM_GETICON:
    case STM_GETIMAGE:
      return reinterpret_cast<LRESULT>(w->ctl.icon);
    default:
      return DefWindowProcA(h, m, wp, lp);
  }
}

// ---- list box ----

LRESULT CALLBACK_ListBoxProc(HWND h, UINT m, WPARAM wp, LPARAM lp) {
  Wnd* w = Thread().Find(h);
  if (!w) return 0;
  ControlData& c = w->ctl;
  const bool strings = (w->style & LBS_HASSTRINGS) || !(w->style & (LBS_OWNERDRAWFIXED | LBS_OWNERDRAWVARIABLE));
  switch (m) {
    case WM_GETDLGCODE:
      return DLGC_WANTARROWS | DLGC_WANTCHARS;
    case LB_ADDSTRING:
    case LB_INSERTSTRING: {
      ListItem item;
      if (strings)
        item.text = Str(lp);
      else
        item.data = lp;
      if (m == LB_INSERTSTRING && std::intptr_t(wp) > Count(w)) return LB_ERR;
      int at = m == LB_INSERTSTRING ? int(std::intptr_t(wp))
               : (w->style & LBS_SORT) && strings ? SortedPosition(w, item.text)
                                                  : Count(w);
      return InsertItem(w, at, std::move(item));
    }
    case LB_DELETESTRING:
      return DeleteItem(w, int(std::intptr_t(wp))) ? Count(w) : LB_ERR;
    case LB_RESETCONTENT:
      ResetItems(w);
      return TRUE;
    case LB_GETCOUNT:
      return Count(w);
    case LB_GETTEXT:
      if (!InRange(w, wp)) return LB_ERR;
      if (!strings) {
        if (lp) std::memcpy(reinterpret_cast<void*>(lp), &c.items[wp].data, sizeof(LPARAM));
        return sizeof(LPARAM);
      }
      return CopyOut(c.items[wp].text, lp);
    case LB_GETTEXTLEN:
      return InRange(w, wp) ? LRESULT(strings ? c.items[wp].text.size() : sizeof(LPARAM)) : LB_ERR;
    case LB_SETCURSEL: {
      if (MultiSelect(w)) return LB_ERR;
      int nu = InRange(w, wp) ? int(wp) : -1;
      if (nu != c.curSel) {
        c.curSel = nu;
        if (nu >= 0) c.caret = nu;
        Changed(w, StateChange::Selection, nu);
      }
      return nu < 0 ? LB_ERR : nu;
    }
    case LB_GETCURSEL:
      if (MultiSelect(w)) return Count(w) ? c.caret : LB_ERR;
      return c.curSel < 0 ? LB_ERR : c.curSel;
    case LB_SETSEL: {
      if (!MultiSelect(w)) return LB_ERR;
      int i = int(std::intptr_t(lp));
      if (i == -1) {
        for (auto& it : c.items) it.selected = wp != 0;
      } else if (i >= 0 && i < Count(w)) {
        c.items[std::size_t(i)].selected = wp != 0;
        c.caret = i;
      } else {
        return LB_ERR;
      }
      Changed(w, StateChange::Selection, i);
      return 0;
    }
    case LB_GETSEL:
      if (!InRange(w, wp)) return LB_ERR;
      return MultiSelect(w) ? (c.items[wp].selected ? 1 : 0) : (int(wp) == c.curSel ? 1 : 0);
    case LB_GETSELCOUNT:
      if (!MultiSelect(w)) return LB_ERR;
      return std::count_if(c.items.begin(), c.items.end(), [](const ListItem& i) { return i.selected; });
    case LB_GETSELITEMS: {
      if (!MultiSelect(w)) return LB_ERR;
      int* out = reinterpret_cast<int*>(lp);
      int n = 0;
      for (int i = 0; i < Count(w) && n < int(wp); ++i)
        if (c.items[std::size_t(i)].selected) {
          if (out) out[n] = i;
          ++n;
        }
      return n;
    }
    case LB_SELITEMRANGE:
    case LB_SELITEMRANGEEX: {
      if (!MultiSelect(w)) return LB_ERR;
      int a = m == LB_SELITEMRANGE ? LOWORD(DWORD(lp)) : int(wp);
      int b = m == LB_SELITEMRANGE ? HIWORD(DWORD(lp)) : int(lp);
      bool sel = m == LB_SELITEMRANGE ? wp != 0 : a <= b;
      if (a > b) std::swap(a, b);
      for (int i = std::max(a, 0); i <= b && i < Count(w); ++i) c.items[std::size_t(i)].selected = sel;
      Changed(w, StateChange::Selection, -1);
      return 0;
    }
    case LB_FINDSTRING:
    case LB_FINDSTRINGEXACT:
      return FindItem(w, wp, Str(lp), m == LB_FINDSTRINGEXACT);
    case LB_SELECTSTRING: {
      int i = FindItem(w, wp, Str(lp), false);
      if (i < 0) return LB_ERR;
      if (MultiSelect(w)) return i;
      CALLBACK_ListBoxProc(h, LB_SETCURSEL, WPARAM(i), 0);
      return i;
    }
    case LB_GETITEMDATA:
      return InRange(w, wp) ? c.items[wp].data : LB_ERR;
    case LB_SETITEMDATA:
      if (!InRange(w, wp)) return LB_ERR;
      c.items[wp].data = lp;
      return TRUE;
    case LB_GETTOPINDEX:
      return c.topIndex;
    case LB_SETTOPINDEX:
      if (!InRange(w, wp) && !(wp == 0 && Count(w) == 0)) return LB_ERR;
      c.topIndex = int(wp);
      return 0;
    case LB_GETITEMHEIGHT:
      return c.itemHeight;
    case LB_SETITEMHEIGHT:
      c.itemHeight = std::max(1, int(LOWORD(DWORD(lp))));
      return 0;
    case LB_SETCARETINDEX:
      if (!InRange(w, wp)) return LB_ERR;
      c.caret = int(wp);
      return 0;
    case LB_GETCARETINDEX:
      return Count(w) ? c.caret : (MultiSelect(w) ? 0 : LB_ERR);
    case LB_SETANCHORINDEX:
      if (!InRange(w, wp)) return LB_ERR;
      c.anchor = int(wp);
      return 0;
    case LB_GETANCHORINDEX:
      return c.anchor;
    case LB_GETITEMRECT: {
      if (!InRange(w, wp) || !lp) return LB_ERR;
      RECT cl;
      GetClientRect(h, &cl);
      int y = (int(wp) - c.topIndex) * c.itemHeight;
      *reinterpret_cast<RECT*>(lp) = {0, y, cl.right, y + c.itemHeight};
      return 1;
    }
    case LB_ITEMFROMPOINT: {
      int y = GET_Y_LPARAM(lp);
      int i = c.topIndex + (c.itemHeight ? y / c.itemHeight : 0);
      if (i >= 0 && i < Count(w)) return i;
      return MAKELONG(WORD(std::max(0, Count(w) - 1)), 1);
    }
    case LB_INITSTORAGE:
      c.items.reserve(c.items.size() + wp);
      return Count(w) + int(wp);
    case LB_SETTABSTOPS:
      return TRUE;
    case LB_SETCOUNT:
    case LB_DIR:
    case LB_ADDFILE:
      return LB_ERR;
    case LB_SETHORIZONTALEXTENT:
    case LB_SETCOLUMNWIDTH:
    case LB_GETHORIZONTALEXTENT:
      return 0;
    case WM_SETFOCUS:
      if (w->style & LBS_NOTIFY) NotifyParent(w, LBN_SETFOCUS);
      return 0;
    case WM_KILLFOCUS:
      if (w->style & LBS_NOTIFY) NotifyParent(w, LBN_KILLFOCUS);
      return 0;
    default:
      return DefWindowProcA(h, m, wp, lp);
  }
}

// ---- combo box ----

LRESULT CALLBACK_ComboBoxProc(HWND h, UINT m, WPARAM wp, LPARAM lp) {
  Wnd* w = Thread().Find(h);
  if (!w) return 0;
  ControlData& c = w->ctl;
  const bool dropList = (w->style & 3) == CBS_DROPDOWNLIST;
  auto select = [&](int nu) {
    c.curSel = nu;
    w->text = nu >= 0 ? c.items[std::size_t(nu)].text : std::string();
    c.selStart = 0;
    c.selEnd = int(w->text.size());
    Changed(w, StateChange::Selection, nu);
    Backend().WindowTextChanged(h);
  };
  switch (m) {
    case WM_GETDLGCODE:
      return DLGC_WANTARROWS | DLGC_WANTCHARS;
    case CB_ADDSTRING:
    case CB_INSERTSTRING: {
      if (m == CB_INSERTSTRING && std::intptr_t(wp) > Count(w)) return CB_ERR;
      ListItem item;
      item.text = Str(lp);
      int at = m == CB_INSERTSTRING ? int(std::intptr_t(wp))
               : (w->style & CBS_SORT) ? SortedPosition(w, item.text)
                                       : Count(w);
      return InsertItem(w, at, std::move(item));
    }
    case CB_DELETESTRING:
      return DeleteItem(w, int(std::intptr_t(wp))) ? Count(w) : CB_ERR;
    case CB_RESETCONTENT:
      ResetItems(w);
      if (dropList && !w->text.empty()) {
        w->text.clear();
        Backend().WindowTextChanged(h);
      }
      return CB_OKAY;
    case CB_GETCOUNT:
      return Count(w);
    case CB_GETLBTEXT:
      return InRange(w, wp) ? CopyOut(c.items[wp].text, lp) : CB_ERR;
    case CB_GETLBTEXTLEN:
      return InRange(w, wp) ? LRESULT(c.items[wp].text.size()) : CB_ERR;
    case CB_SETCURSEL: {
      int nu = InRange(w, wp) ? int(wp) : -1;
      select(nu);
      return nu < 0 ? CB_ERR : nu;
    }
    case CB_GETCURSEL:
      return c.curSel < 0 ? CB_ERR : c.curSel;
    case CB_FINDSTRING:
    case CB_FINDSTRINGEXACT:
      return FindItem(w, wp, Str(lp), m == CB_FINDSTRINGEXACT);
    case CB_SELECTSTRING: {
      int i = FindItem(w, wp, Str(lp), false);
      if (i < 0) return CB_ERR;
      select(i);
      return i;
    }
    case CB_GETITEMDATA:
      return InRange(w, wp) ? c.items[wp].data : CB_ERR;
    case CB_SETITEMDATA:
      if (!InRange(w, wp)) return CB_ERR;
      c.items[wp].data = lp;
      return TRUE;
    case CB_LIMITTEXT:
      c.limit = wp ? int(std::min<WPARAM>(wp, 0x7FFFFFFE)) : 0x7FFFFFFE;
      Changed(w, StateChange::TextLimit);
      return TRUE;
    case CB_GETEDITSEL:
      if (wp) *reinterpret_cast<DWORD*>(wp) = DWORD(c.selStart);
      if (lp) *reinterpret_cast<DWORD*>(lp) = DWORD(c.selEnd);
      return LRESULT(MAKELONG(WORD(c.selStart), WORD(c.selEnd)));
    case CB_SETEDITSEL: {
      if (dropList) return CB_ERR;
      int len = int(w->text.size());
      int a = GET_X_LPARAM(lp), b = GET_Y_LPARAM(lp);
      c.selStart = a < 0 ? 0 : std::min(a, len);
      c.selEnd = b < 0 ? len : std::min(b, len);
      return TRUE;
    }
    case CB_SHOWDROPDOWN: {
      bool show = wp != 0;
      if (show != c.dropped) {
        BusyGuard g(w);
        if (show) NotifyParent(w, CBN_DROPDOWN);
        if (w->dead) return TRUE;
        c.dropped = show;
        Changed(w, StateChange::DropDown);
        if (!show) NotifyParent(w, CBN_CLOSEUP);
      }
      return TRUE;
    }
    case CB_GETDROPPEDSTATE:
      return c.dropped ? TRUE : FALSE;
    case CB_SETITEMHEIGHT:
      c.itemHeight = std::max(1, int(lp));
      return 0;
    case CB_GETITEMHEIGHT:
      return c.itemHeight;
    case CB_GETTOPINDEX:
      return c.topIndex;
    case CB_SETTOPINDEX:
      if (!InRange(w, wp)) return CB_ERR;
      c.topIndex = int(wp);
      return 0;
    case CB_INITSTORAGE:
      c.items.reserve(c.items.size() + wp);
      return Count(w) + int(wp);
    case CB_SETEXTENDEDUI:
    case CB_GETEXTENDEDUI:
    case CB_SETDROPPEDWIDTH:
    case CB_GETDROPPEDWIDTH:
    case CB_SETHORIZONTALEXTENT:
    case CB_GETHORIZONTALEXTENT:
      return 0;
    case CB_GETDROPPEDCONTROLRECT:
      if (lp) GetWindowRect(h, reinterpret_cast<RECT*>(lp));
      return TRUE;
    case WM_SETTEXT: {
      std::string t = Str(lp);
      if (dropList) {
        int i = FindItem(w, WPARAM(-1), t, true);
        if (i < 0) return CB_ERR;
        select(i);
        return TRUE;
      }
      w->text = t;
      Backend().WindowTextChanged(h);
      return TRUE;
    }
    case WM_CHAR: {
      if (InputFrame* f = CurrentInput(h, m, wp, lp); f && f->nativeChar) return 0;
      std::string t;
      if (ApplyKeyToText(w, 0, UINT(wp), &t)) UserSetText(w, t);
      return 0;
    }
    case WM_SETFOCUS:
      NotifyParent(w, CBN_SETFOCUS);
      return 0;
    case WM_KILLFOCUS:
      NotifyParent(w, CBN_KILLFOCUS);
      return 0;
    default:
      return DefWindowProcA(h, m, wp, lp);
  }
}

// ---- progress bar ----

LRESULT CALLBACK_ProgressProc(HWND h, UINT m, WPARAM wp, LPARAM lp) {
  Wnd* w = Thread().Find(h);
  if (!w) return 0;
  ControlData& c = w->ctl;
  auto setPos = [&](int p) {
    int old = c.pos;
    c.pos = c.high > c.low ? std::clamp(p, c.low, c.high) : c.low;
    if (c.pos != old) Changed(w, StateChange::Progress);
    return old;
  };
  auto setRange = [&](int lo, int hi) {
    LRESULT old = LRESULT(MAKELONG(WORD(c.low), WORD(c.high)));
    if (lo != c.low || hi != c.high) {
      c.low = lo;
      c.high = hi;
      if (c.high > c.low) c.pos = std::clamp(c.pos, c.low, c.high);
      Changed(w, StateChange::Progress);
    }
    return old;
  };
  switch (m) {
    case PBM_SETRANGE:
      return setRange(LOWORD(DWORD(lp)), HIWORD(DWORD(lp)));
    case PBM_SETRANGE32:
      return setRange(int(std::intptr_t(wp)), int(lp));
    case PBM_GETRANGE:
      if (lp) *reinterpret_cast<PBRANGE*>(lp) = {c.low, c.high};
      return wp ? c.low : c.high;
    case PBM_SETPOS:
      return setPos(int(std::intptr_t(wp)));
    case PBM_DELTAPOS:
      return setPos(c.pos + int(std::intptr_t(wp)));
    case PBM_GETPOS:
      return c.pos;
    case PBM_SETSTEP: {
      int old = c.step;
      c.step = int(std::intptr_t(wp));
      return old;
    }
    case PBM_STEPIT: {
      int nu = c.pos + c.step;
      // Past the end the bar starts over from the beginning.
      if ((nu < c.low || nu > c.high) && c.high > c.low) nu = c.low + ((nu - c.low) % (c.high - c.low));
      int old = c.pos;
      c.pos = nu;
      if (nu != old) Changed(w, StateChange::Progress);
      return old;
    }
    case PBM_SETBARCOLOR:
    case PBM_SETBKCOLOR:
      return LRESULT(0xFF000000);  // CLR_DEFAULT
    default:
      return DefWindowProcA(h, m, wp, lp);
  }
}

// ---- tab control ----

namespace {
// A caption line and the frame and padding round it: 15 px over the line is what the
// compact style of the GTK backend gives a tab, so pages placed below the strip never
// cover the tabs.
int TabStripHeight(const Wnd* w) { return w->ctl.itemHeight + 15; }
}  // namespace

LRESULT CALLBACK_TabProc(HWND h, UINT m, WPARAM wp, LPARAM lp) {
  Wnd* w = Thread().Find(h);
  if (!w) return 0;
  ControlData& c = w->ctl;
  switch (m) {
    case WM_GETDLGCODE:
      return DLGC_WANTARROWS | DLGC_WANTCHARS;
    case TCM_GETITEMCOUNT:
      return Count(w);
    case TCM_INSERTITEMA: {
      const TCITEMA* it = reinterpret_cast<const TCITEMA*>(lp);
      if (!it || std::intptr_t(wp) < 0) return -1;
      ListItem item;
      if ((it->mask & TCIF_TEXT) && it->pszText) item.text = it->pszText;
      if (it->mask & TCIF_PARAM) item.data = it->lParam;
      int at = InsertItem(w, int(std::min<std::intptr_t>(std::intptr_t(wp), Count(w))), std::move(item));
      if (c.curSel < 0 && Count(w) == 1) {
        c.curSel = 0;  // the first tab is the current one
        Changed(w, StateChange::Selection, 0);
      }
      return at;
    }
    case TCM_DELETEITEM:
      return DeleteItem(w, int(std::intptr_t(wp))) ? TRUE : FALSE;
    case TCM_DELETEALLITEMS:
      ResetItems(w);
      return TRUE;
    case TCM_GETITEMA: {
      TCITEMA* it = reinterpret_cast<TCITEMA*>(lp);
      if (!it || !InRange(w, wp)) return FALSE;
      const ListItem& item = c.items[wp];
      if ((it->mask & TCIF_TEXT) && it->pszText && it->cchTextMax > 0) {
        std::size_t n = std::min<std::size_t>(item.text.size(), std::size_t(it->cchTextMax - 1));
        std::memcpy(it->pszText, item.text.data(), n);
        it->pszText[n] = 0;
      }
      if (it->mask & TCIF_PARAM) it->lParam = item.data;
      if (it->mask & TCIF_IMAGE) it->iImage = -1;
      return TRUE;
    }
    case TCM_SETITEMA: {
      const TCITEMA* it = reinterpret_cast<const TCITEMA*>(lp);
      if (!it || !InRange(w, wp)) return FALSE;
      if ((it->mask & TCIF_TEXT) && it->pszText) c.items[wp].text = it->pszText;
      if (it->mask & TCIF_PARAM) c.items[wp].data = it->lParam;
      Changed(w, StateChange::ItemChanged, int(wp));
      return TRUE;
    }
    case TCM_GETCURSEL:
    case TCM_GETCURFOCUS:
      return c.curSel;
    case TCM_SETCURSEL:
    case TCM_SETCURFOCUS: {
      if (!InRange(w, wp)) return -1;
      int old = c.curSel;
      if (old != int(wp)) {
        c.curSel = int(wp);
        Changed(w, StateChange::Selection, c.curSel);
      }
      return m == TCM_SETCURSEL ? old : 0;
    }
    case TCM_ADJUSTRECT: {
      RECT* r = reinterpret_cast<RECT*>(lp);
      if (!r) return 0;
      const int strip = TabStripHeight(w), margin = 2;
      if (wp) {
        r->left -= margin;
        r->right += margin;
        r->bottom += margin;
        r->top -= strip + margin;
      } else {
        r->left += margin;
        r->right -= margin;
        r->bottom -= margin;
        r->top += strip + margin;
      }
      return 0;
    }
    case TCM_GETITEMRECT: {
      RECT* r = reinterpret_cast<RECT*>(lp);
      if (!r || !InRange(w, wp)) return FALSE;
      int x = 2;
      for (int i = 0; i <= int(wp); ++i) {
        SIZE s = Backend().MeasureText(h, c.items[std::size_t(i)].text.c_str(), 0);
        int cx = s.cx + 12;
        if (i == int(wp)) {
          *r = {x, 0, x + cx, TabStripHeight(w)};
          break;
        }
        x += cx;
      }
      return TRUE;
    }
    case TCM_GETROWCOUNT:
      return 1;
    case TCM_HITTEST:
      return -1;
    case TCM_SETITEMSIZE:
    case TCM_SETPADDING:
    case TCM_SETMINTABWIDTH:
    case TCM_SETIMAGELIST:
    case TCM_GETIMAGELIST:
    case TCM_SETITEMEXTRA:
    case TCM_REMOVEIMAGE:
    case TCM_DESELECTALL:
      return 0;
    default:
      return DefWindowProcA(h, m, wp, lp);
  }
}

}  // namespace zev::wnd
