#include "tests/traffic/recorded/recording_library.h"

namespace recording {

Library& library() {
  static Library instance;
  return instance;
}

void reset() { library() = Library(); }

namespace {

std::string shown(const char* name) { return name == nullptr ? "(null)" : name; }

std::string shown(std::uint16_t group, std::uint16_t port) {
  return std::to_string(group) + "." + std::to_string(port);
}

StrmSrv::StreamResult send(const std::string& kind, const std::vector<std::uint8_t>& values, std::uint16_t group) {
  std::string call = "send " + kind;
  for (const std::uint8_t value : values) call += " " + std::to_string(value);
  library().calls.push_back(call + " to " + std::to_string(group));
  return library().sendResult;
}

StrmSrv::StreamResult connected(const std::string& question,
                                const std::map<std::string, std::vector<StrmSrv::PortRecord>>& answers,
                                const std::string& port, std::vector<StrmSrv::PortRecord>& result) {
  library().calls.push_back(question + " " + port);
  const auto found = answers.find(port);
  result = found == answers.end() ? std::vector<StrmSrv::PortRecord>{} : found->second;
  return StrmSrv::StrmRes_Success;
}

}  // namespace

}  // namespace recording

namespace EvtSrv {

const char* const DebugPortName = "DebugPort";

class EventPortManager::Session {};

MemoryHolder::MemoryHolder(std::size_t size) : owned_(size), bytes_(owned_) {}
MemoryHolder::MemoryHolder(std::span<const std::uint8_t> event) noexcept : bytes_(event), cursor_(HeaderSize) {}

const std::uint8_t* MemoryHolder::getCurrentOffset(std::size_t count) noexcept {
  if (atEnd() || bytes_.size() - cursor_ < count) {
    cursor_ = bytes_.size();
    return nullptr;
  }
  const std::uint8_t* found = bytes_.data() + cursor_;
  cursor_ += count;
  return found;
}

EventPortManager::EventPortManager(std::uint32_t, bool) {}
EventPortManager::~EventPortManager() = default;
EventResult EventPortManager::receiveEvent(int) { return EvtRes_DoNothing; }
EventResult EventPortManager::finishActiveTerm(int) { return EvtRes_DoNothing; }

EventPort::EventPort(EventPortManager&) {}
EventPort::~EventPort() = default;

EventResult EventPort::connect(const char* name, const char* target, MemoryHolder* request, MemoryHolder* reply,
                               std::uint32_t behaviour) {
  recording::Library& library = recording::library();
  library.calls.push_back("connect " + recording::shown(name) + " " + recording::shown(target) + " " +
                          (request == nullptr ? "" : "request ") +
                          (reply == nullptr ? "none" : std::to_string(reply->size())) +
                          (behaviour == ConBehave_Void ? "" : " behaviour"));
  const auto result = library.connectResults.find(recording::shown(name));
  return result == library.connectResults.end() ? EvtRes_Success : result->second;
}

EventResult EventPort::disconnect(const char* name, MemoryHolder* request) {
  recording::library().calls.push_back("disconnect " + recording::shown(name) + (request == nullptr ? "" : " request"));
  return recording::library().disconnectResult;
}

EventResult EventPort::receiveMain(const char*, unsigned, MemoryHolder*, MemoryHolder*) { return EvtRes_Success; }

}  // namespace EvtSrv

