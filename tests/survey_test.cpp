#include "scratch.h"

const string kTool = "kel_evaluation_tool";

TEST(Survey, FindsWhatFindFindsInAHostileTreeButNotItsOwnFiles) {
  const Scratch scratch;
  for (string n : {"two\nlines", "back\\slash", "\xff\xfe", " ", "s/f"}) scratch.write(n, n);
  // 64 GiB of hole; below 33 levels of 120 characters, a path longer than the system takes, 4096.
  scratch.run(R"(truncate -s 64G plain; mkfifo pipe; ln plain s/hard; ln -s . loop; ln -s plain soft
      ln -s no dangling; name=$(printf %0120d 0)
      for i in $(seq 33); do mkdir $name; cd -P $name; done; touch $name)");
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
  scratch.run(R"(kel_evaluation_tool loop a; exec >../ours
      cat a_file_info.log; sed -z 's,loop/,./,' a_file_type_file_list_new.log | sort -z)");
  EXPECT_EQ(scratch.run("diff -a ../found ../ours | head -n 2 | cut -c -200"), "");
  EXPECT_EQ(scratch.run("stat -c %a a_*"), "644\n600\n") << "names of private files";

  // Nor what lies in the kernel's own file systems.
  scratch.run("mkdir -p d/proc d/sys");
  if (!scratch.run("unshare --mount true").empty()) GTEST_SKIP() << "cannot mount here";
  const string mount = "mount -t proc none d/proc && mount -t sysfs none d/sys";
  const string told =
      scratch.run("unshare --mount sh -c '" + mount + " && kel_evaluation_tool d a'");
  EXPECT_TRUE(told.starts_with("Surveyed d: files: 0, directories: 1, ")) << told;
}

TEST(Survey, ListsInOneOrderAndAsksForManyThingsAtOnce) {
  const Scratch scratch;
  // 70 directories and so many files that their directory is read in many pieces, and one beside.
  scratch.run(R"(mkdir -p t/u t/v; touch t/v/f; cd t/u; for i in $(seq 70); do
      mkdir $i; touch $i/f $(seq -f $i-%0230g 25); done)");
  // A piece holds the entries that fit into 8192 bytes, each of 20 bytes and its name, rounded up
  // to 8. First come its files, then those in its directories, both by their inode numbers.
  scratch.run(R"({ ls -fi t/u | awk -v top=$(stat -c %i t/u) '
        { bytes = int((20 + length($2) + 7) / 8) * 8; filled += bytes }
        filled > 8192 { ++piece; filled = bytes }
        $2 ~ /-/ { print top, piece + 0, 0, $1, "0 t/u/" $2 }
        $2 ~ /^[0-9]+$/ { print top, piece + 0, 1, $1, "0 t/u/" $2 "/f" }'
      stat -c '%i 0 0 0 0 t/v/f' t/v; } |
      sort -n -k 1,1 -k 2,2 -k 3,3 -k 4,4 | cut -d ' ' -f 5- >../expected)");
  const string different = "cat a_*list* | tr '\\0' '\\n' | diff ../expected - | head -n 2";
  scratch.run("find t -exec touch -ad 2001-01-01 {} +; kel_evaluation_tool t/ a");
  EXPECT_EQ(scratch.run(different), "");
  EXPECT_EQ(scratch.run("find t -newerat 2001-01-02"), "") << "access times";
  // One after another, 1820 files would take 7.3 s longer, 73 directories, asked twice, 5.8 s. A
  // signal interrupts each listing.
  for (const string delay : {"?newfstatat,?fstatat64:delay_exit=4000",
                             "getdents64:delay_exit=10000", "getdents64:signal=SIGURG"}) {
    scratch.runIn("3", delay, kTool + " t a");
    EXPECT_EQ(scratch.run(different), "") << delay;
  }
}

TEST(Survey, CountsAllThatItLeavesOutAndNamesTheFirstTen) {
  const Scratch scratch;
  // Eleven directories that cannot be listed, and in the twelfth a file that cannot be sized.
  scratch.run("mkdir -p $(seq -f 't\33ee/%g' 12); cd t*; touch 12/file; chmod 0 *; chmod +r 12");
  // In the order of their inode numbers; root is kept from reading everything.
  const string ten = scratch.run("ls -i t* | sort -n | head | sed 's,.* ,,; s,12,12/file,'");
  const string told = scratch.run(R"(
      [ $(id -u) != 0 ] || limited='setpriv --bounding-set -dac_override,-dac_read_search'
      $limited kel_evaluation_tool t* a)");
  EXPECT_EQ(told,
            "Surveyed t?ee: files: 0, directories: 13, size: 0.00 KiB (allocated: 0.00 KiB), "
            "directories or files that could not be read: 12; what they hold is missing.\n" +
                replaced(ten, "(.*)\n", kTool + ": cannot read t?ee/$1: Permission denied\n") +
                kTool + ": and 2 more\nstatus 2\n");
}

TEST(Survey, SaysWhereTheSizeMisleads) {
  const Scratch scratch;
  scratch.write("d/file", string(1 << 20, 'x'));
  scratch.write("d/slack", "x");  // has as much storage as is missing elsewhere
  const auto told = [&](double size) {
    fs::resize_file(scratch.folder / "d/file", std::uintmax_t(size));
    return replaced(scratch.run(kTool + " d a"), ".*, size: |\\), all of it listed.\n", "");
  };
  const string holes = " of holes or compressed by the file system, which lift the ratio";
  const string size = "1.01 MiB (allocated: 1.00 MiB", without = size + "; without storage: ";
  EXPECT_EQ(told(1048576 / 0.9901), size);
  EXPECT_EQ(told(1048576 / 0.9899), without + "10.45 KiB" + holes);
}

TEST(Survey, TellsItsOperatorAndKeepsEscapesForATerminal) {
  const Scratch scratch;
  scratch.run("mkdir d; touch err");
  const string usage = "usage: kel_evaluation_tool <directory> <aliasName>\n";
  EXPECT_EQ(scratch.run(kTool + " --help"), usage);
  EXPECT_EQ(scratch.run(kTool + " d"), kTool + ": " + usage + "status 1\n");
  EXPECT_NE(scratch.run(kTool + " d a >/dev/full").find("output: No space left"), string::npos);
  EXPECT_EQ(scratch.run(kTool + " d a >a_file_info.log; head -c 8 a_file_info.log"), "Surveyed");
  EXPECT_TRUE(scratch.run(kTool + " no a").ends_with("No such file or directory\nstatus 1\n"));
  if (!scratch.run("script -qec true /dev/null").empty()) GTEST_SKIP() << "no terminal here";
  const auto escapes = [&](const string& terminal, const string& errors) {
    scratch.run("TERM=" + terminal + " script -qec 'kel_evaluation_tool d a " + errors + "' told");
    return scratch.run("tail -n +2 told | tr -dc '\\33'; cat err");
  };
  EXPECT_NE(escapes("xterm", ""), "");
  EXPECT_EQ(escapes("dumb", ""), "");
  EXPECT_EQ(escapes("xterm", "2>err"), "");
}
