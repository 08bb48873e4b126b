// Interactive shells for benchmarks.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "bench/device_of_ports.h"
#include "core/flowscope_shell.h"
#include "core/line_executor.h"
#include "core/shell_io.h"
#include "tests/support/fakes.h"

namespace bench {

// An interactive shell on a device with this many ports, writing to a file. write makes the device file.
class Console {
 public:
  using WriteDevice = std::filesystem::path (*)(const std::filesystem::path& folder, int ports);

  Console(int ports, const char* output, WriteDevice write = writeDevice)
      : folder_("/tmp"), out_(std::fopen(output, "w")) {
    const auto device = write(folder_.path(), ports);
    ::setenv("EVTSRV_ENDPOINT", ("embedded:" + device.string()).c_str(), 1);
    manager_ = std::make_unique<EvtSrv::EventPortManager>(EvtSrv::ConBehave_Void, true);
    io_ = std::make_unique<flowscope::ShellIo>(flowscope::ShellIo{out_, size_, keys_, system_});
    shell_ = std::make_unique<flowscope::FlowScope>(*manager_, false, *io_);
    shell_->init(*manager_);
  }
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;
  ~Console() {
    shell_.reset();
    manager_.reset();
    std::fclose(out_);
  }

  flowscope::FlowScope& shell() { return *shell_; }

  void run(const char* line) {
    flowscope::runCommands(*shell_, line);
    std::fflush(out_);
  }

 private:
  TemporaryFolder folder_;
  std::FILE* out_;
  flowscope::DescriptorTerminalSize size_;
  flowscope::test::ScriptedKeys keys_;
  flowscope::test::NoCommands system_;
  std::unique_ptr<EvtSrv::EventPortManager> manager_;
  std::unique_ptr<flowscope::ShellIo> io_;
  std::unique_ptr<flowscope::FlowScope> shell_;
};

}  // namespace bench
