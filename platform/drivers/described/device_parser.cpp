#include "platform/drivers/described/device_parser.h"

#include <cstddef>
#include <map>
#include <set>
#include <utility>

#include "platform/device/names.h"
#include "platform/device/size_limits.h"
#include "platform/drivers/described/key_depth.h"
#include "platform/drivers/described/toml_table.h"

namespace drivers {
namespace {

constexpr std::int64_t MaxCount = 65'535;

class DeviceParser {
 public:
  explicit DeviceParser(const toml::table& root) : root_(root, "a device file", problem_) {}

  std::variant<ParsedDevice, DeviceFileProblem> parse() {
    root_.allowOnly({"group", "connection", "player"});
    for (const toml::table* table : root_.tables("group")) readGroup(*table);
    topology_ = device::Topology(parsed_.device.groups);
    for (const toml::table* table : root_.tables("connection")) readConnection(*table);
    for (const toml::table* table : root_.tables("player")) readPlayer(*table);
    if (problem_) return *problem_;
    return std::move(parsed_);
  }

 private:
  void readGroup(const toml::table& from) {
    TomlTable table(from, "a group", problem_);
    table.allowOnly({"id", "name", "sources", "sinks", "thru"});
    const auto id = table.required("id", table.integer("id", 0, MaxCount));
    const auto name = table.required("name", table.text("name"));
    const auto sources = table.integer("sources", 0, MaxCount);
    const auto sinks = table.integer("sinks", 0, MaxCount);
    const bool thru = table.boolean("thru").value_or(false);
    if (thru && (!sources || !sinks)) table.fail("thru", "thru needs sources and sinks");
    ports_ += static_cast<std::size_t>(sources.value_or(0)) + static_cast<std::size_t>(sinks.value_or(0));
    if (ports_ > device::MaxPorts) {
      table.fail("id", "too many ports: a device has at most " + std::to_string(device::MaxPorts));
    }
    const auto [first, isNew] = idLines_.emplace(id.value_or(-1), table.lineOf("id"));
    if (id && !isNew) {
      table.fail("id", "id " + std::to_string(*id) + " is taken by the group in line " + std::to_string(first->second));
    }
    if (problem_) return;
    const auto count = [](std::int64_t value) { return static_cast<std::uint16_t>(value); };
    const auto side = [&count](const std::optional<std::int64_t>& ports) {
      return ports ? std::optional(count(*ports)) : std::nullopt;
    };
    parsed_.device.groups.push_back(device::numberedGroup(count(*id), names_.add(*name), side(sources), side(sinks)));
    if (thru) parsed_.device.thrus.push_back(count(*id));
  }

  void readConnection(const toml::table& from) {
    TomlTable table(from, "a connection", problem_);
    table.allowOnly({"source", "sink"});
    const auto source = port(table, "source", device::Side::Source);
    const auto sink = port(table, "sink", device::Side::Sink);
    if (problem_) return;
    const device::Link link{source->group, source->index, sink->group, sink->index};
    if (links_.insert(link).second) parsed_.device.links.push_back(link);
  }

  void readPlayer(const toml::table& from) {
    TomlTable table(from, "a player", problem_);
    table.allowOnly({"source", "file", "loop", "speed", "clock"});
    const auto source = port(table, "source", device::Side::Source);
    const auto file = table.text("file");
    const auto clock = table.number("clock", midi::MinTempo, midi::MaxTempo);
    const auto loop = table.boolean("loop");
    const auto speed = table.numberOrZero("speed", midi::MinSpeed, midi::MaxSpeed);
    if (!table.has("file") && !table.has("clock")) table.fail("", "a player needs a file or a clock");
    if (table.has("file") && table.has("clock")) table.fail("clock", "a player has a file or a clock, not both");
    for (const char* key : {"loop", "speed"}) {
      if (table.has("clock") && table.has(key)) table.fail(key, std::string(key) + " is allowed only with file");
    }
    if (file && (file->empty() || file->find('\0') != std::string::npos)) table.fail("file", "invalid file name");
    if (problem_) return;
    if (clock) {
      parsed_.device.clocks.push_back({*source, midi::ClockPlayback{*clock}});
    } else {
      parsed_.filePlayers.push_back({*source, *file, loop.value_or(true), speed.value_or(1), table.lineOf("file")});
    }
  }

  std::optional<device::PortId> port(TomlTable& table, std::string_view key, device::Side side) {
    const auto name = table.required(key, table.text(key));
    if (!name) return std::nullopt;
    const auto found = topology_.port(*name);
    if (!found) {
      table.fail(key, "no such port: '" + printable(*name) + "'");
    } else if (found->side != side) {
      table.fail(key, "'" + *name + "' is a " + (side == device::Side::Source ? "sink" : "source") + ", not a " +
                          std::string(key));
    }
    return found;
  }

  std::optional<DeviceFileProblem> problem_;
  TomlTable root_;
  ParsedDevice parsed_;
  device::Topology topology_;
  device::UniqueNames names_{device::MaxGroupNameBytes};
  std::map<std::int64_t, unsigned> idLines_;
  std::size_t ports_ = 0;
  std::set<device::Link> links_;
};

}  // namespace

std::variant<ParsedDevice, DeviceFileProblem> parseDevice(std::string_view text) {
  if (const auto line = lineOfDeepKey(text)) {
    return DeviceFileProblem{*line, "a key of more than " + std::to_string(MaxKeyParts) + " parts"};
  }
  try {
    return DeviceParser(toml::parse(text)).parse();
  } catch (const toml::parse_error& error) {
    return DeviceFileProblem{error.source().begin.line, printable(error.description())};
  }
}

}  // namespace drivers
