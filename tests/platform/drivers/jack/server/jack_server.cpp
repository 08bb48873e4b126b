#include "tests/platform/drivers/jack/server/jack_server.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "tests/support/case_runner.h"
#include "tests/support/unique_fd.h"

namespace drivers::jack {
namespace {

using namespace std::chrono_literals;
using testsupport::ChildDescriptors;
using testsupport::Deadline;

constexpr auto Patience = 10s;
constexpr auto LeavingPatience = 1s;

constexpr int Names = 4;

// Whether a process is a server of this name.
bool isServer(pid_t process, const std::string& name) {
  std::ifstream in("/proc/" + std::to_string(process) + "/cmdline");
  const std::string line(std::istreambuf_iterator<char>(in), {});
  return line.starts_with("jackd") && line.find('\0' + name + '\0') != std::string::npos;
}

// Removes what a server of this name that was killed has left of its clients: the next ones of the same names would be
// out of step with their server.
void removeSemaphores(const std::string& name) {
  std::error_code problem;
  for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", problem)) {
    const std::string file = entry.path().filename();
    if (file.starts_with("jack_sem.") && file.find("_" + name + "_") != std::string::npos) {
      std::filesystem::remove(entry.path(), problem);
    }
  }
}

// A name that no other process uses, for as long as this one lives: a file is locked for it. In the file stands the
// server that was started last, which runs on when its test was killed.
class Name {
 public:
  Name() {
    for (int number = 1; number <= Names; ++number) {
      name_ = "flowscope-test-" + std::to_string(number);
      // Another user's file could not be opened, and servers of several users may have the same name.
      const std::string file = name_ + "-" + std::to_string(getuid()) + ".lock";
      const std::string path = std::filesystem::temp_directory_path() / file;
      file_ = testsupport::UniqueFd(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
      if (!file_ || flock(file_.get(), LOCK_EX | LOCK_NB) != 0) continue;
      endLeftOver();
      return;
    }
    throw std::runtime_error("all names of JACK servers for tests are taken");
  }

  const std::string& text() const { return name_; }

  void write(pid_t server) const {
    const std::string line = std::to_string(server) + "\n";
    if (ftruncate(file_.get(), 0) != 0 || pwrite(file_.get(), line.data(), line.size(), 0) < 0) {
      throw std::system_error(errno, std::generic_category(), name_);
    }
  }

 private:
  void endLeftOver() const {
    std::array<char, 16> line{};
    if (pread(file_.get(), line.data(), line.size() - 1, 0) <= 0) return;
    const pid_t server = std::atoi(line.data());
    if (server <= 1) return;
    for (const Deadline deadline(Patience); isServer(server, name_) && !deadline.passed();) {
      ::kill(server, SIGKILL);
      std::this_thread::sleep_for(10ms);
    }
  }

  std::string name_;
  testsupport::UniqueFd file_;
};

const Name& serverName() {
  static const Name name;
  return name;
}

std::map<std::string, std::string> variables() {
  return {
      {"JACK_DEFAULT_SERVER", serverName().text()}, {"JACK_NO_AUDIO_RESERVATION", "1"}, {"JACK_NO_START_SERVER", "1"}};
}

}  // namespace

std::map<std::string, std::string> JackServer::environment() {
  auto environment = testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR);
  environment.merge(variables());
  return environment;
}

void JackServer::choose() {
  for (const auto& [name, value] : variables()) setenv(name.c_str(), value.c_str(), 1);
}

std::string JackServer::whyNot() {
  for (const char* program : {"jackd", "jack_lsp", "jack_connect", "jack_disconnect", "jack_midi_dump", "jack_wait"}) {
    if (access(("/usr/bin/" + std::string(program)).c_str(), X_OK) != 0) return std::string("no program ") + program;
  }
  return {};
}

JackServer::JackServer(int ports, int frames) : ports_(ports), frames_(frames) {
  choose();
  start();
}

// A server that has not noticed yet that a client was killed or late takes five seconds or eleven to end.
JackServer::~JackServer() {
  if (!child_) return;
  child_->signal(SIGCONT);
  child_->signal(SIGTERM);
  child_->wait(Deadline(LeavingPatience));
}

void JackServer::startAlone() {
  removeSemaphores(serverName().text());
  const std::string log = logPath();
  ChildDescriptors descriptors;
  descriptors.open(STDIN_FILENO, "/dev/null", O_RDONLY);
  descriptors.open(STDOUT_FILENO, log, O_WRONLY | O_CREAT | O_APPEND);
  descriptors.duplicate(STDERR_FILENO, STDOUT_FILENO);
  child_.emplace(testsupport::Command{"jackd",
                                      {"-r", "-p", std::to_string(ports_), "-n", serverName().text(), "-d", "dummy",
                                       "-r", "48000", "-p", std::to_string(frames_)},
                                      environment(),
                                      {}},
                 descriptors);
  serverName().write(child_->id());
}

void JackServer::start() {
  startAlone();
  const auto ready =
      runProcess({"jack_wait", {"-w", "-t", std::to_string(Patience / 1s)}, environment(), {}}, {}, Deadline(Patience));
  if (ready.status == testsupport::ExitStatus::exited(0)) return;
  std::ifstream in(logPath());
  throw std::runtime_error("jackd does not run: " + std::string(std::istreambuf_iterator<char>(in), {}));
}

void JackServer::stop() { end(SIGTERM); }

void JackServer::halt() {
  child_->signal(SIGSTOP);
  // Its threads stop one by one, and one of them may still answer.
  const auto runs = [](const std::filesystem::directory_entry& thread) {
    std::ifstream in(thread.path() / "stat");
    const std::string text(std::istreambuf_iterator<char>(in), {});
    return text.find(") T ") == std::string::npos;
  };
  const std::filesystem::path threads = "/proc/" + std::to_string(child_->id()) + "/task";
  for (const Deadline deadline(Patience); !deadline.passed(); std::this_thread::sleep_for(1ms)) {
    const std::filesystem::directory_iterator all(threads);
    if (std::none_of(all, std::filesystem::directory_iterator(), runs)) return;
  }
  throw std::runtime_error("jackd does not stop");
}

void JackServer::resume() { child_->signal(SIGCONT); }

void JackServer::kill() { end(SIGKILL); }

void JackServer::end(int signal) {
  if (!child_) return;
  child_->signal(signal);
  child_->wait(Deadline(Patience));
  child_.reset();
}

std::string JackServer::tool(const std::string& program, const std::vector<std::string>& arguments) const {
  const auto result = runProcess({program, arguments, environment(), {}}, {}, Deadline(Patience));
  if (result.status == testsupport::ExitStatus::exited(0)) return result.standardOutput;
  throw std::runtime_error(program + " fails: " + result.standardOutput + result.standardError);
}

}  // namespace drivers::jack
