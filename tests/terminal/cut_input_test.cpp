#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <semaphore>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "terminal/input_thread.h"
#include "terminal/stdin_key_source.h"
#include "tests/support/keys.h"

namespace flowscope {
namespace {

class RecordingSink : public KeySink {
 public:
  void handleKey(int code) override { keys.push_back(code); }
  void inputResumed() override {}
  void inputEnded() override { ended.release(); }

  std::vector<int> keys;
  std::binary_semaphore ended{0};
};

void waitUntilRead(int descriptor) {
  for (int waiting = 1; ioctl(descriptor, FIONREAD, &waiting) == 0 && waiting > 0;) std::this_thread::yield();
}

// The keys that the input thread makes of bytes which arrive in two pieces.
std::vector<int> keysOf(std::string_view bytes, std::size_t cut) {
  int ends[2];
  if (pipe(ends) != 0) return {};
  std::FILE* const in = fdopen(ends[0], "r");
  RecordingSink sink;
  {
    StdinKeySource source(in);
    InputThread thread(source, sink);
    thread.openGate();
    for (const auto piece : {bytes.substr(0, cut), bytes.substr(cut)}) {
      EXPECT_EQ(write(ends[1], piece.data(), piece.size()), static_cast<ssize_t>(piece.size()));
      waitUntilRead(ends[0]);
    }
    close(ends[1]);
    sink.ended.acquire();
  }
  std::fclose(in);
  return sink.keys;
}

TEST(InputThread, DeliversTheSameKeysWhereverTheInputIsCut) {
  const std::string bytes =
      testsupport::keyBytes("ab<left>c<up><home><del>yz<end><pgup><pgdn><esc>[1;5A<esc>Oq<esc>[Z<down><right>").value();
  const std::vector<int> whole = keysOf(bytes, bytes.size());
  ASSERT_EQ(whole.size(), 20U);
  for (std::size_t cut = 0; cut < bytes.size(); ++cut) EXPECT_EQ(keysOf(bytes, cut), whole) << cut;
}

}  // namespace
}  // namespace flowscope
