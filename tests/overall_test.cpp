#include "scratch.h"

// The line that the simulator leaves.
string finished(const string& ratio, const string& ends, const string& unread = "",
                const string& bytesRead = "8") {
  return "part 0: detection finished ratio: " + ratio + " blocks: 9 bytes: " + bytesRead +
         " 95%: " + ends + unread;
}

const string kAllocated = "detect_directory_allocated_size is: ";
const string kHoles = "detect_directory_unallocated_size is: ";
const string kLeftOut = "detect_directory_left_out_count is: ";
// 18 GiB in 12, from 18 / 1.7 = 10.588 to 18 / 1.3 = 13.846, and 4 beside. Ends round outwards.
const string kSample = finished("1.5", "1.3 to 1.7");
const string kWithout = "; without its holes, or what the file system has compressed already, ";
const string kUnread = " of the data found could not be read: it counts like the rest";
const string kHold = kUnread + ", and the ends hold whatever it is";
const string kLeft = "; directories or files that the survey could not read: ";

// What the tools left of a directory, and what is told of it; status 2: something is missing.
struct Left {
  string why = {}, log = kLog, result = kSample, told = {};
};

struct Overall : Scratch {
  // What is told, with LOG and RESULT in place of the names of the two files.
  string tell(const Left& row) const {
    const string log = write("usr_file_info.log", row.log);
    const string result = write("artifact/usr_p0.drav", row.result);
    return replaced(replaced(run("ln -sfn /usr link; overall.sh link"), log, "LOG"), result,
                    "RESULT");
  }
};

TEST_F(Overall, TellsWhatTheFiguresOfADirectoryAreWorth) {
  const string start = "Overall ratio of /usr: ", takes = ".\nIt takes 16.00 GiB, ";
  const string files = "for 18.00 GiB in files";
  const Left rows[] = {
      {.why = "all bytes were read: no error, whatever the ends; more holes than data: 4 / 16",
       .log = kLog + kHoles + "29327352832",
       .result = finished("1.5", "0 to 0", "", "19327352832") + "\nundetection finished 3 4 5 9",
       .told = "1.38" + kWithout + "0.25" + takes + files + ".\n"},
      {.why = "holes of less than a hundredth are not told; what was not listed is",
       .log = kLog + kHoles + "193273528\n" + kLeftOut + "2",
       .result = kSample + " skipped: 0 unread: 0.0000 of: 19327352832",
       .told = "1.38, 95 % sure between 1.23 and 1.51" + kLeft +
               "2, and what they hold is missing" + takes +
               "95 % sure between 14.58 GiB and 17.85 GiB, " + files + ".\nstatus 2\n"},
      {.why = "a ratio outside of its ends",
       .result = finished("1.5", "1.6 to 2", " skipped: 3 unread: 0.2814"),
       .told = "1.38, from a sample that does not tell its error; 28.1 %" + kUnread + takes +
               files + ".\nstatus 2\n"},
      {.why = "no upper end: at least 0; unread data, counted as 20, may take 18, so add nothing",
       .result = finished("0.9", "0.8 to inf", " skipped: 3 unread: 0.9999"),
       .told = "0.92, 95 % sure between 0.83 and 5.50; more than 99.9 %" + kHold +
               ".\nIt takes 24.00 GiB, 95 % sure between 4.00 GiB and 26.50 GiB, " + files +
               ".\nstatus 2\n"},
      {.why = "all was drawn; 0.0000 may hide 0.00005: * 682.7 GiB more, * 341.3 less",
       .log = replaced(kLog, "193.*", "1099511627776"),
       .result = finished("3", "3 to 3", " skipped: 1 unread: 0.0000"),
       .told = "2.98, surely between 2.97 and 2.98; less than 0.1 %" + kHold + ".\nIt takes " +
               "345.33 GiB, surely between 345.31 GiB and 345.37 GiB, for 1.00 TiB in files." +
               "\nstatus 2\n"},
  };
  for (const Left& row : rows) EXPECT_EQ(tell(row), start + row.told) << row.why;

  const Left refused[] = {
      {.result = kSample + " skipped: 0 unread: 0 of: 9",
       .told = "figures of two runs for /usr: 19327352832 bytes in LOG, but 9 in RESULT"},
      {.result = kSample + "\ndetection finished 3 4 5 9",
       .told = "no usable ratio \"1.5 9\" in RESULT"},
      {.result = finished("0.00", "0 to 0"), .told = "no usable ratio \"0.00\" in RESULT"},
      {.result = kSample + " skipped: 0 unread: nan", .told = "no usable unread \"nan\" in RESULT"},
      {.log = replaced(kLog, "193.*", "0x9"), .told = "no usable size \"0x9\" in LOG"},
  };
  for (const Left& row : refused)
    EXPECT_EQ(tell(row), "overall.sh: " + row.told + "\nstatus 1\n") << row.why;
}

