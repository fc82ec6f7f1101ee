#include "scratch.h"

namespace {

const std::string kInfo = "a_file_info.log", kList = "a_file_type_file_list_new.log";

// What find says of the folder: the info log and the list.
const std::string kFind = R"(
  find . -type f -printf '%s %b\n' | awk '
    { size += $1; blocks += $2 }
    END { printf "detect_directory_size is: %.0f\ndetect_directory_file_count is: %d\n", size, NR
          printf "%.0f\n", 512 * blocks > "../allocated" }'
  echo detect_directory_dir_count is: $(find . -type d -printf '\n' | wc -l)
  echo detect_directory_allocated_size is: $(cat ../allocated)
  find . -type f -printf '%s %p\0' | sed -z 's/\\/\\\\/g; s/\n/\\n/g' | tr '\0' '\n' |
    LC_ALL=C sort)";

TEST(Survey, FindsWhatFindFindsInAHostileTreeButNotItsOwnResults) {
  const Scratch scratch;
  for (const char* name : {"plain", "two\nlines", "back\\slash\\n", "\xff\xfe", " ", "s/f"}) {
    scratch.write(name, name);
  }
  fs::resize_file(scratch.folder / "plain", 1ULL << 36);
  const std::string deepen = "n=$(printf %0100d $i); mkdir $n; echo > $n/file; cd -P $n";
  scratch.run("mkfifo pipe; ln -s . loop; ln -s plain soft; ln -s no dangling; ln plain s/hard");
  scratch.run("for i in $(seq 60); do " + deepen + "; done");  // a path of 6 KB
  const Outcome found = scratch.run(kFind);
  for (const char* directory : {".", "./"}) {
    const Outcome run = scratch.run("kel_evaluation_tool " + std::string(directory) + " a");
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(scratch.run("cat " + kInfo + "; LC_ALL=C sort " + kList).output, found.output);
  }
  EXPECT_EQ(scratch.run("ln -s .. s/up; kel_evaluation_tool s/up a").status, 0);
  EXPECT_EQ(scratch.read(kInfo).find(found.output.substr(0, found.output.find('\n'))), 0U);
}

TEST(Survey, WhatCannotBeReadIsNamedAndLeftOut) {
  const Scratch scratch;
  scratch.write("tree/file", "12345");
  fs::permissions(scratch.write("tree/\33closed/file", "1").parent_path(), fs::perms::none);
  const Outcome closed = scratch.runUnprivileged("kel_evaluation_tool tree a");
  EXPECT_EQ(closed.status, 2);
  EXPECT_EQ(closed.errors, "kel_evaluation_tool: cannot read tree/?closed: Permission denied\n");
  EXPECT_EQ(scratch.read(kList), "5 tree/file\n");
  scratch.write("deep/1/2/3/4/5/6/7/8/9/file", "too many open on the way");
  const Outcome deep = scratch.run("ulimit -n 9; kel_evaluation_tool deep a");
  EXPECT_EQ(deep.status, 2);
  EXPECT_TRUE(deep.errors.ends_with(": Too many open files\n")) << deep.errors;
}

TEST(Survey, AFailureLeavesAMessageAndNoFigures) {
  const Scratch scratch;
  const auto expect = [&scratch](const std::string& arguments, const std::string& message) {
    scratch.write(kInfo, "an earlier run's");
    const Outcome run = scratch.run("kel_evaluation_tool " + arguments);
    EXPECT_EQ(run.status, 1) << arguments;
    EXPECT_EQ(run.errors, "kel_evaluation_tool: " + message + "\n") << arguments;
    EXPECT_EQ(scratch.has(kInfo), !arguments.ends_with(" a")) << arguments;
  };
  expect("missing a", "cannot read missing: No such file or directory");
  expect("'' a", "cannot read : No such file or directory");
  expect("/dev/null a", "cannot read /dev/null: Not a directory");
  expect(".", "usage: kel_evaluation_tool <directory> <aliasName>");
  expect(". a b", "usage: kel_evaluation_tool <directory> <aliasName>");
  expect(". no/b", "cannot create no/b_file_type_file_list_new.log: No such file or directory");
  scratch.write("b_file_info.log/file", "");
  expect(". b", "filesystem error: cannot remove: Directory not empty [b_file_info.log]");
}

TEST(Survey, ShowsProgressOnATerminalOnly) {
  const Scratch scratch;
  scratch.write("tree/file", "1");
  if (scratch.runOnTerminal("true").status != 0) GTEST_SKIP() << "no terminal can be had here";
  EXPECT_EQ(scratch.runOnTerminal("kel_evaluation_tool tree a").output,
            "\33[J\0337\33[?7lfiles: 1, size: 0.0 GiB\33[?7h\0338\33[J");
  EXPECT_EQ(scratch.runOnTerminal("kel_evaluation_tool no a").output,
            "\33[J\33[Jkel_evaluation_tool: cannot read no: No such file or directory\r\n");
}

}  // namespace
