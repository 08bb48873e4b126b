// A JACK driver that a test drives as the service does.
#pragma once

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/drivers/jack/driver.h"
#include "tests/platform/midi/smf_maker.h"
#include "tests/support/deadline.h"

namespace drivers::jack {

// What it tells, collected; ports by their names.
class Driven : private device::DriverEvents {
 public:
  // Throws std::runtime_error when there is no driver.
  explicit Driven(Absent absent = Absent::Fails) {
    auto opened = openJack(absent);
    if (const auto* problem = std::get_if<std::string>(&opened)) throw std::runtime_error(*problem);
    driver_ = std::get<0>(std::move(opened));
    descriptor_ = driver_->start(*this, now()).descriptor;
  }

  // Runs it until something holds, for some seconds at most. Answers whether it does.
  bool runUntil(const std::function<bool()>& holds, std::chrono::milliseconds patience = std::chrono::seconds(10)) {
    const testsupport::Deadline deadline(patience);
    while (!deadline.passed()) {
      step(deadline);
      if (holds()) return true;
    }
    return holds();
  }

  void runFor(std::chrono::milliseconds time) {
    const testsupport::Deadline deadline(time);
    while (!deadline.passed()) step(deadline);
  }

  bool runUntilThere(const std::string& port) {
    return runUntil([&] { return isThere(port); });
  }

  bool isThere(const std::string& port) const { return topology().port(port).has_value(); }

  // Throws std::runtime_error for a port that never was.
  device::PortId place(const std::string& port) const {
    if (const auto found = topology().place(port)) return *found;
    throw std::runtime_error("no port " + port);
  }

  // Comes back when the answer is there: whether what the source emits from now on arrives.
  bool use(const std::string& source) {
    const auto status = startUse(source);
    return (status ? status : useAnswer(source)) == device::Status::Ok;
  }

  // Does not wait for the answer.
  std::optional<device::Status> startUse(const std::string& source) {
    uses.erase(source);
    return driver_->setUsed(place(source), true, now());
  }

  // Waits for the answer; nullopt if there is none.
  std::optional<device::Status> useAnswer(const std::string& source) {
    if (!runUntil([&] { return uses.contains(source); })) return std::nullopt;
    return uses.at(source);
  }

  void unuse(const std::string& source) { driver_->setUsed(place(source), false, now()); }

  device::Delivery deliver(const std::string& sink, const std::vector<std::uint8_t>& bytes, std::uint16_t group = 0) {
    return driver_->deliver(place(sink), {group, bytes}, now());
  }

  // Comes back with the answer; nullopt if there is none.
  std::optional<device::Status> patch(bool made, const std::string& source, const std::string& sink) {
    return answer(startPatch(made, source, sink));
  }

  // Does not wait for the answer.
  device::RequestId startPatch(bool made, const std::string& source, const std::string& sink) {
    const device::PortId from = place(source);
    const device::PortId to = place(sink);
    const device::RequestId request{++lastRequest_};
    if (!driver_->patch(request, made, {from.group, from.index, to.group, to.index}, now())) {
      throw std::runtime_error("the driver does not take the request");
    }
    return request;
  }

  // Waits for the answer; nullopt if there is none.
  std::optional<device::Status> answer(device::RequestId request) {
    if (!runUntil([&] { return answers.contains(request); })) return std::nullopt;
    return answers.at(request);
  }

  // Whether periods have been skipped. Otherwise the line about them takes its time.
  bool wasLate() {
    driver_->finish(now());
    return late > 0;
  }

  // Forgets what it has told of messages.
  void forget() {
    emittedTexts.clear();
    emittedBytes.clear();
    lossNews.clear();
    lossPlaces.clear();
    emittedCount = 0;
    lostCount = 0;
    late = 0;
  }

  const device::Topology& topology() const { return driver_->topology(); }
  device::Driver& driver() { return *driver_; }

  static device::Time now() { return std::chrono::steady_clock::now().time_since_epoch(); }

  std::vector<std::string> emittedTexts;                // SOURCE GROUP: BYTES, when keepTexts
  std::vector<std::string> lines;                       // for the log
  std::vector<std::string> linkNews;                    // +SOURCE SINK, -SOURCE SINK
  std::set<std::string> links;                          // SOURCE SINK
  std::vector<std::string> lossNews;                    // SOURCE COUNT
  std::vector<std::size_t> lossPlaces;                  // of each: how many messages came before it
  std::map<std::string, device::Status> uses;           // what was said last of a source
  std::map<device::RequestId, device::Status> answers;  // to patches
  std::uint64_t emittedCount = 0;
  std::uint64_t lostCount = 0;
  std::vector<std::uint8_t> emittedBytes;  // of all, one after the other
  unsigned late = 0;                       // lines of periods that were skipped; what is lost with them, JACK loses
  bool keepTexts = true;
  device::Time longestAdvance{};

 private:
  void step(const testsupport::Deadline& deadline) {
    const device::Time begin = now();
    const auto wanted = driver_->advance(begin);
    longestAdvance = std::max(longestAdvance, now() - begin);
    auto wait = std::chrono::milliseconds(deadline.atMost(std::chrono::milliseconds(20)).pollTimeout());
    if (wanted) wait = std::min(wait, std::max(std::chrono::ceil<std::chrono::milliseconds>(*wanted - now()), {}));
    pollfd ready{descriptor_, POLLIN, 0};
    poll(&ready, 1, static_cast<int>(wait.count()));
  }

  std::string name(device::PortId port) const { return topology().name(port); }
  std::string name(const device::Link& link) const { return name(link.source()) + " " + name(link.sink()); }

  void emitted(device::PortId source, const device::Message& message, device::Time /*now*/) override {
    ++emittedCount;
    emittedBytes.insert(emittedBytes.end(), message.bytes.begin(), message.bytes.end());
    if (!keepTexts) return;
    emittedTexts.push_back(name(source) + " " + std::to_string(message.group) + ": " +
                           midi::toHex({message.bytes.begin(), message.bytes.end()}));
  }
  void linked(const device::Link& link, device::Time /*now*/) override {
    linkNews.push_back("+" + name(link));
    links.insert(name(link));
  }
  void unlinked(const device::Link& link, device::Time /*now*/) override {
    linkNews.push_back("-" + name(link));
    links.erase(name(link));
  }
  void topologyChanged(device::Time /*now*/) override {
    std::erase_if(links, [&](const std::string& link) {
      const auto blank = link.find(' ');
      return !isThere(link.substr(0, blank)) || !isThere(link.substr(blank + 1));
    });
  }
  void lost(device::PortId source, std::uint64_t count, device::Time /*now*/) override {
    lostCount += count;
    lossNews.push_back(name(source) + " " + std::to_string(count));
    lossPlaces.push_back(emittedCount);
  }
  void patched(device::RequestId request, device::Status status, device::Time /*now*/) override {
    if (!answers.emplace(request, status).second) throw std::runtime_error("two answers to one request");
  }
  void used(device::PortId source, device::Status status, device::Time /*now*/) override {
    uses.insert_or_assign(name(source), status);
  }
  void noted(std::string_view line) override {
    if (line.find(" skipped because ") != line.npos) {
      ++late;
    } else {
      lines.emplace_back(line);
    }
  }
  void warned(std::string_view line) override { lines.push_back("warning: " + std::string(line)); }

  std::unique_ptr<device::Driver> driver_;
  int descriptor_ = -1;
  std::uint64_t lastRequest_ = 0;
};

}  // namespace drivers::jack
