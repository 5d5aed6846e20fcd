// The dialog assistant: its control table, the registered window classes, the modified
// flag with the enable-on-modify list, and the parent's notifications seen first.
#include "zevutil/CDialogAssistant.h"

#include <string>

namespace zev {

int CDialogAssistant::sm_nInstanceCount = 0;

namespace {

// Window class name to wrapper class. Kept for the life of the process, so an assistant
// made after the last one went still finds its rows.
std::map<std::string, const CRuntimeClass*>& RegisteredClasses() {
  static auto* map = new std::map<std::string, const CRuntimeClass*>;
  return *map;
}

// Wrapper classes known by name, for RegisterControlClass.
std::map<std::string, const CRuntimeClass*>& KnownWrapperClasses() {
  static auto* map = new std::map<std::string, const CRuntimeClass*>{
      {"CDlgCtrlBase", RUNTIME_CLASS(CDlgCtrlBase)},       {"CDlgCtrlButton", RUNTIME_CLASS(CDlgCtrlButton)},
      {"CDlgCtrlComboBox", RUNTIME_CLASS(CDlgCtrlComboBox)}, {"CDlgCtrlStatic", RUNTIME_CLASS(CDlgCtrlStatic)},
      {"CDlgCtrlListBox", RUNTIME_CLASS(CDlgCtrlListBox)},   {"CDlgCtrlEdit", RUNTIME_CLASS(CDlgCtrlEdit)}};
  return *map;
}

}  // namespace

CDialogAssistant::CDialogAssistant(CWnd* parent)
    : m_pControls(std::make_shared<ControlTable>()),
      m_pParent(parent),
      m_pEnableOnModify(std::make_shared<std::vector<UINT>>()) {
  if (sm_nInstanceCount == 0) {
    auto& rows = RegisteredClasses();
    rows["Button"] = RUNTIME_CLASS(CDlgCtrlButton);
    rows["ComboBox"] = RUNTIME_CLASS(CDlgCtrlComboBox);
    rows["Static"] = RUNTIME_CLASS(CDlgCtrlStatic);
    rows["ListBox"] = RUNTIME_CLASS(CDlgCtrlListBox);
    rows["Edit"] = RUNTIME_CLASS(CDlgCtrlEdit);
  }
  ++sm_nInstanceCount;
  m_pEnableOnModify->reserve(10);
}

// kept: the copy shares the source's table and list as they stand.
CDialogAssistant::CDialogAssistant(const CDialogAssistant& other)
    : CWinHookBase(other),
      CIdleHook(other),
      m_pControls(other.m_pControls),
      m_pParent(other.m_pParent),
      m_bModified(other.m_bModified),
      m_nLastEnableState(other.m_nLastEnableState),
      m_nModifyMask(other.m_nModifyMask),
      m_pEnableOnModify(other.m_pEnableOnModify) {
  ++sm_nInstanceCount;
}

CDialogAssistant::~CDialogAssistant() {
  // Wrappers that a copy still shares must not call back into this object.
  if (m_pControls.use_count() > 1)
    for (auto& [id, ctrl] : *m_pControls)
      if (ctrl->GetAssist() == this) ctrl->SetAssist(nullptr);
  m_pControls.reset();
  --sm_nInstanceCount;
}

CDialogAssistant& CDialogAssistant::SetAssistParent(CWnd* parent) {
  m_pParent = parent;
  return *this;
}

CDialogAssistant& CDialogAssistant::InitDialog() {
  if (!m_pParent || !IsWindow(ParentHwnd())) return *this;
  RescanControls();
  UpdateCtrlStates();
  SetTickFrequency(500);
  AddHwndHook(ParentHwnd());
  return *this;
}

CDialogAssistant& CDialogAssistant::AddControl(UINT id) {
  if (id == 0 || id >= 65536) return *this;
  HWND child = GetDlgItem(ParentHwnd(), int(id));
  if (!child) return *this;
  char className[128] = {};
  GetClassNameA(child, className, 128);
  std::shared_ptr<CDlgCtrlBase> ctrl(CreateDlgCtrlData(className));
  if (!ctrl) return *this;
  (*m_pControls)[id] = ctrl;
  ctrl->Attach(child);
  ctrl->SetAssist(this);
  // The child is to report its creation and destruction to the dialog.
  SetWindowLongPtrA(child, GWL_EXSTYLE, GetWindowLongPtrA(child, GWL_EXSTYLE) & ~LONG_PTR(WS_EX_NOPARENTNOTIFY));
  return *this;
}

CDialogAssistant& CDialogAssistant::RemoveControl(UINT id) {
  m_pControls->erase(id);
  return *this;
}

CDialogAssistant& CDialogAssistant::RescanControls() {
  for (auto it = m_pControls->begin(); it != m_pControls->end();) {
    if (!IsWindow(it->second->GetHwnd())) it = m_pControls->erase(it);
    else ++it;
  }
  for (HWND child = GetWindow(ParentHwnd(), GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
    UINT id = UINT(GetDlgCtrlID(child));
    if (!m_pControls->count(id)) AddControl(id);
  }
  return *this;
}

CDialogAssistant& CDialogAssistant::AddEnableOnModify(UINT id) {
  m_pEnableOnModify->push_back(id);
  m_nLastEnableState = -1;
  return *this;
}

CDialogAssistant& CDialogAssistant::UpdateCtrlStates() {
  HWND parent = ParentHwnd();
  if (!m_pParent || !IsWindow(parent)) return *this;
  if (m_bModified != m_nLastEnableState) {
    std::vector<UINT> ids = *m_pEnableOnModify;
    for (UINT id : ids)
      if (HWND child = GetDlgItem(parent, int(id))) EnableWindow(child, m_bModified);
    m_nLastEnableState = m_bModified;
  }
  // By id, holding each wrapper: an update handler may add or remove controls.
  std::vector<UINT> ids;
  for (auto& [id, ctrl] : *m_pControls) ids.push_back(id);
  auto table = m_pControls;
  for (UINT id : ids) {
    auto it = table->find(id);
    if (it == table->end()) continue;
    std::shared_ptr<CDlgCtrlBase> ctrl = it->second;
    ctrl->DoUpdateCommandUI(m_pParent);
  }
  return *this;
}

CDialogAssistant& CDialogAssistant::SetDirty(int dirty, int all) {
  if (m_nModifyMask > 0) return *this;
  m_bModified = dirty;
  if (all) {
    auto table = m_pControls;
    std::vector<std::shared_ptr<CDlgCtrlBase>> ctrls;
    for (auto& [id, ctrl] : *table) ctrls.push_back(ctrl);
    for (auto& ctrl : ctrls) ctrl->SetDirty(dirty);
  }
  return *this;
}

CDialogAssistant& CDialogAssistant::SetModifyMask(int on) {
  if (on) ++m_nModifyMask;
  else if (m_nModifyMask > 0) --m_nModifyMask;
  return *this;
}

CDlgCtrlBase* CDialogAssistant::GetCtrlData(UINT id) const {
  auto it = m_pControls->find(id);
  return it == m_pControls->end() ? nullptr : it->second.get();
}

CDlgCtrlBase& CDialogAssistant::operator[](UINT id) const {
  if (CDlgCtrlBase* ctrl = GetCtrlData(id)) return *ctrl;
  // A fresh stand-in each time, so nothing done to one shows in the next.
  thread_local CDlgCtrlBase standIn;
  standIn = CDlgCtrlBase();
  return standIn;
}

CDlgCtrlBase* CDialogAssistant::CreateDlgCtrlData(const char* windowClass) {
  if (!windowClass) return nullptr;
  auto& rows = RegisteredClasses();
  auto it = rows.find(windowClass);
  if (it == rows.end()) return nullptr;
  return static_cast<CDlgCtrlBase*>(it->second->CreateObject());
}

void CDialogAssistant::RegisterDlgCtrlClass(const CRuntimeClass* runtimeClass) {
  if (runtimeClass && runtimeClass->m_pfnCreateObject && runtimeClass->IsDerivedFrom(RUNTIME_CLASS(CDlgCtrlBase)))
    KnownWrapperClasses()[runtimeClass->m_lpszClassName] = runtimeClass;
}

void CDialogAssistant::RegisterControlClass(const char* windowClass, const char* runtimeClass) {
  if (!windowClass || !runtimeClass) return;
  auto& known = KnownWrapperClasses();
  auto it = known.find(runtimeClass);
  if (it == known.end()) return;
  RegisteredClasses()[windowClass] = it->second;
}

BOOL CDialogAssistant::defWndProcHook(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult) {
  if (!hwnd || hwnd != ParentHwnd()) return FALSE;
  switch (message) {
    case WM_NOTIFY: return OnParentWmNotify(wParam, lParam, pResult);
    case WM_COMMAND: return OnParentWmCommand(wParam, lParam, pResult);
    case WM_PARENTNOTIFY: return OnWmParentNotify(wParam, lParam, pResult);
    default: return FALSE;
  }
}

BOOL CDialogAssistant::OnParentWmCommand(WPARAM wParam, LPARAM lParam, LRESULT* pResult) {
  return OnParentNotification(WM_COMMAND, LOWORD(DWORD(wParam)), wParam, lParam, pResult);
}

BOOL CDialogAssistant::OnParentWmNotify(WPARAM wParam, LPARAM lParam, LRESULT* pResult) {
  return OnParentNotification(WM_NOTIFY, UINT(wParam), wParam, lParam, pResult);
}

BOOL CDialogAssistant::OnParentNotification(UINT message, UINT id, WPARAM wParam, LPARAM lParam,
                                            LRESULT* pResult) {
  auto it = m_pControls->find(id);
  if (it == m_pControls->end()) return FALSE;
  // Held for the whole notification: the dialog may remove the control meanwhile.
  std::shared_ptr<CDlgCtrlBase> ctrl = it->second;
  if (!ctrl->IsParentNotify(message, wParam, lParam)) return FALSE;
  // A masked control's notification is answered as handled and never reaches the dialog.
  if (ctrl->IsNotifyMasked()) return TRUE;
  BOOL called = FALSE;
  if (!ctrl->PreParentNotify(message, wParam, lParam, pResult)) {
    *pResult = CallOriginalWndproc(ParentHwnd(), message, wParam, lParam);
    called = TRUE;
  }
  ctrl->PostParentNotify(message, wParam, lParam, pResult, called);
  return TRUE;
}

BOOL CDialogAssistant::OnWmParentNotify(WPARAM wParam, LPARAM, LRESULT*) {
  const DWORD w = DWORD(wParam);
  if (LOWORD(w) == WM_CREATE) AddControl(HIWORD(w));
  else if (LOWORD(w) == WM_DESTROY) RemoveControl(HIWORD(w));
  return FALSE;
}

BOOL CDialogAssistant::OnIdleTick() {
  if (!CIdleHook::OnIdleTick()) return FALSE;
  UpdateCtrlStates();
  return TRUE;
}

}  // namespace zev
