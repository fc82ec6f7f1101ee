#include "scratch.h"

namespace {

const string kNote = R"([Note]:
1. This tool does not collect and damage user data.
2. If this tool is used on a host that runs services, run the tool in off-peak hours.
Do you want to continue? [Y/N] )";
const string kDirectory = "Please enter the dir to be detected: ";
const string kThreads = "Please enter the thread number to be detected: ";
const string kWrong = "Invalid obtains...\nDo you want retry? [Y/N] ";
const string kWrongTwice = kWrong + kThreads + kWrong;
const string kFew = "Thread number must be greater than zero. " + kWrong;
const string kMany = R"(Thread number is more than 20, this might reduce front-end performance, )"
                     "more threads only reduce\nexecution time, do you want to continue? [Y/N] ";
const string kNoAlias = "aliasName _\nGet invalid path input, please use absolute path instead of "
                        "relative path\n";

// Field 6 of the result is the ratio and field 10 the bytes read, 5 % of those in the log.
const string kLog = R"(detect_directory_size is: 53687091200
detect_directory_file_count is: 1000
detect_directory_dir_count is: 10
)";
const string kResult = "0 detection finished 4 5 1.30 7 8 9 2684354560\n";

string noNumber(const string& figure, const string& text) {
  return "Failed to convert the " + figure + " \"" + text + "\" to a number\nstatus 1\n";
}

struct Run : testing::Test {
  // Scripts stand for the tools: they note their arguments and leave what lies ready for them.
  Run() {
    scratch.write("data/file", "content");
    const string note = "#!/bin/sh\n{ printf '<%s>' \"$@\"; echo; } >>calls; echo \"$0\"\n";
    scratch.write("kel_evaluation_tool", note + "sleep 0.02; cp log \"./$2_file_info.log\"\n");
    scratch.write("kel_sim_test", note + "sleep 0.1; for l; do :; done; cp result \"$l\"\n");
    scratch.write("log", kLog);
    scratch.write("result", kResult);
    scratch.run("chmod +x kel_*");
  }

  // What is shown behind the notice to an operator who types this, and how it ends.
  string shown(const string& typed) const {
    const string text = scratch.run("rm -f calls; kel_estimator", typed);
    return text.starts_with(kNote) ? text.substr(kNote.size()) : "no notice: " + text;
  }
  // The same behind the line of the simulator, without the times.
  string end(const string& log, const string& result) const {
    scratch.write("log", log);
    scratch.write("result", result);
    return replaced(shown("y data 2"), "[^]*kel_sim_test\n|\\d+(?=.ms.)", "");
  }

  Scratch scratch;
  string here = scratch.folder, data = here + "/data";
  string aliasShown = "aliasName " + replaced(data, "/", "_") + "\n";
};

TEST_F(Run, ShowsEachStepInItsPlace) {
  const string text = shown("\n\n Y\ndata\n20\n");  // blank lines are no answers
  EXPECT_EQ(replaced(text, "= \\d+\\[ms\\]", "= N[ms]"), kDirectory + aliasShown + kThreads +
                                                             R"(./kel_evaluation_tool
---------------------------------------- Detect Information ----------------------------------------
Size of detected directory: 53687091200
Total number of files: 1000
----------------------------------------------------------------------------------------------------
Detection execution time = N[ms]
---------------------------------------- Estimation Results ----------------------------------------
./kel_sim_test
totalDetectedSize is 53687091200
------------------------------------------- Warning Info -------------------------------------------
The detected size is less than 100GB, average detected file size is less than 100MB, the )"
                                                             R"(estimation CR will be inaccurate.
----------------------------------------------------------------------------------------------------
------------------------------------ Over all estimation status ------------------------------------
Finished detect 5.00% data
Estimated compression ratio = 1.29
Estimation execution time = N[ms]
Total execution time = N[ms]
----------------------------------------------------------------------------------------------------
)");
  const std::regex slept("Detection[^=]*= \\d{2,}.ms.[^]*Estimation[^=]*= \\d{3,}.ms");
  EXPECT_TRUE(std::regex_search(text, slept)) << "at least 20 and 100 ms, as they sleep" << text;
}

