// The window object, the command target and the command-update route over the window layer.
#include "zevutil/platform/Wnd.h"

#include "zevutil/platform/Host.h"

#include <memory>
#include <mutex>
#include <unordered_map>

namespace zev {

namespace {

// Handles are unique in the process, so one map of permanent objects serves every thread;
// temporary objects belong to the thread that asked for them. The maps are never destroyed:
// window objects that live in static storage may be destroyed after them.
using TempMap = std::unordered_map<HWND, std::unique_ptr<CWnd>>;
struct HandleMaps {
  std::mutex mutex;
  std::unordered_map<HWND, CWnd*> permanent;
  std::unordered_map<DWORD, TempMap> temporary;  // by thread id
};
HandleMaps& Maps() {
  static HandleMaps* maps = new HandleMaps;
  return *maps;
}

void MapPermanent(HWND hwnd, CWnd* wnd) {
  std::lock_guard<std::mutex> lock(Maps().mutex);
  Maps().permanent[hwnd] = wnd;
}
void UnmapPermanent(HWND hwnd, CWnd* wnd) {
  std::lock_guard<std::mutex> lock(Maps().mutex);
  auto it = Maps().permanent.find(hwnd);
  if (it != Maps().permanent.end() && it->second == wnd) Maps().permanent.erase(it);
}

// The window object that CreateEx is making on this thread, until its window's first
// message arrives.
thread_local CWnd* t_pWndInit = nullptr;

constexpr const char* kPlainClassName = "ZevWnd";

}  // namespace

BOOL CCmdTarget::OnCmdMsg(UINT, int, void*, void*) { return FALSE; }

CWnd::~CWnd() {
  if (m_bTemporary || !m_hWnd) return;
  UnmapPermanent(m_hWnd, this);
  // A window of another class gets its own procedure back; a plain window's messages
  // fall through to DefWindowProcA once no object is mapped.
  if (m_bOwnsMessages && m_pfnSuper != DefWindowProcA && ::zev::IsWindow(m_hWnd) &&
      reinterpret_cast<WNDPROC>(GetWindowLongPtrA(m_hWnd, GWLP_WNDPROC)) == &CWnd::ObjectWndProc)
    SetWindowLongPtrA(m_hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(m_pfnSuper));
}

BOOL CWnd::CreateEx(DWORD exStyle, LPCSTR className, LPCSTR windowName, DWORD style, int x, int y, int width,
                    int height, HWND parent, UINT id, LPVOID param) {
  if (m_hWnd) return FALSE;
  if (!className) {
    static const ATOM registered = [] {
      WNDCLASSA wc{};
      wc.lpfnWndProc = &CWnd::ObjectWndProc;
      wc.lpszClassName = kPlainClassName;
      return RegisterClassA(&wc);
    }();
    (void)registered;
    // The plain class's procedure meets this object at the window's first message.
    CWnd* outer = t_pWndInit;
    t_pWndInit = this;
    HWND hwnd = CreateWindowExA(exStyle, kPlainClassName, windowName, style, x, y, width, height, parent,
                                reinterpret_cast<HMENU>(static_cast<UINT_PTR>(id)), nullptr, param);
    if (t_pWndInit == this) t_pWndInit = outer;
    return hwnd && m_hWnd == hwnd;
  }
  // Another class: its procedure is taken over once the window exists, so this object
  // sees no creation messages.
  HWND hwnd = CreateWindowExA(exStyle, className, windowName, style, x, y, width, height, parent,
                              reinterpret_cast<HMENU>(static_cast<UINT_PTR>(id)), nullptr, param);
  if (!hwnd) return FALSE;
  m_hWnd = hwnd;
  m_bOwnsMessages = true;
  MapPermanent(hwnd, this);
  m_pfnSuper = reinterpret_cast<WNDPROC>(
      SetWindowLongPtrA(hwnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&CWnd::ObjectWndProc)));
  return TRUE;
}

BOOL CWnd::Create(LPCSTR className, LPCSTR windowName, DWORD style, const RECT& rect, CWnd* parent, UINT id) {
  return CreateEx(0, className, windowName, style | WS_CHILD, rect.left, rect.top, rect.right - rect.left,
                  rect.bottom - rect.top, parent ? parent->m_hWnd : nullptr, id);
}

BOOL CWnd::DestroyWindow() { return m_hWnd ? ::zev::DestroyWindow(m_hWnd) : FALSE; }

