#include "platform/service/client_table.h"

#include <gtest/gtest.h>

#include "tests/platform/service/device.h"

namespace service {
namespace {

const Bytes Note{0x90, 0x40, 0x7F};

TEST(ClientTable, NumbersAreNotReused) {
  ClientTable clients(1024);
  const ClientId one = clients.add();
  EXPECT_TRUE(clients.contains(one));
  clients.remove(one);
  EXPECT_FALSE(clients.contains(one));
  EXPECT_EQ(clients.queue(one), nullptr);
  EXPECT_NE(clients.add(), one);
}

TEST(ClientTable, TotalsIncludeRemovedClients) {
  ClientTable clients(100);
  const ClientId one = clients.add();
  const ClientId two = clients.add();
  while (clients.queue(one)->lost() == 0) clients.queue(one)->add(EventPortId{1}, in(0, 0), "p", 1004, {0, Note}, {});
  clients.queue(two)->add(EventPortId{1}, in(0, 0), "p", 1004, {0, Note}, {});
  clients.countIn(two);
  const std::uint64_t accepted = clients.queue(one)->accepted();
  EXPECT_GT(accepted, 0U);
  EXPECT_EQ(clients.counts(two).in, 1U);
  EXPECT_EQ(clients.counts(two).out, 1U);
  EXPECT_GT(clients.counts(two).queueBytes, 0U);
  clients.remove(one);
  clients.remove(one);
  EXPECT_EQ(clients.counts().out, accepted + 1);
  EXPECT_EQ(clients.counts().lost, 1U);
  EXPECT_EQ(clients.counts(one).out, 0U);
}

}  // namespace
}  // namespace service
