// Songs that are played into a service at the same time.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "platform/channel/connector.h"
#include "platform/channel/control_channel.h"
#include "platform/midi/player.h"
#include "platform/midi/smf_file.h"

namespace bench {

// Each song loops through a port of its own, at a multiple of its speed. A message has the group id that counts the
// messages of its port, modulo 65536, in place of its channel.
class SongPlayers {
 public:
  // The source with this index, from 0 on, of a group named Song.
  static std::string portOf(std::size_t song) { return "SongOut" + std::to_string(song + 1); }

  // Connects to the service. Throws if there is none, or if a file is no song.
  SongPlayers(const std::string& socket, const std::vector<std::filesystem::path>& songs, double speed)
      : control_(channel::Connector::toLocalSocket(socket)), sent_(songs.size()) {
    if (!control_.greet(soon())) throw std::runtime_error(control_.whyNotGreeted());
    for (const auto& song : songs) {
      auto score = midi::loadSmf(song);
      if (const auto* cause = std::get_if<std::string>(&score)) throw std::runtime_error(song.string() + ": " + *cause);
      players_.push_back(midi::makePlayer({std::get<midi::Score>(std::move(score)), true, speed}));
    }
  }
  SongPlayers(const SongPlayers&) = delete;
  SongPlayers& operator=(const SongPlayers&) = delete;
  ~SongPlayers() {
    stopping_ = true;
    if (thread_.joinable()) thread_.join();
  }

  // Must not be called while the songs play.
  wire::Stats stats() {
    auto stats = control_.ask<wire::Stats>(wire::AskStats{control_.session()});
    if (!stats) throw std::runtime_error("no statistics");
    return std::move(*stats);
  }

  void start() {
    thread_ = std::thread([this] { play(); });
  }

  // Waits until the service has taken everything. Throws if it has not.
  void stop() {
    stopping_ = true;
    thread_.join();
    if (failed_ || !control_.finish() || control_.refusal()) throw std::runtime_error("the service takes no messages");
  }

  // False if the service takes no messages.
  bool playing() const { return !failed_; }

  std::uint64_t sent() const { return total_; }

  // How many messages each port has sent. Must not be called while the songs play.
  const std::vector<std::uint64_t>& sentByPort() const { return sent_; }

 private:
  static channel::Deadline soon() { return channel::Deadline(channel::AnswerTime); }

  void play() {
    constexpr std::chrono::milliseconds Tick{1};
    for (const auto& player : players_) player->start(channel::clockNow());
    auto tick = std::chrono::steady_clock::now();
    while (!stopping_ && !failed_) {
      tick = std::max(tick + Tick, std::chrono::steady_clock::now());
      std::this_thread::sleep_until(tick);
      const device::Time now = channel::clockNow();
      for (std::size_t song = 0; song < players_.size(); ++song) playDue(song, now);
    }
  }

  void playDue(std::size_t song, device::Time now) {
    // A frame has room for more than this.
    constexpr std::size_t MostMessages = 512;
    std::vector<wire::InjectItem> due;
    while (due.size() < MostMessages) {
      const auto message = players_[song]->next(now);
      if (!message) break;
      due.push_back({static_cast<std::uint16_t>(sent_[song]++), {message->bytes.begin(), message->bytes.end()}});
    }
    if (due.empty()) return;
    total_ += due.size();
    if (!control_.inject(portOf(song), std::move(due)) || control_.refusal()) failed_ = true;
  }

  channel::ControlChannel control_;
  std::vector<std::unique_ptr<midi::Player>> players_;
  std::vector<std::uint64_t> sent_;
  std::atomic<std::uint64_t> total_{0};
  std::atomic<bool> stopping_{false};
  std::atomic<bool> failed_{false};
  std::thread thread_;
};

}  // namespace bench
