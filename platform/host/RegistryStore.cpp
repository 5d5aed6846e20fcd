// The registry over SQLite: one database file per root.
// Contract: every call is one SQLite transaction (writes take the write lock up front
// with BEGIN IMMEDIATE and wait up to the busy timeout for other processes), so
// concurrent processes serialise and a killed process leaves the last committed
// state. Stores use the write-ahead log with commits synced at checkpoints: a
// process that dies loses nothing it committed, a power cut at most the last
// commits, never the store's consistency. A file that is not a
// store of ours, or a damaged one, is refused with ERROR_BADDB; no input file can
// crash the process. Handles are numbers in a table, never pointers to follow.
#include <pwd.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zevutil/platform/Host.h"
#include "zevutil/platform/Locale.h"
#include "zevutil/platform/Registry.h"

namespace zev {

namespace {

constexpr int kApplicationId = 0x5A455652;  // "ZEVR" in the database header
constexpr int kSchemaVersion = 1;
constexpr int kBusyTimeoutMs = 20000;
constexpr size_t kMaxKeyNameLength = 255;
constexpr size_t kMaxValueNameLength = 16383;
constexpr sqlite3_int64 kRootKeyId = 1;

constexpr const char* kSchema =
    "CREATE TABLE keys(id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER NOT NULL,"
    " name BLOB NOT NULL, fold BLOB NOT NULL, UNIQUE(parent, fold));"
    "CREATE TABLE vals(key INTEGER NOT NULL, name BLOB NOT NULL, fold BLOB NOT NULL,"
    " type INTEGER NOT NULL, data BLOB NOT NULL, UNIQUE(key, fold));"
    "INSERT INTO keys(id, parent, name, fold) VALUES(1, 0, x'', x'');"
    "PRAGMA application_id = 1514493522;"
    "PRAGMA user_version = 1;";
static_assert(kApplicationId == 1514493522, "the schema text repeats the application id");

// A failed SQLite call inside a transaction; caught where the transaction ends.
struct DbError {
  int rc;
};

std::string Fold(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = Cp1252Upper(c);
  return out;
}

class Stmt {
 public:
  Stmt(sqlite3* db, const char* sql) {
    int rc = sqlite3_prepare_v2(db, sql, -1, &m_s, nullptr);
    if (rc != SQLITE_OK) throw DbError{rc};
  }
  ~Stmt() { sqlite3_finalize(m_s); }
  Stmt(const Stmt&) = delete;
  Stmt& operator=(const Stmt&) = delete;

  Stmt& Int(int i, sqlite3_int64 v) {
    Check(sqlite3_bind_int64(m_s, i, v));
    return *this;
  }
  Stmt& Blob(int i, const void* p, size_t n) {
    // A zero-length value is an empty blob, never NULL.
    static const char kEmpty = 0;
    Check(sqlite3_bind_blob64(m_s, i, n ? p : &kEmpty, n, SQLITE_TRANSIENT));
    return *this;
  }
  Stmt& Text(int i, std::string_view s) { return Blob(i, s.data(), s.size()); }
  // True for a row, false when done.
  bool Step() {
    int rc = sqlite3_step(m_s);
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    throw DbError{rc};
  }
  sqlite3_int64 ColInt(int i) { return sqlite3_column_int64(m_s, i); }
  std::string ColBytes(int i) {
    const void* p = sqlite3_column_blob(m_s, i);
    int n = sqlite3_column_bytes(m_s, i);
    return p && n > 0 ? std::string(static_cast<const char*>(p), size_t(n)) : std::string();
  }
  const void* ColBlob(int i, size_t* n) {
    const void* p = sqlite3_column_blob(m_s, i);
    int len = sqlite3_column_bytes(m_s, i);
    *n = p && len > 0 ? size_t(len) : 0;
    return p;
  }

