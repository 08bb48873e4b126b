// A dispatcher whose peers are written down.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/host/dispatcher.h"
#include "tests/platform/host/message_text.h"
#include "tests/platform/service/device.h"

namespace host {

using device::Time;
using service::Bytes;
using Texts = std::vector<std::string>;

inline constexpr std::uint32_t EventPort = 1;
inline constexpr std::uint32_t HolderBytes = 1004;

// Connections that a test calls by names.
class RecordingConnections : public Connections {
 public:
  void send(ConnectionId to, std::span<const std::uint8_t> message) override {
    order.push_back(nameOf(to));
    sent_[order.back()].emplace_back(message.begin(), message.end());
  }

  void continueLater(ConnectionId connection) override { continuing.push_back(nameOf(connection)); }

  void endAfterReading(ConnectionId connection) override { ended.push_back(nameOf(connection)); }

  PeerIdentity identity(ConnectionId connection) const override {
    const auto found = identities.find(nameOf(connection));
    return found == identities.end() ? PeerIdentity{1000, 5, "test"} : found->second;
  }

  void disconnect(ConnectionId connection) override { disconnected.push_back(nameOf(connection)); }

  std::optional<ConnectionId> heaviestOf(std::uint32_t user) override {
    const auto found = heavy.find(user);
    if (found == heavy.end() || found->second.empty()) return std::nullopt;
    const std::string peer = found->second.front();
    found->second.erase(found->second.begin());
    return of(peer);
  }

  ConnectionId of(const std::string& peer) {
    const auto known = std::ranges::find(names_, peer);
    const auto index = known - names_.begin();
    if (known == names_.end()) names_.push_back(peer);
    return ConnectionId{static_cast<std::uint64_t>(index) + 1};
  }

  // What was sent to a peer since the last time it was asked.
  std::vector<Bytes> take(const std::string& peer) { return std::exchange(sent_[peer], {}); }

  Texts texts(const std::string& peer) {
    Texts texts;
    for (const Bytes& message : take(peer)) texts.push_back(messageText(message));
    return texts;
  }

  Texts order;       // who was sent something, message by message
  Texts continuing;  // which are to continue
  Texts ended;       // which are to end once they are read
  Texts disconnected;
  std::map<std::uint32_t, Texts> heavy;            // of each user, largest first
  std::map<std::string, PeerIdentity> identities;  // of those that are not user 1000's process 5, "test"

 private:
  const std::string& nameOf(ConnectionId connection) const {
    return names_.at(static_cast<std::size_t>(connection) - 1);
  }

  Texts names_;
  std::map<std::string, std::vector<Bytes>> sent_;
};

class DispatcherTest : public testing::Test {
 protected:
  // Two groups with two sources and two sinks each; the smallest windows.
  explicit DispatcherTest(Settings settings = {
                              .service = {}, .eventWindow = 0, .sendWindow = 8, .graphWindow = 0, .firstHandle = 0}) {
    auto device =
        std::make_unique<service::TestDevice>(service::evenTopology(2, 2), std::vector<device::Link>{}, told_);
    device_ = device.get();
    service_ = std::make_unique<service::Service>(std::move(device), settings.service, Time(0));
    dispatcher_ = std::make_unique<Dispatcher>(*service_, peers_, settings,
                                               [this](std::string_view line) { log_.emplace_back(line); });
  }

  void say(const std::string& peer, std::uint32_t tag, const wire::Body& body) { say(peer, wire::encode(tag, body)); }
  void say(const std::string& peer, const Bytes& bytes) {
    while (!receive(peer, bytes).all) dispatcher_->advance(Time(1));
    // A long answer begins when nobody else has anything to say.
    if (std::erase(peers_.continuing, peer) > 0) dispatcher_->continued(peers_.of(peer));
  }

  // Once, as a server does in each turn.
  Handled receive(const std::string& peer, const Bytes& bytes) {
    return dispatcher_->receive(peers_.of(peer), bytes, Time(1));
  }

  void hangUp(const std::string& peer) { dispatcher_->connectionClosed(peers_.of(peer), Time(1)); }

  wire::Welcome welcome(const std::string& peer) {
    say(peer, 1, wire::Hello{});
    const auto answers = peers_.take(peer);
    if (answers.size() != 1) return {};
    const auto envelope = wire::decode(answers[0]);
    return std::get<wire::Welcome>(envelope->body);
  }
  std::uint64_t hello(const std::string& peer) { return welcome(peer).session; }

  // A client with all channels, called after its peers: "a control", "a events", "a graph".
  std::uint64_t attach(const std::string& name) {
    const auto [session, window, token] = welcome(name + " control");
    tokens_[session] = token;
    say(name + " events", 1, wire::OpenEvents{session, token});
    say(name + " graph", 1, wire::OpenGraph{session, token});
    peers_.take(name + " events");
    peers_.take(name + " graph");
    return session;
  }

  void tap(const std::string& client, std::uint64_t session, const std::string& port) {
    say(client + " control", 2, wire::Tap{session, EventPort, HolderBytes, port});
    EXPECT_EQ(peers_.texts(client + " control"), Texts{"2: ok at 0"});
  }

  wire::Send note(std::uint64_t session, std::uint8_t number) { return {session, EventPort, 0, {0x90, number, 0x40}}; }

  std::map<std::uint64_t, wire::Token> tokens_;  // by session
  service::Told told_;
  service::TestDevice* device_ = nullptr;
  std::unique_ptr<service::Service> service_;
  RecordingConnections peers_;
  Texts log_;
  std::unique_ptr<Dispatcher> dispatcher_;
};

}  // namespace host
