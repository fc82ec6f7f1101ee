#include <regex>

#include "scratch.h"

// The estimator itself in a folder of its own, driven through its standard input.

namespace {

const std::string kNote =
    "[Note]:\n1. This tool does not collect and damage user data.\n"
    "2. If this tool is used on a host that runs services, run the tool in off-peak hours.\n"
    "Do you want to continue? [Y/N] ";
const std::string kAskDirectory = "Please enter the dir to be detected: ";
const std::string kAskThreads = "Please enter the thread number to be detected: ";
const std::string kInvalid = "Invalid obtains...\nDo you want retry? [Y/N] ";
const std::string kTooFew = "Thread number must be greater than zero. " + kInvalid;
const std::string kTooMany =
    "Thread number is more than 20, this might reduce front-end performance, more threads only "
    "reduce\nexecution time, do you want to continue? [Y/N] ";
const std::string k36(36, '-'), k40(40, '-'), k100(100, '-');

// Enough data for a report without a warning.
const std::string kFigures =
    "detect_directory_size is: 536870912000\ndetect_directory_file_count is: 5000\n"
    "detect_directory_dir_count is: 100\n";
const std::string kResult = "0 detection finished 4 5 1.43 7 8 9 469762048000\n";
const std::string kReport = "Finished detect 87.50% data\nEstimated compression ratio = 1.43\n";

struct Run : testing::Test {
  // Scripts stand for the tools: they note their arguments and leave what lies ready for them.
  Run() {
    scratch.write("data/file", "content");
    scratch.write("figures", kFigures);
    scratch.write("result", kResult);
    const std::string note = "#!/bin/sh\n{ printf '<%s>' \"$@\"; echo; } >> calls\n";
    scratch.write("kel_evaluation_tool", note + "cp figures \"./$2_file_info.log\"\n");
    scratch.write("kel_sim_test", note + "for last; do :; done\ncp result \"$last\"\n");
    scratch.run("chmod +x kel_*");
  }

  static std::string aliasOf(const std::string& directory) {
    return std::regex_replace(directory.substr(1), std::regex("/"), "_");
  }
  // What the tools note of a run with these values.
  static std::string calls(const std::string& directory, const std::string& threads,
                           const std::string& size = "536870912000") {
    const std::string alias = aliasOf(directory);
    return "<" + directory + "><" + alias + ">\n<-f><" + alias +
           "_file_type_file_list_new.log><-s><128><-r><0.05><-j><64><-t><" + threads + "><-o><" +
           size + "><-i><0><-l><./artifact/" + alias + "_p0.drav>\n";
  }

  // Runs on the data and expects what is shown from the end of the last banner line to the times.
  void expectEnd(const std::string& end, int status, const std::string& row) const {
    const Outcome run = scratch.run("kel_estimator", "y data 20");
    const std::string shown = run.output.substr(0, run.output.find("Estimation execution time"));
    EXPECT_EQ(run.status, status) << row;
    EXPECT_EQ(shown.substr(shown.rfind("----\n") + 5), end) << row;
  }

