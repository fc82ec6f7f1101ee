#include <regex>

#include "scratch.h"

// The estimator itself in a folder of its own, with scripted tools, driven through its standard
// input.

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
const std::string kResult = "part 0: detection finished ratio: 1.43 blocks: 9 bytes: 469762048000\n";
const std::string kOverall = "totalDetectedSize is 536870912000\n" + k36 + " Over all estimation status " + k36 +
                             "\nFinished detect 87.50% data\nEstimated compression ratio = 1.43\n"
                             "Estimation execution time = N[ms]\nTotal execution time = N[ms]\n" +
                             k100 + "\n";

std::string detected(const std::string& size = "536870912000", const std::string& files = "5000") {
  return k40 + " Detect Information " + k40 + "\nSize of detected directory: " + size +
         "\nTotal number of files: " + files + "\n" + k100 + "\nDetection execution time = N[ms]\n" + k40 +
         " Estimation Results " + k40 + "\n";
}

std::string aliasOf(const std::string& path) { return std::regex_replace(path.substr(1), std::regex("/"), "_"); }

struct Run : testing::Test {
  // Each tool notes its arguments, hands out what lies ready and does what the test asks for.
  Run() {
    scratch.write("data/file", "content");
    scratch.write("figures", kFigures);
    scratch.write("result", kResult);
    const std::string start = "#!/bin/sh\n{ printf '<%s>' \"$@\"; echo; } >> calls\n";
    const std::string end = "[ ! -e during_${0#./} ] || . ./during_${0#./}\n";
    scratch.write("kel_evaluation_tool", start + "[ ! -e figures ] || cp figures \"./$2_file_info.log\"\n" + end);
    scratch.write("kel_sim_test", start + "eval \"file=\\${$#}\"\n[ ! -e result ] || cp result \"$file\"\n" + end);
    scratch.run("chmod +x kel_*");
  }

  // What the tools note of a run with these values.
  static std::string calls(const std::string& directory, const std::string& threads,
                           const std::string& size = "536870912000") {
    const std::string alias = aliasOf(directory);
    return "<" + directory + "><" + alias + ">\n<-f><" + alias +
           "_file_type_file_list_new.log><-s><128><-r><0.05><-j><64><-t><" + threads + "><-o><" + size +
           "><-i><0><-l><./artifact/" + alias + "_p0.drav>\n";
  }

  Outcome estimate(const std::string& input, const std::string& command = "kel_estimator",
                   const std::string& milliseconds = "[0-9]+") const {
    Outcome outcome = scratch.run(command, input);
    outcome.output = std::regex_replace(outcome.output, std::regex("= " + milliseconds + "\\[ms\\]"), "= N[ms]");
    return outcome;
  }

  // A run on the data, and what it shows after the dialogue.
  void expectReport(const std::string& report, const std::string& command = "kel_estimator") const {
    const Outcome run = estimate("y " + data + " 20", command);
    EXPECT_EQ(run.output, dialogue + report);
    EXPECT_EQ(run.status, report.ends_with(k100 + "\n") ? 0 : 1);
  }

  Scratch scratch;
  std::string data = scratch.folder / "data";
  std::string dialogue = kNote + kAskDirectory + "aliasName _" + aliasOf(data) + "\n" + kAskThreads;
  std::string failedSize = "\nFailed to get estimate size " + data + "\n";
};

TEST_F(Run, CompleteReport) {
  scratch.write("during_kel_evaluation_tool", "sleep 0.1; sh -c 'kill -PIPE $$'; echo $?\n");
  scratch.write("during_kel_sim_test", "sleep 0.1; echo sampled\n");
  const Outcome run = estimate("\n\n Y\n" + data + "\n01\n", "kel_estimator", "[0-9]{3,}");
  EXPECT_EQ(run.output, dialogue + "141\n" + detected() + "sampled\n" + kOverall);
  EXPECT_EQ(run.errors + std::to_string(run.status), "0");
  EXPECT_EQ(scratch.read("calls"), calls(data, "01"));
}

