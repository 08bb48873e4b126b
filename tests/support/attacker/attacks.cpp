#include "tests/support/attacker/attacks.h"

#include <algorithm>
#include <iterator>

namespace attacker {

Attack attackOf(std::string_view name) {
  constexpr struct {
    std::string_view name;
    Attack attack;
  } Attacks[] = {{"garbage", garbage}, {"half", half},     {"endless", endless}, {"drip", drip},
                 {"storm", storm},     {"hellos", hellos}, {"deaf", deaf},       {"forged", forged},
                 {"flood", flood},     {"crowd", crowd},   {"stolen", stolen}};
  const auto* found = std::ranges::find(Attacks, name, [](const auto& row) { return row.name; });
  return found == std::end(Attacks) ? nullptr : found->attack;
}

}  // namespace attacker
