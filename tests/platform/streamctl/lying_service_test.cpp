// streamctl on a service that sends what no service sends.
#include <variant>

#include "tests/platform/client/played_service.h"
#include "tests/platform/streamctl/service_fixture.h"

namespace streamctl {
namespace {

class ListOfLies : public testing::Test {
 protected:
  testsupport::ProcessResult run(std::vector<std::string> words, const wire::Topology& topology) const {
    const client::PlayedService service(path_,
                                        [&](client::PlayedService& self, std::uint32_t tag, const wire::Body& body) {
                                          self.answerGreeting(tag, body);
                                          if (std::holds_alternative<wire::AskTopology>(body))
                                            self.reply(tag, topology);
                                          if (std::holds_alternative<wire::AskLinks>(body))
                                            self.reply(tag, wire::Links{});
                                          if (std::holds_alternative<wire::AskOriginals>(body)) {
                                            self.reply(tag, wire::Originals{{{3, {'\x1b', '[', 'm'}, {{0x9b}}, {}}}});
                                          }
                                          if (std::holds_alternative<wire::AskStats>(body)) {
                                            self.reply(tag, wire::Stats{.clients = {{.program = "\x1b[31m\x7f"}}});
                                          }
                                        });
    words.insert(words.end(), {"--endpoint", "ipc://" + path_});
    testsupport::Command command{FLOWSCOPE_BINARY_DIR "/streamctl", words, {}, {}};
    command.environment = testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR);
    return testsupport::runProcess(command, "", Deadline(Patience));
  }

  const wire::Topology good_{{device::numberedGroup(3, "Good", 1, std::nullopt)}};
  const testsupport::ScratchFolder folder_;
  const std::string path_ = folder_.path() / "service";
};

TEST_F(ListOfLies, BadListOfPortsIsRefused) {
  const wire::Topology bad{{{1, "\x1b]0;evil\x07", std::nullopt, std::nullopt}}};
  const std::string line = "streamctl: ipc://" + path_ +
                           ": the service's list of ports is refused: group 1 has a name that no group may have";
  EXPECT_THAT(run({"list"}, bad), FailsSaying(line));
  EXPECT_THAT(run({"list", "--json"}, bad), FailsSaying(line));
  EXPECT_THAT(run({"play", Song, "GoodOut1"}, bad), FailsSaying(line));
}

TEST_F(ListOfLies, OtherNamesAreMadePrintable) {
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{"list"}, {"list", "--json"}, {"stats"}, {"stats", "--json"}}) {
    const auto result = run(words, good_);
    EXPECT_THAT(result, Succeeds());
    EXPECT_EQ(result.standardOutput.find_first_of("\x1b\x7f\x9b"), std::string::npos) << result.standardOutput;
    const bool isList = words.front() == "list";
    EXPECT_THAT(result.standardOutput, testing::HasSubstr(isList ? "GoodOut1" : "[31m"));
  }
}

}  // namespace
}  // namespace streamctl
