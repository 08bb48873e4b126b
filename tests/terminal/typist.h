// Somebody who types into a line editor.
#pragma once

#include <string>
#include <string_view>

#include "terminal/key_decoder.h"
#include "terminal/line_editor.h"
#include "tests/support/keys.h"
#include "tests/support/memory_stream.h"
#include "tests/terminal/fakes.h"

namespace flowscope::test {

// An editor behind its first prompt. Its input thread waits at the gate; keys are handed over here.
class Typist {
 public:
  explicit Typist(bool quiet = false) : editor(host, keys, stream.stream(), quiet) {
    editor.drawPrompt(host.promptText());
    stream.take();
  }

  void type(std::string_view keyNames) { typeBytes(testsupport::keyBytes(keyNames).value()); }

  void typeBytes(std::string_view bytes) {
    for (const char byte : bytes) {
      if (const auto code = decoder.feed(static_cast<unsigned char>(byte))) editor.handleKey(*code);
    }
  }

  // What is written for these keys.
  std::string drawn(std::string_view keyNames) {
    stream.take();
    type(keyNames);
    return stream.take();
  }

  // The line with a bar at the cursor.
  std::string line() const {
    std::string text = editor.buffer();
    return text.insert(editor.cursor(), "|");
  }

  RecordingHost host;
  MemoryStream stream;
  ScriptedKeys keys;
  KeyDecoder decoder;
  LineEditor editor;
};

// A row of a table: keys, and the line with its cursor after them.
struct Typed {
  std::string_view name;
  std::string_view keys;
  std::string_view line;
};

}  // namespace flowscope::test
