#include "platform/drivers/jack/client_opener.h"

#include <pthread.h>

#include <condition_variable>
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

}  // namespace

struct ClientOpener::Work {
  explicit Work(std::shared_ptr<sys::EventDescriptor> woken) : wakeup(std::move(woken)) {}

  void run();
  void closeAll(std::unique_lock<std::mutex>& lock);
  void tryToOpen(std::unique_lock<std::mutex>& lock);

  const std::shared_ptr<sys::EventDescriptor> wakeup;
  std::mutex mutex;
  std::condition_variable changed;
  // The mutex guards everything below.
  bool stopping = false;
  bool ended = false;
  bool untilThere = false;
  std::optional<Clock::time_point> nextTry;
  std::vector<std::unique_ptr<Client>> toClose;
  std::optional<Opened> result;
};

void ClientOpener::Work::run() {
  std::unique_lock lock(mutex);
  while (true) {
    closeAll(lock);
    if (stopping) break;
    if (nextTry && *nextTry <= Clock::now()) {
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

void ClientOpener::Work::closeAll(std::unique_lock<std::mutex>& lock) {
  while (!toClose.empty()) {
    auto closing = std::exchange(toClose, {});
    lock.unlock();
    closing.clear();
    lock.lock();
  }
}

void ClientOpener::Work::tryToOpen(std::unique_lock<std::mutex>& lock) {
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

ClientOpener::ClientOpener(std::shared_ptr<sys::EventDescriptor> wakeup)
    : work_(std::make_shared<Work>(std::move(wakeup))) {
  const sys::WithoutSignals quiet;
  thread_ = std::thread([work = work_] {
    pthread_setname_np(pthread_self(), "jack");
    work->run();
  });
}

ClientOpener::~ClientOpener() {
  std::unique_lock lock(work_->mutex);
  if (work_->result && work_->result->index() == 0) {
    work_->toClose.push_back(std::get<0>(std::move(*work_->result)));
  }
  work_->result.reset();
  work_->stopping = true;
  work_->changed.notify_all();
  if (work_->changed.wait_for(lock, PatienceAtTheEnd, [&] { return work_->ended; })) {
    lock.unlock();
    thread_.join();
  } else {
    thread_.detach();
  }
}

void ClientOpener::open(bool untilThere) {
  const std::lock_guard lock(work_->mutex);
  work_->untilThere = untilThere;
  work_->nextTry = Clock::now();
  work_->changed.notify_all();
}

void ClientOpener::close(std::unique_ptr<Client> client) {
  const std::lock_guard lock(work_->mutex);
  work_->toClose.push_back(std::move(client));
  work_->changed.notify_all();
}

std::optional<ClientOpener::Opened> ClientOpener::result() { return result(0ms); }

std::optional<ClientOpener::Opened> ClientOpener::result(std::chrono::milliseconds patience) {
  std::unique_lock lock(work_->mutex);
  work_->changed.wait_for(lock, patience, [&] { return work_->result.has_value(); });
  return std::exchange(work_->result, std::nullopt);
}

}  // namespace drivers::jack
