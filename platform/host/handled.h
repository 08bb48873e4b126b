// What handling a message has brought.
#pragma once

namespace host {

// A message may be handled in pieces, between which others have their turn.
struct Handled {
  bool all = true;  // false: handle the same message again, before the next one of its connection
  // What it has cost: a message for the device costs one, and so do its copies for some taps. 0: nothing was done,
  // because the message has to wait for others.
  int turns = 1;
};

}  // namespace host
