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
const string kMany =
    "Thread number is more than 20, this might reduce front-end performance, more threads only "
    "reduce\nexecution time, do you want to continue? [Y/N] ";
// The sixth word is the ratio, which makes 22 GiB / 16 GiB = 1.375 overall, shown as 1.38. The
// tenth is how many bytes were read, here a sixteenth of those in kLog.
const string kResult = "0 detection finished 4 5 1.50 7 8 9 1207959552\n";

struct Run : Scratch {
  // Scripts stand for the tools: they note their arguments and leave what lies ready for them.
  Run() {
    write("data/file", "content");
    const string note = "#!/bin/sh\n{ printf '<%s>' \"$@\"; echo; } >>calls; echo \"$0\"\n";
    write("kel_evaluation_tool", note + "cp log \"./$2_file_info.log\"\n");
    write("kel_sim_test", note + "for last; do :; done; cp result \"$last\"\n");
    write("log", kLog);
    write("result", kResult);
    run("chmod +x kel_*");
  }

  // What is shown when the tools leave these.
  string shownOf(const string& log, const string& result) const {
    write("log", log);
    write("result", result);
    return run("kel_estimator", "y data 1");
  }

  string data = folder / "data";
  string alias = replaced(data.substr(1), "/", "_"), aliasShown = "aliasName _" + alias + "\n";
};

TEST_F(Run, ShowsEachStepInItsPlace) {
  // Slower by 0.2 s: a tool by its cp, the lookup of a figure by its awk. Blanks are no answers.
  write("slow/cp", "sleep 0.2; PATH=${PATH#*:} exec ${0##*/} \"$@\"\n");
  run("chmod +x slow/cp; ln slow/cp slow/awk");
  const string text = run("PATH=$PWD/slow:$PATH kel_estimator", "\n\n Y\ndata\n20\n");
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
  EXPECT_GE(ms("Detection"), 200) << "the survey alone";
  EXPECT_LT(ms("Detection"), 800) << "without three lookups, 600 ms: " << text;
  EXPECT_GE(ms("Estimation"), 600) << "the simulator and the lookups of ratio and bytes: " << text;
  EXPECT_NEAR(ms("Total"), ms("Detection") + ms("Estimation"), 1) << "not what lies between";
}

TEST_F(Run, ExplainsAWrongAnswerAndAsksAgain) {
  run("mkdir empty; ln -s data link");
  const string first = kNote + kDirectory, asked = first + aliasShown + kThreads;
  const string kept = first + "aliasName _proc_self_cwd_link_\n" + kThreads;
  const string gaveUp = "status 1\n";  // the end of input is no yes, either
  const auto shown = [&](const string& typed) { return run("kel_estimator", typed); };
  EXPECT_EQ(shown("yes"), kNote + gaveUp) << "a yes has one letter";
  EXPECT_EQ(shown("y empty n"), first + kWrong + gaveUp) << "an empty directory";
  EXPECT_EQ(shown("y lost Y empty"), first + kWrong + kDirectory + kWrong + gaveUp) << "a retry";
  EXPECT_EQ(shown("y link abc"), asked + kFew + gaveUp) << "a relative link's; abc is 0";
  EXPECT_EQ(shown("y /proc/self/cwd/link/ 0"), kept + kFew + gaveUp) << "an absolute one is kept";
  EXPECT_EQ(shown("y /"), first + kNoAlias + gaveUp) << "/ leaves no alias";
  EXPECT_EQ(shown("y data 8x y"), asked + kWrong + kThreads + kWrong + gaveUp) << "8x is no 8";
  EXPECT_EQ(shown("y data 021 yy"), asked + kMany + gaveUp) << "021 is 21; a yes has one letter";
}

TEST_F(Run, AHostileNameReachesTheToolsAsItIs) {
  const string name = "-n it's;touch hit\n$(touch hit)`touch hit`*?[a]~#&|<>(){}!\"\\%s\x01\xff";
  const string directory = write(name + "/set/file", "x").parent_path();
  write("log", replaced(kLog, "19327352832", "19;touch<hit"));
  // Above 20 anything may follow the number. -s, -r, -j and -i below are fixed.
  run("cp kel_* log result ./-n*; cd ./-n*; kel_estimator", "y set 21'$(id) y");
  alias = replaced(directory.substr(1), "/", "_");
  EXPECT_EQ(read(name + "/calls"),
            "<" + directory + "><" + alias + ">\n<-f><" + alias + "_file_type_file_list_new.log>" +
                "<-s><128><-r><0.05><-j><64><-t><21'$(id)><-o><19;touch<hit><-i><0>" +
                "<-l><./artifact/" + alias + "_p0.drav>\n");
}

