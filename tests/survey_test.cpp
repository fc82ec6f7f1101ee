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
  // 40 levels of 120 characters make paths longer than the system takes, 4096. On the way lie more
  // entries than are put in order at once, with more of the list than a directory holds back.
  scratch.run("for i in $(seq 40); do mkdir $(printf %0120d 0); cd -P 0*; done; echo > file");
  scratch.run("cd 0*; seq 12000 | xargs touch");
  // What find says: the info log and, sorted, the list.
  scratch.run(R"(exec >../found
      find . -printf '%y %s %b\n' | awk '{ n[$1]++ } /^f/ { size += $2; blocks += $3 } END {
        form = "detect_directory_%s is: %.0f\n"
        printf form form form, "size", size, "file_count", n["f"], "dir_count", n["d"]
        printf form form, "allocated_size", 512 * blocks, "left_out_count", 0 }'
      find . -type f -printf '%s %p\0' | sort -z)");
  scratch.run("ulimit -n 32; kel_evaluation_tool loop/ a");
  scratch.run("{ cat " + kLogName + "; sed -z 's,loop/,./,' " + kListName +
              " | sort -z; } >../ours");
  EXPECT_EQ(scratch.run("diff -a ../found ../ours | cut -c -200"), "");
  EXPECT_EQ(scratch.run("stat -c %a a_*"), "600\n600\n") << "names of private files";
}

TEST(Survey, ListsInOneOrderAndLeavesNoTrace) {
  const Scratch scratch;
  // 72 directories, more than are read ahead, with a file in each upper one and up to 40 below.
  scratch.run(R"(for i in $(seq 8); do for j in $(seq 8); do
                   mkdir -p t/$i/$j; (cd t/$i/$j; seq $((i * j % 41)) | xargs -r touch ../file)
                 done; done)");
  // By the inode numbers of the upper directory, then the lower one or none, then the file.
  scratch.run(R"(find t -printf '%d %i %y %s %p\n' | awk '{ inode[$1] = $2 }
    $3 == "f" { print inode[1], $1 == 3 ? inode[2] : 0, $2, $4, $5 }' |
    sort -n -k 1,1 -k 2,2 -k 3,3 | cut -d ' ' -f 4- | tr '\n' '\0' >../expected)");
  scratch.run("find t -exec touch -ad 2001-01-01 {} +");
  for (int run = 0; run < 10; ++run) {
    scratch.run("kel_evaluation_tool t a");
    EXPECT_EQ(scratch.read(kListName), scratch.read("../expected")) << run;
  }
  EXPECT_EQ(scratch.run("find t -newerat 2001-01-02"), "") << "access times";
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
      told.substr(told.find(';')),
      "; 12 directories or files could not be read; what they hold is missing.\n" +
          replaced(ten, "(.*)\n", "kel_evaluation_tool: cannot read t?ee/$1: Permission denied\n") +
          "kel_evaluation_tool: and 2 more: in all 12 directories or files could not be read; what "
          "they hold is missing\nstatus 2\n");
  EXPECT_TRUE(scratch.read(kLogName).ends_with("\ndetect_directory_left_out_count is: 12\n"));
  EXPECT_EQ(scratch.run("kel_evaluation_tool no a"),
            "kel_evaluation_tool: cannot read no: No such file or directory\nstatus 1\n");
  EXPECT_EQ(scratch.read(kLogName), "") << "holds no earlier figures";
}

TEST(Survey, SaysWhereTheSizeMisleads) {
  const Scratch scratch;
  scratch.write("d/file", string(1 << 20, 'x'));
  const string holes = " (allocated: 1.00 MiB; the rest is holes or already compressed";
  // The size of a file to which a mebibyte is allocated, and what is said of it.
  const std::pair<double, string> rows[] = {
      {1048576 / 0.901, "1.11 MiB (allocated: 1.00 MiB), nothing left out.\n"},
      {1048576 / 0.899, "1.11 MiB" + holes},
      {0x.fffffp40, "1.00 TiB" + holes},  // not "1024.00 GiB"
  };
  for (const auto& [size, told] : rows) {
    fs::resize_file(scratch.folder / "d/file", std::uintmax_t(size));
    const string all = scratch.run("kel_evaluation_tool d a");
    EXPECT_TRUE(all.starts_with("Surveyed d: files: 1, directories: 1, size: " + told)) << all;
  }
  const string kernel = scratch.run("kel_evaluation_tool /proc/self a");
  EXPECT_TRUE(kernel.starts_with("Surveyed /proc/self: files: 0, directories: 0, ")) << kernel;
}

}  // namespace
