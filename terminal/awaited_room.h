// Waits until a non-blocking descriptor has room.
#pragma once

namespace flowscope {

// For one writer at a time. poll may report room that the next write does not find: on a terminal, a line feed takes
// two bytes. A writer whose write fails although poll reported room pauses before it tries again, longer each time, up
// to 16 milliseconds.
class AwaitedRoom {
 public:
  // Call this after a write that failed with EAGAIN. Blocks until the descriptor may have room, until it reports
  // another error, or for timeout milliseconds; a negative timeout means no limit. A signal may end it earlier.
  void await(int descriptor, int timeout);

  // Call this after a write that wrote something.
  void found() { pause_ = 0; }

 private:
  int pause_ = 0;  // milliseconds before the next poll
};

}  // namespace flowscope
