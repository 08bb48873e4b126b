#include "terminal/parting_text.h"

#include <cerrno>
#include <mutex>

namespace flowscope {
namespace {

SignalSafeLock listLock;
PartingText* latest = nullptr;  // accessed only under the lock

}  // namespace

void PartingText::enter() noexcept {
  const std::lock_guard guard(listLock);
  next_ = latest;
  latest = this;
  isListed_ = true;
}

PartingText::~PartingText() { leave(); }

void PartingText::leave() noexcept {
  const std::lock_guard guard(listLock);
  if (!isListed_) return;
  isListed_ = false;
  PartingText** place = &latest;
  while (*place != this) place = &(*place)->next_;
  *place = next_;
}

void writePartingTexts() noexcept {
  const int savedErrno = errno;
  const PartingTime time;
  if (listLock.lockWithin(time)) {
    for (PartingText* each = latest; each != nullptr; each = each->next_) each->endOnSignal(time);
    for (PartingText* each = latest; each != nullptr; each = each->next_) each->writeOnSignal(time);
    listLock.unlock();
  }
  errno = savedErrno;
}

}  // namespace flowscope
