// Functions that a run of the programs would test only by chance.

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

TEST(Workers, StayTheFirstWhereTheyCompute) {
  int started = 0;
  const auto computeForASecond = [&](Workers::Lock& lock) {
    ++started;
    const Workers::Unlocked alone(lock);
    while (std::clock() < CLOCKS_PER_SEC) {}
  };
  Workers().run(8, 64, computeForASecond, [] { return ""; });
  EXPECT_EQ(started, 8);
}
