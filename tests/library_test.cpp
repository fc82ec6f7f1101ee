// Functions that a run of the programs would test only by chance.

#include <chrono>
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
  const auto start = std::chrono::steady_clock::now();
  int started = 0;
  const auto computeForASecond = [&](Workers::Lock& lock) {
    ++started;
    const Workers::Unlocked alone(lock);
    while (std::clock() < CLOCKS_PER_SEC) {}  // of all threads together
  };
  Workers().run(8, 64, computeForASecond, [] { return ""; });
  const auto taken = std::chrono::steady_clock::now() - start;
  if (taken > std::chrono::seconds(1)) GTEST_SKIP() << "the machine is too busy to tell";
  EXPECT_EQ(started, 8);
}
