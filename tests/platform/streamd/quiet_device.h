// A device that says nothing by itself.
#pragma once

#include <string>
#include <string_view>

#include "tests/support/scratch_folder.h"

namespace streamd {

inline constexpr const char* QuietDevice = R"(
[[group]]
id = 5
name = "MidiDin"
sources = 1
sinks = 1
[[group]]
id = 6
name = "MidiUsb"
sources = 2
[[group]]
id = 8
name = "Thru"
sinks = 1
)";

// A device file, as long as this lives.
class DeviceFile {
 public:
  explicit DeviceFile(std::string_view device = QuietDevice) { describe(device); }
  void describe(std::string_view device) { folder_.write("device.toml", device); }
  std::string path() const { return folder_.path() / "device.toml"; }

 private:
  testsupport::ScratchFolder folder_;
};

}  // namespace streamd
