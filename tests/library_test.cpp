#include <functional>
#include <regex>
#include <set>

#include "report/report.h"
#include "scratch.h"
#include "toolbridge/command.h"
#include "toolbridge/toolbridge.h"

namespace {

// What `action` prints on standard output, and the line of the exception that ends it.
string printedBy(const std::function<void()>& action) {
  string thrown;
  testing::internal::CaptureStdout();
  try {
    action();
  } catch (const std::exception& error) { thrown = error.what() + string("\n"); }
  return testing::internal::GetCapturedStdout() + thrown;
}

TEST(Command, CaptureKeepsAllButOneLineEnd) {
  const auto captured = [](const string& command) {
    string text = "=";
    EXPECT_EQ(getCommandOutput(command, text, "unused"), 0) << command;
    return text;
  };
  EXPECT_EQ(captured("printf '1\\n2\\n\\n'"), "=1\n2\n");
  EXPECT_EQ(captured("printf 'ab\\0cd\\nef'"), "=abef");
  EXPECT_EQ(captured("printf %05000d 7"), "=" + string(4999, '0') + "7");
  EXPECT_EQ(captured("printf '\\0%01023d' 7"), "=7") << "pieces of 1023 bytes";
}

TEST(Command, QuotesWhatTheShellWouldNotTakeAsItIs) {
  for (const char c : string(" \t\n~#;&|<>(){}[]!\"'\\*?$`\x01\x7f\xff")) {
    EXPECT_EQ(quoteForShell({'a', c}).front(), '\'') << c;
  }
  EXPECT_EQ(quoteForShell("aZ09_-./+,:=@%"), "aZ09_-./+,:=@%");
}

TEST(Figures, AreDigitsAndTheirLogIsNoOption) {
  for (const char* text : {"", "12 ", "/", ":", "-1"}) EXPECT_FALSE(is_number(text)) << text;
  const Scratch scratch;
  fs::current_path(scratch.write("-v_file_info.log", "key is 7\n").parent_path());
  string figure;
  getDirFileInfo("key", figure, "-v", "unused");
  EXPECT_EQ(figure, "7");
}

TEST(Times, AreCutToWholeMillisecondsAndShownAtOnce) {
  const auto at = [](long long ns) { return TimePoint(std::chrono::nanoseconds(ns)); };
  std::uintmax_t flushed = 0;
  const string shown = printedBy([&] {
    showTimeInfo(at(1000), at(300601000), at(7), at(700600007));
    flushed = fs::file_size("/proc/self/fd/1");
  });
  const string times = "Estimation execution time = 300[ms]\nTotal execution time = 1001[ms]\n";
  EXPECT_EQ(shown, times + string(100, '-') + "\n");
  EXPECT_EQ(flushed, times.size());
}

string report(double cr, const string& size, const string& files, const string& directories = "0") {
  return printedBy([&] { showEstimationInfo(cr, 4.996, size, files, directories); });
}

TEST(OverallRatio, WarnsOfSmallData) {
  const auto reasons = [](const string& size, const string& files) {
    const string shown = report(1, size, files);
    std::smatch sentence;
    std::regex_search(shown, sentence, std::regex("\nThe (.*)the estimation CR"));
    return sentence[1].str();
  };
  const string smallSize = "detected size is less than 100GB, ";
  const string smallFiles = "average detected file size is less than 100MB, ";
  EXPECT_EQ(reasons("107374182400", "1024"), "");
  EXPECT_EQ(reasons("107374182399", "1000"), smallSize);
  EXPECT_EQ(reasons("107374182400", "1025"), smallFiles);
  EXPECT_EQ(reasons(" 010e3x", "1 file"), smallSize + smallFiles);
  EXPECT_EQ(reasons("-1", "1"), smallFiles) << "the size is compared as unsigned";
}

TEST(OverallRatio, CountsOverheadsOnBothSidesUpToTheCeiling) {
  const auto ratio = [](double cr, const char* size, const char* files, const char* directories) {
    const string shown = report(cr, size, files, directories);
    return shown.substr(shown.rfind(' ') + 1, 4);
  };
  // Where one file more turns the second decimal.
  EXPECT_EQ(ratio(1.5, "1099511627776", "103996771", "2000000"), "1.25");
  EXPECT_EQ(ratio(1.5, "1099511627776", "103996772", "2000000"), "1.24");
  std::set<string> above;
  for (int i = 0; i < 200; ++i) {
    EXPECT_EQ(ratio(1.527945315641335, "107374182400", "0", "0"), "1.52");
    above.insert(ratio(1.534, "107374182400", "0", "0"));
  }
  EXPECT_EQ(above, (std::set<string>{"1.48", "1.49", "1.50", "1.51", "1.52"}));
}

TEST(OverallRatio, AnUnconvertibleFigureEndsTheReportWhereItIsUsed) {
  const string most = "9223372036854775807", beyond = "9223372036854775808";
  EXPECT_EQ(report(1, "1", "1e-400", "z"), failedToConvert("file count", "1e-400"));
  EXPECT_EQ(report(1, beyond, "1", "z"), failedToConvert("detected size", beyond));
  EXPECT_EQ(report(1, "0" + most, "1", "z"),
            "totalDetectedSize is " + most + "\n" + failedToConvert("directory count", "z"));
  EXPECT_TRUE(report(1, "-1", "1").starts_with("totalDetectedSize is 18446744073709551615\n"));
}

}  // namespace
