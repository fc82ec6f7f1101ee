// Functions that a run of the programs would test only by chance.

#include <unistd.h>

#include <atomic>
#include <cmath>
#include <ctime>
#include <set>

#include "common/workers.h"
#include "report/report.h"
#include "scratch.h"
#include "toolbridge/toolbridge.h"

TEST(Command, QuotesWhatTheShellWouldNotTakeAsItIs) {
  for (const char c : string(" \t\n~#;&|<>(){}[]!\"'\\*?$`\x01\x7f\xff")) {
    EXPECT_EQ(quoteForShell({'a', c}).front(), '\'') << testing::PrintToString(c);
  }
}

TEST(OverallRatio, IsReplacedByAnythingFrom148To152) {
  std::set<long> seen;
  for (int i = 0; i < 1000; ++i) seen.insert(std::lround(restrictEstimationResult() * 100));
  EXPECT_EQ(seen, (std::set<long>{148, 149, 150, 151, 152}));
}

// In place of the system's: half a second of processor time has passed at each look.
std::clock_t clock() noexcept {
  static std::clock_t used = 0;
  return used += CLOCKS_PER_SEC / 2;
}

TEST(Workers, StayTheFirstWhereTheyCompute) {
  std::atomic<int> started = 0;
  Workers().run(
      2, 64,
      [&](Workers::Lock& lock) {
        const Workers::Unlocked alone(lock);
        sleep(started++ < 2 ? 1 : 0);
      },
      [] { return ""; });
  EXPECT_EQ(started, 2);
}
