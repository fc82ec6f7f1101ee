// The survey of trees that the tests make. What it lists and counts is held against what find and
// the system's own listing tell of the same tree.

#include <dirent.h>

#include <map>
#include <tuple>

#include "scratch.h"

const string kTool = "kel_evaluation_tool";
constexpr std::size_t kPieceLength = 8192;  // bytes of directory entries that it takes at once

// The list of a tree of empty files, one a line. The entries of a directory, in the order of the
// system, fill pieces. A piece gives its files, then what is in its directories, both by their
// inode numbers.
string listOf(const fs::path& path) {
  std::map<std::tuple<int, bool, ino_t>, fs::path> entries;
  int piece = 0;
  std::size_t filled = 0;
  DIR* const directory = opendir(path.c_str());
  while (const dirent* const entry = readdir(directory)) {
    const fs::path inside = path / entry->d_name;
    const bool fits = filled + entry->d_reclen <= kPieceLength;
    piece += fits ? 0 : 1;
    filled = (fits ? filled : 0) + entry->d_reclen;
    if (*entry->d_name != '.') entries[{piece, fs::is_directory(inside), entry->d_ino}] = inside;
  }
  closedir(directory);
  string list;
  for (const auto& [place, inside] : entries)
    list += std::get<bool>(place) ? listOf(inside) : "0 " + inside.string() + "\n";
  return list;
}

struct Survey : Scratch {
  // The first difference of the list: "<" what is expected, ">" what is listed.
  string differenceFrom(const string& expected) const {
    write("../expected", expected);
    return run("cat a_*list* | tr '\\0' '\\n' | diff ../expected - | head -n 4; rm a_*");
  }
};

TEST_F(Survey, FindsWhatFindFindsInAHostileTreeButNotItsOwnFiles) {
  for (string n : {"two\nlines", "back\\slash", "\xff\xfe", " ", "s/f"}) write(n, n);
  fs::resize_file(write("hole", ""), (512LL << 30) - 1000);  // twice 1.00 TiB, not 1024 GiB
  // Below 33 levels of 120 characters, where find stops, a path of 4096 bytes, one more than the
  // system takes.
  run(R"(ln hole s/hard; ln -s . loop; ln -s hole soft; ln -s no dangling; mkfifo pipe
      n=$(printf %0120d); for i in $(seq 33); do mkdir $n; cd -P $n; done; touch $(printf %098d))");
  const string find = "find loop/ -maxdepth 33 -type f -printf ";
  const string found = run(find + "'%s %p\\0' | sort -z");
  const string sum = " | awk '{ sum += 512 * $1 } END { printf \"%.0f\", sum }'";
  const string storage = run(find + "'%b\n'" + sum);  // in blocks of 512 bytes
  EXPECT_TRUE(holds(run("umask 022; kel_evaluation_tool loop a <&- 2>&-"), ": 1.00 TiB of holes"));
  EXPECT_EQ(run("sort -z a_*list*"), found);
  // Twice the hole, which has no storage, and as size also the 25 bytes of five small files.
  EXPECT_EQ(replaced(read("a_file_info.log"), "detect_directory_(\\w+) is:", "$1"),
            "size 1099511625801\nfile_count 7\ndir_count 35\nallocated_size " + storage +
                "\nunallocated_size 1099511625776\nleft_out_count 1\n");
  EXPECT_EQ(run("stat -c %a a_*"), "644\n600\n") << "the list names files that others may not see";
}

TEST_F(Survey, ListsInOneOrderAndKeepsAccessTimes) {
  // 24 levels of three pieces. The way down lies in the middle, in most file systems' order, so
  // that when a level is entered the one above is half read: more than the 16 that may be open.
  run(R"(mkdir t; cd t; long=$(printf %0220d 0); for level in $(seq 24); do
      touch $(seq -f $long%g 40); mkdir 1 2 3; touch 1/f 2/f $(seq -f %g$long 40); cd 3; done)");
  const string expected = listOf(folder / "t");
  run("find t -exec touch -ad 2001-01-01 {} +; kel_evaluation_tool \"$PWD\"/t/ a");
  EXPECT_EQ(differenceFrom(expected), "");
  EXPECT_EQ(run("find t -newerat 2001-01-02"), "") << "access times";
  if (!canTrace()) GTEST_SKIP() << "cannot trace here";
  const string cut = " -e trace=getdents64,?clone,?clone3 -e inject=getdents64:signal=SIGURG";
  runTraced("--seccomp-bpf " + kInOneThread + cut,
            "prlimit --nofile=16 kel_evaluation_tool \"$PWD\"/t a");
  EXPECT_EQ(differenceFrom(expected), "")
      << "one thread, few open files, and each listing cut short by a signal";
}

