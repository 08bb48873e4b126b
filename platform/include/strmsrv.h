// Stream server client: names, MIDI ports and the patcher.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "evtsrv.h"

namespace StrmSrv {

// The result of an operation of the stream layer.
enum StreamResult : std::int32_t {
  StrmRes_Success = 0,
  StrmRes_NotFound = 1,     // no such port
  StrmRes_NoService = 2,    // there is no service, or it did not answer in time
  StrmRes_Refused = 3,      // the device does not make this connection
  StrmRes_BadArgument = 4,  // an empty message, or one of more than 1 MiB
};

// Names of the three stream types, in the order of their indexes. Only the first has streams.
extern const std::array<const char*, 3> StreamTypeNameTable;

// Names of the groups with the ids 0 to 41. Reading and publishing may happen on different threads at once.
class GroupNames {
 public:
  static constexpr std::size_t Count = 42;

  // Returns the name of the group with this id; empty if there is none. id must be below Count. The text lives as long
  // as the process.
  const char* operator[](std::size_t id) const noexcept;

  // For the library: sets the name of an id, before the first group list that contains the id; an empty name when no
  // list contains it any more.
  void publish(std::size_t id, const std::string& name);

 private:
  std::array<std::atomic<const char*>, Count> names_{};
};

extern GroupNames GroupNameTable;

// A port for streams of any type.
class StreamPort : public EvtSrv::EventPort {
 public:
  explicit StreamPort(EvtSrv::EventPortManager& manager) : EventPort(manager) {}
};

// A port for MIDI streams. A status byte carries no channel here: the group id takes its place.
//
// The send operations pass a message through every device port that this port taps: at a source as if that source had
// emitted it, at a sink as if it had arrived there. They block only while the service is late in processing messages,
// and fail at once if the service is known to be gone. Thread-safe.
class StreamPortMIDI : public StreamPort {
 public:
  explicit StreamPortMIDI(EvtSrv::EventPortManager& manager) : StreamPort(manager) {}

  StreamResult sendNoteOff(std::uint8_t note, std::uint8_t velocity, std::uint16_t group);
  StreamResult sendNoteOn(std::uint8_t note, std::uint8_t velocity, std::uint16_t group);
  StreamResult sendPolyAfter(std::uint8_t note, std::uint8_t value, std::uint16_t group);
  StreamResult sendControlChange(std::uint8_t number, std::uint8_t value, std::uint16_t group);
  // Sends a program change with this number. second and third are the bank (control changes 0 and 32) of devices that
  // select it together with the program. This library's devices do not: it sends only the number.
  StreamResult sendProgramChange(std::uint8_t number, std::uint8_t second, std::uint8_t third, std::uint16_t group);
  StreamResult sendAfterTouch(std::uint8_t value, std::uint16_t group);
  StreamResult sendPitchBend(std::uint8_t lsb, std::uint8_t msb, std::uint16_t group);
  // bytes: the whole message, 0xF0 and 0xF7 included.
  StreamResult sendSystemExclusive(const std::uint8_t* bytes, std::size_t length, std::uint16_t group);

  // Decodes the messages of a debug-receive event and calls the receivers below. Skips a message that is too short for
  // its kind, or has a status byte of no kind. Delivers nothing after a malformed record. In both cases it returns
  // EvtRes_UnknownError at the end.
  EvtSrv::EventResult receiveMain(const char* name, unsigned type, EvtSrv::MemoryHolder* data,
                                  EvtSrv::MemoryHolder* reply) override;

  // Receivers of decoded messages. The bodies here do nothing.
  virtual void receiveNoteOff(std::uint8_t note, std::uint8_t velocity, std::uint16_t group);
  virtual void receiveNoteOn(std::uint8_t note, std::uint8_t velocity, std::uint16_t group);
  virtual void receivePolyAfter(std::uint8_t note, std::uint8_t value, std::uint16_t group);
  virtual void receiveControlChange(std::uint8_t number, std::uint8_t value, std::uint16_t group);
  virtual void receiveProgramChange(std::uint8_t number, std::uint16_t group);
  virtual void receiveAfterTouch(std::uint8_t value, std::uint16_t group);
  virtual void receivePitchBend(std::uint8_t lsb, std::uint8_t msb, std::uint16_t group);
  virtual void receiveSystemExclusive(const std::uint8_t* bytes, std::size_t length, std::uint16_t group);
  virtual void receiveSystemCommon(const std::uint8_t* bytes, std::size_t length, std::uint16_t group);
  virtual void receiveRealTimeMessage(std::uint8_t status, std::uint16_t group);
  virtual void receiveMetaEvent(const std::uint8_t* bytes, std::size_t length, std::uint16_t group);