TEST_F(Run, WrongAnswersAreExplainedAndAskedAgain) {
  fs::create_directory(scratch.folder / "empty");
  fs::create_symlink("loop", scratch.folder / "loop");
  fs::create_symlink("data", scratch.folder / "link");
  const auto expect = [this](const std::string& input, const std::string& output) {
    const Outcome run = estimate(input);
    EXPECT_EQ(run.output, kNote + output) << input;
    EXPECT_EQ(run.status, 1) << input;
  };
  const std::string here = scratch.folder.string() + "/";
  const std::vector<std::string> bad = {
      "", "data/file", "missing n", "empty yes", "loop", here + "loop", here + std::string(300, 'x'), {"data\0", 5}};
  for (const std::string& answer : bad) { expect("y " + answer, kAskDirectory + kInvalid); }
  for (const char* declined : {"", "n", "yes", "N y", "yy"}) { expect(declined, ""); }
  const std::string good = dialogue.substr(kNote.size());
  expect("y " + here + "empty y data +8 y", kAskDirectory + kInvalid + good + kInvalid + kAskThreads + kInvalid);
  expect("y " + here + "link//../data/ abc",
         kAskDirectory + "aliasName _" + aliasOf(here) + "link__.._data_\n" + kAskThreads + kTooFew);
  expect("y " + std::string(1200000, 'x') + " y empty", kAskDirectory + kInvalid + kAskDirectory + kInvalid);
  expect("y empty/../link/. -5 Y", good + kTooFew + kAskThreads + kTooFew);
  expect("y data 21 yy", good + kTooMany);
  expect("y /", kAskDirectory +
                    "aliasName _\nGet invalid path input, please use absolute path "
                    "instead of relative path\n");
  EXPECT_EQ(estimate("y ../data", "mkdir gone; cd gone; rmdir ../gone; kel_estimator").output,
            kNote + kAskDirectory + kInvalid);
  EXPECT_FALSE(scratch.has("calls"));
}

TEST_F(Run, WhatMayNotBeReadIsInvalid) {
  fs::permissions(scratch.write("tree/file", "").parent_path(), fs::perms::none);
  EXPECT_EQ(scratch.runUnprivileged("kel_estimator", "", "y tree 2").output,
            kNote + kAskDirectory + kInvalid);
}

TEST_F(Run, EveryNameReachesTheToolsAsItIs) {
  const auto expect = [this](const std::string& folder, const std::string& threads) {
    const std::string directory = scratch.write(folder + "/set/file", "x").parent_path();
    setenv("FOLDER", folder.c_str(), 1);
    scratch.run("cp kel_* figures result \"./$FOLDER\"");
    EXPECT_EQ(estimate("y set " + threads + " y", "cd \"./$FOLDER\" && kel_estimator").status, 0) << folder;
    EXPECT_EQ(scratch.read(folder + "/calls"), calls(directory, threads));
    EXPECT_FALSE(scratch.has("hit") || scratch.has(folder + "/hit"));
  };
  expect("a;touch hit", "20");
  expect("it's $(touch hit) `touch hit`", "21");
  expect("two\nlines\n", "25;x");
  expect("-n *?[a]~#&|<>(){}!\"\\", "21'$(id)");
  expect("%s%n\x01\x7f\xff\xfe caf\xc3\xa9", "25\xffz");
  fs::remove(scratch.folder / "calls");
  EXPECT_EQ(estimate({"y data 25\0x y", 13}).status, 1);
  EXPECT_FALSE(scratch.read("calls").find("25") != std::string::npos) << "half an answer";
}

