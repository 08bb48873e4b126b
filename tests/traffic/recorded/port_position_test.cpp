#include "traffic/port_position.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/traffic/recorded/recorded_fixture.h"

namespace flowscope {
namespace {

constexpr auto Source = PortSide::Source;
constexpr auto Sink = PortSide::Sink;

class PortPositionTest : public RecordedTest {
 protected:
  PortPositionTest() : RecordedTest({{{2, 3}, {0, 1}, {4, 0}}, {{2, 1}, {3, 2}}}) {}

  PortPosition parse(const PathComponents& components) { return parsePortPosition(components, *shell.patcher()); }
};

TEST_F(PortPositionTest, ReadsAsFarAsThePathGoes) {
  const std::nullopt_t none = std::nullopt;
  const struct {
    PathComponents path;
    PortPosition position;
  } cases[] = {
      {{}, {}},
      {{"Midi"}, {0, none, none, none, none, ""}},
      {{"Audio"}, {1, none, none, none, none, ""}},
      {{"Control"}, {2, none, none, none, none, ""}},
      {{"midi"}, {none, none, none, none, none, ""}},
      {{"Midi", "Source"}, {0, Source, none, none, none, ""}},
      {{"Midi", "Sink"}, {0, Sink, none, none, none, ""}},
      {{"Midi", "source"}, {0, none, none, none, none, ""}},
      {{"Midi", "source", "Seq"}, {0, none, none, none, none, ""}},
      {{"zz", "Sink"}, {none, Sink, none, none, none, ""}},
      {{"Midi", "Source", "Seq"}, {0, Source, 2, none, none, ""}},
      {{"Midi", "Source", "Keys"}, {0, Source, 0, none, none, ""}},
      {{"Midi", "Source", "[]"}, {0, Source, none, none, none, ""}},
      {{"Midi", "Source", "[]", "Out2.0"}, {0, Source, none, none, none, ""}},
      {{"Midi", "Source", "Seq", "Out2.0"}, {0, Source, 2, 0, none, ""}},
      {{"Midi", "Source", "Seq", "Out2.2"}, {0, Source, 2, 2, none, ""}},
      {{"Midi", "Source", "Seq", "Out2.3"}, {0, Source, 2, none, none, ""}},
      {{"Midi", "Source", "Seq", "In2.0"}, {0, Source, 2, none, none, ""}},
      {{"Midi", "Source", "Silent", "Out4.0"}, {0, Source, 4, none, none, ""}},
      {{"Midi", "Sink", "Seq", "In2.0"}, {0, Sink, 2, 0, none, ""}},
      {{"Midi", "Sink", "Tone", "In3.1"}, {0, Sink, 3, 1, none, ""}},
      {{"Midi", "Source", "Seq", "Out2.0", "Tone"}, {0, Source, 2, 0, 3, ""}},
      {{"Midi", "Source", "Seq", "zz", "Tone"}, {0, Source, 2, none, 3, ""}},
      {{"Midi", "Source", "Seq", "Out2.0", "zz"}, {0, Source, 2, 0, none, ""}},
      {{"Midi", "Source", "Seq", "Out2.0", "Tone", "In3.0"}, {0, Source, 2, 0, 3, "In3.0"}},
      // Ports are named with the stream type's index, or with that of the first.
      {{"Audio", "Source", "Seq", "type1:Out2.1"}, {1, Source, 2, 1, none, ""}},
      {{"Audio", "Source", "Seq", "Out2.1"}, {1, Source, 2, none, none, ""}},
      {{"zz", "Source", "Seq", "Out2.1"}, {none, Source, 2, 1, none, ""}},
      // A group that the side does not list, on the sink side.
      {{"Midi", "Sink", "Keys"}, {0, Sink, 0, none, none, ""}},
      {{"Midi", "Sink", "Keys", "In0.0", "Tone"}, {0, Sink, 0, none, none, ""}},
  };
  for (const auto& each : cases) EXPECT_EQ(parse(each.path), each.position) << absolutePath(each.path);
}

TEST_F(PortPositionTest, AnUnlistedSourceGroupIsOutOfRange) {
  try {
    parse({"Midi", "Source", "Tone", "Out3.0"});
    FAIL() << "no error";
  } catch (const std::out_of_range& error) {
    EXPECT_NE(std::string(error.what()).find("vector::_M_range_check"), std::string::npos) << error.what();
  }
  EXPECT_EQ(parse({"Midi", "Source", "Tone"}).group, 3);  // only its ports cannot be told
}

TEST_F(PortPositionTest, TheLargestGroupHasNoPort65535) {
  recording::library().sources = {{2, 0xFFFF}};
  shell.renewPatcher();
  EXPECT_EQ(parse({"Midi", "Source", "Seq", "Out2.65534"}).port, 65534);
  EXPECT_EQ(parse({"Midi", "Source", "Seq", "Out2.65535"}).port, std::nullopt);
}

TEST_F(PortPositionTest, SidesAndPlacesBelowThemAreInAStreamDirectory) {
  EXPECT_FALSE(parse({}).inStreamDirectory());
  EXPECT_FALSE(parse({"Midi"}).inStreamDirectory());
  EXPECT_FALSE(parse({"Audio"}).inStreamDirectory());
  EXPECT_FALSE(parse({"zz", "Sink"}).inStreamDirectory());
  EXPECT_TRUE(parse({"Midi", "Sink"}).inStreamDirectory());
  EXPECT_TRUE(parse({"Midi", "Source", "Seq", "Out2.0", "Tone", "In3.0"}).inStreamDirectory());
}

TEST_F(PortPositionTest, UnlistedGroupsHaveNoPortCount) {
  const std::vector<StrmSrv::GroupRecord> groups = {{7, 2}, {1, 0}};
  EXPECT_EQ(portCountOf(groups, 7), 2);
  EXPECT_EQ(portCountOf(groups, 1), 0);
  EXPECT_THROW(portCountOf(groups, 2), std::out_of_range);
}

}  // namespace
}  // namespace flowscope