  Scratch scratch;
  std::string data = scratch.folder / "data";
  std::string accepted = kAskDirectory + "aliasName _" + aliasOf(data) + "\n" + kAskThreads;
  std::string noSize = "\nFailed to get estimate size " + data + "\n";
};

TEST_F(Run, TakesTheTimesOfTheToolsAndPassesTheAnswersOn) {
  scratch.run("echo 'sleep 0.1' >> kel_evaluation_tool; echo 'sleep 0.4' >> kel_sim_test");
  const Outcome run = scratch.run("kel_estimator", "\n\n Y\n" + data + "\n01\n");
  const std::regex times(
      "Detection execution time = (\\d+)\\[ms\\](.|\n)*"
      "Estimation execution time = (\\d+)\\[ms\\]\n"
      "Total execution time = (\\d+)\\[ms\\]");
  std::smatch time;
  ASSERT_TRUE(std::regex_search(run.output, time, times)) << run.output;
  EXPECT_GE(std::stoi(time[1]), 100);
  EXPECT_GE(std::stoi(time[3]), 400);
  EXPECT_GE(std::stoi(time[4]), 500);
  EXPECT_EQ(scratch.read("calls"), calls(data, "01"));
}

TEST_F(Run, TheBundledToolsMeasureASmallTree) {
  scratch.write("data/more", std::string(300000, 'x'));
  scratch.run("cp '" PROGRAMS "'/kel_* .");
  const Outcome run = scratch.run("kel_estimator", "y data/. 2");
  EXPECT_EQ(std::regex_replace(run.output, std::regex("= \\d+\\[ms\\]"), "= N[ms]"),
            kNote + accepted + k40 + " Detect Information " + k40 +
                "\nSize of detected directory: 300007\nTotal number of files: 2\n" + k100 +
                "\nDetection execution time = N[ms]\n" + k40 + " Estimation Results " + k40 +
                "\ntotalDetectedSize is 300007\n" + k40 + "--- Warning Info ---" + k40 +
                "\nThe detected size is less than 100GB, average detected file size is less than "
                "100MB, the estimation CR will be inaccurate.\n" +
                k100 + "\n" + k36 + " Over all estimation status " + k36 +
                "\nFinished detect 100.00% data\n"
                "Estimated compression ratio = 1.00\nEstimation execution time = N[ms]\n"
                "Total execution time = N[ms]\n" +
                k100 + "\n");
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.status, 0);
}

TEST_F(Run, WrongAnswersAreExplainedAndAskedAgain) {
  fs::create_directory(scratch.folder / "empty");
  fs::create_symlink("loop", scratch.folder / "loop");
  fs::create_symlink("data", scratch.folder / "link");
  const std::string here = scratch.folder.string() + "/";
  const auto expect = [this](const std::string& typed, const std::string& output) {
    const Outcome run = scratch.run("kel_estimator", typed);
    EXPECT_EQ(run.output, kNote + output) << "typed: " << typed.substr(0, 80);
    EXPECT_EQ(run.status, 1) << "typed: " << typed.substr(0, 80);
  };
  for (const char* declined : {"", "n", "yes", "N y", "yy"}) expect(declined, "");
  for (const std::string& bad : std::vector<std::string>{"",
                                                         "data/file",
                                                         "missing n",
                                                         "empty yes",
                                                         "loop",
                                                         here + "loop",
                                                         std::string(5000, 'x'),
                                                         here + std::string(300, 'x'),
                                                         {"data\0", 5}}) {
    expect("y " + bad, kAskDirectory + kInvalid);
  }
  expect("y " + here + "empty y data +8", kAskDirectory + kInvalid + accepted + kInvalid);
  expect("y " + here + "link//../data/ abc", kAskDirectory + "aliasName _" + aliasOf(here) +
                                                 "link__.._data_\n" + kAskThreads + kTooFew);
  expect("y empty/../link/. -5 Y", accepted + kTooFew + kAskThreads + kTooFew);
  expect("y data 8x y", accepted + kInvalid + kAskThreads + kInvalid);
  expect("y data 21 yy", accepted + kTooMany);
  expect("y /", kAskDirectory +
                    "aliasName _\nGet invalid path input, please use absolute path "
                    "instead of relative path\n");
  const std::string gone = "mkdir gone; cd gone; rmdir ../gone; kel_estimator";
  EXPECT_EQ(scratch.run(gone, "y ../data").output, kNote + kAskDirectory + kInvalid);
  fs::permissions(scratch.folder / "data", fs::perms::none);
  EXPECT_EQ(scratch.runUnprivileged("kel_estimator", "y data").output,
            kNote + kAskDirectory + kInvalid);
  EXPECT_FALSE(scratch.has("calls"));
}

TEST_F(Run, EveryNameReachesTheToolsAsItIs) {
  const auto expect = [this](const std::string& folder, const std::string& threads) {
    const std::string directory = scratch.write(folder + "/set/file", "x").parent_path();
    setenv("FOLDER", folder.c_str(), 1);
    const std::string command =
        "cp kel_* figures result \"./$FOLDER\"; cd \"./$FOLDER\"; kel_estimator";
    EXPECT_EQ(scratch.run(command, "y set " + threads + " y").status, 0) << folder;
    EXPECT_EQ(scratch.read(folder + "/calls"), calls(directory, threads)) << folder;
    EXPECT_FALSE(scratch.has("hit") || scratch.has(folder + "/hit")) << folder;
  };
  expect("a;touch hit", "20");
  expect("it's $(touch hit) `touch hit`", "21");
  expect("two\nlines\n", "25;x");
  expect("-n *?[a]~#&|<>(){}!\"\\", "21'$(id)");
  expect("%s%n\x01\x7f\xff\xfe caf\xc3\xa9", "25\xffz");
  EXPECT_EQ(scratch.run("kel_estimator", {"y data 25\0x y", 13}).status, 1);
  EXPECT_EQ(scratch.read("calls").find("-t"), std::string::npos) << "a NUL byte runs nothing";
}

