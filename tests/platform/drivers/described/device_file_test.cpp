#include "platform/drivers/described/device_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/platform/drivers/described/device_recorder.h"

namespace drivers {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class DeviceFile : public testing::Test {
 protected:
  DeviceFile() : folder_(testing::TempDir() + "device_file_test_" + name()) {
    std::filesystem::create_directories(folder_ + "/songs");
    midi::writeFile(folder_ + "/songs/song.mid",
                    midi::smf("0000 0001 0060", {"00 92 3C 40  60 82 3C 00  60 FF 2F 00"}));
    midi::writeFile(folder_ + "/songs/bad.mid", midi::smf("0000 0001 0060", {"00 92"}));
  }
  ~DeviceFile() override { std::filesystem::remove_all(folder_); }

  static std::string name() { return testing::UnitTest::GetInstance()->current_test_info()->name(); }

  // The path of a device file with this text.
  std::string device(std::string_view text) const {
    midi::writeFile(folder_ + "/device.toml", text);
    return folder_ + "/device.toml";
  }

  static std::string causeOf(const std::string& path) {
    const auto loaded = loadDeviceFile(path);
    const auto* cause = std::get_if<std::string>(&loaded);
    return cause == nullptr ? "no error" : *cause;
  }

  std::string folder_;
};

constexpr std::string_view Synth = "[[group]]\nid = 4\nname = 'Synth'\nsources = 2\nsinks = 1\n";

TEST_F(DeviceFile, PlaysTheFileBesideIt) {
  const auto loaded = loadDeviceFile(device(std::string(Synth) +
                                            "[[connection]]\nsource = 'SynthOut2'\nsink = 'SynthIn1'\n"
                                            "[[player]]\nsource = 'SynthOut1'\nfile = 'songs/song.mid'\nspeed = 2\n"));
  ASSERT_TRUE(std::holds_alternative<std::unique_ptr<device::Driver>>(loaded)) << std::get<std::string>(loaded);
  device::Driver& driver = *std::get<std::unique_ptr<device::Driver>>(loaded);
  DeviceRecorder recorder;
  EXPECT_THAT(driver.start(recorder, 0s).links, ElementsAre(device::Link{4, 1, 4, 0}));
  constexpr device::PortId Out1{4, 0, device::Side::Source};
  driver.setUsed(Out1, true, 1s);
  run(driver, 1s, 1s + 600ms);
  EXPECT_THAT(recorder.all, ElementsAre(Emitted{Out1, 1s, 2, "90 3C 40"}, Emitted{Out1, 1250ms, 2, "80 3C 00"},
                                        Emitted{Out1, 1500ms, 2, "90 3C 40"}));
}

TEST_F(DeviceFile, AnAbsolutePathOfASongStaysAsItIs) {
  EXPECT_EQ(causeOf(device(std::string(Synth) + "[[player]]\nsource = 'SynthOut1'\nfile = '" + folder_ +
                           "/songs/song.mid'\n")),
            "no error");
}

TEST_F(DeviceFile, ErrorsNameFileLineAndCause) {
  const std::string path = folder_ + "/device.toml";
  const struct {
    std::string text;
    std::string error;
  } table[] = {
      {"[[group]]\nid = 1\n", path + ":1: a group needs a name"},
      {"[[group]]\nid =\n", path + ":2: Error while parsing key-value pair: expected value, saw '\\n'"},
      {"\n\nid = '\xff'\n", path + ":3: Encountered invalid utf-8 sequence"},
      {std::string(Synth) + "[[player]]\nsource = 'SynthOut1'\nloop = true\nfile = 'songs/none.mid'\n",
       path + ":9: songs/none.mid: No such file or directory"},
      {std::string(Synth) + "[[player]]\nsource = 'SynthOut1'\nfile = 'songs'\n",
       path + ":8: songs: not a regular file"},
      {std::string(Synth) + "[[player]]\nsource = 'SynthOut1'\nfile = 'songs/bad.mid'\n",
       path + ":8: songs/bad.mid: the track ends too early (at byte 24, track 1 of 1)"},
      {std::string(Synth) + "[[player]]\nsource = 'SynthOut1'\nfile = 'device.toml'\n",
       path + ":8: device.toml: not a Standard MIDI File (at byte 0)"},
  };
  for (const auto& row : table) EXPECT_EQ(causeOf(device(row.text)), row.error);
}

TEST_F(DeviceFile, AFileThatCannotBeReadIsReported) {
  EXPECT_EQ(causeOf(folder_ + "/none.toml"), folder_ + "/none.toml: No such file or directory");
  EXPECT_EQ(causeOf(folder_), folder_ + ": not a regular file");
  EXPECT_EQ(causeOf("/dev/zero"), "/dev/zero: not a regular file");
  midi::writeFile(folder_ + "/huge.toml", "");
  std::filesystem::resize_file(folder_ + "/huge.toml", (16U << 20U) + 1);
  EXPECT_EQ(causeOf(folder_ + "/huge.toml"), folder_ + "/huge.toml: larger than 16777216 bytes");
}

TEST_F(DeviceFile, ErrorsArePrintableWhateverTheFileIsCalled) {
  const std::string path = folder_ + "/a\x1b[31m\nb.toml";
  EXPECT_EQ(causeOf(path), folder_ + "/a\\x1B[31m\\x0Ab.toml: No such file or directory");
  midi::writeFile(path, "port = 1\n");
  EXPECT_EQ(causeOf(path), folder_ + "/a\\x1B[31m\\x0Ab.toml:1: a device file has no key 'port'");
}

TEST_F(DeviceFile, AFileInTheCurrentFolderNeedsNoFolder) {
  EXPECT_EQ(causeOf("none-of-this-name.toml"), "none-of-this-name.toml: No such file or directory");
}

}  // namespace
}  // namespace drivers
