// Text that is safe to show.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/system/text_encoding.h"

namespace sys {

// text with each byte that is not to be shown as "\xHH": what came from elsewhere must neither steer a terminal, nor
// end a line, nor look like what it is not. Printable ASCII stays, a backslash too. In UTF-8 other characters stay as
// well, but not controls, ends of lines and paragraphs, what changes the direction of text, what shows nothing, and
// bytes that belong to no character: UTF-8 is read strictly. What is printable already is answered as it is.
std::string printable(std::string_view text, TextEncoding encoding);

// The same, for who reads what this process writes (see environmentEncoding).
std::string printable(std::string_view text);

// How many columns printable text takes, when each of its characters takes one.
std::size_t columns(std::string_view text);

}  // namespace sys
