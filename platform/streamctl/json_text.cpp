#include "platform/streamctl/json_text.h"

#include <cstdint>

#include "platform/system/printable.h"

namespace streamctl {
namespace {

void appendUnit(std::uint32_t unit, std::string& text) {
  constexpr std::string_view Digits = "0123456789abcdef";
  text += "\\u";
  for (const unsigned shift : {12U, 8U, 4U, 0U}) text += Digits[unit >> shift & 0xFU];
}

// As JSON writes a character that it escapes: above 16 bits, in two halves.
std::string escaped(char32_t character) {
  // The line ends of a text with indentation. JSON itself escapes those in strings.
  if (character == U'\n') return "\n";
  std::string text;
  if (character < 0x10000) {
    appendUnit(character, text);
  } else {
    appendUnit(0xD800U + ((character - 0x10000U) >> 10U), text);
    appendUnit(0xDC00U + ((character - 0x10000U) & 0x3FFU), text);
  }
  return text;
}

}  // namespace

std::string jsonText(const JsonValue& value, int indent) {
  return sys::replaceHidden(value.dump(indent, ' ', false, JsonValue::error_handler_t::replace), escaped);
}

std::string jsonText(std::string_view text, int indent) { return jsonText(JsonValue(std::string(text)), indent); }

}  // namespace streamctl
