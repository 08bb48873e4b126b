// Which sources of the device somebody needs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "platform/device/driver.h"
#include "platform/device/port.h"
#include "platform/service/patch_graph.h"
#include "platform/service/port_map.h"
#include "platform/service/tap_table.h"

namespace service {

// What settle may do at once. Each is an operation of the driver.
inline constexpr std::size_t SourcesAtOnce = 250;

// A source is used while a client taps it or a sink connected to it, and while the service carries one of its
// connections. Tells the driver when that changes (see Driver::setUsed), and knows what the driver says of it.
//
// A driver may report changes inside its operations, where it must not be called. And a change may concern any number
// of sources. So changes are only noted here, and settled piece by piece when the operation has returned.
class SourceUse {
 public:
  // When a change is settled: after all others, or before them.
  enum class Turn : std::uint8_t { Last, Next };

  // All must outlive this object.
  SourceUse(device::Driver& driver, const PatchGraph& graph, const TapTable& taps)
      : driver_(driver), graph_(graph), taps_(taps) {}

  // This connection was made or ended.
  void connectionChanged(const device::Link& link, Turn turn = Turn::Last);

  // This port is tapped now, or no longer (see TapTable::isTapped).
  void tapsChanged(device::PortId port, Turn turn = Turn::Last);

  // Tells the driver of changes; looks at up to `most` sources. Returns false if there was
  // nothing to settle.
  bool settle(std::size_t most, device::Time now);

  // True while something remains to settle.
  bool isUnsettled() const { return !unsettled_.empty(); }

  // The driver said whether a source can be used (see DriverEvents::used). Ignores sources that are not used.
  void answered(device::PortId source, device::Status status);

  // Ports were removed or have returned. No answer follows for a removed source. One that returns is used again: settle
  // tells the driver, and what was known of it before no longer counts.
  void topologyChanged(const device::Topology& topology);

  // What the driver says of the sources that a tap of this port needs: Refused if one of them cannot be used; nullopt
  // if there is no answer yet for one of them; else Ok.
  std::optional<device::Status> state(device::PortId port) const;

  // Returns true, once, if state may have become known for a port since the last call.
  bool takeNews() { return std::exchange(news_, false); }

  // Returns, each once, up to `most` of the used sources that the driver has refused.
  std::vector<device::PortId> takeRefused(std::size_t most);

  // True while takeRefused has something to return.
  bool hasRefused() const { return !refused_.empty(); }

 private:
  struct Source {
    bool isUsed = false;                     // as last reported to the driver
    std::optional<device::Status> answer{};  // of the driver, while it is used
    std::set<device::PortId> tapped{};       // connected sinks that are tapped
  };

  void enter(device::PortId port, Turn turn);
  bool isWanted(device::PortId source) const;
  void refresh(device::PortId source, device::Time now);
  void enter(device::PortId source, device::Status status);
  void forgetAnswer(device::PortId source);
  void forgetMissing(const device::Topology& topology);
  void use(device::PortId source, device::Time now);
  std::optional<device::Status> stateOfSink(device::PortId sink) const;
  void note(device::PortId source, device::PortId sink, bool isTapped);
  std::size_t settleSink(device::PortId sink, std::size_t most, device::Time now);

  device::Driver& driver_;
  const PatchGraph& graph_;
  const TapTable& taps_;
  PortMap<Source> sources_;
  std::deque<device::PortId> unsettled_;  // each sink once
  std::set<device::PortId> unanswered_;   // used, without an answer
  std::set<device::PortId> unusable_;     // used, and refused
  std::set<device::PortId> refused_;      // see takeRefused
  std::set<device::PortId> missing_;      // used, and removed
  std::set<device::PortId> returned_;     // used, and the driver was not told again since they returned
  bool news_ = false;
  bool wasCut_ = false;                            // settle left something
  std::map<device::PortId, std::int64_t> walked_;  // of each unsettled sink: its connections up to here are settled
};

}  // namespace service
