#include "core/line_executor.h"

#include "core/dispatcher.h"
#include "core/script_file.h"
#include "core/stat_base.h"
#include "core/tokenizer.h"

namespace flowscope {

namespace {

class NestingGuard {
 public:
  explicit NestingGuard(int& depth) : depth_(depth) { ++depth_; }
  NestingGuard(const NestingGuard&) = delete;
  NestingGuard& operator=(const NestingGuard&) = delete;
  ~NestingGuard() { --depth_; }

 private:
  int& depth_;
};

}  // namespace

ResultCode runLine(StatBase& shell, std::string_view text, bool quoted) {
  if (quoted) text = stripScriptQuote(text);
  ResultCode answer = ResultSilent;
  for (const auto& piece : splitLine(text)) {
    answer = runCommands(shell, piece);
    if (answer != ResultOk) break;
  }
  return answer;
}

ResultCode runCommands(StatBase& shell, std::string_view text) {
  for (const auto& piece : splitAtSemicolons(text)) {
    const auto answer = dispatch(shell, piece);
    if (answer != ResultOk && answer != ResultSilent) return answer;
  }
  return ResultOk;
}

ResultCode runScript(StatBase& shell, const std::string& fileName) {
  if (shell.scriptDepth() >= MaximumScriptDepth) return ResultOpenFileError;
  const NestingGuard nesting(shell.scriptDepth());
  ScriptFile file(fileName);
  if (!file.isOpen()) return ResultOpenFileError;
  ResultCode answer = ResultSilent;
  while (!file.atEnd()) {
    answer = runLine(shell, file.nextLine(), true);
    if (answer != ResultOk) break;
  }
  return answer;
}

}  // namespace flowscope
