// The tables of the standard, walked.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "platform/midi/controller_names.h"
#include "platform/midi/decoded.h"
#include "platform/midi/maker_names.h"
#include "platform/midi/universal_names.h"

namespace midi {
namespace {

// A name stands in a line of words: printable ASCII, without blanks at its ends or two in a row, and not too long.
bool canStandInALine(std::string_view name) {
  constexpr std::size_t Longest = 40;
  const bool printable = std::ranges::all_of(name, [](char c) { return c >= ' ' && c <= '~'; });
  return printable && !name.empty() && name.size() <= Longest && name.front() != ' ' && name.back() != ' ' &&
         name.find("  ") == std::string_view::npos;
}

TEST(MidiTables, ControllersHaveNames) {
  std::set<std::string_view> names;
  int defined = 0;
  for (unsigned number = 0; number < 256; ++number) {
    const std::string_view name = controllerName(static_cast<std::uint8_t>(number));
    if (number > 127) {
      EXPECT_EQ(name, "") << number;
    }
    if (name.empty()) continue;
    ++defined;
    EXPECT_TRUE(canStandInALine(name)) << number << name;
    EXPECT_TRUE(names.insert(name).second) << name;
  }
  EXPECT_EQ(defined, 73);
  // The lower seven bits of each controller from 0 to 31 are defined with it.
  for (std::uint8_t number = 0; number < 32; ++number) {
    const std::string upper(controllerName(number));
    const auto lower = static_cast<std::uint8_t>(number + 32);
    EXPECT_EQ(controllerName(lower), upper.empty() ? "" : upper + " LSB") << int{number};
  }
}

TEST(MidiTables, ControllersMatchTheStandard) {
  const std::pair<std::uint8_t, std::string_view> rows[] = {{0, "bank select"},
                                                            {1, "modulation"},
                                                            {3, ""},
                                                            {7, "channel volume"},
                                                            {10, "pan"},
                                                            {11, "expression"},
                                                            {DataEntry, "data entry"},
                                                            {DataEntryLsb, "data entry LSB"},
                                                            {64, "damper pedal"},
                                                            {66, "sostenuto"},
                                                            {74, "brightness"},
                                                            {84, "portamento control"},
                                                            {85, ""},
                                                            {90, ""},
                                                            {91, "reverb send level"},
                                                            {DataIncrement, "data increment"},
                                                            {DataDecrement, "data decrement"},
                                                            {NonRegisteredLsb, "NRPN LSB"},
                                                            {NonRegisteredMsb, "NRPN MSB"},
                                                            {RegisteredLsb, "RPN LSB"},
                                                            {RegisteredMsb, "RPN MSB"},
                                                            {102, ""},
                                                            {119, ""},
                                                            {120, "all sound off"},
                                                            {ResetAllControllers, "reset all controllers"},
                                                            {123, "all notes off"},
                                                            {127, "poly mode"}};
  for (const auto& [number, name] : rows) EXPECT_EQ(controllerName(number), name) << int{number};
}

TEST(MidiTables, RegisteredParametersAscend) {
  std::set<std::string_view> names;
  int last = -1;
  for (const RegisteredParameter& parameter : registeredParameters()) {
    EXPECT_GT(parameter.number, last);
    EXPECT_LT(parameter.number, NullParameter);
    last = parameter.number;
    EXPECT_TRUE(canStandInALine(parameter.name)) << parameter.name;
    EXPECT_TRUE(names.insert(parameter.name).second) << parameter.name;
    EXPECT_EQ(registeredParameter(parameter.number), &parameter);
  }
  EXPECT_EQ(names.size(), 16U);
  EXPECT_EQ(registeredParameter(NullParameter), nullptr);
  EXPECT_EQ(registeredParameter(7), nullptr);
  EXPECT_EQ(registeredParameter(0xFFFF), nullptr);
  EXPECT_EQ(registeredParameter(1)->name, "fine tuning");
  EXPECT_EQ(registeredParameter(61 * 128 + 8)->name, "3D roll angle");
}

TEST(MidiTables, UniversalMessagesAscend) {
  const auto place = [](const UniversalMessage& message) {
    const int second = message.subId2 ? *message.subId2 : -1;
    return std::tuple(message.kind, message.subId1, second);
  };
  const auto all = universalMessages();
  for (std::size_t i = 0; i < all.size(); ++i) {
    const UniversalMessage& message = all[i];
    EXPECT_TRUE(canStandInALine(message.name)) << message.name;
    EXPECT_TRUE(message.kind == NonRealTime || message.kind == RealTime) << message.name;
    EXPECT_GT(message.subId1, 0) << message.name;
    EXPECT_LT(message.subId1, 0x80) << message.name;
    EXPECT_LT(message.subId2.value_or(0), 0x80) << message.name;
    if (i > 0) {
      EXPECT_LT(place(all[i - 1]), place(message)) << message.name;
    }
    EXPECT_EQ(universalMessage(message.kind, message.subId1, message.subId2), &message);
    // Who names a second id is never without a name for the first.
    EXPECT_NE(universalMessage(message.kind, message.subId1, 0x7F), nullptr) << message.name;
  }
}

std::string_view universalName(std::uint8_t kind, std::uint8_t first, std::optional<std::uint8_t> second) {
  const auto* const message = universalMessage(kind, first, second);
  return message == nullptr ? "" : message->name;
}

TEST(MidiTables, UniversalMessagesMatchTheStandard) {
  EXPECT_EQ(universalName(NonRealTime, 0x06, 0x01), "identity request");
  EXPECT_EQ(universalName(NonRealTime, 0x06, 0x02), "identity reply");
  EXPECT_EQ(universalName(NonRealTime, 0x06, 0x03), "general information");
  EXPECT_EQ(universalName(NonRealTime, 0x06, std::nullopt), "general information");
  EXPECT_EQ(universalName(NonRealTime, 0x09, 0x01), "General MIDI on");
  EXPECT_EQ(universalName(NonRealTime, 0x7F, 0x05), "acknowledged");
  EXPECT_EQ(universalName(NonRealTime, 0x01, 0x00), "sample dump header");
  EXPECT_EQ(universalName(RealTime, 0x01, 0x01), "time code full frame");
  EXPECT_EQ(universalName(RealTime, 0x04, 0x01), "master volume");
  EXPECT_EQ(universalName(RealTime, 0x06, 0x02), "machine control play");
  EXPECT_EQ(universalName(RealTime, 0x06, 0x60), "machine control command");
  EXPECT_EQ(universalName(RealTime, 0x7F, 0x00), "");
  EXPECT_EQ(universalName(0x43, 0x06, 0x01), "");
}

TEST(MidiTables, MakersHaveNames) {
  int oneByte = 0;
  int threeBytes = 0;
  for (unsigned id = 1; id < 256; ++id) {
    const auto first = static_cast<std::uint8_t>(id);
    const std::string_view name = nameOf({first});
    if (name.empty()) continue;
    ++oneByte;
    EXPECT_LT(id, 0x60U) << "reserved";
    EXPECT_TRUE(canStandInALine(name)) << name;
  }
  for (unsigned id = 0; id < 65'536; ++id) {
    const MakerId maker{0, static_cast<std::uint8_t>(id >> 8U), static_cast<std::uint8_t>(id)};
    const std::string_view name = nameOf(maker);
    if (name.empty()) continue;
    ++threeBytes;
    EXPECT_TRUE(maker.second < 0x80 && maker.third < 0x80 && id != 0) << name;
    EXPECT_TRUE(canStandInALine(name)) << name;
  }
  EXPECT_EQ(oneByte, 85);
  EXPECT_EQ(threeBytes, 505);
}

// One in each row of the table and at both ends of some, so that a name left out would move the others.
TEST(MidiTables, MakersMatchThePublishedList) {
  const std::pair<MakerId, std::string_view> rows[] = {{{0x01}, "Sequential Circuits"},
                                                       {{0x0F}, "Ensoniq"},
                                                       {{0x10}, "Oberheim"},
                                                       {{0x1F}, "Clarity"},
                                                       {{0x20}, "Passac"},
                                                       {{0x2F}, "Elka"},
                                                       {{0x33}, "Clavia"},
                                                       {{0x3E}, "Waldorf"},
                                                       {{0x41}, "Roland"},
                                                       {{0x42}, "Korg"},
                                                       {{0x44}, "Casio"},
                                                       {{0x45}, ""},
                                                       {{0x47}, "Akai"},
                                                       {{0x4C}, "Sony"},
                                                       {{0x52}, "Zoom"},
                                                       {{0x5F}, "SD Card Association"},
                                                       {{0x7D}, ""},
                                                       {{0x00, 0x00, 0x01}, "Time Warner Interactive"},
                                                       {{0x00, 0x00, 0x0E}, "Alesis"},
                                                       {{0x00, 0x00, 0x1B}, "Peavey"},
                                                       {{0x00, 0x00, 0x2F}, "Encore Electronics"},
                                                       {{0x00, 0x00, 0x3B}, "Mark of the Unicorn"},
                                                       {{0x00, 0x00, 0x4E}, "Euphonix"},
                                                       {{0x00, 0x00, 0x5E}, "Symetrix"},
                                                       {{0x00, 0x00, 0x66}, "Mackie"},
                                                       {{0x00, 0x00, 0x7F}, "Key Electronics"},
                                                       {{0x00, 0x01, 0x05}, "M-Audio"},
                                                       {{0x00, 0x01, 0x0C}, "Line 6"},
                                                       {{0x00, 0x01, 0x1F}, "Syndyne"},
                                                       {{0x00, 0x01, 0x2F}, "U.S. Robotics"},
                                                       {{0x00, 0x01, 0x3F}, "Numark"},
                                                       {{0x00, 0x01, 0x4F}, "Samson Technologies"},
                                                       {{0x00, 0x01, 0x50}, "Electronic Theatre Controls"},
                                                       {{0x00, 0x01, 0x61}, "Livid Instruments"},
                                                       {{0x00, 0x01, 0x74}, "Fractal Audio"},
                                                       {{0x00, 0x01, 0x7F}, "moForte"},
                                                       {{0x00, 0x02, 0x0D}, "Google"},
                                                       {{0x00, 0x02, 0x1F}, "Madrona Labs"},
                                                       {{0x00, 0x02, 0x26}, "Electro-Harmonix"},
                                                       {{0x00, 0x02, 0x30}, "Matthews Effects"},
                                                       {{0x00, 0x20, 0x00}, "Dream"},
                                                       {{0x00, 0x20, 0x13}, "Kenton Electronics"},
                                                       {{0x00, 0x20, 0x1F}, "TC Electronics"},
                                                       {{0x00, 0x20, 0x29}, "Focusrite/Novation"},
                                                       {{0x00, 0x20, 0x32}, "Behringer"},
                                                       {{0x00, 0x20, 0x3C}, "Elektron"},
                                                       {{0x00, 0x20, 0x4D}, "Vermona"},
                                                       {{0x00, 0x20, 0x5F}, "Sequentix"},
                                                       {{0x00, 0x20, 0x6B}, "Arturia"},
                                                       {{0x00, 0x20, 0x76}, "Teenage Engineering"},
                                                       {{0x00, 0x20, 0x7F}, "Serato"},
                                                       {{0x00, 0x21, 0x09}, "Native Instruments"},
                                                       {{0x00, 0x21, 0x1D}, "Ableton"},
                                                       {{0x00, 0x21, 0x27}, "Expert Sleepers"},
                                                       {{0x00, 0x21, 0x35}, "Dreadbox"},
                                                       {{0x00, 0x21, 0x49}, "Bitwig"},
                                                       {{0x00, 0x21, 0x4A}, ""},
                                                       {{0x00, 0x40, 0x03}, "D&M Holdings"}};
  for (const auto& [maker, name] : rows) EXPECT_EQ(nameOf(maker), name) << makerText(maker);
}

TEST(MidiTables, MakersAreReadFromTheFrontOfTheirMessage) {
  using Bytes = std::vector<std::uint8_t>;
  EXPECT_EQ(readMakerId(Bytes{0x41, 0x10}), MakerId{0x41});
  EXPECT_EQ(readMakerId(Bytes{0x00, 0x20, 0x29, 1}), (MakerId{0x00, 0x20, 0x29}));
  EXPECT_EQ(readMakerId(Bytes{0x00, 0x20, 0x29}), (MakerId{0x00, 0x20, 0x29}));
  for (const Bytes& cut :
       {Bytes{}, Bytes{0x00}, Bytes{0x00, 0x20}, Bytes{0x80}, Bytes{0x00, 0x80, 1}, Bytes{0, 1, 0xF7}}) {
    EXPECT_EQ(readMakerId(cut), std::nullopt) << testing::PrintToString(cut);
  }
  EXPECT_EQ(makerText({0x41}), "Roland");
  EXPECT_EQ(makerText({0x5E}), "maker 0x5E");
  EXPECT_EQ(makerText({0x00, 0x21, 0x7F}), "maker 0x00 0x21 0x7F");
}

TEST(MidiTables, FieldsHaveDifferentNames) {
  std::set<std::string_view> names;
  for (const FieldDescription& field : DecodedFields) {
    EXPECT_THAT(std::string(field.name), testing::MatchesRegex("[a-z_]+"));
    EXPECT_TRUE(names.insert(field.name).second) << field.name;
  }
}

}  // namespace
}  // namespace midi
