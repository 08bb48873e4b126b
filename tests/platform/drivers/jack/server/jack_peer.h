// A client of JACK's as others write them.
#pragma once

#include <jack/types.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace drivers::jack {

using JackEvent = std::vector<std::uint8_t>;

// Emits given events, as many in a period as have room, and collects what arrives. Ports are called by their short
// names. Must be gone before a server is started again: a process can speak to one server at a time.
class JackPeer {
 public:
  // Throws std::runtime_error when there is no server.
  JackPeer(const std::string& name, const std::vector<std::string>& sources, const std::vector<std::string>& sinks);
  JackPeer(const JackPeer&) = delete;
  JackPeer& operator=(const JackPeer&) = delete;
  ~JackPeer();

  // Emits these events, one after the other, the first in the next period, from each of these sources. Comes back when
  // all have been written.
  void emit(const std::vector<std::string>& sources, const std::vector<JackEvent>& events);
  void emit(const std::string& source, const std::vector<JackEvent>& events);

  // The same, but in one period, whether they have room or not.
  void emitAtOnce(const std::string& source, const std::vector<JackEvent>& events);

  // What has arrived since it was last asked.
  std::vector<JackEvent> arrived(const std::string& sink);

  // Waits until so many bytes have arrived, since arrived was last asked, or for some seconds.
  void awaitBytes(const std::string& sink, std::size_t bytes);

  // How often JACK has gone on without this client, because it or the server was late: what it sends or gets then, JACK
  // loses or brings twice.
  std::uint32_t late() const { return late_.load(); }

  // Is late for so long. JACK goes on without it, and without the clients that read from its sources.
  void holdUp(std::chrono::milliseconds time);

  void addSource(const std::string& name);
  void removeSource(const std::string& name);
  void renameSource(const std::string& from, const std::string& to);

 private:
  struct Source {
    jack_port_t* port = nullptr;
    std::vector<JackEvent> events;
    std::size_t next = 0;
    bool heedsRoom = true;
  };
  struct Sink {
    jack_port_t* port = nullptr;
    std::vector<JackEvent> events;
    std::size_t bytes = 0;
  };

  void process(jack_nframes_t frames);
  void emit(const std::vector<std::string>& sources, const std::vector<JackEvent>& events, bool heedsRoom);

  jack_client_t* client_ = nullptr;
  std::mutex mutex_;  // a test may lock where a program would not
  std::map<std::string, Source> sources_;
  std::map<std::string, Sink> sinks_;
  std::optional<jack_nframes_t> next_;  // when the next period is to begin
  std::atomic<std::uint32_t> late_{0};
};

}  // namespace drivers::jack
