#include <exception>
#include <string>
#include <vector>

#include "platform/streamctl/program.h"
#include "platform/system/program_line.h"
#include "platform/system/standard_descriptors.h"

int main(int count, char** words) {
  sys::openStandardDescriptors();
  try {
    return streamctl::runProgram(std::vector<std::string>(words + (count > 0 ? 1 : 0), words + count));
  } catch (const std::exception& error) {
    sys::sayLine(error.what());
    return 1;
  }
}