TEST_F(Run, FiguresDecideHowItEnds) {
  const string noSize = "./kel_sim_test\n\nFailed to get estimate size " + data + "\nstatus 1\n";
  const auto unclear = [](const string& figure, const string& text) {
    return "./kel_sim_test\nFailed to convert the " + figure + " \"" + text +
           "\" to a number\nstatus 1\n";
  };
  const auto result = [](const string& ratio, const string& bytes) {
    return "0 detection finished 4 5 " + ratio + " 7 8 9 " + bytes + "\n";
  };
  const string huge(2000, '9');  // more than a lookup reads at once, and than a number holds
  // First the bytes read are converted, then the size, then the ratio.
  EXPECT_TRUE(holds(shownOf(kLog, result("x", "9")), unclear("compression ratio", "x")));
  EXPECT_TRUE(holds(shownOf("", result("x", "9")), unclear("detected size", ""))) << "before ratio";
  EXPECT_TRUE(holds(shownOf("", result("x", huge)), unclear("estimated size", huge)));
  EXPECT_TRUE(holds(read("calls"), "<-o><-i>")) << "a size that is empty is no argument";
  EXPECT_TRUE(holds(shownOf(kLog, result("1.5", "1.5")), noSize)) << "not digits alone";
  EXPECT_TRUE(holds(shownOf(kLog, kResult + kResult), noSize)) << "two results";
  EXPECT_TRUE(holds(shownOf(kLog, replaced(kResult, "finished", "finished_")), noSize));
  const auto shownFor = [&](const string& size, const string& files) {
    return shownOf(replaced(replaced(kLog, "19327352832", size), "524288", files), kResult);
  };
  EXPECT_TRUE(holds(shownFor("19327352832", "524289"), "ratio = 1.37\n")) << "below 1.375";
  // Above 1.52, here (18 + 4) / (18 / 1.728 + 4) = 1.526, a number from 1.48 on is shown instead.
  EXPECT_NEAR(numberBehind(shownOf(kLog, result("1.728", "9")), "ratio ="), 1.50, 0.0201);
  const string line(36, '-'), hundred = "107374182400";  // GiB, in 1024 files of 100 MiB
  EXPECT_TRUE(holds(shownFor(hundred, "1024"), "is " + hundred + "\n" + line + " Over"));
  EXPECT_TRUE(holds(shownFor(hundred, "1025"), "\nThe average detected file size is less"));
  EXPECT_TRUE(holds(shownFor("107374182399", "9"), "\nThe detected size is less than 100GB, the"));
}

TEST_F(Run, LostOutputIsAFailureButItsSignalEndsTheTools) {
  // Nothing was read of what was typed, which is still there for cat, and no signal ended it.
  const char* const readerGone = "bash -c 'exec > >(:); wait $!; exec kel_estimator'";
  for (const string lost : {readerGone, "kel_estimator >/dev/full", "kel_estimator >&-",
                            "ulimit -f 0; kel_estimator >file"})
    EXPECT_EQ(run("(" + lost + "); echo $?; cat", "y data 2"), "1\ny data 2") << lost;
  write("kel_evaluation_tool", "sh -c 'kill -PIPE $$'; echo $?\n");  // 128 + SIGPIPE
  EXPECT_TRUE(holds(run("kel_estimator", "y data 2"), kThreads + "141\n"));
}

TEST_F(Run, QuotesWhateverMayBeSpecialToAShell) {
  for (const char c : string(" \t\n~#;&|<>(){}[]!\"'\\*?$`\x01\x7f\xff"))
    EXPECT_EQ(quoteForShell({'a', c}).front(), '\'') << testing::PrintToString(c);
}

TEST_F(Run, ReplacesAHighRatioByAnythingFrom148To152) {
  std::set<long> seen;
  for (int i = 0; i < 1000; ++i) seen.insert(std::lround(restrictEstimationResult() * 100));
  EXPECT_EQ(seen, (std::set<long>{148, 149, 150, 151, 152}));
}
