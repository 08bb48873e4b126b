#include "platform/drivers/catalogue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace drivers {
namespace {

std::string problemOf(const DriverOrProblem& opened) {
  const auto* problem = std::get_if<std::string>(&opened);
  return problem == nullptr ? "" : *problem;
}

TEST(Catalogue, FindsDriversByName) {
  for (const Entry& entry : catalogue()) EXPECT_EQ(find(entry.name), &entry);
  EXPECT_EQ(find("jac"), nullptr);
  EXPECT_EQ(find(""), nullptr);
}

TEST(Catalogue, ListsNamesInItsOrder) { EXPECT_EQ(namesOfAll(), "builtin, alsa, jack"); }

// The order in which a program that was told nothing tries them.
TEST(Catalogue, SystemsAreTheSequencerThenJack) {
  std::string systems;
  for (const Entry& entry : catalogue()) systems += entry.isSystem ? std::string(entry.name) + " " : "";
  EXPECT_EQ(systems, "alsa jack ");
}

TEST(OpenDevice, GivesBuiltinDeviceWithoutFile) {
  const auto device = openDevice("");
  const auto* driver = std::get_if<std::unique_ptr<device::Driver>>(&device);
  ASSERT_NE(driver, nullptr);
  EXPECT_FALSE((*driver)->topology().groups().empty());
}

TEST(OpenDevice, ReportsWhatIsWrongWithAFile) {
  const auto device = openDevice("/nowhere/device.toml");
  const auto* problem = std::get_if<std::string>(&device);
  ASSERT_NE(problem, nullptr);
  EXPECT_NE(problem->find("/nowhere/device.toml: "), std::string::npos) << *problem;
  EXPECT_EQ(problem->find('\n'), std::string::npos);
}

// Only the drivers of other systems can be asked for by name in place of a file.
TEST(OpenDevice, TakesOtherNamesForFiles) {
  EXPECT_THAT(problemOf(openDevice("builtin")), testing::StartsWith("builtin: "));
}

TEST(OpenDrivers, RefusesASystemThatIsNamedTwice) {
  EXPECT_EQ(problemOf(openDrivers({"alsa", "builtin", "alsa"}, "")), "alsa: may be given only once");
  EXPECT_EQ(problemOf(openDrivers({"jack", "jack"}, "")), "jack: may be given only once");
}

TEST(OpenDrivers, ReportsWhichNameIsUnknown) {
  EXPECT_EQ(problemOf(openDrivers({"builtin", "nonsense"}, "")), "nonsense: no such driver");
}

TEST(OpenDrivers, PutsSeveralSideBySide) {
  const auto opened = openDrivers({"builtin", "builtin"}, "");
  ASSERT_EQ(problemOf(opened), "");
  const auto one = openDrivers({"builtin"}, "");
  EXPECT_EQ(std::get<0>(opened)->topology().groups().size(), 2 * std::get<0>(one)->topology().groups().size());
}

}  // namespace
}  // namespace drivers