BOOL CWnd::Attach(HWND hwnd) {
  if (m_hWnd || !hwnd) return FALSE;
  m_hWnd = hwnd;
  MapPermanent(hwnd, this);
  return TRUE;
}

HWND CWnd::Detach() {
  HWND hwnd = m_hWnd;
  if (hwnd && !m_bTemporary) UnmapPermanent(hwnd, this);
  m_hWnd = nullptr;
  return hwnd;
}

CWnd* CWnd::FromHandlePermanent(HWND hwnd) {
  std::lock_guard<std::mutex> lock(Maps().mutex);
  auto it = Maps().permanent.find(hwnd);
  return it == Maps().permanent.end() ? nullptr : it->second;
}

CWnd* CWnd::FromHandle(HWND hwnd) {
  if (!hwnd) return nullptr;
  std::lock_guard<std::mutex> lock(Maps().mutex);
  auto it = Maps().permanent.find(hwnd);
  if (it != Maps().permanent.end()) return it->second;
  auto& temp = Maps().temporary[GetCurrentThreadId()][hwnd];
  if (!temp) {
    temp = std::make_unique<CWnd>(hwnd);
    temp->m_bTemporary = true;
  }
  return temp.get();
}

void CWnd::DeleteTempMap() {
  TempMap doomed;
  {
    std::lock_guard<std::mutex> lock(Maps().mutex);
    auto it = Maps().temporary.find(GetCurrentThreadId());
    if (it == Maps().temporary.end()) return;
    doomed.swap(it->second);
    Maps().temporary.erase(it);
  }
}

LRESULT CWnd::WindowProc(UINT msg, WPARAM wParam, LPARAM lParam) { return DefWindowProc(msg, wParam, lParam); }

LRESULT CWnd::DefWindowProc(UINT msg, WPARAM wParam, LPARAM lParam) {
  return m_pfnSuper ? CallWindowProcA(m_pfnSuper, m_hWnd, msg, wParam, lParam)
                    : DefWindowProcA(m_hWnd, msg, wParam, lParam);
}

LRESULT CWnd::ObjectWndProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  CWnd* wnd = FromHandlePermanent(hwnd);
  if (!wnd && t_pWndInit) {
    wnd = t_pWndInit;
    t_pWndInit = nullptr;
    wnd->m_hWnd = hwnd;
    wnd->m_bOwnsMessages = true;
    wnd->m_pfnSuper = DefWindowProcA;
    MapPermanent(hwnd, wnd);
  }
  if (!wnd) return DefWindowProcA(hwnd, msg, wParam, lParam);
  LRESULT result = wnd->WindowProc(msg, wParam, lParam);
  if (msg == WM_NCDESTROY) {
    // The handler may have deleted the object; only a still-mapped object is detached.
    wnd = FromHandlePermanent(hwnd);
    if (wnd) {
      UnmapPermanent(hwnd, wnd);
      wnd->m_hWnd = nullptr;
      wnd->m_bOwnsMessages = false;
      wnd->m_pfnSuper = nullptr;
      wnd->PostNcDestroy();
    }
  }
  return result;
}

void CCmdUI::Enable(BOOL bOn) {
  m_bEnableChanged = TRUE;
  if (m_pOther) ::zev::EnableWindow(m_pOther->m_hWnd, bOn);
}

void CCmdUI::SetCheck(int nCheck) {
  if (m_pOther && (SendMessageA(m_pOther->m_hWnd, WM_GETDLGCODE, 0, 0) & DLGC_BUTTON))
    SendMessageA(m_pOther->m_hWnd, BM_SETCHECK, WPARAM(nCheck), 0);
}

void CCmdUI::SetRadio(BOOL bOn) { SetCheck(bOn ? 1 : 0); }

void CCmdUI::SetText(LPCSTR text) {
  if (m_pOther) SetWindowTextA(m_pOther->m_hWnd, text);
}

BOOL CCmdUI::DoUpdate(CCmdTarget* pTarget, BOOL bDisableIfNoHndler) {
  m_bEnableChanged = FALSE;
  m_bContinueRouting = FALSE;
  BOOL handled = pTarget ? pTarget->OnCmdMsg(m_nID, CN_UPDATE_COMMAND_UI, this, nullptr) : FALSE;
  if (bDisableIfNoHndler && !m_bEnableChanged) {
    // A non-null handler record asks only whether a command handler exists.
    int query = 0;
    BOOL hasHandler = pTarget ? pTarget->OnCmdMsg(m_nID, CN_COMMAND, this, &query) : FALSE;
    Enable(hasHandler);
  }
  return handled;
}

}  // namespace zev
