// Arbitrary bytes as typed keys, with the line editor behind the decoder.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "terminal/key_decoder.h"
#include "terminal/line_editor.h"
#include "tests/support/fakes.h"

namespace {

void require(bool met) {
  if (!met) std::abort();
}

class Host : public flowscope::EditorHost {
 public:
  std::string promptText() override { return "p /"; }
  flowscope::ResultCode runEditedLine(const std::string& line) override {
    lines.push_back(line);
    return flowscope::ResultOk;
  }
  void inputEnded() override {}

  std::vector<std::string> lines;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::FILE* const out = std::fopen("/dev/null", "w");
  require(out != nullptr);
  Host host;
  flowscope::test::ScriptedKeys keys;
  flowscope::LineEditor editor(host, keys, out, false);
  editor.drawPrompt(host.promptText());
  flowscope::KeyDecoder decoder;
  for (const std::uint8_t byte : std::span(data, size)) {
    const auto code = decoder.feed(byte);
    if (!code) continue;
    const std::size_t linesBefore = host.lines.size();
    editor.handleKey(*code);
    require(editor.cursor() <= editor.buffer().size());
    require(editor.promptColumn() == 8);
    require(editor.buffer().find('\0') == std::string::npos);
    require(host.lines.size() <= linesBefore + 1);
    require(editor.history().entries().size() <= host.lines.size());
  }
  return 0;
}
