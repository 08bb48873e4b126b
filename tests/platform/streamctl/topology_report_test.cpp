#include "platform/streamctl/topology_report.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace streamctl {
namespace {

using enum sys::TextEncoding;

wire::Topology sample() {
  return {{{0, "Deck", device::SideOfGroup{2, "DeckOut", {}}, device::SideOfGroup{0, "DeckIn", {}}, {}, 0},
           {65535, "Rack", std::nullopt, device::SideOfGroup{2, "", {"Left", "Right"}}, {}, 65535},
           {7, "Bare", std::nullopt, std::nullopt, {}, 7}}};
}

const wire::Links SampleLinks{3, {{{0, 1, 65535, 1}}, {{0, 1, 65535, 0}}, {{0, 0, 65535, 1}}}};

TEST(TopologyText, HasALineForEachPort) {
  EXPECT_EQ(topologyText(sample(), SampleLinks, {}, Ascii),
            "GROUP  NAME  SIDE    PORT      CONNECTIONS\n"
            "0      Deck  source  DeckOut1  Right\n"
            "0      Deck  source  DeckOut2  Right Left\n"
            "0      Deck  sink    -         -\n"
            "65535  Rack  sink    Left      DeckOut2\n"
            "65535  Rack  sink    Right     DeckOut2 DeckOut1\n"
            "7      Bare  -       -         -\n");
}

// The ids that a new console gives, however high the handles have risen.
TEST(TopologyText, GroupsHaveTheIdsOfANewConsole) {
  const wire::Topology late{{{5'000'000'009, "J", device::SideOfGroup{1, "", {"j"}}, std::nullopt},
                             {7, "Asks", std::nullopt, device::SideOfGroup{1, "", {"s"}}, {}, 41},
                             {5'000'000'008, "K", std::nullopt, device::SideOfGroup{1, "", {"k"}}}}};
  EXPECT_EQ(topologyText(late, {1, {{{5'000'000'009, 0, 5'000'000'008, 0}}}}, {}, Ascii),
            "GROUP  NAME  SIDE    PORT  CONNECTIONS\n"
            "0      J     source  j     k\n"
            "41     Asks  sink    s     -\n"
            "1      K     sink    k     j\n");
}

TEST(TopologyText, DeviceWithoutGroupsHasHeadings) {
  EXPECT_EQ(topologyText({}, {}, {}, Ascii), "GROUP  NAME  SIDE  PORT  CONNECTIONS\n");
}

TEST(TopologyText, NamesAreShownWithoutControlCharacters) {
  const wire::Topology odd{{{1, "a\x1b[2J", device::SideOfGroup{1, "", {"b\nc"}}, std::nullopt, {}, 1}}};
  const std::string text = topologyText(odd, {}, {}, Ascii);
  EXPECT_NE(text.find("a\\x1B[2J"), std::string::npos) << text;
  EXPECT_NE(text.find("b\\x0Ac"), std::string::npos) << text;
}

TEST(TopologyText, ShowsEachPortOfTheLargestSide) {
  const wire::Topology large{{{1, "G", device::SideOfGroup{65535, "P", {}}, std::nullopt, {}, 1}}};
  const std::string text = topologyText(large, {}, {}, Ascii);
  EXPECT_EQ(std::ranges::count(text, '\n'), 65536);
  EXPECT_NE(text.find(" P65535 "), std::string::npos);
}

TEST(TopologyJson, IsComplete) {
  EXPECT_EQ(nlohmann::json::parse(topologyJson(sample(), SampleLinks, {})), nlohmann::json::parse(R"({
    "groups": [
      {"id": 0, "name": "Deck", "sources": ["DeckOut1", "DeckOut2"], "sinks": []},
      {"id": 65535, "name": "Rack", "sources": null, "sinks": ["Left", "Right"]},
      {"id": 7, "name": "Bare", "sources": null, "sinks": null}],
    "connections": [
      {"source": "DeckOut2", "sink": "Right"},
      {"source": "DeckOut2", "sink": "Left"},
      {"source": "DeckOut1", "sink": "Right"}]})"));
}

TEST(TopologyJson, DeviceWithoutGroupsHasEmptyLists) {
  EXPECT_EQ(nlohmann::json::parse(topologyJson({}, {}, {})),
            nlohmann::json::parse(R"({"groups": [], "connections": []})"));
}

TEST(TopologyJson, AnyNameBecomesValidText) {
  const wire::Topology odd{{{1, "\"\xff\\", device::SideOfGroup{1, "", {"b\n"}}, std::nullopt, {}, 1}}};
  const auto document = nlohmann::json::parse(topologyJson(odd, {}, {}));
  EXPECT_EQ(document["groups"][0]["name"], "\"\xEF\xBF\xBD\\");
  EXPECT_EQ(document["groups"][0]["sources"][0], "b\n");
}

wire::Original bytes(std::string_view text) { return {text.begin(), text.end()}; }

const wire::Originals SampleOriginals{{{65535, bytes("Rack 19"), {}, {bytes("20:0 L\xff"), bytes("20:1 R")}}}};

TEST(TopologyText, OriginalNamesAreShownBesideOurs) {
  EXPECT_EQ(topologyText(sample(), SampleLinks, SampleOriginals, Ascii),
            "GROUP  NAME  SIDE    PORT      ORIGINAL    CONNECTIONS\n"
            "0      Deck  source  DeckOut1  -           Right\n"
            "0      Deck  source  DeckOut2  -           Right Left\n"
            "0      Deck  sink    -         -           -\n"
            "65535  Rack  sink    Left      20:0 L\\xFF  DeckOut2\n"
            "65535  Rack  sink    Right     20:1 R      DeckOut2 DeckOut1\n"
            "7      Bare  -       -         -           -\n");
}

TEST(TopologyText, NamesBeyondAsciiAreShownInUtf8AndKeepTheColumns) {
  const wire::Topology topology{{{3, "Keys", device::SideOfGroup{2, "", {"a_", "b"}}, std::nullopt, {}, 3}}};
  const wire::Originals originals{{{3, bytes("Keys"), {bytes("K\xC3\xB6ln \xE2\x80\xAEx"), bytes("Z\xC3")}, {}}}};
  const wire::Links links{1, {}};
  EXPECT_EQ(topologyText(topology, links, originals, Utf8),
            "GROUP  NAME  SIDE    PORT  ORIGINAL            CONNECTIONS\n"
            "3      Keys  source  a_    K\xC3\xB6ln \\xE2\\x80\\xAEx  -\n"
            "3      Keys  source  b     Z\\xC3               -\n");
  EXPECT_EQ(topologyText(topology, links, originals, Ascii),
            "GROUP  NAME  SIDE    PORT  ORIGINAL                   CONNECTIONS\n"
            "3      Keys  source  a_    K\\xC3\\xB6ln \\xE2\\x80\\xAEx  -\n"
            "3      Keys  source  b     Z\\xC3                      -\n");
}

TEST(TopologyText, PortsThatHaveGoneAreLeftOut) {
  wire::Topology topology = sample();
  topology.groups[1].sinks->names[0].clear();
  topology.groups[1].sinks->removeUnnamed();
  EXPECT_EQ(topologyText({{topology.groups[1]}}, {}, SampleOriginals, Ascii),
            "GROUP  NAME  SIDE  PORT   ORIGINAL  CONNECTIONS\n"
            "65535  Rack  sink  Right  20:1 R    -\n");
}

TEST(TopologyJson, HasOriginalNames) {
  wire::Topology topology{{sample().groups[1], sample().groups[2]}};
  topology.groups[0].sinks->names[1].clear();
  topology.groups[0].sinks->removeUnnamed();
  EXPECT_EQ(nlohmann::json::parse(topologyJson(topology, {}, SampleOriginals)), nlohmann::json::parse(R"({
    "groups": [
      {"id": 65535, "name": "Rack", "original": "Rack 19", "sources": null, "original_sources": null,
       "sinks": ["Left"], "original_sinks": ["20:0 L\uFFFD"]},
      {"id": 7, "name": "Bare", "sources": null, "sinks": null}],
    "connections": []})"));
}

}  // namespace
}  // namespace streamctl
