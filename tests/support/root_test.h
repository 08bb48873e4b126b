// A test that needs root or a second user. It stands in a file NAME_root_test.cpp: those make a program of their own,
// and its tests have the label `root`.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

namespace testsupport {

// Skipped for other users. For root nothing may skip it: what is missing then is a failure.
class RootTest : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can do this";
  }
};

}  // namespace testsupport