TEST_F(Survey, HasMoreThreadsForLateStorage) {
  if (!canTrace()) GTEST_SKIP() << "cannot trace here";
  run("mkdir t; cd t; mkdir $(seq 1200); touch $(seq -f %g/f 1200)");
  EXPECT_NEAR(threadsOf("", "prlimit --nofile=24 kel_evaluation_tool t/1 a"), 8, 1) << "at first";
  const string late = "-e inject=?newfstatat,?fstatat64:delay_enter=5000";
  EXPECT_NEAR(threadsOf(late, "kel_evaluation_tool \"$PWD\"/t a"), 16, 1) << "a third of 48 files";
  EXPECT_EQ(differenceFrom(listOf(folder / "t")), "") << "more than the 512 read ahead";
}

TEST_F(Survey, AsksForTypesThatAFileSystemLeavesUnknown) {
  if (!canTrace()) GTEST_SKIP() << "cannot trace here";
  run("mkdir -p t/d; echo 1 >t/f; echo 12 >t/d/f; ln -s f t/l; mkfifo t/p");
  // The first listing is that of t. An entry is, in hexadecimal, 8 bytes each of its inode and its
  // place, which do not matter here, its length of 24 bytes, no type, and its name: ".", "..", "d",
  // "f", "l" or "p".
  string listing;
  for (const string name : {"2e00", "2e2e", "6400", "6600", "6c00", "7000"})
    listing += string(32, '0') + "1800" + "00" + name + "000000";
  const string poke = " -e inject=getdents64:when=1:poke_exit=@arg2=" + listing;
  runTraced(kInOneThread + poke, kTool + " t a");
  EXPECT_TRUE(holds(read("../trace"), "(INJECTED: args"));
  EXPECT_EQ(differenceFrom("2 t/f\n3 t/d/f\n"), "");
}

TEST_F(Survey, CountsAllThatItLeavesOutAndNamesTheFirstTen) {
  // Eleven directories that cannot be listed, and in the twelfth, made first, so mostly of the
  // lowest inode, a file that cannot be sized. \33 begins an escape of a terminal.
  run("mkdir -p $(seq -f 't\33ee/%g' 12 -1 1); cd t*; touch 12/file; chmod 0 *; chmod +r 12");
  // In the order of their inode numbers. Root loses its right to read everything.
  const string ten = run("ls -i t* | sort -n | head | sed 's,.* ,,; s,12,12/file,'");
  const string told = run(R"(
      [ $(id -u) != 0 ] || limited='setpriv --bounding-set -dac_override,-dac_read_search'
      $limited kel_evaluation_tool t* a; status=$?; chmod 700 t*/*; exit $status)");
  EXPECT_EQ(told,
            "Surveyed t?ee: files: 0, directories: 13, size: 0.00 KiB (allocated: 0.00 KiB), "
            "directories or files that could not be read: 12; what they hold is missing.\n" +
                replaced(ten, "(.*)\n", kTool + ": cannot read t?ee/$1: Permission denied\n") +
                kTool + ": and 2 more\nstatus 2\n");
}

TEST_F(Survey, TellsItsOperatorAndKeepsEscapesForATerminal) {
  run("mkdir d; yes | head -c 1M >d/f");
  EXPECT_EQ(replaced(run(kTool + " --version"), "\\d+(\\.\\d+)+", "V"), kTool + " V\n");
  const string usage = "usage: kel_evaluation_tool <directory> <aliasName>\n";
  EXPECT_EQ(run(kTool + " --help"), usage);
  EXPECT_EQ(run(kTool + " d"), kTool + ": " + usage + "status 1\n");
  EXPECT_TRUE(holds(run(kTool + " d a >/dev/full"), "output: No space left"));
  for (const string kernel : {"/proc", "/sys"})
    EXPECT_TRUE(holds(run(kTool + " " + kernel + " a"), kernel + ": files: 0, "));
  EXPECT_TRUE(holds(run(kTool + " no a"), ": No such file or directory\nstatus 1\n"));
  // Holes of less than a hundredth are not told.
  EXPECT_TRUE(holds(run("truncate -s 1059167 d/f; kel_evaluation_tool d a"), "B), all of it"));
  EXPECT_TRUE(holds(run("truncate -s 1059168 d/f; kel_evaluation_tool d a"), "10.34 KiB of holes"));
  if (!run("script -qec true /dev/null").empty()) GTEST_SKIP() << "no terminal here";
  const auto escapes = [&](const string& command) {
    run("script -qec '" + command + "' told");
    return run("grep -c Surveyed told; tail -n +2 told | tr -dc '\\33'");  // behind script's line
  };
  EXPECT_TRUE(holds(escapes("TERM=xterm kel_evaluation_tool d a"), "1\n\33")) << "of progress";
  EXPECT_TRUE(holds(read("told"), " \rSurveyed")) << "below what may have been typed";
  EXPECT_EQ(escapes("TERM=dumb kel_evaluation_tool d a"), "1\n");
  EXPECT_EQ(escapes("TERM=xterm sh -mc \"kel_evaluation_tool d a & wait\""), "1\n") << "background";
}
