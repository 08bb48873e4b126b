// Memory that a service holds for its clients, against a ceiling.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>

namespace service {

// Adds up what is held for each user, and what belongs to none of them. Says who has to hold less; frees nothing.
//
// One user may hold half of the ceiling. All together may hold the ceiling without a reserve, which is there for new
// clients and for users who hold little: so these always find room, whatever the others hold.
class MemoryLedger {
 public:
  explicit MemoryLedger(std::size_t ceiling) : ceiling_(ceiling) {}

  // Something that was held for this user has changed its size, in bytes; 0 if it was not there before, or is gone.
  void change(std::uint32_t user, std::size_t before, std::size_t now);

  // What belongs to no user has this size now.
  void setShared(std::size_t bytes) { shared_ = bytes; }

  std::size_t ceiling() const { return ceiling_; }
  std::size_t reserve() const { return ceiling_ / 16; }
  std::size_t mostOfUser() const { return ceiling_ / 2; }

  // A user who holds no more than this may use the reserve.
  std::size_t little() const { return reserve() / 4; }

  // What belongs to no user may have no more than this, so that something is left for clients.
  std::size_t mostShared() const { return ceiling_ - ceiling_ / 4; }

  std::size_t total() const { return ofUsers_ + shared_; }
  std::size_t shared() const { return shared_; }
  std::size_t of(std::uint32_t user) const;

  // True if somebody has to hold less.
  bool isOver() const { return usersOver_ > 0 || isTotalOver(); }

  // Who has to hold less: whoever holds the most of all if all hold too much, else a user who holds more than half.
  // nullopt if nobody has to.
  std::optional<std::uint32_t> heaviest() const;

  // How many bytes less heaviest() has to hold.
  std::size_t excess() const;

  // True if even the reserve is used up.
  bool isFull() const { return total() >= ceiling_; }

  // Whether this user may have so many bytes more of what only the user can give back.
  bool hasRoom(std::uint32_t user, std::size_t bytes) const;

  // The same for what belongs to no user.
  bool hasSharedRoom(std::size_t bytes) const;

  // The same for a new client, which may use the reserve. A user who holds more than half and could not be relieved of
  // it gets no more.
  bool hasRoomForClient(std::uint32_t user, std::size_t bytes) const;

 private:
  bool isTotalOver() const { return total() > ceiling_ - reserve(); }

  std::size_t ceiling_;
  std::map<std::uint32_t, std::size_t> users_;  // those who hold anything
  std::size_t ofUsers_ = 0;
  std::size_t shared_ = 0;
  std::size_t usersOver_ = 0;  // who hold more than half
};

}  // namespace service
