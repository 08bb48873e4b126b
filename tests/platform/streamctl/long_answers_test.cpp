// What streamctl says of a service whose answers are wrong.
#include <variant>

#include "platform/wire/messages.h"
#include "tests/platform/channel/fake_service.h"
#include "tests/platform/streamctl/service_fixture.h"

namespace streamctl {
namespace {

class LongAnswers : public WithService {
 protected:
  // Answers each request of the program until it ends. Returns what it printed as errors.
  std::string errorsWith(const std::string& command, const wire::Body& answer) {
    channel::FakeService service(path("wrong"));
    const auto program = start(command, {"--endpoint", "ipc://" + path("wrong"), command});
    const Deadline deadline(Patience);
    while (!program->hasEnded() && !deadline.passed()) {
      while (const auto envelope = service.receive(10ms)) {
        const bool isHello = std::holds_alternative<wire::Hello>(envelope->body);
        if (envelope->tag != 0) service.send(envelope->tag, isHello ? wire::Welcome{1, 1} : answer);
      }
    }
    EXPECT_EQ(program->end(), ExitStatus::exited(1));
    return program->errors();
  }
};

TEST_F(LongAnswers, ThatDoNotFitOrAreTooLongAreRefusedInALine) {
  const std::string front = "streamctl: ipc://" + path("wrong") + ": the service sent ";
  constexpr wire::Part Middle{.first = false, .more = true};
  EXPECT_EQ(errorsWith("list", wire::Topology{{}, Middle}), front + "an answer whose pieces do not fit together\n");
  EXPECT_EQ(errorsWith("stats", wire::Stats{1, 2, 3, 4, {}, 5, 0, Middle}),
            front + "an answer whose pieces do not fit together\n");
  const wire::Original large(device::MaxMessageBytes);
  EXPECT_EQ(errorsWith("list", wire::Originals{{{1, large, {large}, {}}}}), front + "a message that is too long\n");
}

}  // namespace
}  // namespace streamctl
