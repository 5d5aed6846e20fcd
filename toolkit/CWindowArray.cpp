// Groups of windows: the handle array with its operations on all members, and the mover
// that places a group of a parent's windows.
#include <algorithm>
#include <set>

#include "zevutil/CWinHookBase.h"

namespace zev {

CWindowArray& CWindowArray::AddHwnd(HWND hwnd) {
  m_Windows.push_back(hwnd);
  return *this;
}

CWindowArray& CWindowArray::AddControl(HWND parent, UINT id) { return AddHwnd(GetDlgItem(parent, int(id))); }

CWindowArray& CWindowArray::Flush() {
  m_Windows.clear();
  return *this;
}

CWindowArray& CWindowArray::SetArray(const HWND* windows, UINT count) {
  if (windows) m_Windows.assign(windows, windows + count);
  else m_Windows.clear();
  return *this;
}

CWindowArray& CWindowArray::SetArray(HWND parent, const UINT* ids, UINT count) {
  std::vector<HWND> found;
  for (UINT i = 0; i < count; ++i) {
    HWND hwnd = GetDlgItem(parent, int(ids[i]));
    if (!IsWindow(hwnd)) return *this;
    found.push_back(hwnd);
  }
  m_Windows.swap(found);
  return *this;
}

BOOL CWindowArray::ValidateAll(int noDuplicates) const {
  std::set<HWND> seen;
  for (HWND hwnd : m_Windows) {
    if (!IsWindow(hwnd)) return FALSE;
    if (noDuplicates && !seen.insert(hwnd).second) return FALSE;
  }
  return TRUE;
}

CWindowArray& CWindowArray::DestroyWindows(int flush) {
  // A copy: destroying a window may run code that changes the array.
  std::vector<HWND> windows = m_Windows;
  for (HWND hwnd : windows) DestroyWindow(hwnd);
  if (flush) Flush();
  return *this;
}

CWindowArray& CWindowArray::ShowWindows(int show) {
  std::vector<HWND> windows = m_Windows;
  for (HWND hwnd : windows) ShowWindow(hwnd, show ? SW_SHOW : SW_HIDE);
  return *this;
}

CWindowArray& CWindowArray::EnableWindows(int enable) {
  std::vector<HWND> windows = m_Windows;
  for (HWND hwnd : windows) EnableWindow(hwnd, enable ? TRUE : FALSE);
  return *this;
}

CWindowArray& CWindowArray::SetAllParent(HWND parent) {
  std::vector<HWND> windows = m_Windows;
  for (HWND hwnd : windows) SetParent(hwnd, parent);
  return *this;
}

CWindowMover& CWindowMover::operator<<(UINT id) {
  AddHwnd(GetDlgItem(m_hParent, int(id)));
  return *this;
}

CWindowMover& CWindowMover::SetVertical(EV_OPT option, int value, int lock) {
  m_nVerticalOption = option;
  m_nVerticalValue = value;
  m_nVerticalLock = lock;
  return *this;
}

CWindowMover& CWindowMover::SetHorizontal(EH_OPT option, int value, int lock) {
  m_nHorizontalOption = option;
  m_nHorizontalValue = value;
  m_nHorizontalLock = lock;
  return *this;
}

namespace {

// A window's rectangle in the parent's client coordinates.
bool RectInParent(HWND hwnd, HWND parent, RECT* rc) {
  if (!GetWindowRect(hwnd, rc)) return false;
  MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(rc), 2);
  return true;
}

// Where one window's near edge goes on an axis when it is placed alone.
LONG PlaceAlone(LONG option, LONG value, LONG nearEdge, LONG size) {
  switch (option) {
    case 1: return nearEdge + value;
    case 2: return value;
    case 3: return value - size;
    case 4: return value - size / 2;
    default: return nearEdge;
  }
}

// The group's offset on an axis, from the near and far edges of the union.
LONG GroupOffset(LONG option, LONG value, LONG nearEdge, LONG farEdge) {
  switch (option) {
    case 1: return value;
    case 2: return value - nearEdge;
    case 3: return value - farEdge;
    case 4: return value - (nearEdge + farEdge) / 2;
    default: return 0;
  }
}

}  // namespace

void CWindowMover::DoMove() {
  RECT client{};
  GetClientRect(m_hParent, &client);

  LONG dx = 0, dy = 0;
  if (m_nVerticalLock || m_nHorizontalLock) {
    RECT all{};
    bool any = false;
    for (HWND hwnd : m_Windows) {
      RECT rc;
      if (!IsWindow(hwnd) || !RectInParent(hwnd, m_hParent, &rc)) continue;
      if (!any) all = rc;
      else UnionRect(&all, &all, &rc);
      any = true;
    }
    if (m_nVerticalLock) dy = GroupOffset(m_nVerticalOption, m_nVerticalValue, all.top, all.bottom);
    // kept: the horizontal lock reads the vertical option, so the vertical axis's option
    // decides the formula on both axes.
    if (m_nHorizontalLock) dx = GroupOffset(m_nVerticalOption, m_nHorizontalValue, all.left, all.right);
  }

  std::vector<HWND> windows = m_Windows;
  for (HWND hwnd : windows) {
    RECT rc;
    if (!IsWindow(hwnd) || !RectInParent(hwnd, m_hParent, &rc)) return;
    const LONG width = rc.right - rc.left, height = rc.bottom - rc.top;
    LONG top = m_nVerticalLock ? rc.top + dy : PlaceAlone(m_nVerticalOption, m_nVerticalValue, rc.top, height);
    LONG left =
        m_nHorizontalLock ? rc.left + dx : PlaceAlone(m_nHorizontalOption, m_nHorizontalValue, rc.left, width);
    MoveWindow(hwnd, left, top, width, height, TRUE);
  }
}

}  // namespace zev
