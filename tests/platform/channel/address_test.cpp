#include "platform/channel/address.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

namespace channel {
namespace {

using Parsed = std::variant<Address, std::string>;

struct Row {
  std::string text;
  Address address;
};

const std::vector<Row> Table = {
    {"embedded:", {Transport::Embedded, ""}},
    {"embedded:box.toml", {Transport::Embedded, "box.toml"}},
    {"embedded:./jack", {Transport::Embedded, "./jack"}},
    {"embedded:jack", {Transport::Embedded, "jack"}},
    {"embedded:alsa", {Transport::Embedded, "alsa"}},
    {"embedded:/a b/c", {Transport::Embedded, "/a b/c"}},
    {"embedded:jack2", {Transport::Embedded, "jack2"}},
    {"ipc:///run/a b", {Transport::Local, "/run/a b"}},
    {"ipc://here", {Transport::Local, "here"}},
    {"tcp://host:5", {Transport::Network, "host:5"}},
    {"tcp://", {Transport::Network, ""}},
};

TEST(Address, TextNamesTransportAndPlace) {
  for (const auto& [text, address] : Table) EXPECT_EQ(parseAddress(text), Parsed(address)) << text;
}

TEST(Address, TextOfAnAddressIsTheOneItWasReadFrom) {
  for (const auto& [text, address] : Table) EXPECT_EQ(address.text(), text);
}

TEST(Address, OtherTextsAreRefusedWithACause) {
  for (const char* text :
       {"", "ipc://", "ipc:/path", "embedded", "EMBEDDED:", " embedded:", "inproc://service", "nonsense", "/path"}) {
    const auto parsed = parseAddress(text);
    const auto* cause = std::get_if<std::string>(&parsed);
    ASSERT_NE(cause, nullptr) << text;
    EXPECT_FALSE(cause->empty()) << text;
  }
}

TEST(Address, LineAboutAnAddressIsPrintable) {
  EXPECT_EQ(addressLine("nonsense", "no such thing"), "nonsense: no such thing");
  EXPECT_EQ(addressLine("embedded:a\x1b[31m\nb\x7f\xc3\xc3", "c\td"),
            "embedded:a\\x1B[31m\\x0Ab\\x7F\\xC3\\xC3: c\\x09d");
}

}  // namespace
}  // namespace channel
