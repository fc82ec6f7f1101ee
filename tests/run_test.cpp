#include <regex>

#include "scratch.h"

// The estimator itself in a folder of its own, driven through its standard input.

namespace {

const string kNote =
    "[Note]:\n1. This tool does not collect and damage user data.\n"
    "2. If this tool is used on a host that runs services, run the tool in off-peak hours.\n"
    "Do you want to continue? [Y/N] ";
const string kAskDirectory = "Please enter the dir to be detected: ";
const string kAskThreads = "Please enter the thread number to be detected: ";
const string kInvalid = "Invalid obtains...\nDo you want retry? [Y/N] ";
const string kTooFew = "Thread number must be greater than zero. " + kInvalid;
const string kTooMany =
    "Thread number is more than 20, this might reduce front-end performance, more threads only "
    "reduce\nexecution time, do you want to continue? [Y/N] ";

// Enough data for a report without a warning; field 6 is the ratio and field 10 the size read.
const string kFigures =
    "detect_directory_size is: 536870912000\ndetect_directory_file_count is: 5000\n"
    "detect_directory_dir_count is: 100\n";
const string kFinished = "0 detection finished 4 5 1.43 7 8 9 469762048000\n";
const string kReport = "Finished detect 87.50% data\nEstimated compression ratio = 1.43\n";

string replaced(const string& text, const char* pattern, const string& by) {
  return std::regex_replace(text, std::regex(pattern), by);
}

struct Run : testing::Test {
  // Scripts stand for the tools: they note their arguments and leave what lies ready for them.
  Run() {
    scratch.write("data/file", "content");
    const string note = "#!/bin/sh\n{ printf '<%s>' \"$@\"; echo; } >> calls\n";
    scratch.write("kel_evaluation_tool", note + "cp figures \"./$2_file_info.log\"\n");
    scratch.write("kel_sim_test", note + "for last; do :; done\ncp result \"$last\"\n");
    scratch.write("figures", kFigures);
    scratch.write("result", kFinished);
    scratch.run("chmod +x kel_*");
  }

  // What is shown behind the notice to an operator who types this, and how it ends.
  string shown(const string& typed) const {
    const string text = scratch.run("kel_estimator", typed);
    return text.starts_with(kNote) ? text.substr(kNote.size()) : "no notice: " + text;
  }
  // The end of a run with what the tools leave: from the last banner to the times.
  string end(const string& figures = kFigures, const string& result = kFinished) const {
    scratch.write("figures", figures);
    scratch.write("result", result);
    const string text = replaced(shown("y data 20"), "Estimation execution.*\n.*\n-*\n", "");
    return text.substr(text.rfind("----\n") + 5);
  }

  Scratch scratch;
  string data = scratch.folder / "data", ended = "status 1\n";
  string accepted = kAskDirectory + "aliasName " + replaced(data, "/", "_") + "\n" + kAskThreads;
  string noSize = "\nFailed to get estimate size " + data + "\n" + ended;
};

TEST_F(Run, TheBundledToolsMeasureASmallTree) {
  scratch.write("data/more", string(300000, 'x'));
  // Each takes its time. A tool that loses its reader ends as any program does, by signal 13.
  scratch.write("kel_evaluation_tool", "#!/bin/sh\nsleep 0.1; kel_evaluation_tool \"$@\"\n");
  scratch.write("kel_sim_test", R"(#!/bin/sh
      sh -c 'kill -PIPE $$'; echo $?; sleep 0.4; kel_sim_test "$@")");
  const string dashes(40, '-'),
      start =
          accepted + "Surveyed " + data +
          ": files: 2, directories: 1, size: 0.00 GiB (allocated: 0.00 GiB), nothing left out.\n" +
          dashes + " Detect Information " + dashes;
  const string rest = R"(
Size of detected directory: 300007
Total number of files: 2
----------------------------------------------------------------------------------------------------
Detection execution time = N[ms]
---------------------------------------- Estimation Results ----------------------------------------
141
The data alone: ratio 4225.45, everything read.
totalDetectedSize is 300007
------------------------------------------- Warning Info -------------------------------------------
The detected size is less than 100GB, average detected file size is less than 100MB, the )"
                      R"(estimation CR will be inaccurate.
----------------------------------------------------------------------------------------------------
------------------------------------ Over all estimation status ------------------------------------
Finished detect 100.00% data
Estimated compression ratio = 1.00
Estimation execution time = N[ms]
Total execution time = N[ms]
----------------------------------------------------------------------------------------------------
)";
  const string text = shown("\n\n Y\ndata/.\n01\n");
  EXPECT_EQ(replaced(text, "= \\d+\\[ms\\]", "= N[ms]"), start + rest);
  const auto milliseconds = [&text](const string& name) {
    const string label = name + " execution time = ";
    return std::stoi(text.substr(text.find(label) + label.size()));
  };
  EXPECT_GE(milliseconds("Detection"), 100);
  EXPECT_GE(milliseconds("Estimation"), 400);
}

