#include <functional>
#include <iostream>
#include <random>
#include <set>
#include <sstream>

#include "dialogue/dialogue.h"
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
  } catch (const std::exception& error) {
    thrown = error.what() + std::string("\n");
  }
  return testing::internal::GetCapturedStdout() + thrown;
}

TEST(Command, CaptureKeepsAllButOneLineEnd) {
  const auto captured = [](const std::string& command) {
    std::string text = "=";
    EXPECT_EQ(getCommandOutput(command, text, "unused"), 0) << command;
    return text;
  };
  const auto open = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
  const auto openBefore = open();
  EXPECT_EQ(captured("exit 3"), "=");
  EXPECT_EQ(captured("printf '1\\n2\\n\\n'"), "=1\n2\n");
  EXPECT_EQ(captured("printf 'ab\\0cd\\nef'"), "=abef");
  EXPECT_EQ(captured("printf %05000d 7"), "=" + std::string(4999, '0') + "7");
  EXPECT_EQ(captured("printf '\\0%01023d' 7"), "=7") << "pieces of 1023 bytes";
  EXPECT_EQ(open(), openBefore);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child was not reaped";
  std::string consoleBytes;
  printedBy([&consoleBytes] {
    std::printf("12345");
    getCommandOutput("stat -Lc %s /proc/$PPID/fd/1", consoleBytes, "unused");
  });
  EXPECT_EQ(consoleBytes, "5") << "written before the command started";
}

TEST(Command, QuotingSurvivesARealShell) {
  const std::string plain = "ABCXYZabcxyz0189_-./+,:=@%";
  EXPECT_EQ(quoteForShell(plain), plain);
  EXPECT_EQ(quoteForShell(""), "");
  std::minstd_rand random(20);
  std::string arguments, expected;
  for (unsigned i = 1; i < 2000; ++i) {
    std::string value(1 + random() % 9, static_cast<char>(i % 255 + 1));  // each byte alone, too
    std::generate(value.begin() + 1, value.end(), [&] { return static_cast<char>(random() | 1); });
    arguments.append(" ").append(quoteForShell(value));
    expected += value + "\n";
  }
  EXPECT_TRUE(Scratch().run("printf '%s\\n'" + arguments).output == expected);
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
  expect(".", kDirectoryAnswer, "0 1 " + fs::current_path().string());
  expect("/none Y", kDirectoryAnswer, "1 5 /none");
  expect("0 n", kThreadCountAnswer, "2 1 0");
  expect("", 2, "0 3 old");
}

TEST(Figures, AreDigitsAndTheirLogIsNoOption) {
  for (const char* text : {"", "12 ", "/", ":", "-1"}) EXPECT_FALSE(is_number(text)) << text;
  EXPECT_TRUE(is_number("0123456789"));
  std::ofstream("-v_file_info.log") << "key is 7\n";
  std::string figure;
  EXPECT_EQ(getDirFileInfo("key", figure, "-v", "unused"), 0);
  EXPECT_EQ(figure, "7");
  fs::remove("-v_file_info.log");
}

TEST(Times, AreCutToWholeMillisecondsAndShownAtOnce) {
  const auto at = [](long long ns) { return TimePoint(std::chrono::nanoseconds(ns)); };
  EXPECT_EQ(printedBy([&] { showTimeInfo(at(1000), at(300601000), at(7), at(700600007)); }),
            "Estimation execution time = 300[ms]\nTotal execution time = 1001[ms]\n" +
                std::string(100, '-') + "\n");
  const std::string shown = printedBy([&] {
    showDetectInfo("12", "345", at(5), at(2000004));
    std::printf("%ju", fs::file_size("/proc/self/fd/1"));
  });
  EXPECT_TRUE(shown.ends_with("time = 1[ms]\n" + std::to_string(shown.size() - 3))) << shown;
}

std::string report(double cr, const std::string& size, const std::string& files,
                   const std::string& directories) {
  return printedBy([&] { showEstimationInfo(cr, 4.996, size, files, directories); });
}

TEST(OverallRatio, WarnsOfSmallData) {
  const auto expect = [](const std::string& size, const std::string& files,
                         const std::string& totalSize, const std::string& reasons) {
    const std::string bar(40, '-'), shown = report(1, size, files, "0\n0");
    const std::string warning = bar + "--- Warning Info ---" + bar + "\nThe " + reasons +
                                "the estimation CR will be inaccurate.\n" + bar + bar;
    EXPECT_TRUE(shown.starts_with("totalDetectedSize is " + totalSize + "\n")) << shown;
    EXPECT_EQ(shown.find(warning) != std::string::npos, !reasons.empty()) << shown;
    EXPECT_EQ(shown.find("Warning") != std::string::npos, !reasons.empty()) << shown;
  };
  const std::string small = "detected size is less than 100GB, ";
  const std::string smallFiles = "average detected file size is less than 100MB, ";
  expect("107374182400", "1024", "107374182400", "");
  expect("107374182399", "1000", "107374182399", small);
  expect("107374182400", "1025", "107374182400", smallFiles);
  expect(" 010e3x", "1 file", "10", small + smallFiles);
  expect("-1", "1", "18446744073709551615", smallFiles);
}

TEST(OverallRatio, CountsOverheadsOnBothSides) {
  const auto expect = [](double cr, const std::string& size, const std::string& files,
                         const std::string& directories, const std::string& ratio) {
    const std::string shown = report(cr, size, files, directories);
    EXPECT_TRUE(shown.ends_with(
        "\nFinished detect 5.00% data\nEstimated compression ratio = " + ratio + "\n"))
        << shown;
  };
  // Where one more byte, file or directory turns the second decimal.
  expect(1.5, "1119239358", "0", "0", "1.20");
  expect(1.5, "1119239359", "0", "0", "1.21");
  expect(1.5, "1099511627776", "1029045206", "0", "1.21");
  expect(1.5, "1099511627776", "1029045207", "0", "1.20");
  expect(1.5, "1099511627776", "0", "3215766", "1.21");
  expect(1.5, "1099511627776", "0", "3215767", "1.20");
  expect(0, "1", "0", "0", "0.00");
  expect(1.527945315641335, "107374182400", "0", "0", "1.52");
}

TEST(OverallRatio, IsReplacedOnlyAboveTheCeiling) {
  std::set<std::string> replaced;
  for (int i = 0; i < 200; ++i) {
    const std::string shown = report(2.0, "107374182400", "0", "0");
    replaced.insert(shown.substr(shown.rfind(' ') + 1, 4));
  }
  EXPECT_EQ(replaced, (std::set<std::string>{"1.48", "1.49", "1.50", "1.51", "1.52"}));
  EXPECT_EQ(replacementRatio(0), 1.48);
  EXPECT_EQ(replacementRatio(1ULL << 60), 1.48 + 0.0625 * (1.52 - 1.48));
}

TEST(OverallRatio, AnUnconvertibleFigureEndsTheReportWhereItIsUsed) {
  EXPECT_EQ(report(1, "1", "1e-400", "z"), failedToConvert("file count", "1e-400"));
  EXPECT_EQ(report(1, ".5", "1", "z"), failedToConvert("detected size", ".5"));
  const std::string beyond = "9223372036854775808", size = "107374182400";
  EXPECT_EQ(report(1, beyond, "1", "z"), failedToConvert("detected size", beyond));
  EXPECT_EQ(report(1, size, "1", "z"),
            "totalDetectedSize is " + size + "\n" + failedToConvert("directory count", "z"));
}

}  // namespace
