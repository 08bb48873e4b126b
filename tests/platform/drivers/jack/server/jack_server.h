// A JACK server of a test's own.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/child.h"
#include "tests/support/process.h"
#include "tests/support/sanitizer.h"
#include "tests/support/scratch_folder.h"

namespace drivers::jack {

// jackd with the dummy driver, under one of four names that only this process uses while it lives; JACK_DEFAULT_SERVER
// and its kin are set in this process's environment, so that clients find it. A machine has room for eight names, also
// of servers that were killed, until one of the same name is started: so there are no more.
class JackServer {
 public:
  // The frames of a period, 48,000 in a second. A client that a sanitizer slows down needs longer for each, or is late
  // in most.
  static constexpr int Frames = testsupport::Sanitized ? 1024 : 128;

  // Starts it. ports: the most that it gives to all clients together. Throws std::runtime_error, with what it has
  // printed, when it does not run within ten seconds.
  explicit JackServer(int ports = 2048, int frames = Frames);
  JackServer(const JackServer&) = delete;
  JackServer& operator=(const JackServer&) = delete;
  ~JackServer();

  // Only sets the environment, so that clients look for a server that does not run.
  static void choose();

  // Why no server can be started here; empty when one can.
  static std::string whyNot();

  // Ends it, at its leisure or at once (kill -9), and waits for its end.
  void stop();
  void kill();

  // Halts it and lets it go on (SIGSTOP, SIGCONT). It answers nothing meanwhile. Throws std::runtime_error when it does
  // not stop within ten seconds.
  void halt();
  void resume();

  // From the next start on, the most that it gives to all clients together.
  void limit(int ports) { ports_ = ports; }

  void start();

  // Like start, but does not wait until the server runs. start waits with a client, which then leaves; a program that
  // joins at that moment may never wake the next client (see docs/drivers.md). So a test in which a program comes back
  // by itself uses this.
  void startAlone();

  // What one of JACK's tools, which must succeed, prints: jack_lsp -c ...
  std::string tool(const std::string& program, const std::vector<std::string>& arguments = {}) const;

  // The environment in which our programs run, and clients find the server.
  static std::map<std::string, std::string> environment();

 private:
  void end(int signal);
  std::string logPath() const { return folder_.path() / "log"; }

  int ports_;
  int frames_;
  testsupport::ScratchFolder folder_;
  std::optional<testsupport::Child> child_;
};

}  // namespace drivers::jack
