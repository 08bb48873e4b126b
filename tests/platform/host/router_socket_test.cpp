#include "platform/host/router_socket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>

#include "tests/platform/host/message_text.h"
#include "tests/platform/host/raw_client.h"
#include "tests/support/deadline.h"
#include "tests/support/scratch_folder.h"

namespace host {
namespace {

using testsupport::Deadline;

// Connects without ZeroMQ and closes at once. False when nobody accepts by the deadline.
bool comeAndGo(const std::string& path, const Deadline& deadline) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::ranges::copy(path, std::begin(address.sun_path));
  const auto* any = reinterpret_cast<const sockaddr*>(&address);
  const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  bool connected = false;
  while (!(connected = connect(descriptor, any, sizeof address) == 0) && !deadline.passed()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  close(descriptor);
  return connected;
}

TEST(RouterSocket, ClosedConnectionsThatNobodyReadsBlockNobody) {
  constexpr int Many = 3'000;  // more than ZeroMQ keeps unless it is told otherwise
  const testsupport::ScratchFolder folder;
  const std::string path = folder.path() / "socket";
  zmq::context_t context;
  RouterSocket router(context);
  ASSERT_FALSE(router.bind("ipc://" + path));
  const Deadline deadline(std::chrono::seconds(20));
  int came = 0;
  while (came < Many && comeAndGo(path, deadline)) ++came;
  EXPECT_EQ(came, Many);

  zmq::context_t elsewhere;
  RawClient client(elsewhere, "ipc://" + path);
  EXPECT_TRUE(client.send(1, wire::Hello{"raw", 1}));
  zmq_pollitem_t item{router.handle(), 0, ZMQ_POLLIN, 0};
  EXPECT_EQ(zmq_poll(&item, 1, 10'000), 1);
  EXPECT_TRUE(router.receive());
  int closed = 0;
  while (router.closedConnection()) ++closed;
  EXPECT_EQ(closed, Many);
}

}  // namespace
}  // namespace host