TEST_F(Run, FiguresDecideHowItEnds) {
  const auto expect = [this](const std::string& figures, const std::string& result,
                             const std::string& end, int status = 1) {
    scratch.write("figures", figures);
    scratch.write("result", result);
    expectEnd(end, status, figures + result);
  };
  const std::string size = "detect_directory_size is:", huge(400, '9');
  expect(kFigures, "detection started\n" + kResult, kReport, 0);
  expect(kFigures, "0 detection finished 4 5 -0 7 8 9 469762048000",
         "Finished detect 87.50% data\nEstimated compression ratio = 0.00\n", 0);
  expect("a " + size + " 1\n" + size + " 2", kResult, failedToConvert("detected size", "is:\n2"));
  expect(kFigures, kResult + kResult, noSize);
  expect(kFigures, "x detection_finished 3 4 5 6 7 8 9\nxdetection finished 3 4 5 6 7 8 9 10",
         noSize);
  expect("", "0 detection finished 4 5 x 7 8 9 " + huge, failedToConvert("estimated size", huge));
  expect("", "0 detection finished 4 5 x 7 8 9 10", failedToConvert("detected size", ""));
  expect(kFigures, "0 detection finished 4 5 x 7 8 9 10",
         failedToConvert("compression ratio", "x"));
  fs::remove(scratch.folder / "calls");
  expect(size + " 1;id\n" + kFigures, "", noSize);
  EXPECT_EQ(scratch.read("calls"), calls(data, "20", "1;id\n536870912000"));
}

TEST_F(Run, FilesInPlaceAreReadAsTheyStand) {
  expectEnd(kReport, 0, "tools that write");
  for (const char* tool : {"kel_evaluation_tool", "kel_sim_test"})
    scratch.write(tool, "#!/bin/sh\n");
  expectEnd(kReport, 0, "tools that do nothing");
  fs::remove_all(scratch.folder / "artifact");
  expectEnd(noSize, 1, "no result file");
}

TEST_F(Run, TheArtifactDirectoryIsMadeOnlyWhenMissing) {
  const auto expect = [this](const std::string& target, const std::string& complaint) {
    fs::remove(scratch.folder / "artifact");
    fs::create_symlink(target, scratch.folder / "artifact");
    const std::string command = "export LC_ALL=C; kel_estimator 2>&1 >out | grep mkdir";
    EXPECT_EQ(scratch.run(command, "y data 2").output, complaint) << target;
  };
  expect("data", "");
  expect("nowhere", "mkdir: cannot create directory 'artifact': File exists\n");
  expect("data/file", "mkdir: cannot create directory 'artifact': File exists\n");
}

TEST_F(Run, AReportThatCannotBeWrittenIsNoCompleteRun) {
  int ends[2];
  ASSERT_TRUE(pipe(ends) == 0 && dup2(ends[1], 9) == 9 && close(ends[0]) == 0);
  for (const char* lost : {">/dev/full", ">&-", ">&9"}) {
    EXPECT_EQ(scratch.run(std::string("kel_estimator ") + lost, "y data 2").status, 1) << lost;
  }
  EXPECT_EQ(scratch.run("ulimit -f 0; kel_estimator", "y data 2").status, 1);
  EXPECT_FALSE(scratch.has("calls")) << "nobody saw the prompts";
  // The tools themselves meet a lost reader as any program does.
  scratch.write("kel_sim_test", "#!/bin/sh\nsh -c 'kill -PIPE $$'; echo $? > ended\n");
  expectEnd(noSize, 1, "a tool that loses its reader");
  EXPECT_EQ(scratch.read("ended"), "141\n");
}

}  // namespace