 private:
  static void Check(int rc) {
    if (rc != SQLITE_OK) throw DbError{rc};
  }
  sqlite3_stmt* m_s = nullptr;
};

LONG MapError(int rc, bool writing) {
  switch (rc & 0xFF) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
    case SQLITE_FORMAT:
    case SQLITE_SCHEMA:
      return LONG(ERROR_BADDB);
    case SQLITE_CANTOPEN:
      return LONG(ERROR_CANTOPEN);
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return LONG(ERROR_ACCESS_DENIED);
    case SQLITE_NOMEM:
      return LONG(ERROR_NOT_ENOUGH_MEMORY);
    default:
      return LONG(writing ? ERROR_CANTWRITE : ERROR_CANTREAD);
  }
}

bool PathExists(const std::string& p) {
  struct stat st {};
  return ::stat(p.c_str(), &st) == 0;
}

// Creates the folders on the way to a file; false when one can't be made.
bool MakeParentDirs(const std::string& file) {
  size_t slash = file.rfind('/');
  if (slash == std::string::npos || slash == 0) return true;
  std::string dir = file.substr(0, slash);
  if (PathExists(dir)) return true;
  for (size_t pos = 1; pos <= dir.size(); ++pos) {
    if (pos != dir.size() && dir[pos] != '/') continue;
    std::string part = dir.substr(0, pos);
    if (::mkdir(part.c_str(), 0777) != 0 && errno != EEXIST) return false;
  }
  return true;
}

// One store file. Calls run one at a time per store; the connection stays open.
class Store {
 public:
  explicit Store(std::string path) : m_path(std::move(path)) {}
  ~Store() {
    if (m_db && m_pid == ::getpid()) sqlite3_close_v2(m_db);
  }
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  const std::string& Path() const { return m_path; }

  // Runs fn inside a read transaction; fn gets null for a store not yet created.
  LONG Read(const std::function<LONG(sqlite3*)>& fn) { return Run(false, fn); }
  // Runs fn inside a write transaction, creating the store first if needed.
  LONG Write(const std::function<LONG(sqlite3*)>& fn) { return Run(true, fn); }

  // Opens the store and checks its structure with SQLite's own check.
  LONG Verify() {
    std::lock_guard<std::mutex> g(m_lock);
    LONG e = Open(false);
    if (e != ERROR_SUCCESS || m_state != State::Ready) return e;
    try {
      Stmt s(m_db, "PRAGMA quick_check");
      while (s.Step())
        if (s.ColBytes(0) != "ok") return LONG(ERROR_BADDB);
    } catch (const DbError& err) {
      return MapError(err.rc, false);
    }
    return LONG(ERROR_SUCCESS);
  }

 private:
  enum class State { Closed, Missing, Empty, Ready };

  LONG Run(bool writing, const std::function<LONG(sqlite3*)>& fn) {
    std::lock_guard<std::mutex> g(m_lock);
    LONG e = Open(writing);
    if (e != ERROR_SUCCESS) return e;
    if (m_state != State::Ready) return fn(nullptr);  // an empty store, read only
    if (sqlite3_exec(m_db, writing ? "BEGIN IMMEDIATE" : "BEGIN", nullptr, nullptr, nullptr) != SQLITE_OK)
      return MapError(sqlite3_extended_errcode(m_db), writing);
    LONG result;
    try {
      result = fn(m_db);
    } catch (const DbError& err) {
      result = MapError(err.rc, writing);
    } catch (const std::bad_alloc&) {
      result = LONG(ERROR_NOT_ENOUGH_MEMORY);
    }
    if (result == ERROR_SUCCESS || !writing) {
      int rc = sqlite3_exec(m_db, "COMMIT", nullptr, nullptr, nullptr);
      if (rc == SQLITE_OK) return result;
      if (result == ERROR_SUCCESS) result = MapError(rc, writing);
    }
    sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
    return result;
  }

