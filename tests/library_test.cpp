#include <cmath>
#include <set>

#include "report/report.h"
#include "scratch.h"
#include "toolbridge/toolbridge.h"

TEST(Command, QuotesWhatTheShellWouldNotTakeAsItIs) {
  for (const char c : string(" \t\n~#;&|<>(){}[]!\"'\\*?$`\x01\x7f\xff")) {
    EXPECT_EQ(quoteForShell({'a', c}).front(), '\'') << testing::PrintToString(c);
  }
}

TEST(OverallRatio, WarnsOfSmallData) {
  const auto warning = [](const string& size, const string& files) {
    testing::internal::CaptureStdout();
    showEstimationInfo(1, 5, size, files, "0");
    const string shown = testing::internal::GetCapturedStdout();
    return replaced(shown, "[^]*Info ---.*\nThe |the estimation[^]*|totalDetected[^]*", "");
  };
  EXPECT_EQ(warning("107374182400", "1024"), "") << "100 GiB in files of 100 MiB";
  EXPECT_EQ(warning("107374182399", "1000"), "detected size is less than 100GB, ");
  EXPECT_EQ(warning("107374182400", "1025"), "average detected file size is less than 100MB, ");
}

TEST(OverallRatio, IsReplacedByAnythingFrom148To152) {
  std::set<long> hundredths;
  for (int draw = 0; draw < 1000; ++draw) {
    hundredths.insert(std::lround(restrictEstimationResult() * 100));
  }
  EXPECT_EQ(hundredths, (std::set<long>{148, 149, 150, 151, 152}));
}
