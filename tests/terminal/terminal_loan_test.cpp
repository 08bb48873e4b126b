// The terminal lent to other programs, and reclaimed.
#include <gtest/gtest.h>

#include <string>

#include "terminal/terminal_mode.h"
#include "tests/terminal/child_process.h"
#include "tests/terminal/terminal_session.h"

namespace flowscope {
namespace {

using test::inBackground;
using test::TerminalSession;

TEST(TerminalMode, TerminalIsReclaimedOnlyInTheForeground) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    setTerminalMode(TerminalMode::Raw);
    lendTerminal();
    inside.say(inside.mode());
    inside.say(inBackground([&] {
      if (reclaimTerminal()) inside.say("reclaimed ");
      if (renewRawMode()) inside.say("renewed ");
      inside.say(inside.mode());
      return 0;
    }));
    inside.say(reclaimTerminal() ? " reclaimed " : " refused ");
    inside.say(inside.mode());
    setTerminalMode(TerminalMode::Saved);
    inside.say(renewRawMode() ? "renewed " : "refused ");
    inside.say(inside.mode());
    return 0;
  });
  EXPECT_EQ(session.allReports(), "saved saved exited 0 reclaimed raw refused saved ");
}

TEST(TerminalMode, LentTerminalIsRawAgainOnceTheLastLenderReclaimsIt) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    setTerminalMode(TerminalMode::Raw);
    lendTerminal();
    lendTerminal();
    inside.say(renewRawMode() ? "renewed " : "lent ");
    inside.say(reclaimTerminal() ? "reclaimed " : "lent ");
    inside.say(inside.mode());
    inside.say(reclaimTerminal() ? "reclaimed " : "lent ");
    inside.say(inside.mode());
    tcsetattr(0, TCSANOW, &inside.settingsAtStart);
    inside.say(renewRawMode() ? "renewed " : "lent ");
    inside.say(inside.mode());
    return 0;
  });
  EXPECT_EQ(session.allReports(), "lent lent saved reclaimed raw renewed raw ");
}

TEST(TerminalMode, SystemCommandRunsWithTheSavedSettings) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    setTerminalMode(TerminalMode::Raw);
    {
      const SavedModeScope scope;
      inside.say(inside.mode());
      // Neither a stop nor a continuation takes it away from the command.
      if (renewRawMode()) inside.say("renewed ");
      lendTerminal();
      if (reclaimTerminal()) inside.say("reclaimed ");
    }
    inside.say(inside.mode());
    inside.say(inBackground([&] {
      { const SavedModeScope scope; }
      inside.say(inside.mode());
      return 0;
    }));
    setTerminalMode(TerminalMode::Saved);
    { const SavedModeScope scope; }
    inside.say(inside.mode());
    return 0;
  });
  EXPECT_EQ(session.allReports(), "saved raw raw exited 0saved ");
}

}  // namespace
}  // namespace flowscope
