#include <chrono>

#include "scratch.h"

namespace {

const string kLogName = "a_file_info.log", kListName = "a_file_type_file_list_new.log";

TEST(Survey, FindsWhatFindFindsInAHostileTreeButNotItsOwnFiles) {
  const Scratch scratch;
  for (const char* name : {"plain", "two\nlines", "back\\slash", "\xff\xfe", " ", "s/f"}) {
    scratch.write(name, name);
  }
  fs::resize_file(scratch.folder / "plain", 1ULL << 36);  // 64 GiB of hole
  scratch.run("mkfifo pipe; ln -s . loop; ln -s plain soft; ln -s no dangling; ln plain s/hard");
  // Below 33 levels of 120 characters, a file whose path is longer than the system takes, 4096.
  scratch.run(
      "for i in $(seq 33); do mkdir $(printf %0120d 0); cd -P 0*; done; touch $(printf %0120d 1)");
  // What find says of all but this one: the info log and, sorted, the list.
  scratch.run(R"(exec >../found
      find . -maxdepth 33 -printf '%y %s %b\n' | awk '
        { n[$1]++ }
        /^f/ { size += $2; blocks += $3; holes += $2 > 512 * $3 ? $2 - 512 * $3 : 0 }
        END { form = "detect_directory_%s is: %.0f\n"
          printf form form form, "size", size, "file_count", n["f"], "dir_count", n["d"]
          printf form form, "allocated_size", 512 * blocks, "unallocated_size", holes
          printf form, "left_out_count", 1 }'
      find . -maxdepth 33 -type f -printf '%s %p\0' | sort -z)");
  scratch.run("kel_evaluation_tool loop/ a");
  scratch.run("{ cat " + kLogName + "; sed -z 's,loop/,./,' " + kListName +
              " | sort -z; } >../ours");
  EXPECT_EQ(scratch.run("diff -a ../found ../ours | cut -c -200"), "");
  EXPECT_EQ(scratch.run("stat -c %a a_*"), "600\n600\n") << "names of private files";
}

// A directory with 70 others and more entries than a thread reads at once, in several pieces.
TEST(Survey, ListsInOneOrderAndWaitsForManyAnswersAtOnce) {
  const Scratch scratch;
  scratch.run("mkdir t; cd t; for i in $(seq 70); do mkdir $i; touch $i/f; seq -f $i-%0230g 25 | "
              "xargs touch; done");
  // In the order of a listing, as many entries make a piece as fit into 65536 bytes, each with 20
  // bytes and its name, rounded up to 8. First come its files, then those in its directories, both
  // by the inode number of what stands in `t`.
  scratch.run(R"(ls -fi t | awk '
    { length_ = int((20 + length($2) + 7) / 8) * 8; at += length_ }
    at > 65536 { ++piece; at = length_ }
    $2 ~ /-/ { print piece + 0, 0, $1, "0 t/" $2 }
    $2 ~ /^[0-9]+$/ { print piece + 0, 1, $1, "0 t/" $2 "/f" }' |
    sort -n -k 1,1 -k 2,2 -k 3,3 | cut -d ' ' -f 4- | tr '\n' '\0' >../expected)");
  scratch.run("find t -exec touch -ad 2001-01-01 {} +");
  const auto survey = [&](const string& how) {
    const auto start = std::chrono::steady_clock::now();
    scratch.run(how + "kel_evaluation_tool t a");
    EXPECT_EQ(scratch.run("tr '\\0' '\\n' <" + kListName +
                          " >ours; tr '\\0' '\\n' <../expected | diff - ours | head -n 2"),
              "")
        << how;
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  survey("");
  EXPECT_EQ(scratch.run("find t -newerat 2001-01-02"), "") << "access times";
  if (!scratch.run("strace -o trace true").empty()) GTEST_SKIP() << "cannot trace here";
  const string delay = "strace -fqqo trace -e inject=";
  EXPECT_LT(survey(delay + "?newfstatat,?fstatat64:delay_exit=2000 "), 1.8)
      << "of 1750 files, 3.5 s";
  EXPECT_LT(survey(delay + "getdents64:delay_exit=20000 "), 1.6)
      << "of 71 directories, each asked twice, 2.8 s";
}

TEST(Survey, CountsAllThatItLeavesOutAndNamesTheFirstTen) {
  const Scratch scratch;
  // Eleven directories that cannot be listed, and in the twelfth a file that cannot be sized.
  scratch.run("mkdir -p $(seq -f 't\33ee/%g' 12); cd t*; touch 12/file; chmod 0 *; chmod +r 12");
  // In the order of their inode numbers; root is kept from reading everything.
  const string ten = scratch.run("ls -i t* | sort -n | head | sed 's,.* ,,; s,12,12/file,'");
  const string told = scratch.run(
      "[ $(id -u) != 0 ] || limited='setpriv --bounding-set -dac_override,-dac_read_search'; "
      "$limited kel_evaluation_tool t* a");
  EXPECT_EQ(
      told.substr(told.find("), ")),
      "), directories or files that could not be read: 12; what they hold is missing.\n" +
          replaced(ten, "(.*)\n", "kel_evaluation_tool: cannot read t?ee/$1: Permission denied\n") +
          "kel_evaluation_tool: and 2 more\nstatus 2\n");
  EXPECT_TRUE(scratch.read(kLogName).ends_with("\ndetect_directory_left_out_count is: 12\n"));
  EXPECT_EQ(scratch.run("kel_evaluation_tool no a"),
            "kel_evaluation_tool: cannot read no: No such file or directory\nstatus 1\n");
  EXPECT_EQ(scratch.read(kLogName), "") << "holds no earlier figures";
}

TEST(Survey, SaysWhereTheSizeMisleads) {
  const Scratch scratch;
  scratch.write("d/file", string(1 << 20, 'x'));
  scratch.write("d/slack", "x");  // has as much storage as is missing elsewhere
  const string start = "Surveyed d: files: 2, directories: 1, size: ";
  const string holes = " of holes or compressed by the file system, which lift the ratio), all of";
  // The size of a file to which a mebibyte is allocated, and what is said of it.
  const std::pair<double, string> rows[] = {
      {1048576 / 0.9901, "1.01 MiB (allocated: 1.00 MiB), all of it listed.\n"},
      {1048576 / 0.9899, "1.01 MiB (allocated: 1.00 MiB; without storage: 10.45 KiB" + holes},
      {0x.fffffp40, "1.00 TiB (allocated: 1.00 MiB; without storage: 1.00 TiB" + holes},  // rounded
  };
  for (const auto& [size, told] : rows) {
    fs::resize_file(scratch.folder / "d/file", std::uintmax_t(size));
    const string all = scratch.run("kel_evaluation_tool d a");
    EXPECT_TRUE(all.starts_with(start + told)) << all;
  }
}

TEST(Survey, PassesByTheKernelsOwnFileSystems) {
  const Scratch scratch;
  scratch.write("d/proc/hidden", "");
  const string mount = "unshare --mount sh -c 'mount -t $0 $0 d/proc && kel_evaluation_tool d a' ";
  for (const string type : {"proc", "sysfs"}) {
    const string all = scratch.run(mount + type);
    if (all.find("Surveyed") == string::npos) GTEST_SKIP() << "cannot mount here: " << all;
    EXPECT_TRUE(all.starts_with("Surveyed d: files: 0, directories: 1, ")) << all;
  }
}

TEST(Survey, TellsHowItIsUsed) {
  const Scratch scratch;
  const string usage = "usage: kel_evaluation_tool <directory> <aliasName>\n";
  EXPECT_EQ(scratch.run("kel_evaluation_tool --help"), usage);
  EXPECT_EQ(scratch.run("kel_evaluation_tool d"), "kel_evaluation_tool: " + usage + "status 1\n");
  EXPECT_TRUE(scratch.run("kel_evaluation_tool --version").starts_with("kel_evaluation_tool 1."));
}

}  // namespace
