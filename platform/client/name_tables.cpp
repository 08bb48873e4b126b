#include <mutex>
#include <set>
#include <string>

#include "strmsrv.h"

namespace StrmSrv {
namespace {

// Returns the only copy of a text. It lives until the process ends, because readers keep pointers to it.
const char* intern(const std::string& text) {
  static std::mutex mutex;
  // Never destroyed: threads may still read names while the process ends.
  static auto* const texts = new std::set<std::string>;
  const std::lock_guard guard(mutex);
  return texts->insert(text).first->c_str();
}

}  // namespace

const std::array<const char*, 3> StreamTypeNameTable = {"Midi", "Audio", "Control"};

constinit GroupNames GroupNameTable;

const char* GroupNames::operator[](std::size_t id) const noexcept {
  const char* name = names_[id].load(std::memory_order_acquire);
  return name == nullptr ? "" : name;
}

void GroupNames::publish(std::size_t id, const std::string& name) {
  if (id < Count) names_[id].store(intern(name), std::memory_order_release);
}

}  // namespace StrmSrv
