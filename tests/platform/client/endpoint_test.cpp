#include "platform/client/endpoint.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "evtsrv.h"

namespace client {
namespace {

TEST(Endpoint, EmbeddedNamesItsFile) {
  const std::vector<std::pair<std::string, std::string>> table = {
      {"embedded:", ""},           {"embedded:box.toml", "box.toml"}, {"embedded:./jack", "./jack"},
      {"embedded:jack", "jack"},   {"embedded:alsa", "alsa"},         {"embedded:/a b/c", "/a b/c"},
      {"embedded:jack2", "jack2"},
  };
  for (const auto& [text, file] : table) {
    EXPECT_EQ(parseEndpoint(text, EvtSrv::ConBehave_Default), Endpoint(EmbeddedEndpoint{file})) << text;
  }
}

TEST(Endpoint, LocalNamesItsSocket) {
  EXPECT_EQ(parseEndpoint("ipc:///run/a b", EvtSrv::ConBehave_Default), Endpoint(LocalEndpoint{"/run/a b"}));
  EXPECT_EQ(parseEndpoint("ipc://here", EvtSrv::ConBehave_Void), Endpoint(LocalEndpoint{"here"}));
}

TEST(Endpoint, UnsetIsTheWellKnownSocketThenWhatThisMachineHas) {
  const char* before = std::getenv("XDG_RUNTIME_DIR");
  const std::string folder = before == nullptr ? "" : before;
  setenv("XDG_RUNTIME_DIR", "/run/user/7", 1);
  EXPECT_EQ(endpointsWhenUnset(), (std::vector<std::string>{"ipc:///run/user/7/streamd/socket", "embedded:alsa",
                                                            "embedded:jack", "embedded:"}));
  const std::vector<std::string> ofTheSystem{"ipc:///run/streamd/socket", "embedded:alsa", "embedded:jack",
                                             "embedded:"};
  setenv("XDG_RUNTIME_DIR", "", 1);
  EXPECT_EQ(endpointsWhenUnset(), ofTheSystem);
  unsetenv("XDG_RUNTIME_DIR");
  EXPECT_EQ(endpointsWhenUnset(), ofTheSystem);
  if (before != nullptr) setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
}

TEST(Endpoint, OtherTextsAreRefusedWithACause) {
  for (const char* text : {"", "ipc://", "ipc:/path", "tcp://host:5", "embedded",
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
  EXPECT_EQ(endpointLine("nonsense", "no such thing"), "nonsense: no such thing");
  EXPECT_EQ(endpointLine("embedded:a\x1b[31m\nb\x7f\xc3\xc3", "c\td"),
            "embedded:a\\x1B[31m\\x0Ab\\x7F\\xC3\\xC3: c\\x09d");
}

TEST(Endpoint, NetworkIsRefusedByBehaviour) {
  EXPECT_NE(parseEndpoint("tcp://host:5", EvtSrv::ConBehave_Default),
            parseEndpoint("tcp://host:5", EvtSrv::ConBehave_Void));
  EXPECT_EQ(parseEndpoint("ipc:///path", EvtSrv::ConBehave_Default),
            parseEndpoint("ipc:///path", EvtSrv::ConBehave_Void));
}

}  // namespace
}  // namespace client
