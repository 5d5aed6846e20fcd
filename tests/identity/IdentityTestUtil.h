// Helpers shared by the identity tests: stored bytes, reading back, a pinned time
// zone and a scratch folder.
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
  return std::vector<zev::BYTE>(ar.GetDataPtr(), ar.GetDataPtr() + ar.GetDataSize());
}

// One identifier read through the factory; null when the archive throws.
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
  return std::vector<zev::BYTE>(values.begin(), values.end());
}

class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* tz) {
    if (const char* old = std::getenv("TZ")) m_old = old;
    setenv("TZ", tz, 1);
    tzset();
  }
  ~ScopedTimeZone() {
    m_old.empty() ? unsetenv("TZ") : setenv("TZ", m_old.c_str(), 1);
    tzset();
  }

 private:
  std::string m_old;
};

class ScratchDir {
 public:
  ScratchDir() {
    const char* base = std::getenv("ZEV_TEST_TMP");
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    m_path = std::filesystem::path(base && *base ? base : testing::TempDir()) /
             (std::string(info->name()) + "." +
              std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
    std::filesystem::create_directories(m_path);
  }
  ~ScratchDir() {
    std::error_code ec;
    std::filesystem::remove_all(m_path, ec);
  }
  std::string operator/(const std::string& leaf) const { return (m_path / leaf).string(); }

 private:
  std::filesystem::path m_path;
};

}  // namespace zevtest
