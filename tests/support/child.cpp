#include "tests/support/child.h"

#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <system_error>
#include <utility>

namespace testsupport {
namespace {

constexpr std::array<std::pair<std::string_view, int>, 17> SignalNames{{{"HUP", SIGHUP},
                                                                        {"INT", SIGINT},
                                                                        {"QUIT", SIGQUIT},
                                                                        {"ILL", SIGILL},
                                                                        {"ABRT", SIGABRT},
                                                                        {"FPE", SIGFPE},
                                                                        {"KILL", SIGKILL},
                                                                        {"SEGV", SIGSEGV},
                                                                        {"PIPE", SIGPIPE},
                                                                        {"TERM", SIGTERM},
                                                                        {"USR1", SIGUSR1},
                                                                        {"USR2", SIGUSR2},
                                                                        {"CONT", SIGCONT},
                                                                        {"STOP", SIGSTOP},
                                                                        {"TSTP", SIGTSTP},
                                                                        {"TTIN", SIGTTIN},
                                                                        {"TTOU", SIGTTOU}}};

void check(int error, const std::string& what) {
  if (error != 0) {
    throw std::system_error(error, std::generic_category(), what);
  }
}

// Spawn attributes, released on destruction.
class SpawnAttributes {
 public:
  SpawnAttributes() {
    check(posix_spawnattr_init(&attributes_), "posix_spawnattr_init");
    sigset_t all;
    sigfillset(&all);
    sigset_t none;
    sigemptyset(&none);
    const int flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID;
    check(posix_spawnattr_setsigdefault(&attributes_, &all), "posix_spawnattr_setsigdefault");
    check(posix_spawnattr_setsigmask(&attributes_, &none), "posix_spawnattr_setsigmask");
    check(posix_spawnattr_setflags(&attributes_, static_cast<short>(flags)), "posix_spawnattr_setflags");
  }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;
  ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }

  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

// The null-terminated array that the system takes. The pointers are valid as long as the texts.
std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
  for (std::string& text : texts) {
    result.push_back(text.data());
  }
  result.push_back(nullptr);
  return result;
}

}  // namespace

std::string describe(const ExitStatus& status) {
  if (status.kind == ExitStatus::Kind::Exited) {
    return std::to_string(status.value);
  }
  for (const auto& [name, number] : SignalNames) {
    if (number == status.value) {
      return "signal " + std::string(name);
    }
  }
  return "signal " + std::to_string(status.value);
}

std::optional<int> signalNumber(std::string_view name) {
  for (const auto& [known, number] : SignalNames) {
    if (known == name) {
      return number;
    }
  }
  return std::nullopt;
}

ChildDescriptors::ChildDescriptors() {
  check(posix_spawn_file_actions_init(&actions_), "posix_spawn_file_actions_init");
}

ChildDescriptors::~ChildDescriptors() { posix_spawn_file_actions_destroy(&actions_); }

void ChildDescriptors::open(int target, const std::string& path, int flags) {
  check(posix_spawn_file_actions_addopen(&actions_, target, path.c_str(), flags, 0600), path);
}

void ChildDescriptors::duplicate(int target, int source) {
  check(posix_spawn_file_actions_adddup2(&actions_, source, target), "posix_spawn_file_actions_adddup2");
}

void ChildDescriptors::changeFolder(const std::string& folder) {
  check(posix_spawn_file_actions_addchdir_np(&actions_, folder.c_str()), folder);
}

Child::Child(const Command& command, ChildDescriptors& descriptors) {
  std::vector<std::string> words{command.program};
  words.insert(words.end(), command.arguments.begin(), command.arguments.end());
  std::vector<std::string> settings;
  for (const auto& [name, value] : command.environment) {
    settings.emplace_back(name).append("=").append(value);
  }
  if (!command.folder.empty()) {
    descriptors.changeFolder(command.folder);
  }
  const SpawnAttributes attributes;
  check(posix_spawnp(&id_, command.program.c_str(), descriptors.actions(), attributes.get(), pointers(words).data(),
                     pointers(settings).data()),
        command.program);
  endDescriptor_ = UniqueFd(static_cast<int>(syscall(SYS_pidfd_open, id_, 0)));
}

Child::~Child() {
  if (status_.has_value()) {
    return;
  }
  ::kill(-id_, SIGKILL);
  ::kill(id_, SIGKILL);
  int ignored = 0;
  while (::waitpid(id_, &ignored, 0) < 0 && errno == EINTR) {
  }
}

std::optional<ExitStatus> Child::wait(const Deadline& deadline) {
  while (!status_.has_value()) {
    int raw = 0;
    const pid_t answer = ::waitpid(id_, &raw, WNOHANG);
    if (answer == id_) {
      status_ = WIFSIGNALED(raw) ? ExitStatus::signalled(WTERMSIG(raw)) : ExitStatus::exited(WEXITSTATUS(raw));
    } else if (answer < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "waitpid");
    } else if (deadline.passed()) {
      break;
    } else {
      pollfd end{endDescriptor_.get(), POLLIN, 0};
      ::poll(&end, 1, deadline.pollTimeout());
    }
  }
  return status_;
}

void Child::signal(int number) {
  if (!status_.has_value()) {
    ::kill(id_, number);
  }
}

}  // namespace testsupport
