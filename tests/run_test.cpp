#include "scratch.h"

namespace {

const string kNote = R"([Note]:
1. This tool does not collect and damage user data.
2. If this tool is used on a host that runs services, run the tool in off-peak hours.
Do you want to continue? [Y/N] )";
const string kDirectory = "Please enter the dir to be detected: ";
const string kThreads = "Please enter the thread number to be detected: ";
const string kWrong = "Invalid obtains...\nDo you want retry? [Y/N] ";
const string kFew = "Thread number must be greater than zero. " + kWrong;
const string kMany = R"(Thread number is more than 20, this might reduce front-end performance, )"
                     "more threads only reduce\nexecution time, do you want to continue? [Y/N] ";
// 18 GiB at the ratio 1.5, the result's field 6, and overheads of 4 GiB: 1, 1 KiB for each file and
// 320 KiB for each directory. The overall ratio is (18 + 4) / (12 + 4) = 1.375, shown as 1.38, but
// with one file more as 1.37. Field 10 is the bytes read, a sixteenth.
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
    return replaced(shown("y data 2"), "[^]*kel_sim_test\n|\\d+(?=.ms.)", "");
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
  const string noAlias =
      "aliasName _\nGet invalid path input, please use absolute path instead of ";
  const Row rows[] = {
      {.why = "a yes has one letter", .given = "yes", .told = ""},
      {.why = "nothing at the end of input", .given = "y", .told = kDirectory + kWrong},
      {.why = "an empty directory", .given = "y empty n", .told = kDirectory + kWrong},
      {.why = "a retry", .given = "y nowhere Y data 0", .told = kDirectory + kWrong + asked + kFew},
      {.why = "a link is resolved; a word is 0", .given = "y link abc", .told = asked + kFew},
      {.why = "an absolute path is kept", .given = "y " + here + "/link/ 0", .told = kept + kFew},
      {.why = "no alias", .given = "y /", .told = kDirectory + noAlias + "relative path\n"},
      {.why = "no number", .given = "y data 8x y", .told = asked + kWrong + kThreads + kWrong},
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
  // The result and the log that are left. The signs "/" and ":" stand before "0" and behind "9".
  const Row rows[] = {
      {"no ratio", noRatio, "Failed to convert the compression ratio \"x\"" + noNumber, kLog},
      {"the size comes before it", noRatio, "Failed to convert the detected size \"\"" + noNumber},
      {"the bytes read before that", replaced(noRatio, "1207.*", huge),
       "Failed to convert the estimated size \"" + huge + "\"" + noNumber},
      {"no whole word", replaced(kResult, "ed 4", "ed_ 4"), noSize, kLog},
      {"no digit, but nearly", replaced(kResult, "1207.*", "/"), noSize, kLog},
      {"the same above", replaced(kResult, "1207.*", ":"), noSize, kLog},
  };
  for (const Row& row : rows) EXPECT_EQ(end(row.also, row.given), row.told) << row.why;
  EXPECT_EQ(numberBehind(end(replaced(kLog, "524288", "524289"), kResult), "ratio ="), 1.37);
  scratch.write("kel_sim_test", "exit 1");
  EXPECT_EQ(numberBehind(shown("y data 2"), "ratio ="), 1.37) << "by the figures of the last run";
}

