// Arbitrary lines through the line executor, the tokenizer and the dispatcher, with a shell whose commands only check
// what they are handed.
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "core/line_executor.h"
#include "core/stat_base.h"
#include "core/tokenizer.h"
#include "evtsrv.h"
#include "tests/support/fakes.h"

namespace {

using flowscope::Options;
using flowscope::ResultCode;

void require(bool holds) {
  if (!holds) std::abort();
}

class Shell : public flowscope::StatBase {
 public:
  using StatBase::StatBase;

  ResultCode onLs(Options options, const char* path) override { return check(options, path); }
  ResultCode onCat(Options options, const char* path) override { return check(options, path); }
  ResultCode onCon(const char* first, const char* second) override {
    require(first != nullptr || second == nullptr);
    return flowscope::ResultOk;
  }
  ResultCode onOther(const char* word, const char* first, const char* /*second*/) override {
    require(word != nullptr && first != nullptr);
    return flowscope::ResultUnknownError;
  }

 private:
  static ResultCode check(Options options, const char* path) {
    require((options & ~flowscope::AllOptions) == 0);
    require(path == nullptr || *path != '-');
    return flowscope::ResultOk;
  }
};

Shell& shell() {
  ::setenv("EVTSRV_ENDPOINT", "none:", 1);
  static EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Void, true);
  static flowscope::test::FixedSize size;
  static flowscope::test::ScriptedKeys keys;
  static flowscope::test::NoCommands system;
  static flowscope::ShellIo io{std::fopen("/dev/null", "w"), size, keys, system};
  static Shell made(manager, true, io);
  return made;
}

// A script may be any file of this machine.
bool namesAScript(std::string_view text) { return text.find("cmdfrom") != std::string_view::npos; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const bool quoted = (data[0] & 1) != 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  for (const auto& word : flowscope::splitWords(text)) require(word.size() <= text.size());
  for (const auto& piece : flowscope::splitLine(text)) require(piece.find(';') == std::string::npos);
  if (namesAScript(text)) return 0;
  const ResultCode code = flowscope::runLine(shell(), text, quoted);
  require(code >= flowscope::ResultOk && code <= flowscope::ResultQuit);
  require(shell().isRunning() == (code != flowscope::ResultQuit));
  shell().setRunning(true);
  return 0;
}
