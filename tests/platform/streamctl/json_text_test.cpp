#include "platform/streamctl/json_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace streamctl {
namespace {

TEST(JsonText, EscapesWhatIsNotShown) {
  const struct {
    std::string text;
    std::string json;
  } table[] = {
      {"plain \"text\" \\", R"("plain \"text\" \\")"},
      {"\x1b[2J\n", R"("\u001b[2J\n")"},
      {"del\x7f", R"("del\u007f")"},
      {"csi\xc2\x9b", R"("csi\u009b")"},
      {"\xe2\x80\xaeleft", R"("\u202eleft")"},
      {"\xf3\xa0\x80\x81tag", R"("\udb40\udc01tag")"},
      {"n\xc3\xa4me \xf0\x9f\x8e\xb9", "\"n\xc3\xa4me \xf0\x9f\x8e\xb9\""},
      {"bad\xff", "\"bad\xef\xbf\xbd\""},
  };
  for (const auto& row : table) {
    EXPECT_EQ(jsonText(JsonValue(row.text), -1), row.json);
    const auto read = JsonValue::parse(jsonText(JsonValue(row.text), -1));
    if (row.text == "bad\xff") continue;
    EXPECT_EQ(read, JsonValue(row.text)) << "a reader sees the same";
  }
}

TEST(JsonText, KeepsItsOwnLines) {
  EXPECT_EQ(jsonText(JsonValue{{"a", {"\x7f", 2}}}, 2), "{\n  \"a\": [\n    \"\\u007f\",\n    2\n  ]\n}");
}

}  // namespace
}  // namespace streamctl
