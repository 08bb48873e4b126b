// Completes the line being typed: finds the command names that match, shows the candidates and inserts them.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/console_output.h"
#include "terminal/line_editor.h"

namespace flowscope {

// Returns the commands that match the command word: all names if word is null, otherwise each name, with a trailing
// blank, that begins with word. nullopt if word is a whole name with its trailing blank: then the command's argument is
// to be completed.
std::optional<std::vector<std::string>> matchCommandSet(std::span<const std::string_view> names, const char* word);

// Returns the longest text that all candidates begin with; empty without candidates.
std::string commonPrefix(std::span<const std::string> candidates);

// Offer candidates for the command word, or for the last part of a path, and draw the prompt again. Without candidates
// the line stays as it is; a single one is inserted; several are listed in columns, and their common prefix is
// inserted.
void offerCommands(LineEditor& editor, ConsoleOutput& output, std::string_view promptText,
                   std::span<const std::string> candidates);
void offerPaths(LineEditor& editor, ConsoleOutput& output, std::string_view promptText,
                std::span<const std::string> candidates);

}  // namespace flowscope
