// A shell for tests of this room: its output goes to a stream of the test's own.
#pragma once

#include <cstdio>

#include "tests/support/fakes.h"
#include "tests/traffic/test_shell.h"

namespace flowscope {

class StreamShell : public TestShell {
 public:
  // out: borrowed; must outlive the shell.
  StreamShell(EvtSrv::EventPortManager& manager, std::FILE* out)
      : TestShell(manager), output_(out, size_, keys_, false) {}
  ConsoleOutput& output() override { return output_; }

 private:
  test::FixedSize size_;
  test::ScriptedKeys keys_;
  ConsoleOutput output_;
};

}  // namespace flowscope
