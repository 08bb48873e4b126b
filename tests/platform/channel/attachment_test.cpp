#include "platform/channel/attachment.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace channel {
namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

constexpr std::uint64_t Session = 7;

// A client whose clock the test moves.
class AttachmentTest : public testing::Test {
 protected:
  template <class Wanted>
  bool isNext() {
    return std::holds_alternative<Wanted>(attachment.next(now));
  }

  // The name of the tap that is to be made; empty if something else is.
  std::string nextTap() {
    const auto action = attachment.next(now);
    const auto* tap = std::get_if<Attachment::MakeTap>(&action);
    return tap == nullptr ? "" : tap->request.name;
  }

  // How long there is nothing to do; nullopt if there is.
  std::optional<device::Time> idle() {
    const auto action = attachment.next(now);
    const auto* wait = std::get_if<Attachment::Wait>(&action);
    if (wait == nullptr) return std::nullopt;
    return wait->until == Attachment::Never ? Attachment::Never : wait->until - now;
  }

  Lines takeLines() {
    Lines lines;
    while (auto line = attachment.takeLine()) lines.push_back(std::move(*line));
    return lines;
  }

  void attach() {
    attachment.connected(Session);
    attachment.next(now);
  }

  void addTaps(std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) attachment.taps().add(1, "T" + std::to_string(i), 100);
  }

  // Loses the service and connects again; all taps have this status. Returns how many were made.
  std::size_t comeBack(device::Status status) {
    attachment.lost(now);
    attachment.connected(Session + 1);
    std::size_t count = 0;
    for (; !nextTap().empty(); ++count) attachment.tapped(status);
    return count;
  }

  device::Time now = 1000s;
  Attachment attachment{true};
};

TEST_F(AttachmentTest, FirstAttachmentTellsNothing) {
  EXPECT_TRUE(isNext<Attachment::Connect>());
  attachment.connected(Session);
  EXPECT_EQ(idle(), Attachment::Never);
  EXPECT_TRUE(attachment.isAttached());
  EXPECT_EQ(attachment.session(), Session);
  EXPECT_EQ(takeLines(), Lines{});
}

TEST_F(AttachmentTest, LossIsToldOnceAndTheServiceIsLookedForAtOnce) {
  attach();
  attachment.lost(now);
  attachment.lost(now);
  EXPECT_FALSE(attachment.isAttached());
  EXPECT_EQ(takeLines(), Lines{"connection to the service lost"});
  EXPECT_TRUE(isNext<Attachment::Connect>());
}

TEST_F(AttachmentTest, ServiceThatSendsWhatItMustNotIsLeftAloneForTenSeconds) {
  attach();
  attachment.lost(now, "the service sent an answer that is too long");
  attachment.lost(now, "again");
  EXPECT_EQ(takeLines(), Lines{"connection closed: the service sent an answer that is too long"});
  EXPECT_EQ(idle(), 10s);
  now += 10s;
  EXPECT_TRUE(isNext<Attachment::Connect>());
}

TEST_F(AttachmentTest, ServiceThatIsGoneIsLookedForFiveTimesASecond) {
  attach();
  attachment.lost(now);
  for (int look = 0; look < 3; ++look) {
    ASSERT_TRUE(isNext<Attachment::Connect>());
    attachment.unanswered(now);
    EXPECT_EQ(idle(), 200ms);
    now += 200ms;
  }
}

