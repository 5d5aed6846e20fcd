// Starts a private Xvfb for the whole test binary and points DISPLAY at it.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace zevtest {

class XvfbEnvironment : public ::testing::Environment {
 public:
  void SetUp() override;
  void TearDown() override;
  // True once the server accepts clients; tests skip otherwise, saying why.
  static bool Ready();
  static const std::string& WhyNot();
};

}  // namespace zevtest

#define ZEV_REQUIRE_DISPLAY()                                                              \
  do {                                                                                     \
    if (!::zevtest::XvfbEnvironment::Ready()) GTEST_SKIP() << ::zevtest::XvfbEnvironment::WhyNot(); \
  } while (0)