TEST_F(Run, FiguresDecideHowTheRunEnds) {
  const auto expect = [this](const std::string& figures, const std::string& result, const std::string& report) {
    scratch.write("figures", figures);
    scratch.write("result", result);
    expectReport(report);
  };
  const std::string huge(400, '9'), none = detected("", ""), size = "detect_directory_size is:";
  expect("a " + size + " 1\n" + size + " 2\ndetect_directory_file_count is: 3 4", kResult,
         detected("is:\n2", "3") + failedToConvert("detected size", "is:\n2"));
  expect(kFigures, "detection started\n" + kResult + kResult, detected() + failedSize);
  expect(kFigures, "x detection_finished 3 4 5 6 7 8 9\nxdetection finished 3 4 5 6 7 8 9 10", detected() + failedSize);
  expect(kFigures, std::regex_replace(kResult, std::regex("1.43"), "-0"),
         detected() + std::regex_replace(kOverall, std::regex("1.43"), "0.00"));
  fs::remove(scratch.folder / (aliasOf(data) + "_file_info.log"));
  expect("", "0 detection finished 4 5 x 7 8 9 " + huge, none + failedToConvert("estimated size", huge));
  expect("", "0 detection finished 4 5 x 7 8 9 10", none + failedToConvert("detected size", ""));
  expect(kFigures, "0 detection finished 4 5 x 7 8 9 10", detected() + failedToConvert("compression ratio", "x"));
  fs::remove(scratch.folder / "calls");
  expect("detect_directory_size is: 1;id\n" + kFigures, "", detected("1;id\n536870912000") + failedSize);
  EXPECT_EQ(scratch.read("calls"), calls(data, "20", "1;id\n536870912000"));
}

TEST_F(Run, FilesInPlaceAreReadAsTheyStand) {
  expectReport(detected() + kOverall);
  fs::remove(scratch.folder / "figures");
  fs::remove(scratch.folder / "result");
  expectReport(detected() + kOverall);
}

TEST_F(Run, ArtifactDirectoryIsMadeOnlyWhenMissing) {
  std::string errors;
  for (const char* target : {"data", "nowhere", "data/file"}) {
    fs::remove(scratch.folder / "artifact");
    fs::create_symlink(target, scratch.folder / "artifact");
    errors += estimate("y " + data + " 2", "LC_ALL=C kel_estimator 2>&1 > /dev/null | grep mkdir").output;
  }
  const std::string failed = "mkdir: cannot create directory 'artifact': File exists\n";
  EXPECT_EQ(errors, failed + failed);
}

TEST_F(Run, APipelineThatCannotStartEndsTheRun) {
  // What takes the estimator's descriptors away stands for a machine out of resources.
  const std::string starve = "prlimit --pid \"$(cat pid)\" --nofile=3\n";
  const std::string count = "#!/bin/sh\necho \"$@\" >> lookups\n[ \"$(wc -l < lookups)\" != \"$STARVED\" ] || ";
  fs::permissions(scratch.write("bin/grep", count + starve + "exec /bin/grep \"$@\"\n"), fs::perms::all);
  const auto expect = [&](const std::string& starvedLookup, const std::string& report) {
    fs::remove(scratch.folder / "lookups");
    const std::string environment = "echo $$ > pid; PATH=$PWD/bin:$PATH STARVED=" + starvedLookup;
    expectReport(report, "sh -c '" + environment + " exec kel_estimator'");
  };
  expect("1", "Failed to detect the file number of dir " + data + "\n\n");
  expect("2", "Failed to detect the directory number of dir " + data + "\n\n");
  expect("3", detected() + "Failed to estimate dir " + data + "\n");
  expect("4", detected() + "Failed to get estimate size " + data + "\n");
  const std::string key = "detect_directory_", log = " is: " + aliasOf(data) + "_file_info.log\n";
  EXPECT_EQ(scratch.read("lookups"), key + "size" + log + key + "file_count" + log + key + "dir_count" + log +
                                         "-w detection finished ./artifact/" + aliasOf(data) + "_p0.drav\n");
  scratch.write("during_kel_evaluation_tool", starve);
  expect("0", "Failed to detect the size of dir " + data + "\n\n");
}

TEST_F(Run, AReportThatCannotBeWrittenIsNoCompleteRun) {
  const std::string answers = "y " + data + " 2";
  for (const char* lost : {"kel_estimator > /dev/full", "kel_estimator >&-", "ulimit -f 0; kel_estimator"}) {
    EXPECT_EQ(estimate(answers, lost).status, 1) << lost;
  }
  EXPECT_FALSE(scratch.has("calls")) << "nobody saw the prompts";
  scratch.write("during_kel_evaluation_tool", "while [ -e \"/proc/$(cat reader)/fd/0\" ]; do :; done");
  const std::string leaver = "mkfifo out; head -c 1 out > /dev/null & echo $! > reader; ";
  EXPECT_EQ(estimate(answers, leaver + "kel_estimator > out").status, 1);
}

}  // namespace
