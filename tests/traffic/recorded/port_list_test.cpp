#include "traffic/port_list.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/traffic/recorded/recorded_fixture.h"

namespace flowscope {
namespace {

using Ports = std::vector<StrmSrv::PortRecord>;

class PortList : public RecordedTest {
 protected:
  PortList() : RecordedTest({{{2, 3}, {0, 1}, {4, 0}, {50, 2}}, {{3, 2}}}) {}

  Ports at(const PathComponents& components) {
    const StrmSrv::Patcher& patcher = *shell.patcher();
    return portsOf(parsePortPosition(components, patcher), patcher);
  }
};

TEST_F(PortList, HoldsThePortsBelowEachLevel) {
  EXPECT_EQ(at({"Midi", "Source"}), (Ports{{2, 0}, {2, 1}, {2, 2}, {0, 0}, {50, 0}, {50, 1}}));
  EXPECT_EQ(at({"Midi", "Sink"}), (Ports{{3, 0}, {3, 1}}));
  EXPECT_EQ(at({"Midi", "Source", "Seq"}), (Ports{{2, 0}, {2, 1}, {2, 2}}));
  EXPECT_EQ(at({"Midi", "Source", "Silent"}), Ports{});
  EXPECT_EQ(at({"Midi", "Source", "Seq", "Out2.1"}), (Ports{{2, 1}}));
  EXPECT_EQ(at({"Midi", "Source", "Seq", "Out2.1", "Tone", "In3.0"}), (Ports{{2, 1}}));
}

TEST_F(PortList, AnUnlistedGroupIsOutOfRange) {
  EXPECT_THROW(at({"Midi", "Source", "Tone"}), std::out_of_range);
  EXPECT_THROW(at({"Midi", "Sink", "Seq"}), std::out_of_range);
}

TEST_F(PortList, TellsPathsThatNamePortsFromPathsThatDoNot) {
  const struct {
    PathComponents path;
    bool named;
  } rows[] = {
      {{}, false},
      {{"Midi"}, false},
      {{"Midi", "zz"}, false},
      {{"Midi", "Source"}, true},
      {{"Midi", "Source", "[]"}, false},
      {{"Midi", "Source", "[]", "Out50.0"}, false},
      {{"Midi", "Source", "Seq"}, true},
      {{"Midi", "Source", "Seq", "zz"}, false},
      {{"Midi", "Source", "Seq", "Out2.0"}, true},
      {{"Midi", "Source", "Seq", "Out2.0", "[]"}, true},
      {{"Midi", "Source", "Seq", "zz", "Tone"}, false},
      {{"Midi", "Sink", "Keys", "In0.0"}, false},
      {{"Midi", "Sink", "Tone", "In3.1"}, true},
  };
  const StrmSrv::Patcher& patcher = *shell.patcher();
  for (const auto& row : rows) {
    EXPECT_EQ(namesPorts(parsePortPosition(row.path, patcher), row.path.size()), row.named) << absolutePath(row.path);
  }
}

}  // namespace
}  // namespace flowscope
