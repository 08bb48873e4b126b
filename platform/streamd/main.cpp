#include <csignal>
#include <cstdio>
#include <exception>
#include <variant>

#include "platform/streamd/daemon.h"
#include "platform/streamd/descriptors.h"
#include "platform/streamd/options.h"
#include "platform/system/standard_descriptors.h"

int main(int count, char** words) {
  sys::openStandardDescriptors();
  streamd::raiseDescriptorLimit();
  // A log without a reader must not end the service.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    const auto options = streamd::parseOptions(count, words);
    if (const auto* end = std::get_if<streamd::EndWith>(&options)) return end->status;
    return streamd::serve(std::get<streamd::Options>(options));
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "streamd: %s\n", failure.what());
    return 1;
  }
}
