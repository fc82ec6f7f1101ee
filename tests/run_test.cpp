// The estimator with scripts for its tools, as an operator sees it: what he types, what is shown.

#include <cmath>
#include <set>

#include "report/report.h"
#include "scratch.h"
#include "toolbridge/toolbridge.h"

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
// The ratio 1.5 makes 22 GiB / 16 GiB = 1.375 overall, shown as 1.38, but with one file more
// as 1.37. A sixteenth was read.
const string kResult = "0 detection finished 4 5 1.50 7 8 9 1207959552\n";

struct Run : testing::Test {
  // Scripts stand for the tools: they note their arguments and leave what lies ready for them.
  Run() {
    scratch.write("data/file", "content");
    const string note = "#!/bin/sh\n{ printf '<%s>' \"$@\"; echo; } >>calls; echo \"$0\"\n";
    scratch.write("kel_evaluation_tool", note + "cp log \"./$2_file_info.log\"\n");
    scratch.write("kel_sim_test", note + "for l; do :; done; cp result \"$l\"\n");
    scratch.write("log", kLog);
    scratch.write("result", kResult);
    scratch.run("chmod +x kel_*");
  }

  // What is shown behind the line of the simulator, without the times.
  string end(const string& log, const string& result) const {
    scratch.write("log", log);
    scratch.write("result", result);
    return replaced(scratch.run("kel_estimator", "y data 1"), "[^]*sim_test\n|\\d+(?=.ms.)", "");
  }

  Scratch scratch;
  string data = scratch.folder / "data";
  string alias = replaced(data.substr(1), "/", "_"), aliasShown = "aliasName _" + alias + "\n";
};

TEST_F(Run, ShowsEachStepInItsPlace) {
  // Each tool takes 0.2 s for its cp, and each lookup of a figure for its awk.
  scratch.write("slow/cp", "sleep 0.2; PATH=${PATH#*:} exec ${0##*/} \"$@\"\n");
  scratch.run("chmod +x slow/cp; ln slow/cp slow/awk");
  // Blank lines are no answers.
  const string text = scratch.run("PATH=$PWD/slow:$PATH kel_estimator", "\n\n Y\ndata\n20\n");
  const string expected = kNote + kDirectory + aliasShown + kThreads +
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
)";
  EXPECT_EQ(replaced(text, "= \\d+\\[ms\\]", "= N[ms]"), expected);
  const auto ms = [&](const string& of) { return numberBehind(text, of + " execution time ="); };
  EXPECT_GE(ms("Detection"), 200);
  EXPECT_LT(ms("Detection"), 800) << "without the lookups of three figures: " << text;
  EXPECT_GE(ms("Estimation"), 600) << "with those of two: " << text;
  EXPECT_NEAR(ms("Total"), ms("Detection") + ms("Estimation"), 1);
}

TEST_F(Run, ExplainsAWrongAnswerAndAsksAgain) {
  scratch.run("mkdir empty; ln -s data link");
  const string first = kNote + kDirectory, asked = first + aliasShown + kThreads;
  const string kept = first + "aliasName _proc_self_cwd_link_\n" + kThreads;
  const string end = "status 1\n";
  const auto shown = [&](const string& typed) { return scratch.run("kel_estimator", typed); };
  EXPECT_EQ(shown("yes"), kNote + end) << "a yes has one letter";
  EXPECT_EQ(shown("y empty n"), first + kWrong + end) << "an empty directory";
  EXPECT_EQ(shown("y no Y empty"), first + kWrong + kDirectory + kWrong + end) << "a retry";
  EXPECT_EQ(shown("y link abc"), asked + kFew + end) << "a link is resolved; a word is 0";
  EXPECT_EQ(shown("y /proc/self/cwd/link/ 0"), kept + kFew + end) << "an absolute path is kept";
  EXPECT_EQ(shown("y /"), first + kNoAlias + end) << "no alias";
  EXPECT_EQ(shown("y data 8x y"), asked + kWrong + kThreads + kWrong + end) << "no number";
  EXPECT_EQ(shown("y data 021 yy"), asked + kMany + end) << "more than 20 need one letter";
}

