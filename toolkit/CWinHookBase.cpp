// Per-window hooks: the hook table of the loading thread, one record per hooked window,
// and the common window procedure that runs the hooks before the window's own procedure.
#include "zevutil/CWinHookBase.h"

#include <map>
#include <memory>
#include <set>
#include <vector>

#include "frame/ModuleState.h"
#include "zevutil/platform/Host.h"

namespace zev {

namespace {

enum { kHookOneMessage = 0, kHookAllMessages = 1 };

struct WinHookEntry {
  int HookKind;
  UINT Message;
  CWinHookBase* Owner;  // null once the entry is removed while a dispatch still holds it
  WINHOOKPROC Handler;
};
using EntryPtr = std::shared_ptr<WinHookEntry>;

// Entries and records are shared with a dispatch in progress, so a handler may remove
// hooks, or the whole record, without pulling them from under the common procedure.
struct WinHookRecord {
  std::map<UINT, EntryPtr> MsgHooks;
  std::vector<EntryPtr> HwndHooks;
  HWND Window = nullptr;
  WNDPROC PreviousWndProc = nullptr;
};
using RecordPtr = std::shared_ptr<WinHookRecord>;

struct WinHookTable {
  std::map<HWND, RecordPtr> Records;
};

WinHookTable* CurrentTable() {
  if (g_dwWindowHookTlsIndex == TLS_OUT_OF_INDEXES) return nullptr;
  return static_cast<WinHookTable*>(TlsGetValue(g_dwWindowHookTlsIndex));
}

RecordPtr FindRecord(WinHookTable* table, HWND hwnd) {
  auto it = table->Records.find(hwnd);
  return it == table->Records.end() ? nullptr : it->second;
}

void Retire(const EntryPtr& entry) { entry->Owner = nullptr; }

// Deleting a record gives the window its previous procedure back while it still lives.
void DeleteRecord(WinHookRecord& record) {
  for (auto& e : record.HwndHooks) Retire(e);
  for (auto& [msg, e] : record.MsgHooks) Retire(e);
  record.HwndHooks.clear();
  record.MsgHooks.clear();
  if (IsWindow(record.Window))
    SetWindowLongPtrA(record.Window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(record.PreviousWndProc));
}

// Takes the record out of the table; while the window is still valid each distinct owner
// of its hooks hears of it once (all-message hooks first, then one-message hooks).
void RemoveRecord(WinHookTable* table, const RecordPtr& record) {
  auto it = table->Records.find(record->Window);
  if (it == table->Records.end() || it->second != record) return;
  table->Records.erase(it);
  if (IsWindow(record->Window)) {
    std::vector<CWinHookBase*> owners;
    std::set<CWinHookBase*> seen;
    for (auto& e : record->HwndHooks)
      if (e->Owner && seen.insert(e->Owner).second) owners.push_back(e->Owner);
    for (auto& [msg, e] : record->MsgHooks)
      if (e->Owner && seen.insert(e->Owner).second) owners.push_back(e->Owner);
    for (CWinHookBase* owner : owners) owner->OnRemoveHooks(record->Window);
  }
  DeleteRecord(*record);
}

LRESULT CommonWndProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  WinHookTable* table = hwnd ? CurrentTable() : nullptr;
  if (!table) return 0;
  RecordPtr record = FindRecord(table, hwnd);
  if (!record) return 0;
  const bool ncDestroy = message == WM_NCDESTROY;

  LRESULT result = 0;
  BOOL handled = FALSE;
  auto call = [&](const EntryPtr& e) {
    CWinHookBase* owner = e->Owner;
    if (!owner) return FALSE;
    WINHOOKPROC handler = e->Handler ? e->Handler : &CWinHookBase::defWndProcHook;
    return (owner->*handler)(hwnd, message, wParam, lParam, &result);
  };
  auto one = record->MsgHooks.find(message);
  if (one != record->MsgHooks.end()) {
    EntryPtr e = one->second;
    handled = call(e);
  }
  if (!handled) {
    std::vector<EntryPtr> all = record->HwndHooks;  // newest first, as they stood
    for (auto it = all.rbegin(); it != all.rend() && !handled; ++it) handled = call(*it);
  }
  if (!handled) result = CallWindowProcA(record->PreviousWndProc, hwnd, message, wParam, lParam);

