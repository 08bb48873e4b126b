#include "topology/path_completion.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace flowscope {
namespace {

using Names = std::vector<std::string>;

class PathCompletion : public testing::Test {
 protected:
  PathCompletion() {
    root.name = "/";
    auto& midi = root.addChild("Midi");
    auto& source = midi.addChild("Source");
    midi.addChild("Sink");
    auto& sequencer = source.addChild("Sequencer");
    sequencer.addChild("SequencerOut1");
    sequencer.addChild("SequencerOut2");
    source.addChild("Serial");
    source.addChild("a*b[c");
    root.addChild("Audio");
  }

  TopologyNode root;
};

TEST_F(PathCompletion, OffersTheNamesThatFit) {
  struct Row {
    const char* partial;
    PathComponents current;
    Names candidates;
  };
  const Row rows[] = {
      {nullptr, {}, {"Midi/", "Audio"}},
      {nullptr, {"Midi"}, {"Source/", "Sink"}},
      {"", {"Midi"}, {"Source/", "Sink"}},
      {"S", {"Midi"}, {"Source/", "Sink"}},
      {"So", {"Midi"}, {"Source/"}},
      {"s", {"Midi"}, {}},
      {"*", {"Midi"}, {}},
      {"Midi/", {}, {"Source/", "Sink"}},
      {"Midi/Si", {}, {"Sink"}},
      {"/", {"Midi"}, {"Midi/", "Audio"}},
      {"/M", {"Midi", "Sink"}, {"Midi/"}},
      {"/Midi/Source/Se", {}, {"Sequencer/", "Serial"}},
      {"/Midi/Source/Sequencer/", {}, {"SequencerOut1", "SequencerOut2"}},
      {"../S", {"Midi", "Source"}, {"Source/", "Sink"}},
      {"..", {"Midi"}, {}},
      {"~/S", {"Midi", "Source", "Serial"}, {"Source/", "Sink"}},
      {"nowhere/S", {}, {}},
      {"Midi/nowhere/", {}, {}},
      {"a*", {"Midi", "Source"}, {"a*b[c"}},
      {nullptr, {"Audio"}, {}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(collectPathCandidates(row.partial, row.current, root), row.candidates)
        << (row.partial != nullptr ? row.partial : "(none)");
  }
}

TEST_F(PathCompletion, HomeAtTheRootIsOutOfRange) {
  EXPECT_THROW(collectPathCandidates("~/S", {}, root), std::out_of_range);
}

}  // namespace
}  // namespace flowscope
