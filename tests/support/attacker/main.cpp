// attacker NAME SOCKET SECONDS: attacks the service at the path of its socket (attacks.h), says in a line what it did,
// and ends with status 0. The attack "stolen" needs three numbers more.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "tests/support/attacker/attacks.h"

int main(int count, char** words) {
  const auto attack = count >= 4 ? attacker::attackOf(words[1]) : nullptr;
  const int wanted = attack == attacker::stolen ? 7 : 4;
  if (attack == nullptr || count != wanted) {
    std::fputs("usage: attacker NAME SOCKET SECONDS\n", stderr);
    return 2;
  }
  try {
    const std::chrono::duration<double> seconds(std::strtod(words[3], nullptr));
    attacker::Target target{words[2], std::chrono::duration_cast<std::chrono::milliseconds>(seconds), {}};
    for (int i = 4; i < count; ++i) target.numbers.push_back(std::strtoull(words[i], nullptr, 10));
    const auto line = attack(target);
    std::printf("%s: %s\n", words[1], line.c_str());
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "attacker: %s\n", failure.what());
    return 1;
  }
}
