// inject and play to a service that says which messages it could not send.
#include <algorithm>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/wire/messages.h"
#include "tests/platform/channel/fake_service.h"
#include "tests/platform/midi/smf_maker.h"
#include "tests/platform/streamctl/service_fixture.h"

namespace streamctl {
namespace {

const std::string Line = " not sent: another system has no form for ";
const std::string LineEnd = ", such as for a group id above 15\n";

// A service with one port, behind which another system has no form for messages.
class RefusingSystem : public testing::Test {
 protected:
  // Serves until the program has ended. frames: after so many the service is gone.
  void serve(Background& program, std::uint64_t frames = std::numeric_limits<std::uint64_t>::max()) {
    const Deadline deadline(Patience);
    while (!program.hasEnded() && !deadline.passed()) {
      while (service_ && frames_ < frames) {
        const auto envelope = service_->receive(10ms);
        if (!envelope) break;
        answer(*envelope);
      }
      if (frames_ >= frames) service_.reset();
    }
  }

  std::unique_ptr<Background> start(std::vector<std::string> words) {
    testsupport::Command command{FLOWSCOPE_BINARY_DIR "/streamctl", std::move(words), {}, {}};
    command.environment = testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR);
    command.environment["EVTSRV_ENDPOINT"] = endpoint_;
    return std::make_unique<Background>(command, folder_.path() / "program");
  }

  std::string song() {
    const std::string path = folder_.path() / "song.mid";
    midi::writeFile(path, midi::smf("00 00 00 01 00 60", {"00 93 3C 40 00 83 3C 40 00 93 3D 40 00 FF 2F 00"}));
    return path;
  }

  testsupport::ScratchFolder folder_;
  std::string endpoint_ = "ipc://" + (folder_.path() / "service").string();

  // So many messages have a form, the others have none.
  std::uint64_t sendable_ = 0;
  device::Status status_ = device::Status::Ok;
  std::function<void()> onFrame_;

 private:
  void answer(const wire::Envelope& envelope) {
    if (std::holds_alternative<wire::Hello>(envelope.body)) {
      // With this window every frame waits for the answer to the one before.
      service_->send(envelope.tag, wire::Welcome{1, 1});
    } else if (std::holds_alternative<wire::AskTopology>(envelope.body)) {
      const device::Group group{0, "Deck", device::SideOfGroup{1, "DeckOut", {}}, {}};
      service_->send(envelope.tag, wire::Topology{{group}});
    } else if (const auto* inject = std::get_if<wire::Inject>(&envelope.body)) {
      ++frames_;
      messages_ += inject->messages.size();
      service_->send(0, wire::Taken{frames_, messages_ - std::min(messages_, sendable_)});
      if (status_ != device::Status::Ok) service_->send(0, wire::Result{status_, 0});
      if (onFrame_) onFrame_();
    } else if (envelope.tag != 0) {
      service_->send(envelope.tag, wire::Result{});
    }
  }

  std::optional<channel::FakeService> service_{std::in_place, folder_.path() / "service"};
  std::uint64_t frames_ = 0;
  std::uint64_t messages_ = 0;
};

TEST_F(RefusingSystem, InjectSendsAllAndEndsWithTheCount) {
  const auto inject = start({"inject", "DeckOut1", "0x90", "1", "1", "--count", "3", "--rate", "100"});
  serve(*inject);
  EXPECT_EQ(inject->end(), ExitStatus::exited(1));
  EXPECT_EQ(inject->errors(), "streamctl: 3 messages" + Line + "them" + LineEnd);
}

TEST_F(RefusingSystem, PlayEndsWithTheCount) {
  sendable_ = 1;
  const auto play = start({"play", song(), "DeckOut1", "--speed", "0"});
  serve(*play);
  EXPECT_EQ(play->end(), ExitStatus::exited(1));
  EXPECT_EQ(play->errors(), "streamctl: 2 messages" + Line + "them" + LineEnd);
}

TEST_F(RefusingSystem, SignalDoesNotHideTheCount) {
  // The second message is due in three hours.
  const auto inject = start({"inject", "DeckOut1", "0xF8", "--count", "2", "--rate", "0.0001"});
  onFrame_ = [&inject] { inject->signal(SIGINT); };
  serve(*inject);
  EXPECT_EQ(inject->end(), ExitStatus::exited(1));
  EXPECT_EQ(inject->errors(), "streamctl: 1 message" + Line + "it" + LineEnd);
}

TEST_F(RefusingSystem, FailureAndCountStandInOneLine) {
  status_ = device::Status::Refused;
  const auto inject = start({"inject", "DeckOut1", "0xF8"});
  serve(*inject);
  EXPECT_EQ(inject->end(), ExitStatus::exited(1));
  EXPECT_EQ(inject->errors(),
            "streamctl: " + endpoint_ + ": the service refused a message; 1 message" + Line + "it" + LineEnd);
}

TEST_F(RefusingSystem, ServiceThatGoesDoesNotHideTheCount) {
  const auto inject = start({"inject", "DeckOut1", "0xF8", "--count", "2", "--rate", "0.0001"});
  serve(*inject, 1);
  EXPECT_EQ(inject->end(), ExitStatus::exited(1));
  EXPECT_EQ(inject->errors(),
            "streamctl: " + endpoint_ + ": connection to the service lost; 1 message" + Line + "it" + LineEnd);
}

}  // namespace
}  // namespace streamctl
