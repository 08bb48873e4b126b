// Text that is safe to show.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "platform/system/text_encoding.h"

namespace sys {

// Returns text with each unprintable byte as "\xHH": foreign text must not control a terminal, end a line or disguise
// itself. Printable ASCII stays, and so does a backslash. In UTF-8 other characters stay too, except controls, line and
// paragraph separators, characters that change the text direction, invisible characters, and bytes that belong to no
// character: UTF-8 is decoded strictly. Text that is already printable is returned unchanged.
std::string printable(std::string_view text, TextEncoding encoding);

// Like above, in the encoding of the process's environment (see environmentEncoding).
std::string printable(std::string_view text);

// Returns UTF-8 text with each character that printable does not show, in UTF-8, as what escape returns for it. Bytes
// that belong to no character stay.
std::string replaceHidden(std::string_view text, const std::function<std::string(char32_t hidden)>& escape);

// The number of columns that printable text takes if each of its characters takes one.
std::size_t columns(std::string_view text);

}  // namespace sys
