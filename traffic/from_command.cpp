#include "traffic/from_command.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <string>

#include "topology/path.h"
#include "topology/pattern.h"
#include "traffic/flowscope_port_midi.h"
#include "traffic/monitor_attachment.h"
#include "traffic/open_file.h"
#include "traffic/playback_line.h"

namespace flowscope {

namespace {

// A piece of a line and its terminator.
constexpr std::size_t PieceSize = 1024;

void send(StrmSrv::StreamPortMIDI& port, const PlaybackMessage& message) {
  const auto& bytes = message.bytes;
  const std::uint16_t group = message.group;
  switch (bytes[0]) {
    case 0x80:
      port.sendNoteOff(bytes[1], bytes[2], group);
      break;
    case 0x90:
      port.sendNoteOn(bytes[1], bytes[2], group);
      break;
    case 0xA0:
      port.sendPolyAfter(bytes[1], bytes[2], group);
      break;
    case 0xB0:
      port.sendControlChange(bytes[1], bytes[2], group);
      break;
    case 0xC0:
      port.sendProgramChange(bytes[1], bytes[2], bytes[3], group);
      break;
    case 0xD0:
      port.sendAfterTouch(bytes[1], group);
      break;
    case 0xE0:
      port.sendPitchBend(bytes[1], bytes[2], group);
      break;
    default:
      port.sendSystemExclusive(bytes.data(), bytes.size(), group);
  }
}

ResultCode playAt(TrafficShell& shell, const char* name, const char* path) {
  if (const ResultCode attached = attachMonitor(shell, path); attached != ResultOk) return attached;
  const OwnedFile file(openFile(name, "r", KeptFromFilesThatAreClosed));
  if (!file) {
    if (errno == EMFILE) tellDescriptorsAreKept(name);
    return ResultOpenFileError;
  }
  std::array<char, PieceSize> piece{};
  while (std::fgets(piece.data(), static_cast<int>(piece.size()), file.get()) != nullptr) {
    PlaybackLine line(piece.data());
    while (const auto message = line.next()) send(shell.monitor(), *message);
  }
  // What opens but cannot be read (a folder) shows only here.
  return std::ferror(file.get()) == 0 ? ResultOk : ResultOpenFileError;
}

}  // namespace

ResultCode fromCommand(TrafficShell& shell, const char* name, const char* pattern) {
  if (name == nullptr) return ResultBadArgument;
  if (pattern == nullptr) return playAt(shell, name, nullptr);

  ResultCode result = ResultSilent;
  for (const std::string& match : expandPattern(resolvePath(pattern, shell.currentPath()), shell.tree())) {
    result = playAt(shell, name, match.c_str());
  }
  return result;
}

}  // namespace flowscope
