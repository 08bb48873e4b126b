#include <fcntl.h>

#include <exception>
#include <string>
#include <vector>

#include "platform/streamctl/program.h"
#include "platform/system/program_line.h"

namespace {

// A descriptor that the parent closed would otherwise go to the next file or socket that is opened. Output to this one
// fails as to a closed one.
void openStandardDescriptors() {
  for (int descriptor = 0; descriptor <= 2; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) < 0) open("/dev/null", O_RDONLY);
  }
}

}  // namespace

int main(int count, char** words) {
  openStandardDescriptors();
  try {
    return streamctl::runProgram(std::vector<std::string>(words + (count > 0 ? 1 : 0), words + count));
  } catch (const std::exception& error) {
    sys::sayLine(error.what());
    return 1;
  }
}
