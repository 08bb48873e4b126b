// Reads what arrives from the sequencer before the kernel has to drop it.
#pragma once

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/drivers/alsa/client.h"
#include "platform/drivers/alsa/event_queue.h"
#include "platform/system/event_descriptor.h"

namespace drivers::alsa {

// A client with one port to which sources are subscribed, and a thread that only reads its events into a queue. If the
// kernel's event pool for the client fills up, the kernel drops all of it. So the pool is as large as the kernel
// allows, and the thread reads it whatever the service is doing.
class Input {
 public:
  // mostBytes: how many bytes may wait in the queue. Throws SequencerError or std::system_error.
  explicit Input(std::size_t mostBytes);
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input();

  const Client& client() const { return client_; }
  Address port() const { return port_; }

  // Readable when there is something to take.
  int descriptor() const { return wakeup_.descriptor(); }

  // Removes and returns what is in the queue.
  std::vector<QueuedEvent> take();

  // Reads what the kernel holds now into the queue. Blocks while the thread itself reads, a few thousand events at
  // most.
  void catchUp();

 private:
  bool readSome();
  void run();

  Client client_;
  Address port_;
  EventQueue queue_;
  sys::EventDescriptor wakeup_;
  sys::EventDescriptor stop_;
  std::mutex reading_;
  std::atomic<bool> wanted_ = false;  // the service waits for the mutex
  std::thread thread_;
};

}  // namespace drivers::alsa
