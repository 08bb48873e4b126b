// Lines with what messages mean, of chosen messages, with other times.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <vector>

#include "platform/streamctl/event_lines.h"
#include "platform/wire/events.h"

namespace streamctl {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Json = nlohmann::json;

constexpr std::uint64_t Second = 1'000'000'000;

struct Sent {
  std::uint16_t group;
  Bytes message;
};

Bytes eventOf(std::uint64_t time, const std::vector<Sent>& records) {
  Bytes bytes(wire::EventHeaderBytes);
  for (const Sent& record : records) wire::appendRecord(record.group, record.message, bytes);
  wire::EventHeader header;
  header.size = static_cast<std::uint32_t>(bytes.size());
  header.time = time;
  wire::writeEventHeader(header, std::span(bytes).first<wire::EventHeaderBytes>());
  return bytes;
}

LineStyle decoding(TimeForm time = TimeForm::None) { return {true, time, {}}; }

std::string linesOf(LineForm form, const LineStyle& style, const std::vector<Sent>& records) {
  EventLines lines(form, style);
  std::string out;
  EXPECT_TRUE(lines.append("P1", eventOf(7, records), out));
  return out;
}

TEST(DecodedLines, HaveTheChannelAndWords) {
  EXPECT_EQ(linesOf(LineForm::Text, decoding(),
                    {{0, {0x90, 60, 100}}, {15, {0xC0, 5}}, {16, {0xC0, 5}}, {0, {0xF8}}, {3, {0xF8}}, {2, {1}}}),
            "P1 ch1 note on C4 velocity 100\n"
            "P1 ch16 program 5\n"
            "P1 group16 program 5\n"
            "P1 - clock\n"
            "P1 - clock\n"
            "P1 - no message, data without a status: 0x01\n");
  EXPECT_EQ(linesOf(LineForm::Text, decoding(TimeForm::Service), {{0, {0xFA}}}), "0.000000007 P1 - start\n");
}

TEST(DecodedLines, OfJsonHaveFieldsBehindTheBytes) {
  EXPECT_EQ(linesOf(LineForm::Json, decoding(TimeForm::Service), {{0, {0x90, 60, 100}}}),
            R"({"time_ns":7,"port":"P1","group":0,"bytes":[144,60,100],"type":"note","channel":1,)"
            R"("text":"note on C4 velocity 100","event":"note on","note":"C4","number":60,"velocity":100})"
            "\n");
  EXPECT_EQ(linesOf(LineForm::Json, decoding(), {{16, {0xE0, 0, 96}}, {0, {0xFE}}}),
            R"({"port":"P1","group":16,"bytes":[224,0,96],"type":"bend",)"
            R"j("text":"pitch bend +1.00 semitones (+4096)","event":"pitch bend","value":4096,"semitones":1})j"
            "\n"
            R"({"port":"P1","group":0,"bytes":[254],"type":"sense","text":"active sensing","event":"active sensing"})"
            "\n");
}

TEST(DecodedLines, EachPortHasItsOwnState) {
  EventLines lines(LineForm::Text, decoding());
  std::string out;
  const Bytes range = eventOf(0, {{0, {0xB0, 101, 0}}, {0, {0xB0, 100, 0}}, {0, {0xB0, 6, 12}}});
  EXPECT_TRUE(lines.append("A", range, out));
  out.clear();
  const Bytes bend = eventOf(0, {{0, {0xE0, 0, 0}}});
  for (const char* port : {"A", "B", "A"}) EXPECT_TRUE(lines.append(port, bend, out));
  EXPECT_EQ(out,
            "A ch1 pitch bend -12.00 semitones (-8192)\n"
            "B ch1 pitch bend -2.00 semitones (-8192)\n"
            "A ch1 pitch bend -12.00 semitones (-8192)\n");
}

TEST(DecodedLines, DependOnMessagesThatAreNotPrinted) {
  LineStyle style = decoding();
  style.filter.types = std::get<midi::TypeSet>(midi::parseTypes("bend"));
  EXPECT_EQ(
      linesOf(LineForm::Text, style, {{4, {0xB0, 101, 0}}, {4, {0xB0, 100, 0}}, {4, {0xB0, 6, 12}}, {4, {0xE0, 0, 0}}}),
      "P1 ch5 pitch bend -12.00 semitones (-8192)\n");
}

TEST(DecodedLines, TheFilterWorksWithoutDecodingToo) {
  LineStyle style;
  style.time = TimeForm::None;
  style.filter.channels = std::get<midi::ChannelSet>(midi::parseChannels("2"));
  style.filter.types.reset(static_cast<std::size_t>(midi::MessageType::Clock));
  EXPECT_EQ(linesOf(LineForm::Text, style, {{0, {0xC0, 1}}, {1, {0xC0, 2}}, {0, {0xF8}}, {17, {0xC0, 3}}}),
            "P1 1 0xC0 0x02\n");
}

TEST(DecodedLines, TimesAreThoseOfPrintedMessages) {
  LineStyle style;
  style.time = TimeForm::Delta;
  style.filter.types = std::get<midi::TypeSet>(midi::parseTypes("pc"));
  EventLines lines(LineForm::Text, style);
  std::string out;
  EXPECT_TRUE(lines.append("A", eventOf(1 * Second, {{0, {0xF8}}}), out));
  EXPECT_TRUE(lines.append("A", eventOf(2 * Second, {{0, {0xC0, 1}}, {0, {0xF8}}, {0, {0xC0, 2}}}), out));
  EXPECT_TRUE(lines.append("B", eventOf(4 * Second, {{0, {0xF8}}}), out));
  EXPECT_TRUE(lines.append("B", eventOf(5 * Second, {{0, {0xC0, 3}}}), out));
  EXPECT_EQ(out,
            "0.000000000 A 0 0xC0 0x01\n"
            "0.000000000 A 0 0xC0 0x02\n"
            "3.000000000 B 0 0xC0 0x03\n");
}

TEST(DecodedLines, JsonHasTheTimeOfTheForm) {
  LineStyle style;
  const auto line = [&](TimeForm form) {
    style.time = form;
    EventLines lines(LineForm::Json, style);
    lines.setWallOffset(std::chrono::nanoseconds(1'000));
    std::string out;
    EXPECT_TRUE(lines.append("A", eventOf(7, {{0, {1}}}), out));
    return out;
  };
  EXPECT_EQ(line(TimeForm::Service), "{\"time_ns\":7,\"port\":\"A\",\"group\":0,\"bytes\":[1]}\n");
  EXPECT_EQ(line(TimeForm::Wall), "{\"time_ns\":1007,\"port\":\"A\",\"group\":0,\"bytes\":[1]}\n");
  EXPECT_EQ(line(TimeForm::Start), "{\"time_ns\":0,\"port\":\"A\",\"group\":0,\"bytes\":[1]}\n");
  EXPECT_EQ(line(TimeForm::None), "{\"port\":\"A\",\"group\":0,\"bytes\":[1]}\n");
}

// The members of a line that the manual page lists, with their kinds.
std::map<std::string, std::string> documentedMembers() {
  std::ifstream page(FLOWSCOPE_SOURCE_DIR "/man/streamctl.1");
  const std::regex item(R"(\.It Sy ([a-z_]+) Pq (integer|number|string|list))");
  std::map<std::string, std::string> members;
  for (std::string line; std::getline(page, line);) {
    std::smatch parts;
    if (!std::regex_match(line, parts, item)) continue;
    EXPECT_TRUE(members.emplace(parts[1], parts[2]).second) << "twice: " << line;
  }
  return members;
}

std::string kindOf(const Json& value) {
  if (value.is_string()) return "string";
  if (value.is_array()) return "list";
  if (value.is_number_integer()) return "integer";
  return value.is_number() ? "number" : "another kind";
}

TEST(DecodedLines, TheManualListsEveryMember) {
  std::map<std::string, std::string> expected{{"time_ns", "integer"}, {"port", "string"}, {"group", "integer"},
                                              {"bytes", "list"},      {"type", "string"}, {"channel", "integer"},
                                              {"text", "string"}};
  constexpr const char* Kinds[] = {"integer", "number", "string"};
  for (const auto& field : midi::DecodedFields) {
    expected[std::string(field.name)] = Kinds[static_cast<std::size_t>(field.kind)];
  }
  EXPECT_EQ(documentedMembers(), expected);
}

TEST(DecodedLines, HaveTheMembersOfTheManual) {
  const auto documented = documentedMembers();
  std::vector<Sent> records{{0, {0x90, 61, 1}},
                            {0, {0xA0, 1, 2}},
                            {0, {0xD0, 3}},
                            {0, {0xE0, 1, 9}},
                            {0, {0xC0, 9}},
                            {0, {0xB0, 99, 1}},
                            {0, {0xB0, 98, 9}},
                            {0, {0xB0, 6, 1}},
                            {0, {0xB0, 101, 0}},
                            {0, {0xB0, 100, 0}},
                            {0, {0xB0, 6, 1}},
                            {0, {0xF2, 1, 1}},
                            {0, {0xF3, 1}},
                            {0, {0xF6}},
                            {0, {0xFF}},
                            {0, {0x99, 1, 1}},
                            {0, {0xF0, 0x7F, 0x7F, 1, 1, 0x21, 2, 3, 4, 0xF7}},
                            {0, {0xF0, 0x7E, 1, 6, 2, 0x41, 0xF7}}};
  EventLines lines(LineForm::Json, decoding(TimeForm::Service));
  std::string out;
  EXPECT_TRUE(lines.append("P", eventOf(0, records), out));
  for (std::uint64_t i = 1; i <= 25; ++i) EXPECT_TRUE(lines.append("P", eventOf(i * 1'000'000, {{0, {0xF8}}}), out));
  std::istringstream stream(out);
  std::set<std::string> seen;
  for (std::string line; std::getline(stream, line);) {
    const Json object = Json::parse(line, nullptr, false);
    ASSERT_TRUE(object.is_object()) << line;
    for (const auto& [name, value] : object.items()) {
      seen.insert(name);
      ASSERT_TRUE(documented.contains(name)) << name;
      const std::string kind = kindOf(value);
      EXPECT_TRUE(kind == documented.at(name) || (kind == "integer" && documented.at(name) == "number")) << line;
    }
  }
  EXPECT_EQ(seen.size(), documented.size()) << "each member occurs";
}

}  // namespace
}  // namespace streamctl
