// JSON as text.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace streamctl {

using JsonValue = nlohmann::ordered_json;

// The text of a value. indent: blanks for each level, -1 for all on one line. Replaces text that is not UTF-8 by
// U+FFFD. Escapes characters that sys::printable does not show: names of others must not control a terminal.
std::string jsonText(const JsonValue& value, int indent);
std::string jsonText(std::string_view text, int indent);

}  // namespace streamctl
