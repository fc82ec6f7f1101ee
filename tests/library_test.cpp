#include <set>

#include "report/report.h"
#include "scratch.h"
#include "toolbridge/command.h"

namespace {

TEST(Command, QuotesWhatTheShellWouldNotTakeAsItIs) {
  for (const char c : string(" \t\n~#;&|<>(){}[]!\"'\\*?$`\x01\x7f\xff")) {
    EXPECT_EQ(quoteForShell({'a', c}).front(), '\'') << testing::PrintToString(c);
  }
  EXPECT_EQ(quoteForShell("aZ09_-./+,:=@%"), "aZ09_-./+,:=@%");
}

string report(double cr, const string& size, const string& files, const string& directories) {
  testing::internal::CaptureStdout();
  try {
    showEstimationInfo(cr, 4.996, size, files, directories);
  } catch (const std::exception& error) { std::puts(error.what()); }
  return testing::internal::GetCapturedStdout();
}

TEST(OverallRatio, WarnsOfSmallData) {
  const auto small = [](const string& size, const string& files) {
    const string shown = report(1, size, files, "0");
    const bool bySize = shown.find("less than 100GB") < shown.size();
    return (bySize ? "size " : string()) + (shown.find("100MB") < shown.size() ? "files" : "");
  };
  EXPECT_EQ(small("107374182400", "1024"), "") << "100 GiB in files of 100 MiB";
  EXPECT_EQ(small("107374182399", "1000"), "size ") << "a byte less, in fewer files";
  EXPECT_EQ(small("107374182400", "1025"), "files") << "a file more";
}

TEST(OverallRatio, ConvertsEachFigureWhereItIsUsed) {
  EXPECT_EQ(report(1, "x", "y", "z"), "Failed to convert the detected size \"x\" to a number\n");
  EXPECT_TRUE(report(1, "-1", "1", "z").starts_with("totalDetectedSize is 18446744073709551615\n"));
}

TEST(OverallRatio, IsReplacedAboveTheCeiling) {
  const auto ratio = [](double cr) {
    return numberBehind(report(cr, "107374182400", "0", "0"), "compression ratio =");
  };
  // (100 + 1) / (100 / cr + 1) GiB is 1.52 for this ratio, and 1.526 for 1.534.
  const double atCeiling = 100 / (101 / 1.52 - 1);
  std::set<double> replacements;
  for (int draw = 0; draw < 200; ++draw) {
    EXPECT_EQ(ratio(atCeiling), 1.52) << "is not replaced";
    replacements.insert(ratio(1.534));
  }
  // Of 200 draws, shown with two decimals, each of these comes up.
  EXPECT_EQ(replacements, (std::set<double>{1.48, 1.49, 1.50, 1.51, 1.52}));
}

}  // namespace