TEST_F(AttachmentTest, ReturnMakesAllTapsInTheOrderOfTapping) {
  attach();
  attachment.taps().add(2, "b", 10);
  attachment.taps().add(1, "a", 20);
  attachment.lost(now);
  attachment.connected(Session + 1);
  const auto action = attachment.next(now);
  const auto* first = std::get_if<Attachment::MakeTap>(&action);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->request.session, Session + 1);
  EXPECT_EQ(first->request.eventPort, 2U);
  EXPECT_EQ(first->request.holderBytes, 10U);
  EXPECT_EQ(first->request.name, "b");
  EXPECT_EQ(first->until, now + 2s) << "a driver may need that long";
  EXPECT_EQ(nextTap(), "b") << "until it is made";
  attachment.tapped(device::Status::Ok);
  EXPECT_EQ(nextTap(), "a");
  EXPECT_FALSE(attachment.isAttached());
  attachment.tapped(device::Status::Ok);
  EXPECT_EQ(idle(), Attachment::Never);
  EXPECT_TRUE(attachment.isAttached());
  EXPECT_EQ(takeLines(), (Lines{"connection to the service lost", "connected to the service again, 2 taps restored"}));
}

TEST_F(AttachmentTest, ReturnWithoutTapsIsToldAsWell) {
  attach();
  EXPECT_EQ(comeBack(device::Status::Ok), 0U);
  EXPECT_EQ(takeLines(), (Lines{"connection to the service lost", "connected to the service again"}));
}

TEST_F(AttachmentTest, TapThatEndsWhileAttachingIsNotMade) {
  attach();
  addTaps(2);
  attachment.lost(now);
  attachment.connected(Session + 1);
  attachment.taps().remove(1, "T0");
  EXPECT_EQ(nextTap(), "T1");
}

TEST_F(AttachmentTest, ServiceThatFallsSilentWhileAttachingIsLookedForAgain) {
  attach();
  addTaps(2);
  attachment.lost(now);
  attachment.connected(Session + 1);
  attachment.tapped(device::Status::Ok);
  attachment.unanswered(now);
  EXPECT_FALSE(attachment.isAttached());
  EXPECT_EQ(idle(), 200ms);
  EXPECT_EQ(takeLines(), Lines{"connection to the service lost"}) << "it is not back yet";
  now += 200ms;
  ASSERT_TRUE(isNext<Attachment::Connect>());
  attachment.connected(Session + 2);
  EXPECT_EQ(nextTap(), "T0") << "from the first tap on";
}

TEST_F(AttachmentTest, MissingTapsAreTriedAHundredASecondInTurn) {
  attach();
  addTaps(150);
  EXPECT_EQ(comeBack(device::Status::NotFound), 150U);
  EXPECT_EQ(takeLines(),
            (Lines{"connection to the service lost", "connected to the service again, 0 of 150 taps restored"}));
  EXPECT_EQ(idle(), 1s);
  now += 1s;
  for (int tap = 0; tap < 100; ++tap) {
    ASSERT_EQ(nextTap(), "T" + std::to_string(tap));
    attachment.tapped(device::Status::NotFound);
  }
  EXPECT_EQ(idle(), 1s);
  EXPECT_EQ(takeLines(), Lines{}) << "none was made";
  now += 1s;
  for (int tap = 100; tap < 200; ++tap) {
    ASSERT_EQ(nextTap(), "T" + std::to_string(tap % 150));
    attachment.tapped(device::Status::Ok);
  }
  EXPECT_EQ(idle(), 1s);
  EXPECT_EQ(takeLines(), Lines{"100 taps restored"});
  now += 1s;
  for (; !nextTap().empty(); now += 1ms) attachment.tapped(device::Status::Ok);
  EXPECT_EQ(takeLines(), Lines{"50 taps restored"});
  EXPECT_EQ(idle(), Attachment::Never) << "all are made";
}

TEST_F(AttachmentTest, MissingTapsShareOneTimeout) {
  attach();
  addTaps(3);
  comeBack(device::Status::NotFound);
  takeLines();
  now += 1s;
  const device::Time until = now + 500ms;
  ASSERT_EQ(nextTap(), "T0");
  attachment.tapped(device::Status::Ok);
  now += 300ms;
  const auto action = attachment.next(now);
  const auto* tap = std::get_if<Attachment::MakeTap>(&action);
  ASSERT_NE(tap, nullptr);
  EXPECT_EQ(tap->until, until);
  attachment.unanswered(now);
  EXPECT_EQ(takeLines(), Lines{"1 tap restored"});
  EXPECT_TRUE(attachment.isAttached()) << "only the connection's end is a loss";
  EXPECT_EQ(idle(), 700ms);
}

