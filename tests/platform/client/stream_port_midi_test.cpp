// What a port makes of an event.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/platform/client/fixture.h"
#include "tests/platform/wire/bytes_of.h"

namespace client {
namespace {

using Texts = std::vector<std::string>;

// Writes down which receiver was called with what.
class WritingPort : public StrmSrv::StreamPortMIDI {
 public:
  using StreamPortMIDI::StreamPortMIDI;
  Texts texts;

  void receiveNoteOff(std::uint8_t a, std::uint8_t b, std::uint16_t g) override { write("off", {a, b}, g); }
  void receiveNoteOn(std::uint8_t a, std::uint8_t b, std::uint16_t g) override { write("on", {a, b}, g); }
  void receivePolyAfter(std::uint8_t a, std::uint8_t b, std::uint16_t g) override { write("poly", {a, b}, g); }
  void receiveControlChange(std::uint8_t a, std::uint8_t b, std::uint16_t g) override { write("control", {a, b}, g); }
  void receiveProgramChange(std::uint8_t a, std::uint16_t g) override { write("program", {a}, g); }
  void receiveAfterTouch(std::uint8_t a, std::uint16_t g) override { write("after", {a}, g); }
  void receivePitchBend(std::uint8_t a, std::uint8_t b, std::uint16_t g) override { write("bend", {a, b}, g); }
  void receiveSystemExclusive(const std::uint8_t* p, std::size_t n, std::uint16_t g) override {
    write("exclusive", {p, p + n}, g);
  }
  void receiveSystemCommon(const std::uint8_t* p, std::size_t n, std::uint16_t g) override {
    write("common", {p, p + n}, g);
  }
  void receiveRealTimeMessage(std::uint8_t status, std::uint16_t g) override { write("real time", {status}, g); }
  void receiveMetaEvent(const std::uint8_t* p, std::size_t n, std::uint16_t g) override {
    write("meta", {p, p + n}, g);
  }

