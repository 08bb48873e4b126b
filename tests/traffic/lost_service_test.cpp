// A service that goes away while a file is played to it, or ports are patched.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <variant>

#include "platform/drivers/catalogue.h"
#include "platform/system/program_line.h"
#include "tests/platform/host/running_host.h"
#include "tests/support/deadline.h"
#include "tests/support/scratch_folder.h"
#include "tests/traffic/test_shell.h"
#include "topology/listing.h"
#include "traffic/from_command.h"
#include "traffic/port_connections.h"
#include "traffic/traffic_output.h"

namespace flowscope {
namespace {

std::unique_ptr<device::Driver> builtinDevice() {
  auto device = drivers::openDevice("");
  return std::get<std::unique_ptr<device::Driver>>(std::move(device));
}

// A shell on a service of its own, which the test may end.
class LostService : public testing::Test {
 protected:
  LostService() {
    trafficOutput().monitorTarget = EvtSrv::DebugPortName;
    shell.setTree(
        treeOf("Midi\n"
               "  Source\n"
               "    Keyboard\n"
               "      KeyboardOut1\n"
               "  Sink\n"
               "    Thru\n"
               "      ThruIn1\n"));
    shell.renewPatcher();
  }

  std::string line() const { return sys::programLine(endpoint + ": connection to the service lost\n"); }

 private:
  // While the test runs: the other tests of the program have a service in the process.
  class Endpoint {
   public:
    explicit Endpoint(const std::string& name) { setenv("EVTSRV_ENDPOINT", name.c_str(), 1); }
    Endpoint(const Endpoint&) = delete;
    Endpoint& operator=(const Endpoint&) = delete;
    ~Endpoint() { setenv("EVTSRV_ENDPOINT", "embedded:", 1); }
  };

 protected:
  testsupport::ScratchFolder scratch;
  std::string socket = scratch.path() / "socket";
  std::string endpoint = "ipc://" + socket;
  host::RunningHost service{socket, builtinDevice()};
  Endpoint variable{endpoint};
  EvtSrv::EventPortManager manager{EvtSrv::ConBehave_Default, true};
  TestShell shell{manager};
};

TEST_F(LostService, InTheMiddleOfAPlaybackIsReportedOnceAndEndsNothing) {
  // More than the pipe and the way to the service hold.
  constexpr int Lines = 20'000;
  const std::string song = (scratch.path() / "song").string();
  ASSERT_EQ(mkfifo(song.c_str(), 0600), 0);
  std::thread writer([&] {
    std::ofstream pipe(song);
    for (int i = 0; i < Lines; ++i) pipe << "0xD0 1 0\n";
    pipe.flush();
    service.end();
    for (int i = 0; i < Lines; ++i) pipe << "0xD0 2 0\n";
  });
  testing::internal::CaptureStderr();
  const ResultCode result = fromCommand(shell, song.c_str(), "/Midi/Source/Keyboard/*");
  const std::string said = testing::internal::GetCapturedStderr();
  writer.join();
  EXPECT_EQ(result, ResultOk);
  EXPECT_EQ(said, line());
}

TEST_F(LostService, MakesConFailAndDisFindNothing) {
  EXPECT_EQ(conCommand(shell, "/Midi/Source/Keyboard", "/Midi/Sink/Thru"), ResultOk);
  service.end();
  testing::internal::CaptureStderr();
  EXPECT_EQ(conCommand(shell, "/Midi/Source/Keyboard", "/Midi/Sink/Thru"), ResultConnectError);
  EXPECT_EQ(disCommand(shell, "/Midi/Source", nullptr), ResultOk);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), line());
}

// A listing shows what is known at its time, though the connections are the same before and after.
TEST_F(LostService, IsListedWithoutConnectionsUntilItIsBack) {
  const auto listed = [this] {
    listCommand(shell, 0, "/Midi/Source/Keyboard/KeyboardOut1");
    return shell.printed();
  };
  const std::string before = listed();
  EXPECT_EQ(before, "\nToneGenerator  \n\nSequencer      \n\n");
  testing::internal::CaptureStderr();
  service.end();
  const testsupport::Deadline deadline(std::chrono::seconds(20));
  while (listed() != "\n" && !deadline.passed()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  EXPECT_EQ(listed(), "\n");
  EXPECT_EQ(listed(), "\n");
  const host::RunningHost another(socket, builtinDevice());
  while (listed() != before && !deadline.passed()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  EXPECT_EQ(listed(), before);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            line() + sys::programLine(endpoint + ": connected to the service again\n"));
}

}  // namespace
}  // namespace flowscope