TEST_F(AttachmentTest, TapWithoutAnAnswerDoesNotKeepOthersFromTheirTurn) {
  attach();
  addTaps(3);
  comeBack(device::Status::NotFound);
  now += 1s;
  ASSERT_EQ(nextTap(), "T0");
  attachment.unanswered(now);
  now += 1s;
  EXPECT_EQ(nextTap(), "T1");
  attachment.tapped(device::Status::NotFound);
  attachment.unanswered(now);
  now += 1s;
  EXPECT_EQ(nextTap(), "T0");
}

TEST_F(AttachmentTest, SilentServiceIsAskedNothingForASecond) {
  attach();
  addTaps(1);
  comeBack(device::Status::NotFound);
  now += 900ms;
  attachment.missedDeadline(now);
  now += 100ms;
  EXPECT_TRUE(attachment.isSilent(now));
  EXPECT_EQ(idle(), 900ms);
  now += 900ms;
  EXPECT_FALSE(attachment.isSilent(now));
  EXPECT_EQ(nextTap(), "T0");
}

TEST_F(AttachmentTest, SilenceEndsWithTheService) {
  attach();
  attachment.missedDeadline(now);
  attachment.lost(now);
  attachment.connected(Session + 1);
  EXPECT_FALSE(attachment.isSilent(now));
}

class AttachmentLinks : public AttachmentTest {
 protected:
  // One connection between two systems is known when the service is lost and comes back.
  AttachmentLinks() {
    attach();
    LinkMirror mirror;
    mirror.reset({3, {{{10, 0, 11, 0}, true}}});
    attachment.remember(mirror, topology);
    comeBack(device::Status::Ok);
    takeLines();
  }

  const wire::Topology topology{{{10, "J", device::SideOfGroup{1, "", {"j:a"}}, std::nullopt},
                                 {11, "A", std::nullopt, device::SideOfGroup{1, "AIn", {}}}}};
};

TEST_F(AttachmentLinks, LostConnectionsAreToldAfterTheReturn) {
  EXPECT_TRUE(isNext<Attachment::AskLinks>());
  attachment.answered({0, {}}, topology, now);
  EXPECT_EQ(takeLines(), Lines{"lost when the service restarted: the connection of \"j:a\" to \"AIn1\""});
  EXPECT_EQ(idle(), Attachment::Never);
}

TEST_F(AttachmentLinks, QuestionIsRepeatedEachSecondUntilItIsAnswered) {
  for (int look = 0; look < 3; ++look) {
    ASSERT_TRUE(isNext<Attachment::AskLinks>());
    attachment.unanswered(now);
    EXPECT_TRUE(attachment.isAttached());
    EXPECT_EQ(idle(), 1s);
    now += 1s;
  }
  attachment.answered({9, {{{10, 0, 11, 0}, true}}}, topology, now);
  EXPECT_EQ(takeLines(), Lines{}) << "it exists again";
  EXPECT_EQ(idle(), Attachment::Never);
}

TEST_F(AttachmentTest, ClientThatHasLeftDoesNothing) {
  attach();
  attachment.close();
  attachment.lost(now);
  attachment.unanswered(now);
  EXPECT_EQ(idle(), Attachment::Never);
  EXPECT_EQ(takeLines(), Lines{});
  EXPECT_TRUE(attachment.isClosed());
}

TEST(EmbeddedAttachment, IsNeverLost) {
  Attachment attachment(false);
  attachment.connected(Session);
  attachment.next(0s);
  attachment.lost(0s);
  EXPECT_TRUE(attachment.isAttached());
  EXPECT_EQ(attachment.takeLine(), std::nullopt);
}

}  // namespace
}  // namespace channel
