#include "terminal/input_thread.h"

#include "terminal/alternate_signal_stack.h"
#include "terminal/key_decoder.h"

namespace flowscope {

InputThread::InputThread(KeySource& source, KeySink& sink) : source_(source), sink_(sink) {
  inputRunning = true;
  thread_.emplace(run, this, nullptr);
}

InputThread::~InputThread() { finish(); }

void InputThread::openGate() {
  Gate closed = Gate::Closed;
  if (gate_.compare_exchange_strong(closed, Gate::Open)) gate_.notify_all();
}

void InputThread::finish() {
  if (!thread_) return;
  inputRunning = false;
  Gate closed = Gate::Closed;
  if (gate_.compare_exchange_strong(closed, Gate::Cancelled)) gate_.notify_all();
  source_.stop();
  thread_.reset();
}

void InputThread::run(void* self) {
  // A command may overflow this thread's stack too, and the terminal must then be restored.
  const AlternateSignalStack signalStack;
  static_cast<InputThread*>(self)->readKeys();
  UtilSrv::Thread::exit(0);
}

void InputThread::readKeys() {
  gate_.wait(Gate::Closed);
  if (gate_ == Gate::Cancelled) return;
  KeyDecoder decoder;
  while (inputRunning) {
    const int byte = source_.readByte();
    if (byte == InputResumed) {
      sink_.inputResumed();
      continue;
    }
    if (byte == EndOfInput) {
      // EndOfInput after stop() does not mean that the input has ended.
      if (inputRunning) sink_.inputEnded();
      return;
    }
    if (const std::optional<int> key = decoder.feed(static_cast<unsigned char>(byte))) sink_.handleKey(*key);
  }
}

}  // namespace flowscope
