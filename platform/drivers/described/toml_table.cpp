#include "platform/drivers/described/toml_table.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace drivers {
namespace {

std::string shortText(double value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

}  // namespace

void TomlTable::allowOnly(std::initializer_list<std::string_view> keys) {
  const toml::key* first = nullptr;
  for (const auto& [key, value] : table_) {
    if (std::find(keys.begin(), keys.end(), key.str()) != keys.end()) continue;
    if (first == nullptr || key.source().begin < first->source().begin) first = &key;
  }
  if (first == nullptr || problem_) return;
  problem_ = DeviceFileProblem{first->source().begin.line,
                               std::string(what_) + " has no key '" + printable(first->str()) + "'"};
}

std::vector<const toml::table*> TomlTable::tables(std::string_view key) {
  std::vector<const toml::table*> result;
  const toml::node* node = table_.get(key);
  if (node == nullptr) return result;
  if (node->is_array()) {
    for (const toml::node& element : *node->as_array()) {
      if (element.is_table()) result.push_back(element.as_table());
    }
    if (result.size() == node->as_array()->size()) return result;
  }
  fail(key, "'" + std::string(key) + "' must be written as [[" + std::string(key) + "]]");
  return {};
}

std::optional<std::int64_t> TomlTable::integer(std::string_view key, std::int64_t least, std::int64_t most) {
  const toml::node* node = table_.get(key);
  if (node == nullptr) return std::nullopt;
  const auto value = node->value_exact<std::int64_t>();
  if (value && *value >= least && *value <= most) return value;
  fail(key, std::string(key) + " must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
  return std::nullopt;
}

std::optional<double> TomlTable::number(std::string_view key, double least, double most) {
  return numberWhere(key, least, most, false);
}

std::optional<double> TomlTable::numberOrZero(std::string_view key, double least, double most) {
  return numberWhere(key, least, most, true);
}

std::optional<double> TomlTable::numberWhere(std::string_view key, double least, double most, bool orZero) {
  const toml::node* node = table_.get(key);
  if (node == nullptr) return std::nullopt;
  const auto value = node->is_number() ? node->value<double>() : std::nullopt;
  // Written so that NaN is in no range.
  if (value && ((*value >= least && *value <= most) || (orZero && *value == 0))) return value;
  fail(key, std::string(key) + " must be " + (orZero ? "0 or " : "") + "a number from " + shortText(least) + " to " +
                shortText(most));
  return std::nullopt;
}

std::optional<std::string> TomlTable::text(std::string_view key) {
  const toml::node* node = table_.get(key);
  if (node == nullptr) return std::nullopt;
  auto value = node->value_exact<std::string>();
  if (!value) fail(key, std::string(key) + " must be a text in quotes");
  return value;
}

std::optional<bool> TomlTable::boolean(std::string_view key) {
  const toml::node* node = table_.get(key);
  if (node == nullptr) return std::nullopt;
  const auto value = node->value_exact<bool>();
  if (!value) fail(key, std::string(key) + " must be true or false");
  return value;
}

unsigned TomlTable::lineOf(std::string_view key) const {
  const toml::node* node = table_.get(key);
  return (node == nullptr ? table_ : *node).source().begin.line;
}

void TomlTable::fail(std::string_view key, std::string cause) {
  if (!problem_) problem_ = DeviceFileProblem{lineOf(key), std::move(cause)};
}

}  // namespace drivers