  // Opens the connection (creating the file when writing) and checks the store.
  LONG Open(bool create) {
    if (m_db && m_pid != ::getpid()) {
      // A connection inherited across fork belongs to the parent: leave it alone.
      Abandoned().push_back(m_db);
      m_db = nullptr;
      m_state = State::Closed;
    }
    if (m_state == State::Ready) return LONG(ERROR_SUCCESS);
    if (!m_db) {
      if (!PathExists(m_path)) {
        if (!create) {
          m_state = State::Missing;
          return LONG(ERROR_SUCCESS);
        }
        if (!MakeParentDirs(m_path)) return LONG(ERROR_CANTOPEN);
      }
      int flags = SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0) | SQLITE_OPEN_FULLMUTEX;
      int rc = sqlite3_open_v2(m_path.c_str(), &m_db, flags, nullptr);
      if (rc != SQLITE_OK) {
        sqlite3_close_v2(m_db);
        m_db = nullptr;
        return rc == SQLITE_CANTOPEN ? LONG(ERROR_CANTOPEN) : MapError(rc, create);
      }
      m_pid = ::getpid();
      sqlite3_extended_result_codes(m_db, 1);
      sqlite3_busy_timeout(m_db, kBusyTimeoutMs);
      sqlite3_db_config(m_db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
      sqlite3_db_config(m_db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
      sqlite3_exec(m_db, "PRAGMA cell_size_check=ON; PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr);
    }
    m_state = State::Closed;
    try {
      int kind = InspectSnapshot();
      if (kind < 0) return LONG(ERROR_BADDB);
      if (kind == 1) {
        m_state = State::Ready;
        return LONG(ERROR_SUCCESS);
      }
      if (!create) {
        m_state = State::Empty;
        return LONG(ERROR_SUCCESS);
      }
      // A new store: lay out the schema unless another process just did.
      if (sqlite3_exec(m_db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
        return MapError(sqlite3_extended_errcode(m_db), true);
      int again = Inspect();
      int rc = SQLITE_OK;
      if (again == 0) rc = sqlite3_exec(m_db, kSchema, nullptr, nullptr, nullptr);
      if (again < 0 || rc != SQLITE_OK || sqlite3_exec(m_db, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK) {
        int code = sqlite3_extended_errcode(m_db);
        sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
        return again < 0 ? LONG(ERROR_BADDB) : MapError(code, true);
      }
      // The log mode stays with the file; where the file system can't share memory
      // the store keeps the rollback journal.
      sqlite3_exec(m_db, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
      m_state = State::Ready;
      return LONG(ERROR_SUCCESS);
    } catch (const DbError& err) {
      return MapError(err.rc, create);
    }
  }

  // Inspect in a read transaction of its own: its three reads must see one state of the
  // file, not an empty store's identity and the tables another process has just added.
  int InspectSnapshot() {
    if (sqlite3_exec(m_db, "BEGIN", nullptr, nullptr, nullptr) != SQLITE_OK)
      throw DbError{sqlite3_extended_errcode(m_db)};
    int kind;
    try {
      kind = Inspect();
    } catch (...) {
      sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
      throw;
    }
    sqlite3_exec(m_db, "COMMIT", nullptr, nullptr, nullptr);
    return kind;
  }

  // 1: a store of ours; 0: an empty database; -1: something else. Inside a transaction.
  int Inspect() {
    sqlite3_int64 appId, version, ours = 0, other = 0;
    {
      Stmt s(m_db, "PRAGMA application_id");
      appId = s.Step() ? s.ColInt(0) : 0;
    }
    {
      Stmt s(m_db, "PRAGMA user_version");
      version = s.Step() ? s.ColInt(0) : 0;
    }
    {
      Stmt s(m_db,
             "SELECT count(CASE WHEN type='table' AND name IN ('keys','vals') THEN 1 END),"
             " count(CASE WHEN type IN ('trigger','view') OR (type='table' AND name NOT IN"
             " ('keys','vals','sqlite_sequence')) THEN 1 END) FROM sqlite_master");
      if (s.Step()) {
        ours = s.ColInt(0);
        other = s.ColInt(1);
      }
    }
    if (appId == kApplicationId && version == kSchemaVersion && ours == 2 && other == 0) return 1;
    if (appId == 0 && version == 0 && ours == 0 && other == 0) return 0;
    return -1;
  }

  static std::vector<sqlite3*>& Abandoned() {
    static std::vector<sqlite3*>* list = new std::vector<sqlite3*>;
    return *list;
  }

  std::string m_path;
  std::mutex m_lock;
  sqlite3* m_db = nullptr;
  pid_t m_pid = 0;
  State m_state = State::Closed;
};

// ---- key handles ----

struct KeyHandle {
  std::shared_ptr<Store> store;
  sqlite3_int64 id = 0;
  REGSAM access = 0;
};

std::string ConfigHome() {
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  if (xdg && xdg[0] == '/') return xdg;
  const char* home = std::getenv("HOME");
  if (home && home[0]) return std::string(home) + "/.config";
  struct passwd pw {};
  struct passwd* found = nullptr;
  std::vector<char> buf(16384);
  if (::getpwuid_r(::getuid(), &pw, buf.data(), buf.size(), &found) == 0 && found && pw.pw_dir)
    return std::string(pw.pw_dir) + "/.config";
  return ".config";
}

int RootIndex(HKEY root) {
  if (root == HKEY_CURRENT_USER) return 0;
  if (root == HKEY_LOCAL_MACHINE) return 1;
  return -1;
}

bool IsPredefined(HKEY key) {
  auto v = reinterpret_cast<std::uintptr_t>(key);
  return v >= 0x80000000u && v <= 0x80000006u;
}

struct Registry {
  std::mutex lock;
  std::shared_ptr<Store> stores[2];
  std::unordered_map<std::uintptr_t, KeyHandle> handles;
  std::uintptr_t counter = 0x1000;

  std::shared_ptr<Store> StoreFor(int index) {
    if (!stores[index]) stores[index] = std::make_shared<Store>(RegDefaultStoreLocation(index ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER));
    return stores[index];
  }
};

Registry& Reg() {
  static Registry r;
  return r;
}

LONG LookupHandle(HKEY key, KeyHandle& out) {
  Registry& r = Reg();
  std::lock_guard<std::mutex> g(r.lock);
  int root = RootIndex(key);
  if (root >= 0) {
    out = KeyHandle{r.StoreFor(root), kRootKeyId, KEY_ALL_ACCESS};
    return LONG(ERROR_SUCCESS);
  }
  auto it = r.handles.find(reinterpret_cast<std::uintptr_t>(key));
  if (it == r.handles.end()) return LONG(ERROR_INVALID_HANDLE);
  out = it->second;
  return LONG(ERROR_SUCCESS);
}

HKEY NewHandle(const KeyHandle& h) {
  Registry& r = Reg();
  std::lock_guard<std::mutex> g(r.lock);
  std::uintptr_t id = r.counter++;
  if (r.counter == 0x80000000u) r.counter = std::uintptr_t(0x100000000ull);  // keep clear of the roots
  r.handles.emplace(id, h);
  return reinterpret_cast<HKEY>(id);
}

// Splits a key path at '\', skipping empty parts. False for a part that is too long.
bool SplitKeyPath(const char* path, std::vector<std::string>& parts) {
  parts.clear();
  if (!path) return true;
  std::string cur;
  for (const char* p = path;; ++p) {
    if (*p == '\\' || *p == '\0') {
      if (!cur.empty()) {
        if (cur.size() > kMaxKeyNameLength) return false;
        parts.push_back(cur);
        cur.clear();
      }
      if (!*p) break;
    } else {
      cur += *p;
    }
  }
  return true;
}

bool KeyExists(sqlite3* db, sqlite3_int64 id) {
  Stmt s(db, "SELECT 1 FROM keys WHERE id=?1");
  s.Int(1, id);
  return s.Step();
}

sqlite3_int64 ChildKey(sqlite3* db, sqlite3_int64 parent, const std::string& name) {
  Stmt s(db, "SELECT id FROM keys WHERE parent=?1 AND fold=?2");
  s.Int(1, parent).Text(2, Fold(name));
  return s.Step() ? s.ColInt(0) : 0;
}

// The key at parts below start: its id, 0 when missing. ERROR_KEY_DELETED when the
// start key itself is gone.
LONG ResolveKey(sqlite3* db, sqlite3_int64 start, const std::vector<std::string>& parts, sqlite3_int64& id) {
  id = 0;
  if (!db) {
    if (start != kRootKeyId) return LONG(ERROR_KEY_DELETED);
    if (parts.empty()) id = kRootKeyId;
    return LONG(ERROR_SUCCESS);
  }
  if (!KeyExists(db, start)) return LONG(ERROR_KEY_DELETED);
  sqlite3_int64 cur = start;
  for (const std::string& p : parts) {
    cur = ChildKey(db, cur, p);
    if (!cur) return LONG(ERROR_SUCCESS);
  }
  id = cur;
  return LONG(ERROR_SUCCESS);
}

// Resolves subKey below a handle: a leading '\' is refused, except "\" alone on a root.
LONG ParseSubKey(HKEY key, const char* subKey, std::vector<std::string>& parts) {
  if (subKey && subKey[0] == '\\' && !(subKey[1] == '\0' && IsPredefined(key))) return LONG(ERROR_BAD_PATHNAME);
  if (!SplitKeyPath(subKey, parts)) return LONG(ERROR_INVALID_PARAMETER);
  return LONG(ERROR_SUCCESS);
}

std::string ValueName(const char* name) { return name ? std::string(name) : std::string(); }

// Copies a name into a caller's buffer of *cch characters; ERROR_MORE_DATA if short.
LONG CopyName(const std::string& name, char* out, DWORD* cch) {
  if (!out || !cch) return LONG(ERROR_INVALID_PARAMETER);
  if (name.size() + 1 > *cch) return LONG(ERROR_MORE_DATA);
  std::memcpy(out, name.data(), name.size());
  out[name.size()] = '\0';
  *cch = DWORD(name.size());
  return LONG(ERROR_SUCCESS);
}

// Delivers a value's data the way RegQueryValueExA does.
LONG CopyData(const void* p, size_t n, BYTE* data, DWORD* cbData) {
  if (!cbData) return LONG(ERROR_SUCCESS);
  if (data && *cbData < n) {
    *cbData = DWORD(n);
    return LONG(ERROR_MORE_DATA);
  }
  if (data && n) std::memcpy(data, p, n);
  *cbData = DWORD(n);
  return LONG(ERROR_SUCCESS);
}

}  // namespace

std::string RegDefaultStoreLocation(HKEY root) {
  int index = RootIndex(root);
  if (index < 0) return {};
  return ConfigHome() + (index == 0 ? "/zevutil/registry/user.db" : "/zevutil/registry/machine.db");
}

LONG RegSetStoreLocation(HKEY root, const char* path) {
  int index = RootIndex(root);
  if (index < 0) return LONG(ERROR_INVALID_HANDLE);
  std::string p = path && path[0] ? std::string(path) : RegDefaultStoreLocation(root);
  Registry& r = Reg();
  std::lock_guard<std::mutex> g(r.lock);
  r.stores[index] = std::make_shared<Store>(p);
  return LONG(ERROR_SUCCESS);
}

std::string RegGetStoreLocation(HKEY root) {
  int index = RootIndex(root);
  if (index < 0) return {};
  Registry& r = Reg();
  std::lock_guard<std::mutex> g(r.lock);
  return r.StoreFor(index)->Path();
}

LONG RegVerifyStore(HKEY root) {
  KeyHandle h;
  if (RootIndex(root) < 0) return LONG(ERROR_INVALID_HANDLE);
  LookupHandle(root, h);
  return h.store->Verify();
}

LONG RegOpenKeyExA(HKEY key, const char* subKey, DWORD, REGSAM access, HKEY* result) {
  if (!result) return LONG(ERROR_INVALID_PARAMETER);
  *result = nullptr;
  KeyHandle h;
  LONG e = LookupHandle(key, h);
  if (e != ERROR_SUCCESS) return e;
  if ((!subKey || !subKey[0]) && IsPredefined(key)) {
    *result = key;
    return LONG(ERROR_SUCCESS);
  }
  std::vector<std::string> parts;
  if ((e = ParseSubKey(key, subKey, parts)) != ERROR_SUCCESS) return e;
  sqlite3_int64 id = 0;
  e = h.store->Read([&](sqlite3* db) { return ResolveKey(db, h.id, parts, id); });
  if (e != ERROR_SUCCESS) return e;
  if (!id) return LONG(ERROR_FILE_NOT_FOUND);
  *result = NewHandle(KeyHandle{h.store, id, access});
  return LONG(ERROR_SUCCESS);
}

LONG RegOpenKeyA(HKEY key, const char* subKey, HKEY* result) {
  return RegOpenKeyExA(key, subKey, 0, KEY_ALL_ACCESS, result);
}

LONG RegCreateKeyExA(HKEY key, const char* subKey, DWORD reserved, char*, DWORD, REGSAM access, const void*,
                     HKEY* result, DWORD* disposition) {
  if (!result) return LONG(ERROR_INVALID_PARAMETER);
  *result = nullptr;
  if (reserved != 0) return LONG(ERROR_INVALID_PARAMETER);
  KeyHandle h;
  LONG e = LookupHandle(key, h);
  if (e != ERROR_SUCCESS) return e;
  std::vector<std::string> parts;
  if ((e = ParseSubKey(key, subKey, parts)) != ERROR_SUCCESS) return e;
  sqlite3_int64 id = 0;
  bool created = false;
  // Most calls find the key: look first without taking the write lock.
  e = h.store->Read([&](sqlite3* db) { return ResolveKey(db, h.id, parts, id); });
  if (e != ERROR_SUCCESS) return e;
  if (!id) {
    e = h.store->Write([&](sqlite3* db) -> LONG {
      if (!KeyExists(db, h.id)) return LONG(ERROR_KEY_DELETED);
      sqlite3_int64 cur = h.id;
      for (const std::string& p : parts) {
        sqlite3_int64 child = ChildKey(db, cur, p);
        if (!child) {
          if (!(h.access & KEY_CREATE_SUB_KEY)) return LONG(ERROR_ACCESS_DENIED);
          Stmt s(db, "INSERT INTO keys(parent, name, fold) VALUES(?1, ?2, ?3)");
          s.Int(1, cur).Text(2, p).Text(3, Fold(p));
          s.Step();
          child = sqlite3_last_insert_rowid(db);
          created = true;
        }
        cur = child;
      }
      id = cur;
      return LONG(ERROR_SUCCESS);
    });
    if (e != ERROR_SUCCESS) return e;
  }
  if (disposition) *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  *result = NewHandle(KeyHandle{h.store, id, access});
  return LONG(ERROR_SUCCESS);
}

LONG RegCreateKeyA(HKEY key, const char* subKey, HKEY* result) {
  return RegCreateKeyExA(key, subKey, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, result, nullptr);
}

LONG RegQueryValueExA(HKEY key, const char* valueName, DWORD* reserved, DWORD* type, BYTE* data, DWORD* cbData) {
  if ((data && !cbData) || reserved) return LONG(ERROR_INVALID_PARAMETER);
  KeyHandle h;
  LONG e = LookupHandle(key, h);
  if (e != ERROR_SUCCESS) return e;
  if (!(h.access & KEY_QUERY_VALUE)) return LONG(ERROR_ACCESS_DENIED);
  std::string fold = Fold(ValueName(valueName));
  e = h.store->Read([&](sqlite3* db) -> LONG {
    if (!db) return h.id == kRootKeyId ? LONG(ERROR_FILE_NOT_FOUND) : LONG(ERROR_KEY_DELETED);
    if (!KeyExists(db, h.id)) return LONG(ERROR_KEY_DELETED);
    Stmt s(db, "SELECT type, data FROM vals WHERE key=?1 AND fold=?2");
    s.Int(1, h.id).Text(2, fold);
    if (!s.Step()) return LONG(ERROR_FILE_NOT_FOUND);
    if (type) *type = DWORD(s.ColInt(0));
    size_t n = 0;
    const void* p = s.ColBlob(1, &n);
    return CopyData(p, n, data, cbData);
  });
  if (e == ERROR_FILE_NOT_FOUND && !data && cbData) *cbData = 0;
  return e;
}

LONG RegSetValueExA(HKEY key, const char* valueName, DWORD, DWORD type, const BYTE* data, DWORD cbData) {
  if (!data && cbData) return LONG(ERROR_INVALID_PARAMETER);
  std::string name = ValueName(valueName);
  if (name.size() > kMaxValueNameLength) return LONG(ERROR_INVALID_PARAMETER);
  KeyHandle h;
  LONG e = LookupHandle(key, h);
  if (e != ERROR_SUCCESS) return e;
  if (!(h.access & KEY_SET_VALUE)) return LONG(ERROR_ACCESS_DENIED);
  return h.store->Write([&](sqlite3* db) -> LONG {
    if (!KeyExists(db, h.id)) return LONG(ERROR_KEY_DELETED);
    // An existing value keeps the spelling of its name.
    Stmt s(db,
           "INSERT INTO vals(key, name, fold, type, data) VALUES(?1, ?2, ?3, ?4, ?5)"
           " ON CONFLICT(key, fold) DO UPDATE SET type=excluded.type, data=excluded.data");
    s.Int(1, h.id).Text(2, name).Text(3, Fold(name)).Int(4, type).Blob(5, data, cbData);
    s.Step();
    return LONG(ERROR_SUCCESS);
  });
}

LONG RegDeleteValueA(HKEY key, const char* valueName) {
  KeyHandle h;
  LONG e = LookupHandle(key, h);
  if (e != ERROR_SUCCESS) return e;
  if (!(h.access & KEY_SET_VALUE)) return LONG(ERROR_ACCESS_DENIED);
  std::string fold = Fold(ValueName(valueName));
  bool missingStore = false;
  e = h.store->Read([&](sqlite3* db) -> LONG {
    missingStore = db == nullptr;
    return LONG(ERROR_SUCCESS);
  });
  if (e != ERROR_SUCCESS) return e;
  if (missingStore) return LONG(ERROR_FILE_NOT_FOUND);
  return h.store->Write([&](sqlite3* db) -> LONG {
    if (!KeyExists(db, h.id)) return LONG(ERROR_KEY_DELETED);
    Stmt s(db, "DELETE FROM vals WHERE key=?1 AND fold=?2");
    s.Int(1, h.id).Text(2, fold);
    s.Step();
    return sqlite3_changes(db) ? LONG(ERROR_SUCCESS) : LONG(ERROR_FILE_NOT_FOUND);
  });
}

namespace {
void DeleteBelow(sqlite3* db, sqlite3_int64 id, bool includingSelf) {
  // UNION, not UNION ALL: a damaged tree with a loop still ends.
  const char* kTree = "WITH RECURSIVE t(id) AS (SELECT ?1 UNION SELECT k.id FROM keys k JOIN t ON k.parent=t.id) ";
  std::string vals = std::string(kTree) + "DELETE FROM vals WHERE key IN (SELECT id FROM t" +
                     (includingSelf ? ")" : " WHERE id<>?1)");
  std::string keys = std::string(kTree) + "DELETE FROM keys WHERE id IN (SELECT id FROM t" +
                     (includingSelf ? ")" : " WHERE id<>?1)");
  {
    Stmt s(db, vals.c_str());
    s.Int(1, id);
    s.Step();
  }
  Stmt s(db, keys.c_str());
  s.Int(1, id);
  s.Step();
}

// Deletes a key (tree: with everything below it; otherwise only a leaf).
LONG DeleteKey(HKEY key, const char* subKey, bool tree) {
  KeyHandle h;
  LONG e = LookupHandle(key, h);
  if (e != ERROR_SUCCESS) return e;
  std::vector<std::string> parts;
  if ((e = ParseSubKey(key, subKey, parts)) != ERROR_SUCCESS) return e;
  bool missingStore = false;
  e = h.store->Read([&](sqlite3* db) -> LONG {
    missingStore = db == nullptr;
    return LONG(ERROR_SUCCESS);
  });
  if (e != ERROR_SUCCESS) return e;
  if (missingStore) return parts.empty() && tree && !subKey ? LONG(ERROR_SUCCESS) : LONG(ERROR_FILE_NOT_FOUND);
  return h.store->Write([&](sqlite3* db) -> LONG {
    sqlite3_int64 id = 0;
    LONG r = ResolveKey(db, h.id, parts, id);
    if (r != ERROR_SUCCESS) return r;
    if (!id) return LONG(ERROR_FILE_NOT_FOUND);
    if (tree && !subKey) {
      DeleteBelow(db, id, false);  // empties the key itself
      Stmt s(db, "DELETE FROM vals WHERE key=?1");
      s.Int(1, id);
      s.Step();
      return LONG(ERROR_SUCCESS);
    }
    if (id == kRootKeyId) return LONG(ERROR_ACCESS_DENIED);
    if (!tree) {
      Stmt s(db, "SELECT 1 FROM keys WHERE parent=?1");
      s.Int(1, id);
      if (s.Step()) return LONG(ERROR_ACCESS_DENIED);
    }
    DeleteBelow(db, id, true);
    return LONG(ERROR_SUCCESS);
  });
}
}  // namespace

LONG RegDeleteKeyA(HKEY key, const char* subKey) {
  if (!subKey) return LONG(ERROR_INVALID_PARAMETER);
  return DeleteKey(key, subKey, false);
}

LONG RegDeleteTreeA(HKEY key, const char* subKey) { return DeleteKey(key, subKey, true); }

LONG RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* cchName, DWORD* reserved, char* keyClass,
                   DWORD* cchClass, FILETIME* lastWriteTime) {
  if (!name || !cchName || reserved) return LONG(ERROR_INVALID_PARAMETER);
  KeyHandle h;
  LONG e = LookupHandle(key, h);
  if (e != ERROR_SUCCESS) return e;
  if (!(h.access & KEY_ENUMERATE_SUB_KEYS)) return LONG(ERROR_ACCESS_DENIED);
  std::string found;
  e = h.store->Read([&](sqlite3* db) -> LONG {
    if (!db) return h.id == kRootKeyId ? LONG(ERROR_NO_MORE_ITEMS) : LONG(ERROR_KEY_DELETED);
    if (!KeyExists(db, h.id)) return LONG(ERROR_KEY_DELETED);
    Stmt s(db, "SELECT name FROM keys WHERE parent=?1 ORDER BY fold, name LIMIT 1 OFFSET ?2");
    s.Int(1, h.id).Int(2, index);
    if (!s.Step()) return LONG(ERROR_NO_MORE_ITEMS);
    found = s.ColBytes(0);
    return LONG(ERROR_SUCCESS);
  });
  if (e != ERROR_SUCCESS) return e;
  if ((e = CopyName(found, name, cchName)) != ERROR_SUCCESS) return e;
  if (keyClass && cchClass && *cchClass) keyClass[0] = '\0';
  if (cchClass) *cchClass = 0;
  if (lastWriteTime) *lastWriteTime = FILETIME{0, 0};
  return LONG(ERROR_SUCCESS);
}

LONG RegEnumValueA(HKEY key, DWORD index, char* valueName, DWORD* cchValueName, DWORD* reserved, DWORD* type,
                   BYTE* data, DWORD* cbData) {
  if (!valueName || !cchValueName || reserved || (data && !cbData)) return LONG(ERROR_INVALID_PARAMETER);
  KeyHandle h;
  LONG e = LookupHandle(key, h);
  if (e != ERROR_SUCCESS) return e;
  if (!(h.access & KEY_QUERY_VALUE)) return LONG(ERROR_ACCESS_DENIED);
  return h.store->Read([&](sqlite3* db) -> LONG {
    if (!db) return h.id == kRootKeyId ? LONG(ERROR_NO_MORE_ITEMS) : LONG(ERROR_KEY_DELETED);
    if (!KeyExists(db, h.id)) return LONG(ERROR_KEY_DELETED);
    Stmt s(db, "SELECT name, type, data FROM vals WHERE key=?1 ORDER BY rowid LIMIT 1 OFFSET ?2");
    s.Int(1, h.id).Int(2, index);
    if (!s.Step()) return LONG(ERROR_NO_MORE_ITEMS);
    LONG r = CopyName(s.ColBytes(0), valueName, cchValueName);
    if (r != ERROR_SUCCESS) return r;
    if (type) *type = DWORD(s.ColInt(1));
    size_t n = 0;
    const void* p = s.ColBlob(2, &n);
    return CopyData(p, n, data, cbData);
  });
}

LONG RegQueryInfoKeyA(HKEY key, DWORD* subKeys, DWORD* maxSubKeyLen, DWORD* values, DWORD* maxValueNameLen,
                      DWORD* maxValueLen) {
  KeyHandle h;
  LONG e = LookupHandle(key, h);
  if (e != ERROR_SUCCESS) return e;
  DWORD r[5] = {0, 0, 0, 0, 0};
  e = h.store->Read([&](sqlite3* db) -> LONG {
    if (!db) return h.id == kRootKeyId ? LONG(ERROR_SUCCESS) : LONG(ERROR_KEY_DELETED);
    if (!KeyExists(db, h.id)) return LONG(ERROR_KEY_DELETED);
    {
      Stmt s(db, "SELECT count(*), coalesce(max(length(name)), 0) FROM keys WHERE parent=?1");
      s.Int(1, h.id);
      if (s.Step()) {
        r[0] = DWORD(s.ColInt(0));
        r[1] = DWORD(s.ColInt(1));
      }
    }
    Stmt s(db, "SELECT count(*), coalesce(max(length(name)), 0), coalesce(max(length(data)), 0) FROM vals WHERE key=?1");
    s.Int(1, h.id);
    if (s.Step()) {
      r[2] = DWORD(s.ColInt(0));
      r[3] = DWORD(s.ColInt(1));
      r[4] = DWORD(s.ColInt(2));
    }
    return LONG(ERROR_SUCCESS);
  });
  if (e != ERROR_SUCCESS) return e;
  if (subKeys) *subKeys = r[0];
  if (maxSubKeyLen) *maxSubKeyLen = r[1];
  if (values) *values = r[2];
  if (maxValueNameLen) *maxValueNameLen = r[3];
  if (maxValueLen) *maxValueLen = r[4];
  return LONG(ERROR_SUCCESS);
}

LONG RegFlushKey(HKEY key) {
  KeyHandle h;
  return LookupHandle(key, h);
}

LONG RegCloseKey(HKEY key) {
  if (IsPredefined(key)) return LONG(ERROR_SUCCESS);
  Registry& r = Reg();
  std::lock_guard<std::mutex> g(r.lock);
  return r.handles.erase(reinterpret_cast<std::uintptr_t>(key)) ? LONG(ERROR_SUCCESS) : LONG(ERROR_INVALID_HANDLE);
}

}  // namespace zev
