#include "platform/drivers/jack/server_thread.h"

#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/system/without_signals.h"

namespace drivers::jack {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto BetweenTries = 1s;
constexpr auto PatienceAtTheEnd = 2s;

// Requests that somebody waits for, before one that nobody waits for has its turn.
constexpr int MostUrgentInARow = 8;

}  // namespace

class ServerRequest {
 public:
  ServerRequest(ServerThread::Work does, ServerThread::Undo undoes) : work(std::move(does)), undo(std::move(undoes)) {}

  const ServerThread::Work work;
  const ServerThread::Undo undo;
  // The mutex of the thread guards everything below.
  std::optional<int> result;
  bool withdrawn = false;
};

struct ServerThread::State {
  explicit State(std::shared_ptr<sys::EventDescriptor> woken) : wakeup(std::move(woken)) {}

  void run();
  void closeAll(std::unique_lock<std::mutex>& lock);
  void serve(std::unique_lock<std::mutex>& lock);
  void tryToOpen(std::unique_lock<std::mutex>& lock);
  // The requests that have not begun.
  void dropAll() {
    urgent.clear();
    requests.clear();
  }

  const std::shared_ptr<sys::EventDescriptor> wakeup;
  std::mutex mutex;
  std::condition_variable changed;
  // The mutex guards everything below.
  bool stopping = false;
  bool ended = false;
  bool untilThere = false;
  std::optional<Clock::time_point> nextTry;
  std::deque<Request> urgent;  // somebody waits for these
  int urgentInARow = 0;
  std::deque<Request> requests;
  std::uint64_t doneCount = 0;
  std::optional<Clock::time_point> runsSince;  // of the request under way
  std::vector<std::unique_ptr<Client>> toClose;
  std::optional<Opened> result;
};

void ServerThread::State::run() {
  std::unique_lock lock(mutex);
  while (true) {
    closeAll(lock);
    if (stopping) break;
    if (!urgent.empty() || !requests.empty()) {
      serve(lock);
    } else if (nextTry && *nextTry <= Clock::now()) {
      tryToOpen(lock);
    } else if (nextTry) {
      changed.wait_until(lock, *nextTry);
    } else {
      changed.wait(lock);
    }
  }
  ended = true;
  changed.notify_all();
}

void ServerThread::State::closeAll(std::unique_lock<std::mutex>& lock) {
  while (!toClose.empty()) {
    auto closing = std::exchange(toClose, {});
    lock.unlock();
    closing.clear();
    lock.lock();
  }
}

void ServerThread::State::serve(std::unique_lock<std::mutex>& lock) {
  // Whoever makes many requests must not stop the others.
  const bool isOrdinary = urgent.empty() || (!requests.empty() && urgentInARow >= MostUrgentInARow);
  urgentInARow = isOrdinary ? 0 : urgentInARow + 1;
  auto& queue = isOrdinary ? requests : urgent;
  const Request request = std::move(queue.front());
  queue.pop_front();
  runsSince = Clock::now();
  lock.unlock();
  const int made = request->work();
  lock.lock();
  ++doneCount;
  runsSince.reset();
  if (request->withdrawn && request->undo) {
    lock.unlock();
    request->undo(made);
    lock.lock();
  }
  request->result = made;
  changed.notify_all();
  wakeup->wake();
}

void ServerThread::State::tryToOpen(std::unique_lock<std::mutex>& lock) {
  nextTry.reset();
  lock.unlock();
  Opened opened = Client::open(wakeup);
  lock.lock();
  const bool isThere = opened.index() == 0;
  if (!isThere && untilThere) {
    nextTry = Clock::now() + BetweenTries;
    return;
  }
  if (stopping && isThere) {
    toClose.push_back(std::get<0>(std::move(opened)));
    return;
  }
  result = std::move(opened);
  changed.notify_all();
  wakeup->wake();
}

ServerThread::ServerThread(std::shared_ptr<sys::EventDescriptor> wakeup)
    : state_(std::make_shared<State>(std::move(wakeup))) {
  const sys::WithoutSignals quiet;
  thread_ = std::thread([state = state_] {
    pthread_setname_np(pthread_self(), "jack");
    state->run();
  });
}

ServerThread::~ServerThread() {
  std::unique_lock lock(state_->mutex);
  if (state_->result && state_->result->index() == 0) {
    state_->toClose.push_back(std::get<0>(std::move(*state_->result)));
  }
  state_->result.reset();
  state_->dropAll();
  state_->stopping = true;
  state_->changed.notify_all();
  if (state_->changed.wait_for(lock, PatienceAtTheEnd, [&] { return state_->ended; })) {
    lock.unlock();
    thread_.join();
  } else {
    thread_.detach();
  }
}

void ServerThread::open(bool untilThere) {
  const std::lock_guard lock(state_->mutex);
  state_->untilThere = untilThere;
  state_->nextTry = Clock::now();
  state_->changed.notify_all();
}

void ServerThread::close(std::unique_ptr<Client> client) {
  const std::lock_guard lock(state_->mutex);
  state_->toClose.push_back(std::move(client));
  state_->dropAll();
  state_->changed.notify_all();
}

// The service asks each time that it wakes up: a wait without time would cost two system calls.
std::optional<ServerThread::Opened> ServerThread::result() {
  const std::lock_guard lock(state_->mutex);
  return std::exchange(state_->result, std::nullopt);
}

std::optional<ServerThread::Opened> ServerThread::result(std::chrono::milliseconds patience) {
  std::unique_lock lock(state_->mutex);
  state_->changed.wait_for(lock, patience, [&] { return state_->result.has_value(); });
  return std::exchange(state_->result, std::nullopt);
}

ServerThread::Request ServerThread::ask(Work work, Turn turn, Undo undo) {
  auto request = std::make_shared<ServerRequest>(std::move(work), std::move(undo));
  const std::lock_guard lock(state_->mutex);
  (turn == Turn::SomebodyWaits ? state_->urgent : state_->requests).push_back(request);
  state_->changed.notify_all();
  return request;
}

std::optional<int> ServerThread::result(const Request& request) const {
  const std::lock_guard lock(state_->mutex);
  return request->result;
}

std::optional<int> ServerThread::result(const Request& request, std::chrono::milliseconds patience) {
  std::unique_lock lock(state_->mutex);
  state_->changed.wait_for(lock, patience, [&] { return request->result.has_value(); });
  return request->result;
}

ServerThread::Withdrawn ServerThread::withdraw(const Request& request) {
  const std::lock_guard lock(state_->mutex);
  if (request->result) return Withdrawn::Done;
  if (std::erase(state_->urgent, request) + std::erase(state_->requests, request) > 0) return Withdrawn::Never;
  request->withdrawn = true;
  return Withdrawn::Undone;
}

std::uint64_t ServerThread::doneCount() const {
  const std::lock_guard lock(state_->mutex);
  return state_->doneCount;
}

std::optional<device::Time> ServerThread::runsSince() const {
  const std::lock_guard lock(state_->mutex);
  return state_->runsSince ? std::optional<device::Time>(state_->runsSince->time_since_epoch()) : std::nullopt;
}

}  // namespace drivers::jack
