// Helpers shared by the identity tests: stored bytes of an identifier, reading one
// back, a pinned time zone and a scratch folder.
#pragma once
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "zevutil/CMemArchive.h"
#include "zevutil/CObSeqID.h"

namespace zevtest {

inline std::vector<zev::BYTE> StoredBytes(zev::CObSeqID& id) {
  zev::CMemArchive ar(zev::CArchive::store);
  id.Serialize(ar);
  const zev::BYTE* p = ar.GetDataPtr();
  return std::vector<zev::BYTE>(p, p + ar.GetDataSize());
}

// Reads one identifier through the factory; null when the archive throws.
inline std::unique_ptr<zev::CObSeqID> LoadID(const std::vector<zev::BYTE>& bytes) {
  zev::CMemArchive ar(zev::CArchive::load);
  ar.SetData(bytes.data(), zev::ULONG(bytes.size()));
  try {
    return std::unique_ptr<zev::CObSeqID>(zev::CObSeqID::CreateNewID(ar));
  } catch (zev::CException* e) {
    e->Delete();
    return nullptr;
  }
}

inline std::vector<zev::BYTE> Bytes(std::initializer_list<int> values) {
  std::vector<zev::BYTE> out;
  for (int v : values) out.push_back(zev::BYTE(v));
  return out;
}

inline void Append(std::vector<zev::BYTE>& to, const std::vector<zev::BYTE>& more) {
  to.insert(to.end(), more.begin(), more.end());
}

// Sets TZ for the scope and restores it after.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* tz) {
    const char* old = std::getenv("TZ");
    m_had = old != nullptr;
    if (old) m_old = old;
    setenv("TZ", tz, 1);
    tzset();
  }
  ~ScopedTimeZone() {
    if (m_had)
      setenv("TZ", m_old.c_str(), 1);
    else
      unsetenv("TZ");
    tzset();
  }

 private:
  bool m_had = false;
  std::string m_old;
};

// A fresh folder for the running test, removed at the end of the scope.
class ScratchDir {
 public:
  ScratchDir() {
    const char* base = std::getenv("ZEV_TEST_TMP");
    std::filesystem::path root = base && *base ? base : testing::TempDir();
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    m_path = root / (std::string(info->test_suite_name()) + "." + info->name() + "." +
                     std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
    std::filesystem::create_directories(m_path);
  }
  ~ScratchDir() {
    std::error_code ec;
    std::filesystem::remove_all(m_path, ec);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  std::string operator/(const std::string& leaf) const { return (m_path / leaf).string(); }

 private:
  std::filesystem::path m_path;
};

}  // namespace zevtest