 private:
  void write(const std::string& what, const service::Bytes& bytes, std::uint16_t group) {
    texts.push_back(what + service::hexOf(bytes) + " to " + std::to_string(group));
  }
};

struct Outcome {
  Texts texts;
  EvtSrv::EventResult result;
};

// firstByte: of the header. records: what stands behind it.
Outcome outcome(std::uint8_t firstByte, const service::Bytes& records, unsigned type = EvtSrv::EvtTyp_Debug_Receive) {
  const EndpointVariable endpoint("nonsense");
  testing::internal::CaptureStderr();
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  testing::internal::GetCapturedStderr();
  WritingPort port(manager);
  service::Bytes event(EvtSrv::MemoryHolder::HeaderSize);
  event[0] = firstByte;
  event.insert(event.end(), records.begin(), records.end());
  EvtSrv::MemoryHolder data(event);
  const auto result = port.receiveMain("name", type, &data, nullptr);
  return {port.texts, result};
}

service::Bytes record(const std::string& message, std::uint8_t group = 2) {
  service::Bytes bytes = wire::bytesOf(message);
  service::Bytes record{static_cast<std::uint8_t>(bytes.size() + 2), 0, 0, 0, group, 0};
  record.insert(record.end(), bytes.begin(), bytes.end());
  return record;
}

TEST(StreamPortMidi, CallsTheReceiverOfEachKind) {
  const std::vector<std::pair<std::string, std::string>> table = {
      {"80 01 02", "off 01 02 to 2"},
      {"90 01 02", "on 01 02 to 2"},
      {"A0 01 02", "poly 01 02 to 2"},
      {"B0 01 02", "control 01 02 to 2"},
      {"C0 01", "program 01 to 2"},
      {"D0 01", "after 01 to 2"},
      {"E0 01 02", "bend 01 02 to 2"},
      {"F0 01 F7", "exclusive F0 01 F7 to 2"},
      {"F0", "exclusive F0 to 2"},
      {"F7 01", "exclusive F7 01 to 2"},
      {"F1 01", "common F1 01 to 2"},
      {"F2 01 02", "common F2 01 02 to 2"},
      {"F3 01", "common F3 01 to 2"},
      {"F6", "common F6 to 2"},
      {"F8", "real time F8 to 2"},
      {"FA", "real time FA to 2"},
      {"FB", "real time FB to 2"},
      {"FC", "real time FC to 2"},
      {"FE", "real time FE to 2"},
      {"FF", "real time FF to 2"},
      {"FF 2F 00", "meta FF 2F 00 to 2"},
      // What is longer than its kind needs loses nothing that it needs.
      {"90 01 02 03", "on 01 02 to 2"},
  };
  for (const auto& [message, text] : table) {
    const Outcome got = outcome(0, record(message));
    EXPECT_EQ(got.texts, Texts{text}) << message;
    EXPECT_EQ(got.result, EvtSrv::EvtRes_Success) << message;
  }
}

TEST(StreamPortMidi, SkipsBytesThatAreNoMessage) {
  for (const char* message : {"80 01", "90", "A0 01", "B0", "C0", "D0", "E0 01", "F1", "F2 01", "F3",  // too short
                              "00", "7F 01 02", "91 01 02", "EF 01 02", "F4", "F5", "F9", "FD"}) {
    service::Bytes records = record(message);
    const service::Bytes good = record("90 05 06");
    records.insert(records.end(), good.begin(), good.end());
    const Outcome got = outcome(0, records);
    EXPECT_EQ(got.texts, Texts{"on 05 06 to 2"}) << message;
    EXPECT_EQ(got.result, EvtSrv::EvtRes_UnknownError) << message;
  }
}

TEST(StreamPortMidi, ReadsBothByteOrders) {
  const service::Bytes big = wire::bytesOf("00 00 00 05 01 02 90 03 04");
  const service::Bytes little = wire::bytesOf("05 00 00 00 02 01 90 03 04");
  EXPECT_EQ(outcome(1, big).texts, Texts{"on 03 04 to 258"});
  EXPECT_EQ(outcome(0, little).texts, Texts{"on 03 04 to 258"});
  EXPECT_EQ(outcome(2, little).texts, Texts{"on 03 04 to 258"});
}

TEST(StreamPortMidi, MalformedRecordEndsTheReading) {
  const service::Bytes good = record("90 05 06");
  const service::Bytes both = [&] {
    service::Bytes bytes = good;
    bytes.insert(bytes.end(), good.begin(), good.end());
    return bytes;
  }();
  for (std::size_t cut = good.size() + 1; cut < both.size(); ++cut) {
    const Outcome got = outcome(0, service::Bytes(both.begin(), both.begin() + static_cast<std::ptrdiff_t>(cut)));
    EXPECT_EQ(got.texts, Texts{"on 05 06 to 2"}) << cut;
    EXPECT_EQ(got.result, EvtSrv::EvtRes_UnknownError) << cut;
  }
  for (const char* length : {"00 00 00 00", "01 00 00 00", "02 00 00 00", "FF FF FF FF"}) {
    service::Bytes bytes = wire::bytesOf(length);
    bytes.insert(bytes.end(), 2, 0);
    bytes.insert(bytes.end(), good.begin(), good.end());
    const Outcome got = outcome(0, bytes);
    EXPECT_EQ(got.texts, Texts{}) << length;
    EXPECT_EQ(got.result, EvtSrv::EvtRes_UnknownError) << length;
  }
}

TEST(StreamPortMidi, EventWithoutRecordsIsASuccess) { EXPECT_EQ(outcome(0, {}).result, EvtSrv::EvtRes_Success); }

TEST(StreamPortMidi, EventsOfOtherTypesAreLeftAlone) {
  const Outcome got = outcome(0, record("90 05 06"), EvtSrv::EvtTyp_Debug_Receive + 1);
  EXPECT_EQ(got.texts, Texts{});
  EXPECT_EQ(got.result, EvtSrv::EvtRes_Success);
}

}  // namespace
}  // namespace client
