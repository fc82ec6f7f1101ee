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
      {.why = "a yes has one letter", .given = "yes", .told = ""},
      {.why = "nothing at the end of input", .given = "y", .told = kDirectory + kWrong},
      {.why = "an empty directory", .given = "y empty n", .told = kDirectory + kWrong},
      {.why = "a retry", .given = "y nowhere Y data 0", .told = kDirectory + kWrong + asked + kFew},
      {.why = "a link is resolved; a word is 0", .given = "y link abc", .told = asked + kFew},
      {.why = "an absolute path is kept", .given = "y " + here + "/link/ 0", .told = kept + kFew},
      {.why = "no alias", .given = "y /", .told = kDirectory + kNoAlias},
      {.why = "no second number", .given = "y data 8x y", .told = asked + kWrongTwice},
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
  const string noBytes = replaced(noRatio, "2684.*", huge),
               noLine = replaced(kResult, "ed 4", "ed_ 4");
  // The result and the log that are left.
  const Row rows[] = {
      {"no ratio", noRatio, noNumber("compression ratio", "x"), kLog},
      {"the size comes before it", noRatio, noNumber("detected size", "")},
      {"the bytes read before that", noBytes, noNumber("estimated size", huge)},
      {"no whole word", noLine, noSize, kLog},
      {"two lines are no number", kResult + kResult, noSize, kLog},
      {"2^63", kResult, noNumber("detected size", beyond), replaced(kLog, "5368.*", beyond)},
  };
  for (const Row& row : rows) EXPECT_EQ(end(row.also, row.given), row.told) << row.why;
  const string minus = end(kLog, replaced(kResult, "1.30", "-0"));
  EXPECT_NE(minus.find("ratio = 0.00\n"), string::npos) << "a ratio of -0 is shown as 0" << minus;
  // (50 + H) / (50 / 1.3 + H) GiB, where H is 1, and 30.5 for the directories: 1.165, not 1.290.
  const string many = end(replaced(kLog, "dir_count is: 10", "dir_count is: 100000"), kResult);
  EXPECT_NE(many.find("ratio = 1.16\n"), string::npos) << many;
  end(kLog + "a detect_directory_size is: 7\n", "");  // the third field of this line is "is:"
  EXPECT_NE(scratch.read("calls").find("<-o><53687091200\nis:><-i>"), string::npos) << "one word";
}

TEST_F(Run, NeedsNothingOfItsToolsButTheirFiles) {
  const string report = end(kLog, kResult), noSize = "\nFailed to get estimate size " + data + "\n";
  for (const char* tool : {"kel_evaluation_tool", "kel_sim_test"}) {
    scratch.write(tool, "echo kel_sim_test\n");  // and leaves no file
  }
  EXPECT_EQ(end("", ""), report) << "earlier figures are taken as they stand";
  scratch.run("mv artifact old; ln -s old artifact");
  EXPECT_EQ(end("", ""), report) << "a link to a directory will do";
  scratch.run("rm artifact; touch artifact");
  EXPECT_TRUE(end("", "").starts_with(noSize + "mkdir: "));
}

TEST_F(Run, OverallTellsTheRatioWithoutTheCapAndWithItsError) {
  const string files = replaced(aliasShown, "aliasName _|\n", ""), log = files + "_file_info.log";
  const string result = "artifact/" + files + "_p0.drav", overall = "Overall ratio ";
  const string noRatio = "overall.sh: no usable ratio in ./" + result + "\nstatus 1\n";
  const string noFigures = "overall.sh: no usable figures in ./" + log + "\nstatus 1\n";
  const string sure = ", 95 % sure between ", missing = "; what could not be read is missing.\n";
  EXPECT_NE(end(kLog, kResult).find("ratio = 1.29\n"), string::npos);
  // The result from the ratio on, and what follows in the log. Beside 50 GiB the overheads are
  // 1 GiB, 1000 KiB and 10 * 320 KiB, so the overall ratio is 51.004 / (50 / ratio + 1.004).
  const string start = "part 0: detection finished ratio: ", i = " blocks: 9 bytes: 9 95%: ";
  const Row rows[] = {
      {"as the estimator, no interval", "1.30 7 8 9 2684354560", overall + "1.29.\n"},
      {"above the cap", "3" + i + "2.0 to 4.0", overall + "2.89" + sure + "1.96 and 3.78.\n"},
      {"51.004 / 1.004", "1.3" + i + "1.2 to inf", overall + "1.29" + sure + "1.20 and 50.80.\n"},
      {"all was read", "1.3" + i + "1.3 to 1.3 skipped: 0", overall + "1.29.\n"},
      {"but a block", "1.3" + i + "1.3 to 1.3 skipped: 1", overall + "1.29" + missing},
      {"a file", "1.3", overall + "1.29" + missing, "detect_directory_left_out_count is: 1\n"},
      {"no number", "x", noRatio},
      {"no ratio", "0.0", noRatio},
      {"two lines", "1.3\n" + kResult, noRatio},
      {"two logs", "1.3", noFigures, kLog},
  };
  for (const Row& row : rows) {
    scratch.write(result, start + row.given + "\n");
    scratch.write(log, kLog + row.also);
    EXPECT_EQ(scratch.run("overall.sh data"), row.told) << row.why;
  }
  EXPECT_TRUE(scratch.run("overall.sh /no").starts_with("overall.sh: no figures of /no here: "));
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
