#include <fcntl.h>

#include <exception>
#include <string>
#include <vector>

#include "platform/streamctl/program.h"
#include "platform/system/program_line.h"

namespace {

// A descriptor that the parent has closed would go to the next thing that is opened, a socket even. Output into this
// one fails as into a closed one.
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
