#include "tests/platform/drivers/jack/server/jack_peer.h"

#include <jack/jack.h>
#include <jack/midiport.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

#include "platform/drivers/jack/uncancelled.h"
#include "tests/support/deadline.h"

namespace drivers::jack {
namespace {

using namespace std::chrono_literals;

constexpr auto Patience = 5s;

}  // namespace

JackPeer::JackPeer(const std::string& name, const std::vector<std::string>& sources,
                   const std::vector<std::string>& sinks)
    : client_(
          jack_client_open(name.c_str(), static_cast<jack_options_t>(JackNoStartServer | JackUseExactName), nullptr)) {
  if (client_ == nullptr) throw std::runtime_error("JACK takes no client " + name);
  for (const std::string& source : sources) addSource(source);
  for (const std::string& sink : sinks) {
    sinks_[sink].port = jack_port_register(client_, sink.c_str(), JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
  }
  jack_set_process_callback(
      client_,
      [](jack_nframes_t frames, void* self) {
        uncancelled([=] { static_cast<JackPeer*>(self)->process(frames); });
        return 0;
      },
      this);
  if (jack_activate(client_) != 0) throw std::runtime_error("JACK does not let " + name + " become active");
}

JackPeer::~JackPeer() { jack_client_close(client_); }

void JackPeer::process(jack_nframes_t frames) {
  const std::lock_guard lock(mutex_);
  const jack_nframes_t begin = jack_last_frame_time(client_);
  if (begin != next_.value_or(begin)) ++late_;
  next_ = begin + frames;
  for (auto& [name, source] : sources_) {
    void* buffer = jack_port_get_buffer(source.port, frames);
    jack_midi_clear_buffer(buffer);
    for (; source.next < source.events.size(); ++source.next) {
      const JackEvent& event = source.events[source.next];
      if (source.heedsRoom && jack_midi_max_event_size(buffer) < event.size()) break;
      jack_midi_event_write(buffer, 0, event.data(), event.size());
    }
  }
  for (auto& [name, sink] : sinks_) {
    void* buffer = jack_port_get_buffer(sink.port, frames);
    const std::uint32_t count = jack_midi_get_event_count(buffer);
    for (std::uint32_t at = 0; at < count; ++at) {
      jack_midi_event_t event;
      jack_midi_event_get(&event, buffer, at);
      sink.events.emplace_back(event.buffer, event.buffer + event.size);
      sink.bytes += event.size;
    }
  }
  if (jack_last_frame_time(client_) != begin) ++late_;
}

void JackPeer::emit(const std::vector<std::string>& sources, const std::vector<JackEvent>& events) {
  emit(sources, events, true);
}

void JackPeer::emit(const std::string& source, const std::vector<JackEvent>& events) { emit({source}, events, true); }

void JackPeer::emitAtOnce(const std::string& source, const std::vector<JackEvent>& events) {
  emit({source}, events, false);
}

void JackPeer::emit(const std::vector<std::string>& sources, const std::vector<JackEvent>& events, bool heedsRoom) {
  {
    const std::lock_guard lock(mutex_);
    for (const std::string& source : sources) {
      sources_.at(source).events = events;
      sources_.at(source).next = 0;
      sources_.at(source).heedsRoom = heedsRoom;
    }
  }
  const testsupport::Deadline deadline(Patience);
  while (!deadline.passed()) {
    std::this_thread::sleep_for(1ms);
    const std::lock_guard lock(mutex_);
    if (std::ranges::all_of(sources, [&](const auto& source) { return sources_.at(source).next == events.size(); })) {
      return;
    }
  }
  throw std::runtime_error("the peer's events do not go out");
}

std::vector<JackEvent> JackPeer::arrived(const std::string& sink) {
  const std::lock_guard lock(mutex_);
  sinks_.at(sink).bytes = 0;
  return std::exchange(sinks_.at(sink).events, {});
}

void JackPeer::awaitBytes(const std::string& sink, std::size_t bytes) {
  const testsupport::Deadline deadline(Patience);
  while (!deadline.passed()) {
    {
      const std::lock_guard lock(mutex_);
      if (sinks_.at(sink).bytes >= bytes) return;
    }
    std::this_thread::sleep_for(1ms);
  }
}

void JackPeer::holdUp(std::chrono::milliseconds time) {
  const std::lock_guard lock(mutex_);
  std::this_thread::sleep_for(time);
}

void JackPeer::addSource(const std::string& name) {
  jack_port_t* port = jack_port_register(client_, name.c_str(), JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
  const std::lock_guard lock(mutex_);
  sources_[name].port = port;
}

void JackPeer::removeSource(const std::string& name) {
  jack_port_t* port = nullptr;
  {
    const std::lock_guard lock(mutex_);
    port = sources_.at(name).port;
    sources_.erase(name);
  }
  jack_port_unregister(client_, port);
}

void JackPeer::renameSource(const std::string& from, const std::string& to) {
  jack_port_rename(client_, sources_.at(from).port, to.c_str());
  const std::lock_guard lock(mutex_);
  sources_[to] = sources_.at(from);
  sources_.erase(from);
}

}  // namespace drivers::jack
