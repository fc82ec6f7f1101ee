#include "scratch.h"

// 18 GiB, and overheads of 4 GiB: 1, 1 KiB for each file and 320 KiB for each directory. So the
// overall ratio is 22 / (18 / ratio + 4), 1.375 for 1.5; its ends are rounded outwards.
const string kLog = R"(detect_directory_size is: 19327352832
detect_directory_file_count is: 524288
detect_directory_dir_count is: 8192
)";
const string kResult = "part 0: detection finished ratio: 1.5 blocks: 9 bytes: 9 95%: 1.2 to 1.8";

TEST(Overall, TellsWhatTheCapHidesAndWhatMisleads) {
  const Scratch scratch;
  scratch.run("ln -s /usr link; mkdir -p artifact db/artifact");
  const string sure = "1.38, 95 % sure between 1.15 and ";
  const string unknown = "1.38, from a sample that does not tell its error";
  const string without = "; without its holes, or what the file system has compressed already, ";
  const string unread = " % of the data found could not be read and counts like the rest";
  const string missing =
      "; 12 directories or files could not be read by the survey and are missing";
  const string holes = "detect_directory_unallocated_size is: ";
  const string leftOut = "\ndetect_directory_left_out_count is: ";
  // `given` takes the place of the result behind its ratio; `also` follows in the log.
  const Row results[] = {
      {"all was read", " 7 8 9 19327352832", "1.38"},
      {"a lower end of 0", " 7 8 9 9 95%: 0 to 2", unknown},
      {"ends on one side", " 7 8 9 9 95%: 1.6 to 2", unknown},
      {"no upper end", " 7 8 9 9 95%: 1.2 to inf", sure + "5.50"},
      {"all but a block", " 7 8 9 9 95%: 1.5 to 1.5 skipped: 1 unread: 0.0",
       "1.38; less than 0.1" + unread},
      {"holes of 9 GiB: (22 - 9) / 16", "$& skipped: 3 unread: 0.2814",
       sure + "1.58" + without + "0.81; 28.1" + unread + missing,
       holes + "9663676416" + leftOut + "12"},
      {"a hundredth of holes", "$&", sure + "1.58" + without + "1.36", holes + "193273529"},
      {"a byte less", "$&", sure + "1.58", holes + "193273528"},
  };
  for (const Row& row : results) {
    scratch.write("usr_file_info.log", kLog + row.also);
    scratch.write("artifact/usr_p0.drav", replaced(kResult, " blocks.*", row.given));
    const string told = scratch.run("overall.sh link");
    EXPECT_EQ(told, "Overall ratio of /usr: " + row.told + ".\n") << row.why;
  }

  // Where 18 GiB become 12 GiB, or 10 to 15 GiB, 9 GiB of another host become 3 GiB, or 1 to 5 GiB,
  // with 0.5 GiB for the files.
  scratch.write("a_file_info.log", kLog);
  scratch.write("artifact/a_p0.drav", kResult);
  scratch.write("artifact/usr_p0.drav", kResult + "\n" + kResult);
  scratch.write("db/b_file_info.log", replaced(replaced(kLog, "193.*", "9663676416"), "8192", "0"));
  scratch.write("db/artifact/b_p0.drav", replaced(kResult, "1.5.*", "3 7 8 9 9 95%: 1.8 to 9"));
  const Row words[] = {
      {"(54 + 10) / (36 + 10)", "-n 3 /a",
       "of 3 times /a: 1.39, 95 % sure between 1.16 and 1.60.\n"},
      {"31.5 / (15 + 4.5), and for 15 up to √(3² + 2²) more or √(2² + 2²) less", "/a db:/b",
       "of /a, db:/b: 1.62, 95 % sure between 1.36 and 1.89.\n"},
      {"two results", "/usr",
       "overall.sh: no usable ratio \"1.5 1.5\" in ./artifact/usr_p0.drav\n"},
      {"no figures of one", "/a /b", "overall.sh: no figures of /b in ./b_file_info.log: type"},
      {"no directory", "", "overall.sh: usage: overall.sh [-n TIMES] [FOLDER:]DIR...\nstatus 1\n"},
      {"0 times", "-n 0 /a", "overall.sh: usage: "},
      {"help", "--help", "usage: "},
  };
  for (const Row& row : words) {
    const string told = replaced(scratch.run("overall.sh " + row.given), "^Overall ratio ", "");
    EXPECT_TRUE(told.starts_with(row.told)) << row.why << ": " << told;
  }
}
