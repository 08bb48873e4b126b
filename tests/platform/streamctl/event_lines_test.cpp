#include "platform/streamctl/event_lines.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <vector>

#include "platform/wire/events.h"

namespace streamctl {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Record {
  std::uint16_t group;
  Bytes message;
};

Bytes event(std::uint64_t time, const std::vector<Record>& records) {
  Bytes bytes(wire::EventHeaderBytes);
  for (const Record& record : records) wire::appendRecord(record.group, record.message, bytes);
  wire::EventHeader header;
  header.size = static_cast<std::uint32_t>(bytes.size());
  header.time = time;
  wire::writeEventHeader(header, std::span(bytes).first<wire::EventHeaderBytes>());
  return bytes;
}

// The lines of one event; ok, if given, says whether it was understood.
std::string lines(LineForm form, const Bytes& bytes, std::string_view port = "P1", bool* ok = nullptr) {
  std::string out;
  const bool understood = EventLines(form).append(port, bytes, out);
  if (ok != nullptr) *ok = understood;
  return out;
}

TEST(EventLines, TextHasALineForEachMessage) {
  EXPECT_EQ(lines(LineForm::Text, event(1'234'000'000'567, {{0, {0x90, 0x3C, 0x64}}, {65535, {0xF8}}})),
            "1234.000000567 P1 0 0x90 0x3C 0x64\n1234.000000567 P1 65535 0xF8\n");
}

TEST(EventLines, ShowTimesOfAnySize) {
  EXPECT_EQ(lines(LineForm::Text, event(0, {{0, {0}}})), "0.000000000 P1 0 0x00\n");
  EXPECT_EQ(lines(LineForm::Text, event(999'999'999, {{0, {0}}})), "0.999999999 P1 0 0x00\n");
  EXPECT_EQ(lines(LineForm::Text, event(18'446'744'073'709'551'615U, {{0, {0}}})), "18446744073.709551615 P1 0 0x00\n");
  EXPECT_EQ(lines(LineForm::Json, event(18'446'744'073'709'551'615U, {{1, {0}}})),
            "{\"time_ns\":18446744073709551615,\"port\":\"P1\",\"group\":1,\"bytes\":[0]}\n");
}

TEST(EventLines, ShowEveryByteInBothForms) {
  Bytes all;
  std::string hexadecimal;
  for (unsigned byte = 0; byte < 256; ++byte) {
    all.push_back(static_cast<std::uint8_t>(byte));
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), " 0x%02X", byte);
    hexadecimal += text.data();
  }
  EXPECT_EQ(lines(LineForm::Text, event(0, {{3, all}})), "0.000000000 P1 3" + hexadecimal + '\n');
  const auto object = nlohmann::json::parse(lines(LineForm::Json, event(7, {{3, all}})));
  EXPECT_EQ(object["bytes"], nlohmann::json(all));
  EXPECT_EQ(object["time_ns"], 7);
  EXPECT_EQ(object["group"], 3);
  EXPECT_EQ(object["port"], "P1");
}

TEST(EventLines, NamesAreSafeToShow) {
  EXPECT_EQ(lines(LineForm::Text, event(0, {{0, {1}}}), "a\x1b\nb"), "0.000000000 a\\x1B\\x0Ab 0 0x01\n");
  const std::string odd = "a\"\\\n";
  EXPECT_EQ(nlohmann::json::parse(lines(LineForm::Json, event(0, {{0, {1}}}), odd))["port"], odd);
  EXPECT_TRUE(nlohmann::json::accept(lines(LineForm::Json, event(0, {{0, {1}}}), "\xff")));
}

TEST(EventLines, PortsOfSeveralEventsKeepTheirNames) {
  EventLines of(LineForm::Text);
  std::string out;
  for (const char* port : {"A", "B", "A"}) {
    const Bytes bytes = event(0, {{0, {1}}});
    EXPECT_TRUE(of.append(port, bytes, out));
  }
  EXPECT_EQ(out, "0.000000000 A 0 0x01\n0.000000000 B 0 0x01\n0.000000000 A 0 0x01\n");
}

TEST(EventLines, EventCutAnywhereIsRefused) {
  const Bytes whole = event(0, {{0, {0x90, 1, 2}}, {0, {0xF8}}});
  for (std::size_t size = 0; size < whole.size(); ++size) {
    Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    bool ok = true;
    EXPECT_EQ(lines(LineForm::Text, cut, "P", &ok), "") << size;
    EXPECT_FALSE(ok) << size;
  }
  // The header says how long it is, but the last record is longer.
  Bytes longRecord = event(0, {{0, {1}}, {0, {2}}});
  longRecord[wire::EventHeaderBytes + wire::RecordOverheadBytes + 1] = 9;
  bool ok = true;
  EXPECT_EQ(lines(LineForm::Text, longRecord, "P", &ok), "0.000000000 P 0 0x01\n");
  EXPECT_FALSE(ok);
}

}  // namespace
}  // namespace streamctl