  if (ncDestroy) {
    table = CurrentTable();
    if (table) RemoveRecord(table, record);
  }
  return result;
}

// The table lives in the window-hook slot of the thread that loads the library.
void* CreateHookTable() { return new WinHookTable; }
void DestroyHookTable(void* table) {
  auto* t = static_cast<WinHookTable*>(table);
  // Windows may be gone at unload: records go without calling into them.
  for (auto& [hwnd, record] : t->Records) {
    for (auto& e : record->HwndHooks) Retire(e);
    for (auto& [msg, e] : record->MsgHooks) Retire(e);
  }
  delete t;
}

// Built with the library's global objects, before the load hook makes the table. In a
// static link the load hook may run first; the loading thread (which builds the globals)
// then gets its table here, and loses it when this object goes.
struct HookTableRegistration {
  HookTableRegistration() {
    SetWindowHookTableFactory(&CreateHookTable, &DestroyHookTable);
    if (g_dwWindowHookTlsIndex != TLS_OUT_OF_INDEXES && !TlsGetValue(g_dwWindowHookTlsIndex)) {
      lateTable = CreateHookTable();
      TlsSetValue(g_dwWindowHookTlsIndex, lateTable);
    }
  }
  ~HookTableRegistration() {
    if (!lateTable) return;
    if (TlsGetValue(g_dwWindowHookTlsIndex) == lateTable) TlsSetValue(g_dwWindowHookTlsIndex, nullptr);
    DestroyHookTable(lateTable);
  }
  void* lateTable = nullptr;
} g_hookTableRegistration;

BOOL AddEntry(HWND hwnd, int kind, UINT message, CWinHookBase* owner, WINHOOKPROC handler) {
  WinHookTable* table = CurrentTable();
  if (!table || !IsWindow(hwnd)) return FALSE;
  RecordPtr record = FindRecord(table, hwnd);
  if (!record) {
    record = std::make_shared<WinHookRecord>();
    record->Window = hwnd;
    table->Records[hwnd] = record;
    record->PreviousWndProc = reinterpret_cast<WNDPROC>(
        SetWindowLongPtrA(hwnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&CommonWndProc)));
  }
  auto entry = std::make_shared<WinHookEntry>(WinHookEntry{kind, message, owner, handler});
  if (kind == kHookOneMessage) {
    auto& slot = record->MsgHooks[message];
    if (slot) Retire(slot);
    slot = entry;
  } else {
    record->HwndHooks.push_back(entry);
  }
  return TRUE;
}

}  // namespace

CWinHookBase::~CWinHookBase() { RemoveHooks(); }

BOOL CWinHookBase::defWndProcHook(HWND, UINT, WPARAM, LPARAM, LRESULT*) { return FALSE; }

void CWinHookBase::OnRemoveHooks(HWND) {}

BOOL CWinHookBase::AddMsgHook(HWND hwnd, UINT message, WINHOOKPROC handler) {
  if (message == 0) return FALSE;
  return AddEntry(hwnd, kHookOneMessage, message, this, handler);
}

BOOL CWinHookBase::AddHwndHook(HWND hwnd, WINHOOKPROC handler) {
  return AddEntry(hwnd, kHookAllMessages, 0, this, handler);
}

void CWinHookBase::RemoveHooks() {
  WinHookTable* table = CurrentTable();
  if (!table) return;
  // Records that become empty are removed after the walk, which they would disturb.
  std::vector<RecordPtr> emptied;
  for (auto& [hwnd, record] : table->Records) {
    auto& all = record->HwndHooks;
    for (auto it = all.begin(); it != all.end();) {
      if ((*it)->Owner == this) {
        Retire(*it);
        it = all.erase(it);
      } else {
        ++it;
      }
    }
    for (auto it = record->MsgHooks.begin(); it != record->MsgHooks.end();) {
      if (it->second->Owner == this) {
        Retire(it->second);
        it = record->MsgHooks.erase(it);
      } else {
        ++it;
      }
    }
    if (all.empty() && record->MsgHooks.empty()) emptied.push_back(record);
  }
  for (auto& record : emptied) RemoveRecord(table, record);
}

LRESULT CWinHookBase::CallOriginalWndproc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  WinHookTable* table = CurrentTable();
  RecordPtr record = table ? FindRecord(table, hwnd) : nullptr;
  if (!record) return 0;
  return CallWindowProcA(record->PreviousWndProc, hwnd, message, wParam, lParam);
}

}  // namespace zev
