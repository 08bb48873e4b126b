// A test that needs root or a second user. It belongs in a file NAME_root_test.cpp: each of these makes a program of
// its own, whose tests have the label `root`.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

namespace testsupport {

// Skipped for other users. As root it must not skip anything: whatever is missing then is a failure.
class RootTest : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can do this";
  }
};

}  // namespace testsupport
