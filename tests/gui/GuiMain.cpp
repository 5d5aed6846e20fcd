// The real-window tests' entry point: one private X server for the whole binary.
#include <gtest/gtest.h>

#include "gui/XvfbEnvironment.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  ::testing::AddGlobalTestEnvironment(new zevtest::XvfbEnvironment);
  return RUN_ALL_TESTS();
}
