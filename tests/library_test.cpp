#include <functional>
#include <iostream>
#include <random>
#include <set>
#include <sstream>

#include "dialogue/dialogue.h"
#include "report/figure.h"
#include "report/report.h"
#include "scratch.h"
#include "toolbridge/command.h"
#include "toolbridge/toolbridge.h"

namespace {

// What `action` prints on standard output, and the line of the exception that ends it.
std::string printedBy(const std::function<void()>& action) {
  std::string thrown;
  testing::internal::CaptureStdout();
  try {
    action();
  } catch (const std::exception& error) { thrown.append(error.what()).append("\n"); }
  return testing::internal::GetCapturedStdout() + thrown;
}

TEST(Command, CaptureKeepsAllButOneLineEnd) {
  const auto captured = [](const std::string& command) {
    std::string text = "=";
    EXPECT_EQ(getCommandOutput(command, text, "unused"), 0);
    return text;
  };
  const auto open = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
  const auto openBefore = open();
  const std::string longLine(5000, 'x'), rest(5000 - 1022, 'x');
  EXPECT_EQ(captured("exit 3"), "=");
  EXPECT_EQ(captured("printf '1\\n2\\n\\n'"), "=1\n2\n");
  EXPECT_EQ(captured("printf 'ab\\0cd\\nef'"), "=abef");
  EXPECT_EQ(captured("printf '\\0%s' " + longLine), "=" + rest) << "1023 bytes a piece";
  std::string shown;
  printedBy([&shown] { std::printf("12345"), getCommandOutput("stat -Lc %s /proc/$PPID/fd/1", shown, "unused"); });
  EXPECT_EQ(shown, "5") << "bytes of the console before the command started";
  EXPECT_EQ(open(), openBefore);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child was not reaped";
}

TEST(Command, QuotingSurvivesARealShell) {
  EXPECT_EQ(quoteForShell(""), "");
  const std::string plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-./+,:=@%";
  EXPECT_EQ(quoteForShell(plain), plain);
  std::minstd_rand random(20);
  std::string arguments, expected;
  for (unsigned i = 1; i < 2000; ++i) {
    std::string value(1 + random() % 9, static_cast<char>(i % 255 + 1));  // each byte alone, too
    std::generate(value.begin() + 1, value.end(), [&] { return static_cast<char>(random() | 1); });
    arguments.append(" ").append(quoteForShell(value));
    expected += value + "\n";
  }
  EXPECT_EQ(Scratch().run("printf '%s\\n'" + arguments).output, expected);
}

TEST(Input, IsCheckedByItsKindAndMeasuredAsTyped) {
  const auto expect = [](const std::string& typed, int kind, const std::string& outcome) {
    std::istringstream input(typed);
    std::streambuf* const usual = std::cin.rdbuf(input.rdbuf());
    std::string value = "old";
    std::size_t length = 0;
    int result = -1;
    printedBy([&] { result = getInput(value, "it", &length, kind); });
    std::cin.rdbuf(usual);
    std::cin.clear();
    EXPECT_EQ(std::to_string(result) + " " + std::to_string(length) + " " + value, outcome);
  };
  expect(".", 0, "0 1 " + fs::current_path().string());
  expect("/none Y", 0, "1 5 /none");
  expect("0 n", 1, "2 1 0");
  expect("", 2, "0 3 old");
}

TEST(Figures, AreDigitsAndTheirLogIsNoOption) {
  std::ofstream("-v_file_info.log") << "key is 7\n";
  std::string figure;
  EXPECT_EQ(getDirFileInfo("key", figure, "-v", "unused"), 0);
  EXPECT_EQ(figure, "7");
  fs::remove("-v_file_info.log");
  for (const char* text : {"", "12 ", "/", ":", "-1"}) { EXPECT_FALSE(is_number(text)) << text; }
}

const std::string kLine(100, '-');
const std::string kSmallSize = "detected size is less than 100GB, ";
const std::string kSmallFiles = "average detected file size is less than 100MB, ";

TimePoint at(long long nanoseconds) { return TimePoint(std::chrono::nanoseconds(nanoseconds)); }

TEST(Timing, DurationsAreCutToWholeMillisecondsAndShownAtOnce) {
  const std::string shown = printedBy([] {
    showDetectInfo("12", "345", at(5), at(2000004));
    std::printf("%ju", fs::file_size("/proc/self/fd/1"));
  });
  EXPECT_TRUE(shown.ends_with("Detection execution time = 1[ms]\n" + std::to_string(shown.size() - 3))) << shown;
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
  EXPECT_EQ(overall(1, 0, " 010e3x", "1 file", "0\n0"), start("10", kSmallSize + kSmallFiles) + end("0.00", "1.00"));
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
}

TEST(OverallRatio, AnUnconvertibleFigureEndsTheReportWhereItIsUsed) {
  EXPECT_EQ(overall(1, 0, "1", "1e-400", "z"), failedToConvert("file count", "1e-400"));
  for (const std::string notInteger : {".5", "9223372036854775808"}) {
    EXPECT_EQ(overall(1, 0, notInteger, "1", "z"), failedToConvert("detected size", notInteger));
  }
  EXPECT_EQ(overall(1, 0, "107374182400", "1025", "a\nb"),
            start("107374182400", kSmallFiles) + failedToConvert("directory count", "a\nb"));
}

}  // namespace