namespace StrmSrv {

const std::array<const char*, 3> StreamTypeNameTable = {"Midi", "Audio", "Control"};
GroupNames GroupNameTable;

const char* GroupNames::operator[](std::size_t id) const noexcept {
  static constexpr std::array<const char*, 5> Names = {"Keys", "Panel", "Seq", "Tone", "Silent"};
  return id < Names.size() ? Names.at(id) : "";
}

StreamResult StreamPortMIDI::sendNoteOff(std::uint8_t note, std::uint8_t velocity, std::uint16_t group) {
  return recording::send("note off", {note, velocity}, group);
}
StreamResult StreamPortMIDI::sendNoteOn(std::uint8_t note, std::uint8_t velocity, std::uint16_t group) {
  return recording::send("note on", {note, velocity}, group);
}
StreamResult StreamPortMIDI::sendPolyAfter(std::uint8_t note, std::uint8_t value, std::uint16_t group) {
  return recording::send("poly after", {note, value}, group);
}
StreamResult StreamPortMIDI::sendControlChange(std::uint8_t number, std::uint8_t value, std::uint16_t group) {
  return recording::send("control change", {number, value}, group);
}
StreamResult StreamPortMIDI::sendProgramChange(std::uint8_t number, std::uint8_t second, std::uint8_t third,
                                               std::uint16_t group) {
  return recording::send("program change", {number, second, third}, group);
}
StreamResult StreamPortMIDI::sendAfterTouch(std::uint8_t value, std::uint16_t group) {
  return recording::send("after touch", {value}, group);
}
StreamResult StreamPortMIDI::sendPitchBend(std::uint8_t lsb, std::uint8_t msb, std::uint16_t group) {
  return recording::send("pitch bend", {lsb, msb}, group);
}
StreamResult StreamPortMIDI::sendSystemExclusive(const std::uint8_t* bytes, std::size_t length, std::uint16_t group) {
  return recording::send("system exclusive", {bytes, bytes + length}, group);
}

// The console's port decodes events itself; that this one never does shows when it is called in its place.
EvtSrv::EventResult StreamPortMIDI::receiveMain(const char*, unsigned, EvtSrv::MemoryHolder*, EvtSrv::MemoryHolder*) {
  recording::library().calls.emplace_back("StreamPortMIDI::receiveMain");
  return EvtSrv::EvtRes_NoService;
}

void StreamPortMIDI::receiveNoteOff(std::uint8_t, std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::receiveNoteOn(std::uint8_t, std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::receivePolyAfter(std::uint8_t, std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::receiveControlChange(std::uint8_t, std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::receiveProgramChange(std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::receiveAfterTouch(std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::receivePitchBend(std::uint8_t, std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::receiveSystemExclusive(const std::uint8_t*, std::size_t, std::uint16_t) {}
void StreamPortMIDI::receiveSystemCommon(const std::uint8_t*, std::size_t, std::uint16_t) {}
void StreamPortMIDI::receiveRealTimeMessage(std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::receiveMetaEvent(const std::uint8_t*, std::size_t, std::uint16_t) {}
void StreamPortMIDI::handleErrorData(const char*, const std::uint8_t*, std::size_t, std::uint16_t) {}
void StreamPortMIDI::handleNoteOff(const char*, std::uint8_t, std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::handleNoteOn(const char*, std::uint8_t, std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::handlePolyAfter(const char*, std::uint8_t, std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::handleControlChange(const char*, std::uint8_t, std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::handleProgramChange(const char*, std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::handleAfterTouch(const char*, std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::handlePitchBend(const char*, std::uint8_t, std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::handleSystemExclusive(const char*, const std::uint8_t*, std::size_t, std::uint16_t) {}
void StreamPortMIDI::handleSystemCommon(const char*, const std::uint8_t*, std::size_t, std::uint16_t) {}
void StreamPortMIDI::handleRealTimeMessage(const char*, std::uint8_t, std::uint16_t) {}
void StreamPortMIDI::handleMetaEvent(const char*, const std::uint8_t*, std::size_t, std::uint16_t) {}

struct Patcher::State {
  std::vector<GroupRecord> sources = recording::library().sources;
  std::vector<GroupRecord> sinks = recording::library().sinks;
  // What the last call of version() has seen.
  std::map<std::string, std::vector<PortRecord>> sinksOf;
  std::map<std::string, std::vector<PortRecord>> sourcesOf;
  std::uint64_t version = 1;
};

Patcher::Patcher(EvtSrv::EventPortManager&, unsigned) : state_(std::make_unique<State>()) {}
Patcher::~Patcher() = default;
const std::vector<GroupRecord>& Patcher::sourceGroups() const noexcept { return state_->sources; }
const std::vector<GroupRecord>& Patcher::sinkGroups() const noexcept { return state_->sinks; }
StreamResult Patcher::connect(std::uint16_t sourceGroup, std::uint16_t sourcePort, std::uint16_t sinkGroup,
                              std::uint16_t sinkPort) {
  const std::string pair = recording::shown(sourceGroup, sourcePort) + " " + recording::shown(sinkGroup, sinkPort);
  recording::library().calls.push_back("patch " + pair);
  const auto result = recording::library().patchResults.find(pair);
  return result == recording::library().patchResults.end() ? StrmRes_Success : result->second;
}
StreamResult Patcher::disconnect(std::uint16_t sourceGroup, std::uint16_t sourcePort, std::uint16_t sinkGroup,
                                 std::uint16_t sinkPort) {
  recording::library().calls.push_back("unpatch " + recording::shown(sourceGroup, sourcePort) + " " +
                                       recording::shown(sinkGroup, sinkPort));
  return StrmRes_NotFound;
}
StreamResult Patcher::getConnectSourcePorts(std::uint16_t sinkGroup, std::uint16_t sinkPort,
                                            std::vector<PortRecord>& result) {
  return recording::connected("sources of", recording::library().sourcesOf, recording::shown(sinkGroup, sinkPort),
                              result);
}
StreamResult Patcher::getConnectSinkPorts(std::uint16_t sourceGroup, std::uint16_t sourcePort,
                                          std::vector<PortRecord>& result) {
  return recording::connected("sinks of", recording::library().sinksOf, recording::shown(sourceGroup, sourcePort),
                              result);
}

std::uint64_t Patcher::version() {
  const recording::Library& library = recording::library();
  if (state_->sinksOf != library.sinksOf || state_->sourcesOf != library.sourcesOf) ++state_->version;
  state_->sinksOf = library.sinksOf;
  state_->sourcesOf = library.sourcesOf;
  return state_->version;
}

// Every argument shows in the name: Out2.0 is port 0 of the sources of group 2, and "type1:" stands in front of it
// for another stream type than the first.
std::string Patcher::makeStreamPortName(unsigned streamType, std::uint16_t group, std::uint16_t port, int sink) const {
  return (streamType == 0 ? "" : "type" + std::to_string(streamType) + ":") + (sink == 0 ? "Out" : "In") +
         std::to_string(group) + "." + std::to_string(port);
}

void Patcher::notifyAddGroup(std::uint16_t) {}
void Patcher::notifyAddPort(std::uint16_t, std::uint16_t, int) {}
void Patcher::notifyRemoveGroup(std::uint16_t) {}

}  // namespace StrmSrv
