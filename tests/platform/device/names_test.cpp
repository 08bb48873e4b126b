#include "platform/device/names.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace device {
namespace {

TEST(CleanName, ReplacesBytesThatANameMustNotHave) {
  const struct {
    std::string_view raw;
    std::string_view clean;
  } table[] = {
      {"KeyboardOut1", "KeyboardOut1"},
      {"Midi Through Port-0", "Midi_Through_Port-0"},
      {"a/b;c", "a_b_c"},
      {"\"quoted\" 'name'", "_quoted___name_"},
      {"x*[y]\\^$", "x__y____"},
      {"a.b:c,d(e)!?", "a.b:c,d(e)!?"},
      {"\x1b[31mred\x7f", "__31mred_"},
      {"na\xc3\xafve", "na__ve"},
      {std::string_view("nul\0nul", 7), "nul_nul"},
      {"tab\tnew\nline", "tab_new_line"},
      {"", "_"},
      {"..", "_"},
      {".", "."},
      {"...", "..."},
      {"-l", "_l"},
      {"~home", "_home"},
      {"a-b~c", "a-b~c"},
      {"-", "_"},
      {" ", "_"},
  };
  for (const auto& row : table) EXPECT_EQ(cleanName(row.raw), row.clean) << row.raw;
}

TEST(CleanName, EveryByteIsEitherKeptOrReplaced) {
  const std::string_view forbidden = "/;\"'*[]\\^$";
  for (int value = 0; value < 256; ++value) {
    const char byte = static_cast<char>(value);
    const bool allowed = value > ' ' && value < 0x7F && forbidden.find(byte) == std::string_view::npos;
    EXPECT_EQ(cleanName(std::string{'a', byte}), (std::string{'a', allowed ? byte : '_'})) << value;
  }
}

TEST(CleanName, IsRecognized) {
  const std::vector<std::string> raws{"KeyboardOut1", "a b",   "",      "..",       ".", "...",
                                      "-l",           "~home", "a-b~c", "-",        " ", "_",
                                      "a*",           "\x1b",  "\x7f",  "\xc3\xaf", "a;"};
  for (const std::string& raw : raws) EXPECT_EQ(isCleanName(raw), cleanName(raw) == raw) << raw;
  for (int value = 0; value < 256; ++value) {
    for (const std::string& raw : {std::string{static_cast<char>(value)}, std::string{'a', static_cast<char>(value)}}) {
      EXPECT_EQ(isCleanName(raw), cleanName(raw) == raw) << value;
    }
  }
  EXPECT_TRUE(isCleanName(std::string(64, 'a'))) << "the length is another matter";
}

TEST(CleanName, CutsAtTheLimit) {
  EXPECT_EQ(cleanName(std::string(200, 'a')), std::string(63, 'a'));
  EXPECT_EQ(cleanName(std::string(63, 'a')), std::string(63, 'a'));
  EXPECT_EQ(cleanName("...x", 2), "_");
}

TEST(JoinName, CutsOnlyTheStem) {
  EXPECT_EQ(joinName("abc", "12", 5), "abc12");
  EXPECT_EQ(joinName("abcd", "12", 5), "abc12");
  EXPECT_EQ(joinName("abcd", "12345", 5), "12345");
}

TEST(UniqueNames, AddsTheFirstFreeSuffix) {
  UniqueNames names;
  const std::vector<std::pair<std::string, std::string>> table = {
      {"Synth", "Synth"}, {"Synth", "Synth_2"}, {"Synth", "Synth_3"}, {"a b", "a_b"}, {"a/b", "a_b_2"},
      {"x_2", "x_2"},     {"x", "x"},           {"x", "x_3"},         {"", "_"},      {"..", "__2"},
  };
  for (const auto& [raw, unique] : table) EXPECT_EQ(names.add(raw), unique) << raw;
}

TEST(UniqueNames, StayWithinTheLimitAndUniqueAfterCutting) {
  UniqueNames names(20);
  std::set<std::string> seen;
  for (int count = 0; count < 2000; ++count) {
    const std::string name = names.add(std::string(40, 'n') + std::to_string(count));
    EXPECT_LE(name.size(), 20U);
    EXPECT_TRUE(seen.insert(name).second) << name;
  }
  EXPECT_TRUE(seen.contains("nnnnnnnnnnnnnnn_2000"));
}

TEST(UniqueNames, ManyEqualNamesGetTheirSuffixesFast) {
  UniqueNames names;
  std::string last;
  for (int count = 0; count < 65536; ++count) last = names.add("port");
  EXPECT_EQ(last, "port_65536");
}

TEST(UniqueNames, ReleasedNameIsFree) {
  UniqueNames names;
  EXPECT_EQ(names.add("in"), "in");
  EXPECT_EQ(names.add("in"), "in_2");
  EXPECT_EQ(names.add("in"), "in_3");
  names.remove("in");
  EXPECT_EQ(names.add("in"), "in");
  names.remove("in_2");
  names.remove("in_3");
  names.remove("never given");
  EXPECT_EQ(names.add("in"), "in_2") << "counted anew when none is left";
  EXPECT_EQ(names.add("in_2"), "in_2_2");
}

}  // namespace
}  // namespace device