// The overall ratio is 22 / (18 / ratio + 4), by the figures above; its ends are rounded outwards.
TEST_F(Run, OverallTellsWhatTheCapHidesAndWhatIsWrongWithIt) {
  const string log = alias + "_file_info.log", result = "artifact/" + alias + "_p0.drav";
  const string field6 = "part 0: detection finished ratio: ";
  const string sample = " blocks: 9 bytes: 9 95%: 1.2 to 1.8";
  const string sure = "1.38, 95 % sure between 1.15 and 1.58";
  const string unknown = "1.38, from a sample that does not tell its error.";
  const string holes = "; without its holes, or what the file system has compressed already, ";
  const string unread = " % of the data found could not be read and counts like the rest";
  const string missing = " could not be read by the survey and ";
  // `given` is the result from the ratio on; `also` is what follows in the log.
  const Row rows[] = {
      {"all was read", "1.5 5 6 7 19327352832", "1.38."},
      {"all was read but a block", "1.5 5 6 7 9 95%: 1.5 to 1.5 skipped: 1 unread: 0.0000",
       "1.38; less than 0.1" + unread + "."},
      {"another tool", "1.5 5 6 7 9", unknown},
      {"ends of 0", "1.5 5 6 7 9 95%: 0 to 2", unknown},
      {"ends that are exchanged", "1.5 5 6 7 9 95%: 3 to 1", unknown},
      {"ends not around the ratio", "1.5 5 6 7 9 95%: 1.6 to 2", unknown},
      {"no upper end", "1.5 5 6 7 9 95%: 1.2 to inf", "1.38, 95 % sure between 1.15 and 5.50."},
      {"above the cap", "3 5 6 7 9 95%: 2 to 4.5", "2.20, 95 % sure between 1.69 and 2.75."},
      {"all that may be wrong, 9 GiB of it holes: (22 - 9) / 16",
       "1.5" + sample + " skipped: 3 unread: 0.2814",
       sure + holes + "0.81; 28.1" + unread + "; 12 directories or files" + missing +
           "are missing.",
       "detect_directory_unallocated_size is: 9663676416\ndetect_directory_left_out_count is: "
       "12\n"},
      {"a hundredth of holes", "1.5" + sample, sure + holes + "1.36.",
       "detect_directory_unallocated_size is: 193273529\n"},
      {"a byte less, and one file", "1.5" + sample,
       sure + "; 1 directory or file" + missing + "is missing.",
       "detect_directory_unallocated_size is: 193273528\ndetect_directory_left_out_count is: 1\n"},
      {"as usual", "1.5" + sample, sure + "."},
  };
  scratch.run("ln -s data link");
  for (const Row& row : rows) {
    scratch.write(log, kLog + row.also);
    scratch.write(result, field6 + row.given + "\n");
    EXPECT_EQ(scratch.run("overall.sh link"), "Overall ratio of " + data + ": " + row.told + "\n")
        << row.why;
  }

  // Beside another host with 9 GiB at the ratio 3, between 1.8 and 9, and an overhead of 0.5 GiB:
  // (27 + 4.5) / (12 + 3 + 4.5). Compressed it is 15 GiB and more by the root of 3² + 2², or less
  // by that of 2² + 2².
  scratch.write("db/b_file_info.log",
                "detect_directory_size is: 9663676416\ndetect_directory_file_count is: "
                "524288\ndetect_directory_dir_count is: 0\n");
  scratch.write("db/artifact/b_p0.drav", field6 + "3 5 6 7 9 95%: 1.8 to 9\n");
  EXPECT_EQ(scratch.run("overall.sh data db:/b"),
            "Overall ratio of " + data + ", db:/b: 1.62, 95 % sure between 1.36 and 1.89.\n");
  // (3 * 18 + 10) / (3 * 12 + 10).
  EXPECT_EQ(scratch.run("overall.sh -n 3 data"),
            "Overall ratio of 3 times " + data + ": 1.39, 95 % sure between 1.16 and 1.60.\n");
}

TEST_F(Run, OverallNamesWhatItCannotUse) {
  const string log = "./" + alias + "_file_info.log", result = "./artifact/" + alias + "_p0.drav";
  const string usage = "usage: overall.sh [-n TIMES] [FOLDER:]DIR...\nstatus 1\n";
  // `given` is the result, `also` the log.
  const Row figures[] = {
      {"no number", replaced(kResult, "1.50", "1.5x"), "ratio \"1.5x\" in " + result, kLog},
      {"no ratio", replaced(kResult, "1.50", "0.0"), "ratio \"0.0\" in " + result, kLog},
      {"two results", kResult + kResult, "ratio \"1.50 1.50\" in " + result, kLog},
      {"no size", kResult, "size \"-1\" in " + log, replaced(kLog, "19327352832", "-1")},
      {"a log that ends early", kResult, "directory count \"\" in " + log,
       replaced(kLog, "8192", "")},
  };
  for (const Row& row : figures) {
    scratch.write(log, row.also);
    scratch.write(result, row.given);
    EXPECT_EQ(scratch.run("overall.sh data"), "overall.sh: no usable " + row.told + "\nstatus 1\n")
        << row.why;
  }
  const string none = "overall.sh: no figures of ";
  const Row words[] = {
      {"nothing", "", "overall.sh: " + usage},
      {"no number", "-n 0 data", "overall.sh: " + usage},
      {"another option", "-x data", "overall.sh: " + usage},
      {"help", "--help", replaced(usage, "status.*\n", "")},
      {"not as typed", "data " + data + "/", none + data + "/ in ./" + alias + "__file_info.log: "},
      {"no such directory", "no", "overall.sh: no directory no\n"},
  };
  for (const Row& row : words)
    EXPECT_TRUE(scratch.run("overall.sh " + row.given).starts_with(row.told)) << row.why;
}

TEST_F(Run, LostOutputEndsItByAFailureAndItsToolsByTheSignal) {
  const char* const readerGone = "bash -c 'exec > >(:); wait $!; exec kel_estimator'";
  for (const string lost : {readerGone, "kel_estimator >/dev/full", "kel_estimator >&-",
                            "ulimit -f 0; kel_estimator >file"}) {
    EXPECT_EQ(scratch.run("(" + lost + "); echo $?; cat", "y data 2"), "1\ny data 2") << lost;
  }
  scratch.write("kel_evaluation_tool", "sh -c 'kill -PIPE $$'; echo $?\n");
  EXPECT_NE(shown("y data 2").find(": 141\n"), string::npos) << "128 and SIGPIPE, 13";
}

}  // namespace