TEST_F(Overall, AddsUpDirectoriesAndTheirErrors) {
  write("a_file_info.log",
        kLog + kAllocated + "18253611008\n" + kHoles + "4831838208\n" + kLeftOut + "12");
  write("artifact/a_p0.drav", kSample + " skipped: 3 unread: 0.2");
  write("ab_d_file_info.log", kLog + kAllocated + "18790481920");
  write("artifact/ab_d_p0.drav", kSample);
  write("d b/a_file_info.log", replaced(kLog, "193.*", "9663676416") + kAllocated + "10200547328");
  write("d b/artifact/a_p0.drav", finished("3", "2.4 to 4"));  // 2.25 to 3.75
  // In hundreds of GiB: 54 + 54 + 18 in files, 36 + 36 + 6 after compression, before and after it
  // 9 + 9 + 6 for files and directories, and 0.01; holes of 3 * 4.5; 51 + 52.5 + 19 in use now.
  // The samples are wrong by up to the root of
  //   (3 * 1.846)² + (3 * 1.846)² + (2 * 0.75)² more, as 1.846 is 13.846 - 12, and
  //   (3 * 1.412)² + (3 * 1.412)² + (2 * 0.75)² less.
  // A fifth of /a was not read, 0.2 * 54 / 126 of all: 3 * 0.2 * (18 - 12) more, 3 * 0.2 * 12 less,
  // beside the root. Known of 9 + 3 blocks, it is wrong by up to 2 * √(0.2 * 0.8 / 12) = 0.2309 of
  // /a, so (3 * 0.2309 * 6)² joins the squares of more, and (3 * 0.2309 * 12)² those of less.
  EXPECT_EQ(run("CDPATH=$PWD overall.sh -n 300 /ab/d /a -n 200 'd b:/a'"),
            "Overall ratio of 300 times /ab/d, 300 times /a, 200 times d b:/a: 1.47, 95 % sure "
            "between 1.30 and 1.78" +
                kWithout + "1.34, 95 % sure between 1.19 and 1.62; 8.6 %" + kHold + kLeft +
                "12, and what they hold is missing.\nIt takes 9.96 TiB, 95 % sure between 8.24 TiB "
                "and 11.20 TiB, for 12.30 TiB in files, which take 11.96 TiB now.\nstatus 2\n");

  run(R"(for i in old ab_ _; do  # without ends: /old, and for the refusals /ab/ and //
      cp a_*.log ${i}_file_info.log; sed s/95%.*// artifact/a_* >artifact/${i}_p0.drav; done)");
  EXPECT_TRUE(holds(run("overall.sh /old /ab/d"), "1.39, from a sample that does not tell its"));

  run("ln -s 'd b' l; ln -s l link; >new_file_info.log; ln -s x_file_info.log x_file_info.log");
  const string usage = "usage: overall.sh [-n TIMES] [FOLDER:]DIR [[-n TIMES] [FOLDER:]DIR]...";
  EXPECT_EQ(run("overall.sh --help"), usage + "\n");
  const auto expectRefused = [&](const string& arguments, const string& why) {
    const string told = replaced(run("overall.sh " + arguments), folder, "W");
    EXPECT_EQ(told, "overall.sh: " + why + "\nstatus 1\n") << arguments;
  };
  for (const string s : {"", "''", "-x", "-n 0 /", "-n 2x /", "/a -n 2"}) expectRefused(s, usage);
  // The last pair shares a file: / and _ are the same in its name.
  for (const string twice : {"/a .:/a", "l:/a link:/a", "/ab/d /ab/", "// /a", "/ab/d /ab_d"})
    expectRefused(twice, "what " + replaced(twice, " ", " and ") + " share would count twice");
  expectRefused("none", "no directory none");
  expectRefused("no:/a", "cannot enter the folder of no:/a");
  expectRefused("/new", "the last run left no figures of /new: W/new_file_info.log is empty");
  expectRefused("/x", "cannot read W/x_file_info.log for /x, typed as to the estimator: "
                      "Too many levels of symbolic links");
  expectRefused("/a >&-", "cannot write to standard output");
}