TEST_F(Run, ExplainsAWrongAnswerAndAsksAgain) {
  scratch.run("mkdir empty; ln -s data link");
  const string kept = kDirectory + "aliasName " + replaced(here, "/", "_") + "_link_\n" + kThreads;
  const string asked = kDirectory + aliasShown + kThreads;
  const Row rows[] = {
      {.why = "no consent at the end of input", .given = "", .told = ""},
      {.why = "a yes has one letter", .given = "yes", .told = ""},
      {.why = "nothing at the end of input", .given = "y", .told = kDirectory + kWrong},
      {.why = "an empty directory", .given = "y empty n", .told = kDirectory + kWrong},
      {.why = "a retry", .given = "y nowhere Y data 0", .told = kDirectory + kWrong + asked + kFew},
      {.why = "a link is resolved", .given = "y link 0", .told = asked + kFew},
      {.why = "an absolute path is kept", .given = "y " + here + "/link/ 0", .told = kept + kFew},
      {.why = "no alias", .given = "y /", .told = kDirectory + kNoAlias},
      {.why = "no number counts as 0", .given = "y data abc", .told = asked + kFew},
      {.why = "at the end of input the number stays",
       .given = "y data 8x y",
       .told = asked + kWrongTwice},
      {.why = "more than 20 need one letter", .given = "y data 021 yy", .told = asked + kMany},
  };
  for (const Row& row : rows) EXPECT_EQ(shown(row.given), row.told + "status 1\n") << row.why;
}

TEST_F(Run, AHostileNameReachesTheToolsAsItIs) {
  const string name = "-n it's;touch hit\n$(touch hit)`touch hit`*?[a]~#&|<>(){}!\"\\%s\x01\xff";
  const string directory = scratch.write(name + "/set/file", "x").parent_path();
  setenv("DIR", name.c_str(), 1);
  // A number above 20 may have anything behind it.
  scratch.run("cp kel_* log result \"./$DIR\"; cd \"./$DIR\"; kel_estimator", "y set 21'$(id) y");
  const string alias = replaced(directory.substr(1), "/", "_");
  EXPECT_EQ(scratch.read(name + "/calls"),
            "<" + directory + "><" + alias + ">\n<-f><" + alias + "_file_type_file_list_new.log>" +
                "<-s><128><-r><0.05><-j><64><-t><21'$(id)><-o><53687091200><-i><0>" +
                "<-l><./artifact/" + alias + "_p0.drav>\n");
}

TEST_F(Run, FiguresDecideHowItEnds) {
  const string noSize = "\nFailed to get estimate size " + data + "\nstatus 1\n", huge(400, '9');
  const string noRatio = replaced(kResult, "1.30", "x"), beyond = "9223372036854775808";
  EXPECT_EQ(end(kLog, noRatio), noNumber("compression ratio", "x"));
  EXPECT_EQ(end("", noRatio), noNumber("detected size", "")) << "converted before the ratio";
  EXPECT_EQ(end("", replaced(noRatio, "2684.*", huge)), noNumber("estimated size", huge));
  EXPECT_EQ(end(kLog, replaced(kResult, "finished", "finished_")), noSize) << "a word";
  EXPECT_EQ(end(kLog, kResult + kResult), noSize) << "two lines are no number";
  EXPECT_EQ(end(replaced(kLog, "5368.*", beyond), kResult), noNumber("detected size", beyond));
  EXPECT_NE(end(kLog, replaced(kResult, "1.30", "-0")).find("ratio = 0.00\n"), string::npos);
  EXPECT_EQ(end(kLog + "a " + kLog, ""), noSize);
  EXPECT_NE(scratch.read("calls").find("<-o><53687091200\nis:><-i>"), string::npos) << "a word";
}

TEST_F(Run, NeedsNothingOfItsToolsButTheirFiles) {
  const string report = end(kLog, kResult), noSize = "\nFailed to get estimate size " + data + "\n";
  scratch.run("echo echo kel_sim_test | tee kel_evaluation_tool kel_sim_test");  // leave no file
  EXPECT_EQ(end("", ""), report) << "earlier figures are taken as they stand";
  scratch.run("mv artifact old; ln -s old artifact");
  EXPECT_EQ(end("", ""), report) << "a link to a directory will do";
  scratch.run("rm artifact; touch artifact");
  EXPECT_TRUE(end("", "").starts_with(noSize + "mkdir: "));
}

TEST_F(Run, AToolEndsBySignalsThatTheEstimatorOutlives) {
  scratch.write("kel_evaluation_tool", "sh -c 'kill -PIPE $$'; echo $?\n");
  EXPECT_NE(shown("y data 2").find(": 141\n"), string::npos) << "128 and SIGPIPE, 13";
}

TEST_F(Run, OutputThatCannotBeWrittenEndsItBeforeItReads) {
  const char* const readerGone = "bash -c 'exec > >(:); wait $!; exec kel_estimator'";
  for (const string lost : {readerGone, "kel_estimator >/dev/full", "kel_estimator >&-",
                            "ulimit -f 0; kel_estimator >file"}) {
    EXPECT_EQ(scratch.run("(" + lost + "); echo $?; cat", "y data 2"), "1\ny data 2") << lost;
  }
}

}  // namespace
