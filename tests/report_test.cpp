#include "report/report.h"

#include <set>

#include "report/figure.h"
#include "scratch.h"

namespace {

const std::string kLine(100, '-');
const std::string kSmallSize = "detected size is less than 100GB, ";
const std::string kSmallFiles = "average detected file size is less than 100MB, ";

TimePoint at(long long nanoseconds) { return TimePoint(std::chrono::nanoseconds(nanoseconds)); }

TEST(Timing, DurationsAreCutToWholeMilliseconds) {
  EXPECT_EQ(printedBy([] { showDetectInfo("12", "345", at(5), at(2000004)); }),
            s + " Detect Information " + s + "\nSize of detected directory: 345\n" + "Total number of files: 12\n" +
                kLine + "\nDetection execution time = 1[ms]\n");
  EXPECT_EQ(printedBy([] { showTimeInfo(at(1000), at(300601000), at(7), at(700600007)); }),
            "Estimation execution time = 300[ms]\nTotal execution time = 1001[ms]\n" + kLine + "\n");
}

std::string overall(double cr, double percent, const std::string& size, const std::string& files,
                    const std::string& directories) {
  return printedBy([&] { showEstimationInfo(cr, percent, size, files, directories); });
}

std::string start(const std::string& totalSize, const std::string& reasons = "") {
  return "totalDetectedSize is " + totalSize + "\n" +
         (reasons.empty() ? ""
                          : s + "--- Warning Info ---" + s + "\nThe " + reasons +
                                "the estimation CR will be inaccurate.\n" + kLine + "\n");
}

std::string end(const std::string& percent, const std::string& ratio) {
  return s2 + " Over all estimation status " + s2 + "\nFinished detect " + percent +
         "% data\nEstimated compression ratio = " + ratio + "\n";
}

TEST(OverallRatio, WarnsOfSmallData) {
  EXPECT_EQ(overall(1.43, 5, "536870912000", "5000", "100"), start("536870912000") + end("5.00", "1.43"));
  EXPECT_EQ(overall(1.30, 4.996, "53687091200", "1000", "10"),
            start("53687091200", kSmallSize + kSmallFiles) + end("5.00", "1.29"));
  EXPECT_EQ(overall(1, 0, "107374182400", "1024", "0"), start("107374182400") + end("0.00", "1.00"));
  EXPECT_EQ(overall(1, 0, "107374182399", "1000", "0"), start("107374182399", kSmallSize) + end("0.00", "1.00"));
  EXPECT_EQ(overall(1, 0, "107374182400", "1025", "0"), start("107374182400", kSmallFiles) + end("0.00", "1.00"));
  EXPECT_EQ(overall(1, 0, "-1", "1", "0"), start("18446744073709551615", kSmallFiles) + end("0.00", "1.00"));
  EXPECT_EQ(overall(1, 0, " 1e3x", "1 file", "0\n0"), start("1", kSmallSize + kSmallFiles) + end("0.00", "1.00"));
}

TEST(OverallRatio, CountsOverheadsOnBothSides) {
  const auto ratio = [](const char* size, const char* files, const char* directories) {
    const std::string report = overall(1.5, 0, size, files, directories);
    return report.substr(report.rfind(' '));
  };
  // Where one more byte, file or directory turns the second decimal.
  EXPECT_EQ(ratio("1119239358", "0", "0") + ratio("1119239359", "0", "0"), " 1.20\n 1.21\n");
  EXPECT_EQ(ratio("1099511627776", "1029045206", "0") + ratio("1099511627776", "1029045207", "0"), " 1.21\n 1.20\n");
  EXPECT_EQ(ratio("1099511627776", "0", "3215766") + ratio("1099511627776", "0", "3215767"), " 1.21\n 1.20\n");
  EXPECT_TRUE(overall(0, 0, "107374182400", "1", "0").ends_with(" = 0.00\n"));
}

TEST(OverallRatio, IsReplacedOnlyAboveTheCeiling) {
  std::set<std::string> replaced;
  for (int i = 0; i < 200; ++i) {
    EXPECT_TRUE(overall(1.527945315641335, 0, "107374182400", "0", "0").ends_with("= 1.52\n"));
    const std::string report = overall(2.0, 0, "107374182400", "0", "0");
    replaced.insert(report.substr(report.rfind(' ') + 1, 4));
  }
  EXPECT_EQ(replaced, (std::set<std::string>{"1.48", "1.49", "1.50", "1.51", "1.52"}));
  EXPECT_EQ(replacementRatio(0), 1.48);
  EXPECT_EQ(replacementRatio(1ULL << 60), 1.48 + 0.0625 * (1.52 - 1.48));
  EXPECT_EQ(replacementRatio(UINT64_MAX), 1.48 + (1.0 - 0x1p-53) * (1.52 - 1.48));
}

TEST(OverallRatio, AnUnconvertibleFigureEndsTheReportWhereItIsUsed) {
  const auto failed = [](const std::string& figure, const std::string& text) {
    return "!Failed to convert the " + figure + " \"" + text + "\" to a number";
  };
  EXPECT_EQ(overall(1, 0, "x", "y", "z"), failed("detected size", "x"));
  EXPECT_EQ(overall(1, 0, "1", "1e-400", "z"), failed("file count", "1e-400"));
  for (const std::string notInteger : {".5", "9223372036854775808"}) {
    EXPECT_EQ(overall(1, 0, notInteger, "1", "z"), failed("detected size", notInteger));
  }
  EXPECT_EQ(overall(1, 0, "107374182400", "1025", "a\nb"),
            start("107374182400", kSmallFiles) + failed("directory count", "a\\nb"));
}

}  // namespace
