// Whether a receiver got every message, or was told of its loss.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace bench {

// Counts the messages of one receiver. Each port numbers its messages from 0 on, modulo 65536, so that a message that
// is missing, repeated or out of order shows: a message is behind the last one of its port by the number of messages
// between them, which is 65535 for a repetition. So fewer than 65535 messages of a port may be missing in a row.
class MessageAccount {
 public:
  // fromTheFirst: the receiver was there before the first message. Otherwise a port begins with any number.
  MessageAccount(std::size_t ports, bool fromTheFirst) : next_(ports) {
    if (fromTheFirst) next_.assign(ports, 0);
  }

  // The receiver printed this message of the port, counted from 0.
  void printed(std::size_t port, std::uint16_t number) {
    auto& next = next_.at(port);
    if (next) missing_ += static_cast<std::uint16_t>(number - *next);
    next = static_cast<std::uint16_t>(number + 1);
    ++printed_;
  }

  // The receiver was told that so many messages, of any ports, are lost.
  void toldLost(std::uint64_t count) { told_ += count; }

  std::uint64_t printed() const { return printed_; }
  std::uint64_t told() const { return told_; }

  // How many messages are missing between those that were printed.
  std::uint64_t missing() const { return missing_; }

  // The same, with those missing at the end, for a receiver that was there before the first message. sent: how many
  // messages each port has sent.
  std::uint64_t missingOf(const std::vector<std::uint64_t>& sent) const {
    std::uint64_t missing = missing_;
    for (std::size_t port = 0; port < next_.size(); ++port) {
      missing += static_cast<std::uint16_t>(sent.at(port) - next_.at(port).value_or(0));
    }
    return missing;
  }

 private:
  std::vector<std::optional<std::uint16_t>> next_;  // the number that each port's next message must have
  std::uint64_t printed_ = 0;
  std::uint64_t told_ = 0;
  std::uint64_t missing_ = 0;
};

}  // namespace bench
