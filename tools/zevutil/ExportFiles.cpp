// Naming, numbering and committing the files of one export unit.
#include "ExportFiles.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <strings.h>
#include <unistd.h>

#include "Commands.h"
#include "zevutil/COutputObject.h"
#include "zevutil/platform/Host.h"

namespace zevcli {

namespace {

namespace fs = std::filesystem;

bool Exists(const std::string& path) {
  std::error_code ec;
  return fs::symlink_status(path, ec).type() != fs::file_type::not_found && !ec;
}

bool EndsWithNoCase(const std::string& s, const std::string& tail) {
  return !tail.empty() && s.size() >= tail.size() &&
         ::strcasecmp(s.c_str() + (s.size() - tail.size()), tail.c_str()) == 0;
}

// Empty files that hold a name while the library's numbering looks past it; removed
// when naming is done.
class Placeholders {
 public:
  ~Placeholders() {
    for (const auto& p : m_names) ::unlink(p.c_str());
  }
  void Reserve(const std::string& path) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    if (fd < 0) throw CommandError("cannot write into the folder of '" + path + "': " + std::strerror(errno));
    ::close(fd);
    m_names.push_back(path);
  }

 private:
  std::vector<std::string> m_names;
};

std::string OneLine(std::string text) {
  std::string out;
  for (char c : text) {
    if (c == '\n' || c == '\r') {
      if (!out.empty() && out.back() != ' ') out += ' ';
    } else {
      out += c;
    }
  }
  while (!out.empty() && out.back() == ' ') out.pop_back();
  return out;
}

constexpr int kMaxNumbering = 100000;

}  // namespace

void ExportUnit::SetStem(const std::string& s) {
  for (UnitFile& f : files) f.path = s + f.ext;
}

void NameUnit(ExportUnit& unit, ClashPolicy policy, const std::set<std::string>& claimed) {
  unit.SetStem(unit.stem);
  for (std::size_t i = 0; i < unit.files.size(); ++i)
    for (std::size_t k = i + 1; k < unit.files.size(); ++k)
      if (unit.files[i].path == unit.files[k].path)
        throw CommandError("the " + unit.files[i].kind + " and the " + unit.files[k].kind + " would both be named '" +
                           unit.files[i].path + "'; the profile's extensions must differ");
  const std::string first = unit.files[0].path;

  if (policy == ClashPolicy::Overwrite) {
    for (const UnitFile& f : unit.files)
      if (claimed.count(f.path))
        throw CommandError("'" + f.path +
                           "' was written by an earlier input of this export; not replaced (two inputs with one "
                           "name: --resolve-conflicts numbers the second)");
    return;
  }

  if (policy == ClashPolicy::Refuse) {
    if (unit.crv) {
      // The library's question before a CRV set is overwritten, answered Cancel.
      std::string question;
      auto previous = zev::SetMessageBoxHandler([&question](zev::HWND, const char* text, const char*, zev::UINT) {
        question = text ? text : "";
        return zev::IDCANCEL;
      });
      zev::CString path((unit.stem + unit.primaryExt).c_str());
      const int declined = zev::COutputObject::CheckExistFileNameCRV(path, unit.primaryExt.c_str());
      zev::SetMessageBoxHandler(previous);
      if (declined) throw CommandError(OneLine(question) + " (not overwritten; --overwrite replaces them)");
    }
    for (const UnitFile& f : unit.files)
      if (Exists(f.path) || claimed.count(f.path))
        throw CommandError("'" + f.path +
                           "' exists; not overwritten (--resolve-conflicts numbers the new files, --overwrite "
                           "replaces them)");
    return;
  }

  // Resolve: the library numbers the primary (for CRV the whole set); when another file
  // of the unit is taken at that number, the number is held by a placeholder and the
  // library asked again, so that the unit keeps one number.
  Placeholders held;
  for (int tries = 0;; ++tries) {
    if (tries > kMaxNumbering) throw CommandError("no free number for '" + first + "'");
    zev::CString path((unit.stem + unit.primaryExt).c_str());
    if (unit.crv)
      zev::COutputObject::NameClashResolveCRV(path, unit.primaryExt.c_str());
    else
      zev::COutputObject::NameClashResolve(path, unit.primaryExt.c_str());
    std::string candidate = path.str();
    if (EndsWithNoCase(candidate, unit.primaryExt))
      candidate.resize(candidate.size() - unit.primaryExt.size());
    unit.SetStem(candidate);
    bool busy = false;
    for (const UnitFile& f : unit.files) busy = busy || Exists(f.path) || claimed.count(f.path);
    if (!busy) break;
    // The name the library tests first for this number.
    held.Reserve(unit.crv ? candidate + "_D1" + unit.primaryExt : candidate + unit.primaryExt);
  }
  if (unit.files[0].path != first) unit.renamedFrom = first;
}

std::string TemporaryName(const std::string& finalPath) {
  static std::atomic<unsigned> counter{0};
  const fs::path p(finalPath);
  const std::string name = "." + p.filename().string() + ".zevtmp" + std::to_string(::getpid()) + "-" +
                           std::to_string(counter.fetch_add(1));
  return (p.parent_path() / name).string();
}

void DiscardUnit(const ExportUnit& unit) {
  for (const UnitFile& f : unit.files)
    if (!f.temp.empty()) ::unlink(f.temp.c_str());
}

void CommitUnit(ExportUnit& unit, bool overwrite) {
  std::vector<std::string> placed;
  std::string failure;
  for (const UnitFile& f : unit.files) {
    bool ok;
    if (overwrite) {
      ok = std::rename(f.temp.c_str(), f.path.c_str()) == 0;
    } else {
      // A hard link never replaces a name; where the file system has no links, a
      // rename after a last look does.
      if (::link(f.temp.c_str(), f.path.c_str()) == 0) {
        ::unlink(f.temp.c_str());
        ok = true;
      } else if (errno == EEXIST) {
        failure = "'" + f.path + "' appeared while the export ran; not overwritten";
        break;
      } else {
        ok = !Exists(f.path) && std::rename(f.temp.c_str(), f.path.c_str()) == 0;
      }
    }
    if (!ok) {
      failure = "cannot write '" + f.path + "': " + std::strerror(errno);
      break;
    }
    placed.push_back(f.path);
  }
  if (failure.empty()) return;
  for (const auto& p : placed) ::unlink(p.c_str());
  DiscardUnit(unit);
  throw CommandError(failure);
}

}  // namespace zevcli
