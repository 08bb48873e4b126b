// Event server client: the connection of a process to its service, event ports, and the data of events.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace EvtSrv {

// The result of an operation of the event layer.
enum EventResult : std::int32_t {
  EvtRes_Success = 0,
  EvtRes_DoNothing = 1,     // there was nothing to do, and nothing was done
  EvtRes_UnknownError = 2,  // malformed data, or a failure without a code of its own
  EvtRes_NotFound = 3,      // no port of the device has that name
  EvtRes_NoService = 4,     // there is no service, or it did not answer in time
  EvtRes_BadArgument = 5,   // a bad name or target; see each operation
};

// Connection behaviour: a set of bits.
inline constexpr std::uint32_t ConBehave_Void = 0;
// Refuses endpoints on other machines (tcp). This library refuses them without this bit, too.
inline constexpr std::uint32_t ConBehave_DisableOverNetwork = 0x1;
inline constexpr std::uint32_t ConBehave_Default = ConBehave_DisableOverNetwork;

// Types of events.
inline constexpr unsigned EvtTyp_Debug_Receive = 1;  // copies of the messages that passed a tapped port

// The service's debug port: as the target of EventPort::connect it asks for a tap.
extern const char* const DebugPortName;

// The data of one event with a read cursor, or an empty buffer that says how large an event may become.
//
// The first 20 bytes are a header (see docs/protocol.md). Its first byte is the sender's byte order: 1 for most
// significant byte first, anything else for little-endian. Records follow.
class MemoryHolder {
 public:
  static constexpr std::size_t HeaderSize = 20;

  // A zeroed buffer of size bytes, owned by the holder.
  explicit MemoryHolder(std::size_t size);

  // A view of the bytes of an event, header included. The bytes must outlive the holder.
  explicit MemoryHolder(std::span<const std::uint8_t> event) noexcept;

  MemoryHolder(const MemoryHolder&) = delete;
  MemoryHolder& operator=(const MemoryHolder&) = delete;

  // The first byte; never null unless size() is 0. Valid as long as the holder.
  const std::uint8_t* buffer() const noexcept { return bytes_.data(); }

  // Total size in bytes, header included.
  std::size_t size() const noexcept { return bytes_.size(); }

  // True if no byte is left after the cursor.
  bool atEnd() const noexcept { return cursor_ >= bytes_.size(); }

  // Returns a pointer to the next count bytes and skips them. If fewer are left, returns null and moves the cursor to
  // the end, so that a truncated record ends the reading. The pointer may be unaligned.
  const std::uint8_t* getCurrentOffset(std::size_t count) noexcept;

 private:
  std::vector<std::uint8_t> owned_;
  std::span<const std::uint8_t> bytes_;
  std::size_t cursor_ = 0;
};

class EventPort;

// The connection of this process to its service. The environment variable EVTSRV_ENDPOINT names the service (see
// flowscope(1)). If the service cannot be reached, one line goes to standard error; the manager then represents a
// device without groups, and every operation on its ports returns EvtRes_NoService. The operations return the same
// while a service of another process is gone, which also writes one line. When it is back, the taps of existing ports
// are made again at once, with one more line; the others when their port returns.
class EventPortManager {
 public:
  // behaviour: ConBehave bits. dispatchOnReceive: true delivers events to the ports inside receiveEvent, on its thread.
  // This library offers no other way, so false does the same. Blocks up to two seconds for each endpoint that it tries
  // whose service does not answer, plus up to five seconds to open JACK.
  EventPortManager(std::uint32_t behaviour, bool dispatchOnReceive);

  EventPortManager(const EventPortManager&) = delete;
  EventPortManager& operator=(const EventPortManager&) = delete;

  // Sends the service what still waits to be sent, then disconnects; blocks two seconds at most. Ports may outlive
  // their manager: they stay usable as objects and return EvtRes_NoService.
  ~EventPortManager();

  // Waits up to milliseconds for events and calls receiveMain of their ports, in the order of the events. Returns
  // EvtRes_Success if it delivered anything, else EvtRes_DoNothing. Continues without waiting while more events are
  // ready. Delivers none after the given time, except the first: a ready event is delivered however short the time. For
  // one thread at a time.
  EventResult receiveEvent(int milliseconds);

  // For libraries with pending operations; milliseconds limits the time that it may take. This library has none: it
  // does nothing and returns EvtRes_DoNothing.
  EventResult finishActiveTerm(int milliseconds);

  class Session;

  // The library's side of the connection, for the ports of this manager. Null without a service.
  const std::shared_ptr<Session>& session() const noexcept { return session_; }

 private:
  std::shared_ptr<Session> session_;
};

// A port of this process on the service. connect and disconnect are thread-safe. Destroy the port only while no
// receiveEvent of the manager runs, or on the thread that runs it.
class EventPort {
 public:
  explicit EventPort(EventPortManager& manager);
  EventPort(const EventPort&) = delete;
  EventPort& operator=(const EventPort&) = delete;

  // Ends all taps of this port.
  virtual ~EventPort();

  // Taps the device port called name: from then on this port receives, as EvtTyp_Debug_Receive, a copy of every message
  // that passes it. target is DebugPortName; any other target is EvtRes_BadArgument. request is not used and may be
  // null. reply sets the size in bytes up to which messages that are ready together share one event (null: 1004); a
  // longer message travels alone, whole. The holders are not kept. behaviour: ConBehave_Void. Repeating a tap is a
  // success and changes nothing. EvtRes_UnknownError: the device cannot receive from the port now. Blocks until the
  // service has answered, two seconds at most.
  EventResult connect(const char* name, const char* target, MemoryHolder* request, MemoryHolder* reply,
                      std::uint32_t behaviour);

  // Ends the tap of the device port called name; a null name ends all taps of this port. request is not used and may be
  // null. EvtRes_DoNothing if there was no such tap. Events in flight may still arrive.
  EventResult disconnect(const char* name, MemoryHolder* request);

  // Called inside EventPortManager::receiveEvent, on its thread, for each event for this port. name: the tapped device
  // port. data: the event, its cursor after the header. reply: null for debug-receive events. Pointers are valid for
  // the call. The library ignores the result.
  virtual EventResult receiveMain(const char* name, unsigned type, MemoryHolder* data, MemoryHolder* reply);

 protected:
  // The connection of this port; null if the manager was destroyed or never had a service.
  std::shared_ptr<EventPortManager::Session> session() const { return session_.lock(); }

  // The number of this port within its client, as the service knows it.
  std::uint32_t portNumber() const noexcept { return number_; }

 private:
  std::weak_ptr<EventPortManager::Session> session_;
  std::uint32_t number_ = 0;
};

}  // namespace EvtSrv
