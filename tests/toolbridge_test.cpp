#include "toolbridge/toolbridge.h"

#include <fcntl.h>

#include <random>

#include "dialogue/dialogue.h"
#include "report/report.h"
#include "scratch.h"
#include "toolbridge/command.h"

namespace {

// Runs in a scratch folder as its working directory.
struct ToolBridge : testing::Test {
  ToolBridge() { fs::current_path(scratch.folder); }
  ~ToolBridge() override { fs::current_path("/"); }
  Scratch scratch;
  std::string out;
};

TEST_F(ToolBridge, CaptureKeepsAllButOneLineEnd) {
  const auto captured = [](const std::string& command) {
    std::string text = "=";
    EXPECT_EQ(getCommandOutput(command, text, "unused"), 0);
    return text;
  };
  const auto open = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
  const auto openBefore = open();
  const std::string longLine(5000, 'x');
  EXPECT_EQ(captured("exit 3"), "=");
  EXPECT_EQ(captured("printf 12"), "=12");
  EXPECT_EQ(captured("printf '1\\n2\\n\\n'"), "=1\n2\n");
  EXPECT_EQ(captured("printf 'ab\\0cd\\nef\\n'"), "=abef");
  EXPECT_EQ(captured("printf '\\0%s' " + longLine), "=" + longLine.substr(1022)) << "1023 a piece";
  EXPECT_EQ(open(), openBefore);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child was not reaped";
}

TEST_F(ToolBridge, QuotingSurvivesARealShell) {
  EXPECT_EQ(quoteForShell("azAZ09_-./+,:=@%"), "azAZ09_-./+,:=@%");
  EXPECT_EQ(quoteForShell(""), "");
  EXPECT_EQ(quoteForShell("a'b"), R"('a'\''b')");
  std::minstd_rand random(20);
  std::string arguments, expected;
  for (unsigned i = 1; i < 2000; ++i) {
    std::string value(1 + random() % 9, static_cast<char>(i % 255 + 1));  // each byte alone, too
    std::generate(value.begin() + 1, value.end(), [&] { return static_cast<char>(random() | 1); });
    arguments.append(" ").append(quoteForShell(value));
    expected += value + "\n";
  }
  EXPECT_EQ(scratch.run("printf '%s\\n'" + arguments).output, expected);
}

TEST_F(ToolBridge, FiguresAreFieldsOfTheLinesThatMatch) {
  const std::string size = "detect_directory_size is:";
  const std::string count = "detect_directory_file_count is: 6\ndetect_directory_dir_count is:";
  const auto detected = [this](const std::string& alias, const std::string& log) {
    scratch.write(alias + "_file_info.log", log);
    std::string bytes, files, directories;
    EXPECT_EQ(getDetectInfo("/d", alias, bytes, files, directories), 0);
    return bytes + "|" + files + "|" + directories;
  };
  EXPECT_EQ(detected("a", "x\n" + size + " 5\n" + count + " 7"), "5|6|7");
  EXPECT_EQ(detected("-x", size + " 7\n"), "7||") << "no option";
  EXPECT_EQ(detected("-v;b'c\n$(d)", size + " 8 9\n"), "8||");
  EXPECT_EQ(detected("odd", "a " + size + " 1\n" + size + " 2\n" + count), "is:\n2|6|");

  const std::string line = "part 0: detection finished ratio: 1.43 blocks: 7 bytes: 268\n";
  const auto sampled = [this](const std::string& result) {
    scratch.write("artifact/a b_p12.drav", result);
    std::string ratio, bytes;
    EXPECT_EQ(getEstimationCR(12, ratio, "a b", "No ratio"), 0);
    int status = -1;
    const std::string printed = printedBy([&] { status = getEstimationSize(12, bytes, "a b", "No size"); });
    EXPECT_EQ(status, is_number(bytes) ? 0 : 1);
    return printed + ratio + "|" + bytes;
  };
  EXPECT_EQ(sampled("detection started\n" + line), "1.43|268");
  EXPECT_EQ(sampled(line + line), "\nNo size\n1.43\n1.43|268\n268");
  EXPECT_EQ(sampled("x detection_finished 3 4 5 6 7 8 9\nxdetection finished 3 4 5 6 7 8 9 10"), "\nNo size\n|");
  for (const char* text : {"", "12 ", "/", ":", "-1"}) { EXPECT_FALSE(is_number(text)) << text; }
  EXPECT_TRUE(is_number("0123456789"));
}

TEST_F(ToolBridge, EveryStepThatWaitsOrClosesAStageNeedsItsTextWritten) {
  const int saved = dup(STDOUT_FILENO);
  const int full = open("/dev/full", O_WRONLY);
  const std::function<void()> steps[] = {[] { readYesNo(); }, [] { runCommand("true"); },
                                         [this] { getCommandOutput("true", out, ""); },
                                         [] { showDetectInfo("", "", {}, {}); }, [] { showTimeInfo({}, {}, {}, {}); }};
  for (const auto& step : steps) {
    std::fflush(stdout);
    dup2(full, STDOUT_FILENO);
    std::printf("pending");
    EXPECT_THROW(step(), std::runtime_error);
    dup2(saved, STDOUT_FILENO);
    EXPECT_THROW(step(), std::runtime_error) << "what was lost once stays lost";
    std::clearerr(stdout);
  }
}

}  // namespace
