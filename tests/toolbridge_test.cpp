#include "toolbridge/toolbridge.h"

#include <dlfcn.h>
#include <fcntl.h>

#include <random>

#include "dialogue/dialogue.h"
#include "report/report.h"
#include "scratch.h"
#include "toolbridge/command.h"

namespace {

int pipesBeforeFailure = -1;  // none fails when negative
int removalError = 0;

}  // namespace

// These stand in front of the system's, which fail only on a machine in trouble.
extern "C" std::FILE* popen(const char* command, const char* modes) {
  const auto real = reinterpret_cast<decltype(&popen)>(dlsym(RTLD_NEXT, "popen"));
  return pipesBeforeFailure-- == 0 ? nullptr : real(command, modes);
}
extern "C" int unlink(const char* name) noexcept {
  errno = removalError;
  return removalError == 0 ? std::remove(name) : -1;
}

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

TEST_F(ToolBridge, DetectionFiguresAreThirdFields) {
  const auto figures = [this](const std::string& alias, const std::string& log) {
    scratch.write(alias + "_file_info.log", log);
    std::string size, files, directories;
    EXPECT_EQ(getDetectInfo("/d", alias, size, files, directories), 0);
    return size + "|" + files + "|" + directories;
  };
  const std::string size = "detect_directory_size is:";
  const std::string count = "detect_directory_file_count is: 6\ndetect_directory_dir_count is:";
  EXPECT_EQ(figures("a", "x\n" + size + " 5\n" + count + " 7"), "5|6|7");
  EXPECT_EQ(figures("-x", size + " 7\n"), "7||") << "no option";
  EXPECT_EQ(figures("-v;b'c\n$(d)", size + " 8 9\n"), "8||");
  EXPECT_EQ(figures("twice", size + " 1\n" + size + " 2\n"), "1\n2||");
  EXPECT_EQ(figures("odd", "a " + size + " 1\n" + count + "\n"), "is:|6|");
}

TEST_F(ToolBridge, EstimationFiguresAreOnTheFinishedLine) {
  const auto figures = [this](const std::string& result) {
    scratch.write("artifact/a b_p12.drav", result);
    std::string ratio, size;
    EXPECT_EQ(getEstimationCR(12, ratio, "a b", "No ratio"), 0);
    const std::string printed = printedBy([&size] {
      const int status = getEstimationSize(12, size, "a b", "No size");
      EXPECT_EQ(status, is_number(size) ? 0 : 1);
    });
    return ratio + "|" + size + "|" + printed;
  };
  const std::string line = "part 0: detection finished ratio: 1.43 blocks: 7 bytes: 268\n";
  EXPECT_EQ(figures("detection started\n" + line), "1.43|268|");
  EXPECT_EQ(figures(line + line), "1.43\n1.43|268\n268|\nNo size\n");
  EXPECT_EQ(figures("x detection_finished 3 4 5 6 7 8 9\nxdetection finished 3 4 5 6 7 8 9 10"), "||\nNo size\n");
  for (const char* text : {"", "12 ", "/", ":", "-1"}) { EXPECT_FALSE(is_number(text)) << text; }
  EXPECT_TRUE(is_number("0123456789"));
}

TEST_F(ToolBridge, ALookupThatCannotStartIsReportedOnceAndEndsTheStage) {
  const auto printedWhenFailing = [](int pipesBefore, const std::function<int()>& stage) {
    pipesBeforeFailure = pipesBefore;
    return printedBy([&stage] { EXPECT_EQ(stage(), 1); });
  };
  const auto detect = [this] { return getDetectInfo("/d", "a", out, out, out); };
  EXPECT_EQ(printedWhenFailing(0, detect), "Failed to detect the size of dir /d\n\n");
  EXPECT_EQ(printedWhenFailing(1, detect), "Failed to detect the file number of dir /d\n\n");
  EXPECT_EQ(printedWhenFailing(2, detect), "Failed to detect the directory number of dir /d\n\n");
  EXPECT_EQ(printedWhenFailing(0, [this] { return getEstimationCR(0, out, "a", "No"); }), "No\n");
  EXPECT_EQ(printedWhenFailing(0, [this] { return getEstimationSize(0, out, "a", "No"); }), "No\n");
  EXPECT_EQ(out, "");
}

TEST_F(ToolBridge, EarlierFiguresAreDiscardedOrTheRunEnds) {
  const auto discard = [](int error, int status) {
    removalError = error;
    std::string printed = printedBy([=] { EXPECT_EQ(discardEarlierFigures("a", 3), status); });
    removalError = 0;
    return printed;
  };
  scratch.write("a_file_info.log", "old");
  scratch.write("artifact/a_p3.drav", "old");
  EXPECT_EQ(discard(0, 0), "");
  EXPECT_FALSE(scratch.has("a_file_info.log") || scratch.has("artifact/a_p3.drav"));
  for (const int nothingThere : {ENOENT, ENOTDIR, EISDIR, ENAMETOOLONG}) { EXPECT_EQ(discard(nothingThere, 0), ""); }
  EXPECT_EQ(discard(EACCES, 1), "Failed to remove the earlier figures a_file_info.log\n");
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
