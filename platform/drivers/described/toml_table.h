// A TOML table: its values, what it may contain, and where it is wrong.
#pragma once

#include <toml++/toml.h>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/drivers/described/device_problem.h"

namespace drivers {

// Reads the values of a table. An error goes to problem, which keeps the first one. A value that is wrong or missing is
// nullopt. Table, problem and what must outlive the reader.
class TomlTable {
 public:
  // what: what the table describes, with its article: "a group".
  TomlTable(const toml::table& table, std::string_view what, std::optional<DeviceFileProblem>& problem)
      : table_(table), what_(what), problem_(problem) {}

  // Any other key is an error; of several, the first in the file.
  void allowOnly(std::initializer_list<std::string_view> keys);

  bool has(std::string_view key) const { return table_.contains(key); }

  // Returns the tables of an array of tables; none if the key is missing.
  std::vector<const toml::table*> tables(std::string_view key);

  std::optional<std::int64_t> integer(std::string_view key, std::int64_t least, std::int64_t most);
  std::optional<double> number(std::string_view key, double least, double most);
  std::optional<double> numberOrZero(std::string_view key, double least, double most);
  std::optional<std::string> text(std::string_view key);
  std::optional<bool> boolean(std::string_view key);

  // Returns value; a missing key is an error.
  template <class Value>
  std::optional<Value> required(std::string_view key, std::optional<Value> value) {
    if (!has(key)) fail("", std::string(what_) + " needs " + (key == "id" ? "an " : "a ") + std::string(key));
    return value;
  }

  // Returns the line of a key's value, or of the table if the key is missing.
  unsigned lineOf(std::string_view key) const;

  void fail(std::string_view key, std::string cause);

 private:
  std::optional<double> numberWhere(std::string_view key, double least, double most, bool orZero);

  const toml::table& table_;
  std::string_view what_;
  std::optional<DeviceFileProblem>& problem_;
};

}  // namespace drivers
