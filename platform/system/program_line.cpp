#include "platform/system/program_line.h"

#include <cerrno>
#include <cstdio>

#include "platform/system/printable.h"

namespace sys {
namespace {

// A parent process may start a program without a name.
std::string nameAtStart() {
  const char* name = program_invocation_short_name;
  return name == nullptr || *name == '\0' ? "evtsrv" : printable(name);
}

}  // namespace

const std::string& programName() {
  // Copied once, because a program may overwrite its arguments later. Never destroyed, because services may still write
  // lines while the process ends.
  static const auto* const name = new std::string(nameAtStart());
  return *name;
}

std::string programLine(std::string_view text) { return std::string(programName()).append(": ").append(text); }

void sayLine(std::string_view line) { std::fprintf(stderr, "%s\n", programLine(line).c_str()); }

}  // namespace sys
