#include "platform/client/endpoint.h"

#include <gtest/gtest.h>

#include "evtsrv.h"

namespace client {
namespace {

TEST(Endpoint, EmbeddedOnesNameTheirFile) {
  const std::vector<std::pair<std::string, std::string>> table = {
      {"", ""},
      {"embedded:", ""},
      {"embedded:box.toml", "box.toml"},
      {"embedded:./jack", "./jack"},
      {"embedded:/a b/c", "/a b/c"},
      {"embedded:jack2", "jack2"},
  };
  for (const auto& [text, file] : table) {
    EXPECT_EQ(parseEndpoint(text, EvtSrv::ConBehave_Default), Endpoint(EmbeddedEndpoint{file})) << text;
  }
}

TEST(Endpoint, AllOthersHaveCause) {
  for (const char* text : {"ipc:///path", "tcp://host:5", "embedded:jack", "embedded:alsa", "embedded",
                           "EMBEDDED:", " embedded:", "inproc://service", "nonsense", "/path"}) {
    for (const std::uint32_t behaviour : {EvtSrv::ConBehave_Void, EvtSrv::ConBehave_Default}) {
      const Endpoint endpoint = parseEndpoint(text, behaviour);
      const auto* none = std::get_if<NoEndpoint>(&endpoint);
      ASSERT_NE(none, nullptr) << text;
      EXPECT_FALSE(none->cause.empty()) << text;
    }
  }
}

TEST(Endpoint, ProblemIsOnePrintableLine) {
  EXPECT_EQ(problemLine("nonsense", "no such thing"), "evtsrv: nonsense: no such thing");
  EXPECT_EQ(problemLine("", "no such thing"), "evtsrv: embedded:: no such thing");
  EXPECT_EQ(problemLine("embedded:a\x1b[31m\nb\x7f\xc3\xa4", "c\td"), "evtsrv: embedded:a?[31m?b???: c?d");
}

TEST(Endpoint, NetworkIsRefusedByBehaviour) {
  EXPECT_NE(parseEndpoint("tcp://host:5", EvtSrv::ConBehave_Default),
            parseEndpoint("tcp://host:5", EvtSrv::ConBehave_Void));
  EXPECT_EQ(parseEndpoint("ipc:///path", EvtSrv::ConBehave_Default),
            parseEndpoint("ipc:///path", EvtSrv::ConBehave_Void));
}

}  // namespace
}  // namespace client
