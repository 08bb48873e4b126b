#include "traffic/open_file.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "terminal/error_line.h"

namespace flowscope {

namespace {

// The system assigns the lowest free number, so all numbers below it are in use.
bool wouldLeave(int kept) {
  const int next = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
  if (next < 0) return errno != EMFILE;  // fopen will report any other error
  close(next);
  rlimit limit{};
  return getrlimit(RLIMIT_NOFILE, &limit) < 0 || limit.rlim_cur == RLIM_INFINITY ||
         static_cast<rlim_t>(next) + static_cast<rlim_t>(kept) < limit.rlim_cur;
}

}  // namespace

std::FILE* openFile(const char* name, const char* mode, int kept) {
  if (!wouldLeave(kept)) {
    errno = EMFILE;
    return nullptr;
  }
  return std::fopen(name, (mode + std::string("e")).c_str());
}

void tellDescriptorsAreKept(const char* name) {
  sayError("cannot open " + std::string(name) + ": too many files are open");
}

}  // namespace flowscope
