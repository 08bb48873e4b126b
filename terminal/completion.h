// Completion of the line being typed: which command names fit, and how candidates are shown and taken over.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/console_output.h"
#include "terminal/line_editor.h"

namespace flowscope {

// The commands that fit what stands for the command word: all names when it is null; otherwise each name, with a
// trailing blank, that begins with it. Nothing when the word is a whole name with its trailing blank: then it is the
// command's argument that is to be completed.
std::optional<std::vector<std::string>> matchCommandSet(std::span<const std::string_view> names, const char* word);

// The longest text that all candidates begin with; empty without candidates.
std::string commonPrefix(std::span<const std::string> candidates);

// Show candidates for the command word, or for the last part of a path, and draw the prompt again: none leaves the
// line as it is; a single one is taken over; several are listed in columns, and the line grows by what they share.
void offerCommands(LineEditor& editor, ConsoleOutput& output, std::string_view promptText,
                   std::span<const std::string> candidates);
void offerPaths(LineEditor& editor, ConsoleOutput& output, std::string_view promptText,
                std::span<const std::string> candidates);

}  // namespace flowscope
