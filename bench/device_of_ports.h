// Devices of many ports for benchmarks, and folders of the same names.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

namespace bench {

inline constexpr int Groups = 100;

// A folder that is removed with its content on destruction.
class TemporaryFolder {
 public:
  explicit TemporaryFolder(const std::filesystem::path& below) {
    std::string name = (below / "flowscope-bench-XXXXXX").string();
    if (mkdtemp(name.data()) != nullptr) path_ = name;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// A device file with this many ports in 100 groups, half of them sources; each port has one connection.
inline std::filesystem::path writeDevice(const std::filesystem::path& folder, int ports) {
  const int perSide = ports / Groups / 2;
  const auto file = folder / "device.toml";
  std::ofstream out(file);
  for (int group = 0; group < Groups; ++group) {
    out << "[[group]]\nid = " << group << "\nname = \"Group" << group << "\"\nsources = " << perSide
        << "\nsinks = " << perSide << "\n";
  }
  for (int group = 0; group < Groups; ++group) {
    const int next = (group + 1) % Groups;
    for (int port = 1; port <= perSide; ++port) {
      out << "[[connection]]\nsource = \"Group" << group << "Out" << port << "\"\nsink = \"Group" << next << "In"
          << port << "\"\n";
    }
  }
  return file;
}

// A device file with this many sources and as many sinks in one group called G, and no connections.
inline std::filesystem::path writeOneGroup(const std::filesystem::path& folder, int ports) {
  const auto file = folder / "device.toml";
  std::ofstream(file) << "[[group]]\nid = 1\nname = \"G\"\nsources = " << ports << "\nsinks = " << ports << "\n";
  return file;
}

// The number of nodes below the root after everything was listed: the three types, two sides, the groups on each side,
// and for each port itself, the group and the port that it is connected to.
inline int nodesOf(int ports) { return 3 + 2 + 2 * Groups + 3 * ports; }

// The same tree as folders and files: sides, groups, ports, and below each port its peer's group and its peer.
inline void makeFolders(const std::filesystem::path& root, int ports) {
  const int perSide = ports / Groups / 2;
  for (const bool source : {true, false}) {
    const std::string own = source ? "Out" : "In";
    const std::string other = source ? "In" : "Out";
    for (int group = 0; group < Groups; ++group) {
      const auto name = "Group" + std::to_string(group);
      const auto peer = "Group" + std::to_string(source ? (group + 1) % Groups : (group + Groups - 1) % Groups);
      for (int port = 1; port <= perSide; ++port) {
        const auto number = std::to_string(port);
        const auto below = root / (source ? "Source" : "Sink") / name / (name + own + number) / peer;
        std::filesystem::create_directories(below);
        std::ofstream(below / (peer + other + number));
      }
    }
  }
}

}  // namespace bench
