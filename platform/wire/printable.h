// Text that is safe to show.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/wire/text_encoding.h"

namespace wire {

// text with "?" for what is not to be shown: what came from elsewhere must neither steer a terminal, nor end a line,
// nor look like what it is not. Printable ASCII stays. In UTF-8 other characters stay, too, but for controls, ends of
// lines and paragraphs, what changes the direction of text, and what shows nothing; each of these is one "?". Each byte
// that belongs to no character is one: UTF-8 is read strictly.
std::string printable(std::string_view text, TextEncoding encoding);

// The same, for who reads what this process writes (see environmentEncoding).
std::string printable(std::string_view text);

// How many columns printable text takes, when each of its characters takes one.
std::size_t columns(std::string_view text);

}  // namespace wire
