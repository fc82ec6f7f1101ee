#include "scratch.h"

const string kNote = R"([Note]:
1. This tool does not collect and damage user data.
2. If this tool is used on a host that runs services, run the tool in off-peak hours.
Do you want to continue? [Y/N] )";
const string kDirectory = "Please enter the dir to be detected: ";
const string kThreads = "Please enter the thread number to be detected: ";
const string kWrong = "Invalid obtains...\nDo you want retry? [Y/N] ";
const string kNoAlias =
    "aliasName _\nGet invalid path input, please use absolute path instead of relative path\n";
const string kFew = "Thread number must be greater than zero. " + kWrong;
const string kMany = R"(Thread number is more than 20, this might reduce front-end performance, )"
                     "more threads only reduce\nexecution time, do you want to continue? [Y/N] ";
// 18 GiB at the ratio 1.5 and 4 GiB for 1 GiB, 1 KiB a file and 320 KiB a directory make (18 + 4) /
// (12 + 4) = 1.375 overall, shown as 1.38, but with one file more as 1.37. A sixteenth was read.
const string kLog = R"(detect_directory_size is: 19327352832
detect_directory_file_count is: 524288
detect_directory_dir_count is: 8192
)";
const string kResult = "0 detection finished 4 5 1.50 7 8 9 1207959552\n";

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
    return replaced(shown("y data 1"), "[^]*kel_sim_test\n|\\d+(?=.ms.)", "");
  }

  Scratch scratch;
  string here = scratch.folder, data = here + "/data";
  string alias = replaced(data.substr(1), "/", "_"), aliasShown = "aliasName _" + alias + "\n";
};

TEST_F(Run, ShowsEachStepInItsPlace) {
  const string text = shown("\n\n Y\ndata\n20\n");  // blank lines are no answers
  EXPECT_EQ(replaced(text, "= \\d+\\[ms\\]", "= N[ms]"), kDirectory + aliasShown + kThreads +
                                                             R"(./kel_evaluation_tool
---------------------------------------- Detect Information ----------------------------------------
Size of detected directory: 19327352832
Total number of files: 524288
----------------------------------------------------------------------------------------------------
Detection execution time = N[ms]
---------------------------------------- Estimation Results ----------------------------------------
./kel_sim_test
totalDetectedSize is 19327352832
------------------------------------------- Warning Info -------------------------------------------
The detected size is less than 100GB, average detected file size is less than 100MB, the )"
                                                             R"(estimation CR will be inaccurate.
----------------------------------------------------------------------------------------------------
------------------------------------ Over all estimation status ------------------------------------
Finished detect 6.25% data
Estimated compression ratio = 1.38
Estimation execution time = N[ms]
Total execution time = N[ms]
----------------------------------------------------------------------------------------------------
)");
  const auto ms = [&](const string& of) { return numberBehind(text, of + " execution time ="); };
  EXPECT_TRUE(ms("Detection") >= 20 && ms("Estimation") >= 100) << "as the tools sleep: " << text;
  EXPECT_NEAR(ms("Total"), ms("Detection") + ms("Estimation"), 1);
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
      {.why = "no number", .given = "y data 8x y", .told = asked + kWrong + kThreads + kWrong},
      {.why = "more than 20 need one letter", .given = "y data 021 yy", .told = asked + kMany},
  };
  for (const Row& row : rows) EXPECT_EQ(shown(row.given), row.told + "status 1\n") << row.why;
}

TEST_F(Run, AHostileNameReachesTheToolsAsItIs) {
  const string name = "-n it's;touch hit\n$(touch hit)`touch hit`*?[a]~#&|<>(){}!\"\\%s\x01\xff";
  const string directory = scratch.write(name + "/set/file", "x").parent_path();
  // A number above 20 may have anything behind it.
  scratch.run("cp kel_* log result ./-n*; cd ./-n*; kel_estimator", "y set 21'$(id) y");
  alias = replaced(directory.substr(1), "/", "_");
  EXPECT_EQ(scratch.read(name + "/calls"),
            "<" + directory + "><" + alias + ">\n<-f><" + alias + "_file_type_file_list_new.log>" +
                "<-s><128><-r><0.05><-j><64><-t><21'$(id)><-o><19327352832><-i><0>" +
                "<-l><./artifact/" + alias + "_p0.drav>\n");
}

TEST_F(Run, FiguresDecideHowItEnds) {
  const string noSize = "\nFailed to get estimate size " + data + "\nstatus 1\n";
  const string noNumber = " to a number\nstatus 1\n", noRatio = replaced(kResult, "1.50", "x");
  const string huge(2000, '9');  // takes two pieces to read
  // `given` is the result, `also` the log that are left.
  const Row rows[] = {
      {"no ratio", noRatio, "Failed to convert the compression ratio \"x\"" + noNumber, kLog},
      {"the size comes before it", noRatio, "Failed to convert the detected size \"\"" + noNumber},
      {"the bytes read before that", replaced(noRatio, "1207.*", huge),
       "Failed to convert the estimated size \"" + huge + "\"" + noNumber},
      {"no whole word", replaced(kResult, "ed 4", "ed_ 4"), noSize, kLog},
      {"bytes that are no digits", replaced(kResult, "1207.*", "1.5"), noSize, kLog},
  };
  for (const Row& row : rows) EXPECT_EQ(end(row.also, row.given), row.told) << row.why;
  EXPECT_EQ(numberBehind(end(replaced(kLog, "524288", "524289"), kResult), "ratio ="), 1.37);
  // (18 + 4) / (18 / ratio + 4) is 1.526 for 1.728; from 1.525 on 1.53 would be shown.
  EXPECT_LE(numberBehind(end(kLog, replaced(kResult, "1.50", "1.728")), "ratio ="), 1.52);
  const auto warning = [&](const string& size, const string& files) {
    const string log = replaced(replaced(kLog, "19327352832", size), "524288", files);
    return replaced(end(log, kResult), "[^]*Info ---.*\nThe |the estimation[^]*|totalDetected[^]*",
                    "");
  };
  EXPECT_EQ(warning("107374182400", "1024"), "") << "100 GiB in files of 100 MiB";
  EXPECT_EQ(warning("107374182399", "1000"), "detected size is less than 100GB, ");
  EXPECT_EQ(warning("107374182400", "1025"), "average detected file size is less than 100MB, ");
}

TEST_F(Run, LostOutputEndsItByAFailureAndItsToolsByTheSignal) {
  const char* const readerGone = "bash -c 'exec > >(:); wait $!; exec kel_estimator'";
  for (const string lost : {readerGone, "kel_estimator >/dev/full", "kel_estimator >&-",
                            "ulimit -f 0; kel_estimator >file"})
    EXPECT_EQ(scratch.run("(" + lost + "); echo $?; cat", "y data 2"), "1\ny data 2") << lost;
  scratch.write("kel_evaluation_tool", "sh -c 'kill -PIPE $$'; echo $?\n");
  EXPECT_NE(shown("y data 2").find(": 141\n"), string::npos) << "128 and SIGPIPE, 13";
}