TEST_F(Run, WrongAnswersAreExplainedAndAskedAgain) {
  scratch.run("mkdir empty; ln -s loop loop; ln -s data link");
  const string invalid = kAskDirectory + kInvalid, here = scratch.folder.string() + "/";
  for (const char* answer : {"", "n", "yes", "N y"}) EXPECT_EQ(shown(answer), ended) << answer;
  for (const char* bad : {"", "data/file", "missing n", "empty yes", "loop", "/none"}) {
    EXPECT_EQ(shown(string("y ") + bad), invalid + ended) << bad;
  }
  EXPECT_EQ(shown({"y data 25\0x", 11}), accepted + kInvalid + ended);
  EXPECT_EQ(shown("y " + here + "loop y data +8"), invalid + accepted + kInvalid + ended);
  const string asTyped = "aliasName " + replaced(data + "//../link/", "/", "_") + "\n";
  EXPECT_EQ(shown("y " + data + "//../link/ abc"),
            kAskDirectory + asTyped + kAskThreads + kTooFew + ended);
  EXPECT_EQ(shown("y empty/../link/. -5 Y"), accepted + kTooFew + kAskThreads + kTooFew + ended);
  EXPECT_EQ(shown("y data 8x y"), accepted + kInvalid + kAskThreads + kInvalid + ended);
  EXPECT_EQ(shown("y data 021 yy"), accepted + kTooMany + ended);
  EXPECT_EQ(shown("y /"), kAskDirectory + "aliasName _\nGet invalid path input, please use " +
                              "absolute path instead of relative path\n" + ended);
}

TEST_F(Run, AHostileNameReachesTheToolsAsItIs) {
  const string name = "-n it's;touch hit\n$(touch hit)`touch hit`*?[a]~#&|<>(){}!\"\\%s\x01\xff";
  const string directory = scratch.write(name + "/set/file", "x").parent_path();
  setenv("DIR", name.c_str(), 1);
  scratch.run("cp kel_* figures result \"./$DIR\"; cd \"./$DIR\"; kel_estimator",
              "y set 21'$(id) y");
  const string alias = replaced(directory.substr(1), "/", "_");
  EXPECT_EQ(scratch.read(name + "/calls"),
            "<" + directory + "><" + alias + ">\n<-f><" + alias +
                "_file_type_file_list_new.log><-s><128><-r><0.05><-j><64><-t><21'$(id)>"
                "<-o><536870912000><-i><0><-l><./artifact/" +
                alias + "_p0.drav>\n");
}

TEST_F(Run, FiguresAsTheyStandDecideHowItEnds) {
  const string size = "detect_directory_size is:", huge(400, '9');
  const string old = "detect_directory_dir_count of old\n";
  const string noRatio = replaced(kFinished, "1.43", "x");
  EXPECT_EQ(end(old + kFigures, "detection started\n" + kFinished), kReport);
  EXPECT_EQ(end(kFigures, replaced(kFinished, "1.43", "-0")), replaced(kReport, "1.43", "0.00"));
  EXPECT_EQ(end(kFigures, noRatio), failedToConvert("compression ratio", "x") + ended);
  EXPECT_EQ(end("", noRatio), failedToConvert("detected size", "") + ended);
  EXPECT_EQ(end("", replaced(noRatio, "4697.*", huge)),
            failedToConvert("estimated size", huge) + ended);
  EXPECT_EQ(end(kFigures, replaced(kFinished, "finished", "finished_")), noSize);
  EXPECT_EQ(end(kFigures, kFinished + kFinished), noSize);
  EXPECT_EQ(end("a " + size + " 1;id\n" + size + " #\n", ""), noSize);
  EXPECT_NE(scratch.read("calls").find("<-o><is:\n#><-i>"), string::npos);

  scratch.run("rm -r artifact; ln -s data artifact");
  EXPECT_EQ(end(), kReport) << "a link to a directory, and no mkdir";
  scratch.run("echo '#!/bin/sh' | tee kel_evaluation_tool kel_sim_test");
  EXPECT_EQ(end(), kReport) << "tools that do nothing";
  scratch.run("rm artifact; touch artifact");
  EXPECT_TRUE(end().starts_with("\nFailed to get estimate size " + data + "\nmkdir: ")) << end();
}

TEST_F(Run, OutputThatCannotBeWrittenEndsItAtTheFirstPrompt) {
  for (const string lost :
       {"kel_estimator >/dev/full", "kel_estimator >&-", "ulimit -f 0; kel_estimator >file",
        "bash -c 'exec > >(:); wait $!; exec kel_estimator'"}) {
    const string answersLeft = scratch.run("(" + lost + "); echo $?; cat", "y data 2");
    EXPECT_EQ(answersLeft, "1\ny data 2") << lost;
  }
}

}  // namespace
