// Waiting for a descriptor that does not block.
#pragma once

namespace flowscope {

// For one writer at a time. What poll says of room need not be true of the next bytes: a line feed takes two on a
// terminal. So a writer that finds the descriptor ready in vain pauses, longer each time, up to 16 milliseconds.
class AwaitedRoom {
 public:
  // To be called after a write that failed with EAGAIN. Blocks until the descriptor may have room, until another error
  // shows, or for timeout milliseconds; a negative timeout has no end. A signal may end it earlier.
  void await(int descriptor, int timeout);

  // To be called after a write that took something.
  void found() { pause_ = 0; }

 private:
  int pause_ = 0;  // milliseconds before the next look
};

}  // namespace flowscope
