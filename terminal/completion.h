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

// Offers candidates for the command word and draws the prompt again. Without candidates the line stays as it is. A
// single candidate replaces the whole line. Several candidates are listed in columns; the word is not extended, unless
// the line holds a "/" or a blank (then as in offerPaths).
void offerCommands(LineEditor& editor, ConsoleOutput& output, std::string_view promptText,
                   std::span<const std::string> candidates);

// Offers candidates for the last part of a path, which is the text after the last "/" or blank of the line, and draws
// the prompt again. Without candidates, or if the line holds neither "/" nor blank, the line stays as it is. A single
// candidate replaces that part (".." becomes "../"). Several candidates are listed in columns, and their common prefix
// replaces that part.
void offerPaths(LineEditor& editor, ConsoleOutput& output, std::string_view promptText,
                std::span<const std::string> candidates);

}  // namespace flowscope
