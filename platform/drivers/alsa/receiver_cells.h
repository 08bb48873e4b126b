// How much fits into the pool of a process that receives.
//
// A direct event that finds the pool full makes its owner lose all that waits there, and the kernel tells the owner,
// not us. So the room is asked for before.
#pragma once

#include <cstddef>
#include <optional>

namespace drivers::alsa {

struct Cells {
  int all = 0;
  int free = 0;
};

// The cells of the pool into which a client receives, asked for through the descriptor of any client. Nothing when the
// client has gone, or receives nothing.
std::optional<Cells> cellsOf(int descriptor, int client);

// The cells that an event takes with so many bytes of data of variable length.
int cellsFor(std::size_t bytes);

// The most bytes that so many cells hold in one event.
std::size_t bytesIn(int cells);

}  // namespace drivers::alsa
