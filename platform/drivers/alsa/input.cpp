#include "platform/drivers/alsa/input.h"

#include <poll.h>
#include <pthread.h>
#include <sched.h>

#include <array>
#include <cerrno>

#include "platform/system/without_signals.h"

namespace drivers::alsa {
namespace {

// SNDRV_SEQ_MAX_CLIENT_EVENTS of the kernel. If we ask for more, it silently keeps its default of 200.
constexpr std::size_t PoolCells = 2'000;

constexpr int MostInOnePiece = 4'000;

// Gives this thread the lowest real-time priority where the system allows it. Its work is short.
void comeFirst() {
  sched_param wanted{};
  wanted.sched_priority = sched_get_priority_min(SCHED_RR);
  pthread_setschedparam(pthread_self(), SCHED_RR, &wanted);
}

}  // namespace

Input::Input(std::size_t mostBytes)
    : client_("flowscope taps"),
      // Others may see the port, but not subscribe to it.
      port_(client_.createPort("taps", SND_SEQ_PORT_CAP_WRITE)),
      queue_(mostBytes) {
  if (const int code = snd_seq_set_client_pool_input(client_.handle(), PoolCells); code < 0) {
    throw SequencerError("cannot enlarge the event pool of the ALSA sequencer client", code);
  }
  snd_seq_set_input_buffer_size(client_.handle(), PoolCells * sizeof(snd_seq_event_t));
  const sys::WithoutSignals quiet;
  thread_ = std::thread([this] { run(); });
}

Input::~Input() {
  stop_.wake();
  thread_.join();
}

std::vector<QueuedEvent> Input::take() {
  // Before taking: what arrives in between sets it again.
  wakeup_.clear();
  return queue_.take();
}

void Input::catchUp() {
  wanted_ = true;
  const std::lock_guard lock(reading_);
  wanted_ = false;
  wanted_.notify_one();
  readSome();
}

// Returns false if no more events can arrive.
bool Input::readSome() {
  bool any = false;
  int code = 0;
  for (int read = 0; read < MostInOnePiece; ++read) {
    snd_seq_event_t* event = nullptr;
    code = snd_seq_event_input(client_.handle(), &event);
    if (code == -ENOSPC) {
      queue_.addOverflow();
    } else if (code == -EINTR) {
      continue;
    } else if (code < 0) {
      break;
    } else {
      queue_.add(*event);
    }
    any = true;
  }
  if (any) wakeup_.wake();
  return code >= 0 || code == -EAGAIN || code == -EINTR || code == -ENOSPC;
}

void Input::run() {
  comeFirst();
  pthread_setname_np(pthread_self(), "alsa-drain");
  std::array<pollfd, 2> polled{pollfd{client_.descriptor(), POLLIN, 0}, pollfd{stop_.descriptor(), POLLIN, 0}};
  for (bool goesOn = true; goesOn;) {
    if (poll(polled.data(), polled.size(), -1) < 0 && errno != EINTR) return;
    if (polled[1].revents != 0) return;
    // A thread that unlocks a mutex and locks it again mostly gets it before a thread that waits.
    wanted_.wait(true);
    const std::lock_guard lock(reading_);
    goesOn = readSome();
  }
}

}  // namespace drivers::alsa
