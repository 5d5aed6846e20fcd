// Helpers shared by the frame tests: a scratch folder, a captured trace sink, a
// scripted message box, and the bytes an archive writer stores.
#pragma once
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "zevutil/CMemArchive.h"
#include "zevutil/VqeReportStream.h"
#include "zevutil/platform/Host.h"

namespace zevtest {

// A fresh folder for the running test, removed at the end of the scope.
class ScratchDir {
 public:
  ScratchDir() {
    const char* base = std::getenv("ZEV_TEST_TMP");
    std::filesystem::path root = base && *base ? base : testing::TempDir();
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(info->test_suite_name()) + "." + info->name() + "." +
                       std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
    m_path = root / name;
    std::filesystem::create_directories(m_path);
  }
  ~ScratchDir() {
    std::error_code ec;
    std::filesystem::remove_all(m_path, ec);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const std::filesystem::path& path() const { return m_path; }
  std::string operator/(const std::string& leaf) const { return (m_path / leaf).string(); }

 private:
  std::filesystem::path m_path;
};

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// Records what reaches the trace sink (and the message box, when scripted) as events
// in order: "T:<text>" for a trace line, "B:<text>|<caption>|<style>" for a box.
class EventLog {
 public:
  explicit EventLog(int boxAnswer = zev::IDOK) {
    m_oldTrace = zev::SetTraceHandler([this](const char* text) { events.push_back(std::string("T:") + text); });
    m_oldBox = zev::SetMessageBoxHandler([this, boxAnswer](zev::HWND, const char* text, const char* caption,
                                                           zev::UINT style) {
      events.push_back(std::string("B:") + text + "|" + caption + "|" + std::to_string(style));
      if (onBox) onBox();
      return boxAnswer;
    });
  }
  ~EventLog() {
    zev::SetTraceHandler(m_oldTrace);
    zev::SetMessageBoxHandler(m_oldBox);
  }
  EventLog(const EventLog&) = delete;
  EventLog& operator=(const EventLog&) = delete;

  std::vector<std::string> events;
  std::function<void()> onBox;

 private:
  zev::TraceHandler m_oldTrace;
  zev::MessageBoxHandler m_oldBox;
};

// The bytes a writer stores through a memory archive.
inline std::vector<zev::BYTE> Stored(const std::function<void(zev::CArchive&)>& write) {
  zev::CMemArchive ar(zev::CArchive::store);
  write(ar);
  const zev::BYTE* p = ar.GetDataPtr();
  return std::vector<zev::BYTE>(p, p + ar.GetDataSize());
}

inline std::vector<zev::BYTE> Bytes(std::initializer_list<int> b) {
  std::vector<zev::BYTE> v;
  for (int x : b) v.push_back(zev::BYTE(x));
  return v;
}

inline std::vector<zev::BYTE> Concat(std::vector<zev::BYTE> a, const std::string& s) {
  a.insert(a.end(), s.begin(), s.end());
  return a;
}

}  // namespace zevtest
