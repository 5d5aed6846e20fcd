// Shared by the export dialog tests: a private application profile per test and a
// message box that records what it was asked and answers from a script.
#pragma once
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "zevutil/platform/Host.h"
#include "zevutil/platform/Profile.h"

namespace zevtest {

class ExportDialogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* base = std::getenv("ZEV_TEST_TMP");
    dir = std::filesystem::path(base && *base ? base : "/tmp") / "export-dialogs";
    std::filesystem::create_directories(dir);
    profile = dir / (std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) + ".ini");
    std::filesystem::remove(profile);
    zev::SetApplicationProfile(profile.c_str());
    oldBox = zev::SetMessageBoxHandler([this](zev::HWND, const char* text, const char*, zev::UINT style) {
      boxes.emplace_back(text);
      styles.push_back(style);
      return answer;
    });
  }
  void TearDown() override {
    zev::SetMessageBoxHandler(oldBox);
    zev::SetApplicationProfile(nullptr);
  }
  void Put(const char* section, const char* key, int value) { zev::WriteProfileInt(section, key, value); }
  // Replaces the whole profile with one section of integer keys: quicker than a write
  // per key when a table sets up many dialogs.
  void WriteSection(const char* section, const std::vector<std::pair<std::string, int>>& values) {
    std::ofstream out(profile, std::ios::binary | std::ios::trunc);
    out << "[" << section << "]\r\n";
    for (const auto& [key, value] : values) out << key << "=" << value << "\r\n";
  }
  // The key names of a profile section, in file order.
  std::vector<std::string> Keys(const char* section) const {
    std::vector<char> buf(4096);
    zev::DWORD n = zev::GetPrivateProfileStringA(section, nullptr, "", buf.data(), zev::DWORD(buf.size()),
                                                 profile.c_str());
    std::vector<std::string> keys;
    for (zev::DWORD i = 0; i < n;) {
      std::string k(&buf[i]);
      keys.push_back(k);
      i += zev::DWORD(k.size()) + 1;
    }
    return keys;
  }

  std::filesystem::path dir, profile;
  std::vector<std::string> boxes;
  std::vector<zev::UINT> styles;
  int answer = zev::IDOK;
  zev::MessageBoxHandler oldBox;
};

}  // namespace zevtest
