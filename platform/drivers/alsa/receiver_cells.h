// How much fits into the pool of a receiving process.
//
// If a direct event finds the pool full, the pool's owner loses everything that waits there, and the kernel tells the
// owner, not us. So the driver asks for the free space first.
#pragma once

#include <cstddef>
#include <optional>

namespace drivers::alsa {

struct Cells {
  int all = 0;
  int free = 0;
};

// Returns the cells of the pool into which a client receives; nullopt if the client no longer exists or receives
// nothing. descriptor: that of any client.
std::optional<Cells> cellsOf(int descriptor, int client);

// Returns the cells that an event with this many bytes of variable-length data takes.
int cellsFor(std::size_t bytes);

// Returns the most bytes of data that an event in this many cells holds.
std::size_t bytesIn(int cells);

}  // namespace drivers::alsa
