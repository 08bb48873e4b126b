#include "platform/drivers/described/key_depth.h"

#include <gtest/gtest.h>

#include <string>

namespace drivers {
namespace {

// A key with so many parts.
std::string key(unsigned parts, const std::string& part = "a") {
  std::string text = part;
  for (unsigned i = 1; i < parts; ++i) text += "." + part;
  return text;
}

TEST(KeyDepth, TellsTheLineOfTheFirstDeepKey) {
  const std::string most = key(MaxKeyParts);
  const std::string deep = key(MaxKeyParts + 1);
  const struct {
    std::string text;
    unsigned line;  // 0: none
  } table[] = {
      {"", 0},
      {most + " = 1\n[" + most + "]\n[[" + most + "]]\n" + most + " = {" + most + " = 1, " + most + " = 2}\n", 0},
      {deep + " = 1", 1},
      {"\n\r\n[" + deep + "]", 3},
      {"a = 1\n" + deep + " = 1\n" + deep + " = 1\n", 2},
      {"a = {" + deep + " = 1}", 1},
      {"a = [\n1.5,\n{b = 1, " + deep + " = 1}]", 3},
      {key(MaxKeyParts + 1, " a\t") + "= 1", 1},
      // Quoted parts are parts like any other, and what stands inside them is not.
      {key(MaxKeyParts + 1, "'a'") + " = 1", 1},
      {key(MaxKeyParts + 1, R"("")") + " = 1", 1},
      {key(MaxKeyParts, "'.'") + " = 1", 0},
      // Texts and comments.
      {"a = '" + deep + "'", 0},
      {"a = \"" + deep + "\"", 0},
      {R"(a = "\")" + deep + "\"", 0},
      {"a = '\\'\n" + deep + " = 1", 2},
      {"# '" + deep + "\n" + deep + " = ''", 2},
      {"a = 1 # " + deep, 0},
      {"a = '''\n'" + deep + "\n''' # '''\n" + deep + " = 1", 4},
      {R"(a = """\""")" + deep + R"(""")", 0},
      {"a = {b = \"\"\"\n\"\"\"\"\", " + deep + " = 1}", 2},
      {"a = {b = '', c = '\"', " + deep + " = 1}", 1},
      // No TOML from the first line on, and an answer all the same.
      {"a = '\n" + deep + " = 1", 2},
      {R"(a = "\)", 0},
      {R"(a = """)", 0},
  };
  for (const auto& row : table) {
    EXPECT_EQ(lineOfDeepKey(row.text).value_or(0), row.line) << row.text;
  }
}

}  // namespace
}  // namespace drivers
