#include "platform/midi/parameters.h"

#include <gtest/gtest.h>

#include <ostream>
#include <utility>
#include <vector>

namespace midi {

static void PrintTo(const ParameterStep& step, std::ostream* out) {
  *out << "kind " << int(static_cast<std::uint8_t>(step.kind)) << ' ' << numberText(step.parameter);
  if (step.value) *out << " = " << *step.value;
}

namespace {

using Kind = ParameterStep::Kind;

constexpr Parameter BendRange{true, 0};

// The answer to the last of these controllers.
std::optional<ParameterStep> after(Parameters& parameters,
                                   std::vector<std::pair<std::uint8_t, std::uint8_t>> controls) {
  std::optional<ParameterStep> step;
  for (const auto& [number, value] : controls) step = parameters.control(number, value);
  return step;
}

TEST(Parameters, OthersAreNone) {
  for (std::uint8_t number = 0; number < 128; ++number) {
    const bool concerns = number == 6 || number == 38 || (number >= 96 && number <= 101);
    EXPECT_EQ(Parameters().control(number, 1).has_value(), concerns) << int{number};
  }
}

TEST(Parameters, ANumberIsPutTogetherInAnyOrder) {
  Parameters parameters;
  EXPECT_EQ(parameters.control(101, 0), (ParameterStep{Kind::Selecting, {}, {}}));
  EXPECT_EQ(parameters.control(100, 1), (ParameterStep{Kind::Selected, {true, 1}, {}}));
  EXPECT_EQ(parameters.control(101, 61), (ParameterStep{Kind::Selected, {true, 61 * 128 + 1}, {}}));
  EXPECT_EQ(parameters.control(98, 8), (ParameterStep{Kind::Selecting, {}, {}})) << "another kind of number";
  EXPECT_EQ(parameters.control(99, 1), (ParameterStep{Kind::Selected, {false, 136}, {}}));
}

TEST(Parameters, AValueHas14Bits) {
  Parameters parameters;
  EXPECT_EQ(after(parameters, {{99, 1}, {98, 8}, {6, 7}}), (ParameterStep{Kind::Set, {false, 136}, 7 * 128}));
  EXPECT_EQ(parameters.control(38, 5), (ParameterStep{Kind::Set, {false, 136}, 7 * 128 + 5}));
  EXPECT_EQ(parameters.control(38, 127), (ParameterStep{Kind::Set, {false, 136}, 7 * 128 + 127}));
  EXPECT_EQ(parameters.control(6, 9), (ParameterStep{Kind::Set, {false, 136}, 9 * 128}))
      << "the lower bits are 0 again";
}

TEST(Parameters, TheLowerBitsMayComeFirst) {
  Parameters parameters;
  EXPECT_EQ(after(parameters, {{99, 1}, {98, 8}, {38, 5}}), (ParameterStep{Kind::Set, {false, 136}, {}}));
  EXPECT_EQ(parameters.control(6, 7), (ParameterStep{Kind::Set, {false, 136}, 7 * 128 + 5}));
}

TEST(Parameters, NullSelectsNone) {
  for (const std::uint8_t upper : {std::uint8_t{101}, std::uint8_t{99}}) {
    Parameters parameters;
    const auto lower = static_cast<std::uint8_t>(upper - 1);
    EXPECT_EQ(after(parameters, {{upper, 127}, {lower, 127}}), (ParameterStep{Kind::None, {}, {}}));
    for (const std::uint8_t number : {std::uint8_t{6}, std::uint8_t{38}, std::uint8_t{96}, std::uint8_t{97}}) {
      EXPECT_EQ(parameters.control(number, 1), (ParameterStep{Kind::Ignored, {}, {}}));
    }
    EXPECT_EQ(parameters.control(lower, 0)->kind, Kind::Selected) << "127 and 0 is a number";
  }
}

TEST(Parameters, NoneIsSelectedAtTheStartAndAfterDeselect) {
  Parameters parameters;
  EXPECT_EQ(parameters.control(6, 1), (ParameterStep{Kind::Ignored, {}, {}}));
  after(parameters, {{101, 0}, {100, 0}, {6, 7}});
  parameters.deselect();
  EXPECT_EQ(parameters.control(6, 1), (ParameterStep{Kind::Ignored, {}, {}}));
  EXPECT_EQ(parameters.bendRange(), 7);
  EXPECT_EQ(parameters.control(100, 0), (ParameterStep{Kind::Selecting, {}, {}})) << "the other half is forgotten";
}

TEST(Parameters, BendRangeIsTwoSemitonesUntilSet) {
  Parameters parameters;
  EXPECT_EQ(parameters.bendRange(), 2);
  after(parameters, {{101, 0}, {100, 0}});
  EXPECT_EQ(parameters.bendRange(), 2);
  EXPECT_EQ(parameters.control(6, 12), (ParameterStep{Kind::Set, BendRange, 12 * 128}));
  EXPECT_EQ(parameters.bendRange(), 12);
  parameters.control(38, 50);
  EXPECT_EQ(parameters.bendRange(), 12.5);
}

TEST(Parameters, OtherParametersDoNotSetTheBendRange) {
  for (const auto& [upper, lower] : {std::pair<std::uint8_t, std::uint8_t>{101, 1}, {99, 0}}) {
    Parameters parameters;
    after(parameters, {{upper, 0}, {static_cast<std::uint8_t>(upper - 1), lower}, {6, 12}, {96, 1}});
    EXPECT_EQ(parameters.bendRange(), 2);
  }
}

TEST(Parameters, StepsOfTheBendRangeAreCents) {
  Parameters parameters;
  EXPECT_EQ(after(parameters, {{101, 0}, {100, 0}, {96, 0}}), (ParameterStep{Kind::Stepped, BendRange, 2 * 128 + 1}));
  EXPECT_EQ(after(parameters, {{97, 0}, {97, 0}}), (ParameterStep{Kind::Stepped, BendRange, 1 * 128 + 99}));
  EXPECT_NEAR(parameters.bendRange(), 1.99, 1e-9);
  EXPECT_EQ(after(parameters, {{6, 0}, {97, 0}}), (ParameterStep{Kind::Stepped, BendRange, 0}));
  EXPECT_EQ(after(parameters, {{6, 127}, {38, 99}, {96, 0}}),
            (ParameterStep{Kind::Stepped, BendRange, 127 * 128 + 99}));
}

TEST(Parameters, StepsOfOthers) {
  Parameters fine;
  EXPECT_EQ(after(fine, {{101, 0}, {100, 1}, {96, 0}}), (ParameterStep{Kind::Stepped, {true, 1}, {}})) << "from where?";
  EXPECT_EQ(after(fine, {{6, 64}, {97, 0}}), (ParameterStep{Kind::Stepped, {true, 1}, 64 * 128 - 1}));
  Parameters coarse;
  EXPECT_EQ(after(coarse, {{101, 0}, {100, 2}, {6, 64}, {96, 0}}), (ParameterStep{Kind::Stepped, {true, 2}, 65 * 128}));
  EXPECT_EQ(after(coarse, {{6, 127}, {96, 0}}), (ParameterStep{Kind::Stepped, {true, 2}, 0x3FFF}));
  Parameters other;
  EXPECT_EQ(after(other, {{99, 0}, {98, 2}, {6, 127}, {38, 127}, {96, 0}}),
            (ParameterStep{Kind::Stepped, {false, 2}, 0x3FFF}));
  EXPECT_EQ(after(other, {{6, 0}, {97, 0}}), (ParameterStep{Kind::Stepped, {false, 2}, 0}));
}

TEST(Parameters, SelectingForgetsTheValue) {
  Parameters parameters;
  after(parameters, {{99, 0}, {98, 2}, {6, 5}, {98, 3}});
  EXPECT_EQ(parameters.control(38, 1), (ParameterStep{Kind::Set, {false, 3}, {}}));
}

TEST(Parameters, AreWords) {
  EXPECT_EQ(parameterText({true, 0}), "RPN 0 pitch bend range");
  EXPECT_EQ(parameterText({true, 77}), "RPN 77");
  EXPECT_EQ(parameterText({false, 0}), "NRPN 0");
  EXPECT_EQ(valueText({true, 0}, 12 * 128 + 50), "12.50 semitones");
  EXPECT_EQ(valueText({true, 1}, 8192), "0.00 cents");
  EXPECT_EQ(valueText({true, 1}, 0), "-100.00 cents");
  EXPECT_EQ(valueText({true, 2}, 52 * 128 + 3), "-12 semitones");
  EXPECT_EQ(valueText({true, 3}, 5 * 128), "5");
  EXPECT_EQ(valueText({true, 5}, 64), "0.50 semitones");
  EXPECT_EQ(valueText({true, 7808}, 1000), "1000");
  EXPECT_EQ(valueText({false, 2}, 16383), "16383");
}

}  // namespace
}  // namespace midi
