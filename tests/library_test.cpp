#include <set>

#include "report/report.h"
#include "scratch.h"
#include "toolbridge/command.h"
#include "toolbridge/toolbridge.h"

namespace {

TEST(Command, CaptureAppendsWholeLinesButTheLastLineEnd) {
  string text = "before ";
  EXPECT_EQ(getCommandOutput("printf '1\\n%05000d\\n\\n' 7", text, "unused"), 0);
  EXPECT_EQ(text, "before 1\n" + string(4999, '0') + "7\n") << "a line of five pieces";
}

TEST(Command, QuotesWhatTheShellWouldNotTakeAsItIs) {
  for (const char c : string(" \t\n~#;&|<>(){}[]!\"'\\*?$`\x01\x7f\xff")) {
    EXPECT_EQ(quoteForShell({'a', c}).front(), '\'') << testing::PrintToString(c);
  }
  EXPECT_EQ(quoteForShell("aZ09_-./+,:=@%"), "aZ09_-./+,:=@%");
}

TEST(Lookup, TakesOnlyDigitsForANumber) {
  // The signs "/" and ":" stand before "0" and behind "9".
  for (const char* text : {"", "12 ", "/", ":"}) EXPECT_FALSE(is_number(text)) << text;
}

TEST(Times, AreCutToWholeMilliseconds) {
  const auto at = [](long long ns) { return TimePoint(std::chrono::nanoseconds(ns)); };
  testing::internal::CaptureStdout();
  showTimeInfo(at(1000), at(300601000), at(7), at(700600007));  // 300.6 + 700.6 = 1001.2 ms
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Estimation execution time = 300[ms]\nTotal execution time = 1001[ms]\n" +
                string(100, '-') + "\n");
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
  EXPECT_EQ(small("1x", "1 file"), "size files") << "a leading number will do";
  EXPECT_EQ(small("-1", "1"), "files") << "the size is compared as unsigned";
}

TEST(OverallRatio, ConvertsEachFigureWhereItIsUsed) {
  EXPECT_EQ(report(1, "x", "y", "z"), "Failed to convert the detected size \"x\" to a number\n");
  EXPECT_TRUE(report(1, "-1", "1", "z").starts_with("totalDetectedSize is 18446744073709551615\n"));
}

TEST(OverallRatio, CountsOverheadsOnBothSidesUpToTheCeiling) {
  const auto ratio = [](double cr, const string& size, long files, const string& directories) {
    const string shown = report(cr, size, std::to_string(files), directories);
    return shown.substr(shown.rfind(' ') + 1, 4);
  };
  // Each overhead weighs: with these, one file more turns the second decimal. Where S is 1 TiB, the
  // ratio (S + H) / (S / 1.5 + H) is 1.245 for the overhead H = S * (1 - 1.245 / 1.5) / 0.245,
  // which is 1 GiB, 320 KiB for each of 2,000,000 directories, and 1 KiB for each of so many files:
  const double S = 1099511627776, H = S * (1 - 1.245 / 1.5) / 0.245;
  const auto files = static_cast<long>((H - 1073741824 - 2000000 * 327680.0) / 1024);
  EXPECT_EQ(ratio(1.5, "1099511627776", files, "2000000"), "1.25");
  EXPECT_EQ(ratio(1.5, "1099511627776", files + 1, "2000000"), "1.24");
  // (100 + 1) / (100 / cr + 1) GiB is 1.52 for this ratio, and 1.526 for 1.534.
  const double atCeiling = 100 / (101 / 1.52 - 1);
  std::set<string> replacements;
  for (int draw = 0; draw < 200; ++draw) {
    EXPECT_EQ(ratio(atCeiling, "107374182400", 0, "0"), "1.52") << "is not replaced";
    replacements.insert(ratio(1.534, "107374182400", 0, "0"));
  }
  // Of 200 draws, shown with two decimals, each of these comes up.
  EXPECT_EQ(replacements, (std::set<string>{"1.48", "1.49", "1.50", "1.51", "1.52"}));
}

}  // namespace
