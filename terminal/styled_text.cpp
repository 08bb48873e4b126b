#include "terminal/styled_text.h"

#include <array>
#include <string_view>

namespace flowscope {
namespace {

struct Attribute {
  std::uint32_t bit;
  std::string_view on;
  std::string_view off;
};

// In the order of emission.
constexpr std::array<Attribute, 4> Attributes{{
    {AttrReverse, "\x1b[7m", "\x1b[27m"},
    {AttrBold, "\x1b[1m", "\x1b[22m"},
    {AttrBlink, "\x1b[5m", "\x1b[25m"},
    {AttrUnderline, "\x1b[4m", "\x1b[24m"},
}};

// By colour code.
constexpr std::array<std::string_view, 5> Colours{"\x1b[39m", "\x1b[37m", "\x1b[31m", "\x1b[32m", "\x1b[34m"};

}  // namespace

std::string styleOn(std::uint32_t attributes, std::uint32_t colour) {
  std::string sequences;
  for (const Attribute& attribute : Attributes) {
    if ((attributes & attribute.bit) != 0) sequences += attribute.on;
  }
  if (colour < Colours.size()) sequences += Colours.at(colour);
  return sequences;
}

std::string styleOff(std::uint32_t attributes, std::uint32_t colour) {
  std::string sequences;
  for (const Attribute& attribute : Attributes) {
    if ((attributes & attribute.bit) != 0) sequences += attribute.off;
  }
  if (colour != ColourDefault) sequences += Colours.at(ColourDefault);
  return sequences;
}

}  // namespace flowscope