  // Callbacks with the name of the port that a message came from, for classes that decode events themselves in
  // receiveMain. The library calls none of them; the bodies here do nothing.
  virtual void handleErrorData(const char* name, const std::uint8_t* bytes, std::size_t length, std::uint16_t group);
  virtual void handleNoteOff(const char* name, std::uint8_t note, std::uint8_t velocity, std::uint16_t group);
  virtual void handleNoteOn(const char* name, std::uint8_t note, std::uint8_t velocity, std::uint16_t group);
  virtual void handlePolyAfter(const char* name, std::uint8_t note, std::uint8_t value, std::uint16_t group);
  virtual void handleControlChange(const char* name, std::uint8_t number, std::uint8_t value, std::uint16_t group);
  virtual void handleProgramChange(const char* name, std::uint8_t number, std::uint16_t group);
  virtual void handleAfterTouch(const char* name, std::uint8_t value, std::uint16_t group);
  virtual void handlePitchBend(const char* name, std::uint8_t lsb, std::uint8_t msb, std::uint16_t group);
  virtual void handleSystemExclusive(const char* name, const std::uint8_t* bytes, std::size_t length,
                                     std::uint16_t group);
  virtual void handleSystemCommon(const char* name, const std::uint8_t* bytes, std::size_t length, std::uint16_t group);
  virtual void handleRealTimeMessage(const char* name, std::uint8_t status, std::uint16_t group);
  virtual void handleMetaEvent(const char* name, const std::uint8_t* bytes, std::size_t length, std::uint16_t group);

 private:
  StreamResult sendMessage(std::span<const std::uint8_t> bytes, std::uint16_t group);
};

// One group on one side of the device.
struct GroupRecord {
  std::uint16_t groupId;
  std::uint16_t portCount;
  friend bool operator==(const GroupRecord&, const GroupRecord&) = default;
};

// The port at the other end of a connection.
struct PortRecord {
  std::uint16_t groupId;
  std::uint16_t portIndex;
  friend bool operator==(const PortRecord&, const PortRecord&) = default;
};

// Reads and changes the connections of the device. For any thread, one at a time per patcher.
class Patcher {
 public:
  // Takes a snapshot of the device's groups, in the device's order. streamType: the index of the stream type to patch.
  // Blocks until the service has answered, two seconds at most; without a service both lists are empty.
  Patcher(EvtSrv::EventPortManager& manager, unsigned streamType);
  Patcher(const Patcher&) = delete;
  Patcher& operator=(const Patcher&) = delete;
  virtual ~Patcher();

  // The groups that existed on each side when the patcher was created. A group may have no ports.
  const std::vector<GroupRecord>& sourceGroups() const noexcept;
  const std::vector<GroupRecord>& sinkGroups() const noexcept;

  // Connects a source port to a sink port, or removes the connection, for all clients. Connecting a connected pair is a
  // success and changes nothing; disconnecting an unconnected pair is StrmRes_NotFound. May send the service several
  // requests; blocks until it has answered, two seconds at most for each. After StrmRes_NoService the change does not
  // happen later: a service that was late does nothing, and what it did at the last moment is taken back with the next
  // call or while the manager receives events.
  StreamResult connect(std::uint16_t sourceGroup, std::uint16_t sourcePort, std::uint16_t sinkGroup,
                       std::uint16_t sinkPort);
  StreamResult disconnect(std::uint16_t sourceGroup, std::uint16_t sourcePort, std::uint16_t sinkGroup,
                          std::uint16_t sinkPort);

  // Replaces result with the sources connected to a sink port, or the sinks connected to a source port, in the order of
  // creation; empty if the port has none or no longer exists. Both read a mirror that contains this client's own
  // changes at once. If the last update is more than 50 microseconds ago, they first apply the changes that have
  // arrived, without blocking. Only the first call on a manager, and the first after more changes than the service
  // keeps for one client, ask the service and block until it has answered, two seconds at most.
  StreamResult getConnectSourcePorts(std::uint16_t sinkGroup, std::uint16_t sinkPort, std::vector<PortRecord>& result);
  StreamResult getConnectSinkPorts(std::uint16_t sourceGroup, std::uint16_t sourcePort,
                                   std::vector<PortRecord>& result);

  // Returns a number that stays the same only while getConnectSourcePorts, getConnectSinkPorts and makeStreamPortName
  // return the same. It changes as soon as connections, or the names of connected ports, may have changed, or the
  // service is gone or back. Reads the mirror like the operations above, and blocks when they would. Later changes show
  // in the next call.
  std::uint64_t version();

  // Returns the name of a port. sink is 0 for a source port, 1 for a sink port. For a port that does not exist, returns
  // a name in the same style that no port has. streamType is ignored: only one type has streams.
  std::string makeStreamPortName(unsigned streamType, std::uint16_t group, std::uint16_t port, int sink) const;

  // For libraries that report added and removed groups and ports. This library writes a line to standard error instead:
  // it calls none of these, and the bodies here do nothing.
  virtual void notifyAddGroup(std::uint16_t group);
  virtual void notifyAddPort(std::uint16_t group, std::uint16_t port, int sink);
  virtual void notifyRemoveGroup(std::uint16_t group);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace StrmSrv