TEST_F(Run, AHostileNameReachesTheToolsAsItIs) {
  const string name = "-n it's;touch hit\n$(touch hit)`touch hit`*?[a]~#&|<>(){}!\"\\%s\x01\xff";
  const string directory = scratch.write(name + "/set/file", "x").parent_path();
  scratch.write("log", replaced(kLog, "193.*", "19;touch<hit"));
  // A number above 20 may have anything behind it.
  scratch.run("cp kel_* log result ./-n*; cd ./-n*; kel_estimator", "y set 21'$(id) y");
  alias = replaced(directory.substr(1), "/", "_");
  EXPECT_EQ(scratch.read(name + "/calls"),
            "<" + directory + "><" + alias + ">\n<-f><" + alias + "_file_type_file_list_new.log>" +
                "<-s><128><-r><0.05><-j><64><-t><21'$(id)><-o><19;touch<hit><-i><0>" +
                "<-l><./artifact/" + alias + "_p0.drav>\n");
}

TEST_F(Run, FiguresDecideHowItEnds) {
  const string noSize = "\nFailed to get estimate size " + data + "\nstatus 1\n";
  const auto unclear = [](const string& figure, const string& text) {
    return "Failed to convert the " + figure + " \"" + text + "\" to a number\nstatus 1\n";
  };
  const string noRatio = replaced(kResult, "1.50", "x"), huge(2000, '9');  // takes two reads
  EXPECT_EQ(end(kLog, noRatio), unclear("compression ratio", "x"));
  EXPECT_EQ(end("", noRatio), unclear("detected size", "")) << "the size is read before it";
  EXPECT_EQ(end("", replaced(noRatio, "1207.*", huge)), unclear("estimated size", huge));
  EXPECT_EQ(end(kLog, replaced(kResult, "ed 4", "ed_ 4")), noSize) << "no whole word";
  EXPECT_EQ(end(kLog, replaced(kResult, "1207.*", "1.5")), noSize) << "bytes that are no digits";
  EXPECT_EQ(end(kLog, kResult + kResult), noSize) << "two results";
  EXPECT_EQ(numberBehind(end(replaced(kLog, "524288", "524289"), kResult), "ratio ="), 1.37);
  // (18 + 4) / (18 / ratio + 4) is 1.526 for 1.728; from 1.525 on 1.53 would be shown.
  EXPECT_LE(numberBehind(end(kLog, replaced(kResult, "1.50", "1.728")), "ratio ="), 1.52);
  const auto warning = [&](const string& size, const string& files) {
    const string log = replaced(replaced(kLog, "19327352832", size), "524288", files);
    return replaced(end(log, kResult), "[^]*Info.*\nThe |the est[^]*|totalDetected[^]*", "");
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
  scratch.write("kel_evaluation_tool", "sh -c 'kill -PIPE $$'; echo $?\n");  // 128 and SIGPIPE, 13
  EXPECT_NE(scratch.run("kel_estimator", "y data 2").find(": 141\n"), string::npos);
}

// Functions that a run would test only by chance.

TEST_F(Run, QuotesWhatTheShellWouldNotTakeAsItIs) {
  for (const char c : string(" \t\n~#;&|<>(){}[]!\"'\\*?$`\x01\x7f\xff"))
    EXPECT_EQ(quoteForShell({'a', c}).front(), '\'') << testing::PrintToString(c);
}

TEST_F(Run, ReplacesAHighRatioByAnythingFrom148To152) {
  std::set<long> seen;
  for (int i = 0; i < 1000; ++i) seen.insert(std::lround(restrictEstimationResult() * 100));
  EXPECT_EQ(seen, (std::set<long>{148, 149, 150, 151, 152}));
}
