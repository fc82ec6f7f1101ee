#include "scratch.h"

namespace {

const std::string kInfo = "a_file_info.log";
const std::string kList = "a_file_type_file_list_new.log";
const std::string kFigures = "awk '{ print $3 }' " + kInfo;

// What find says of the folder: the three figures, and the list.
const std::string kFindFigures =
    "find . -type f -printf '%s\\n' | awk '{ s += $1 } END { printf \"%.0f\\n%d\\n\", s, NR }'; find . -type d -printf "
    "'\\n' | wc -l";
const std::string kFindList =
    "find . -type f -printf '%s %p\\0' | sed -z 's/\\\\/\\\\\\\\/g; s/\\n/\\\\n/g' | tr '\\0' '\\n' | LC_ALL=C sort";

TEST(Survey, CountsAHostileTreeAsFindDoesButNotItsOwnResult) {
  const Scratch scratch;
  for (const char* name : {"plain", "two\nlines", "back\\slash\\n", "\xff\xfe", " ", "s/f"}) scratch.write(name, name);
  fs::resize_file(scratch.folder / "plain", 1ULL << 36);
  // Two branches at each of so many levels that neither a path nor open descriptors reach.
  const std::string make = "mkfifo pipe; ln -s . loop; ln -s plain soft; ln -s no dangling; ln plain s/hard; ";
  const std::string deepen = "n=$(printf %0100d $i); mkdir -p side/deeper $n; echo > side/deeper/file; cd -P $n";
  scratch.run(make + "for i in $(seq 99); do " + deepen + "; done");
  const Outcome found = scratch.run(kFindFigures + "; " + kFindList);
  const Outcome run = scratch.run("kel_evaluation_tool . a && " + kFigures + " && LC_ALL=C sort " + kList);
  EXPECT_EQ(run.output + run.errors, found.output);
  const std::string again = "umask 027; ulimit -n 45; rm a_*; kel_evaluation_tool loop/ a; stat -c %a a_*; ";
  EXPECT_EQ(scratch.run(again + kFigures).output, "640\n640\n" + scratch.run("rm a_*; " + kFindFigures).output);
}

TEST(Survey, WhatCannotBeReadIsNamedAndLeftOut) {
  const Scratch scratch;
  scratch.write("tree/file", "12345");
  fs::permissions(scratch.write("tree/\33closed/file", "1").parent_path(), fs::perms::none);
  const Outcome run = scratch.runUnprivileged("kel_evaluation_tool", "tree a");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.errors, "kel_evaluation_tool: cannot read tree/?closed: Permission denied\n");
  EXPECT_EQ(scratch.runUnprivileged("kel_evaluation_tool", "tree a <&- 2>&-").status, 2);
  EXPECT_EQ(scratch.read(kList), "5 tree/file\n") << "no message in it";
  EXPECT_EQ(scratch.read(kInfo),
            "detect_directory_size is: 5\ndetect_directory_file_count is: 1\ndetect_directory_dir_count is: 2\n");
}

TEST(Survey, AFailureLeavesAMessageAndNoResult) {
  const Scratch scratch;
  const auto expect = [&scratch](const std::string& arguments, const std::string& message) {
    scratch.write(kInfo, "old");
    scratch.write(kList, "old");
    const Outcome run = scratch.run("kel_evaluation_tool " + arguments);
    EXPECT_EQ(run.status, 1) << arguments;
    EXPECT_EQ(run.errors, "kel_evaluation_tool: " + message + "\n");
    EXPECT_EQ(scratch.has(kInfo) || scratch.has(kList), !message.starts_with("cannot read")) << arguments;
  };
  expect("missing a", "cannot read missing: No such file or directory");
  expect("'' a", "cannot read : No such file or directory");
  expect("/dev/null a", "cannot read /dev/null: Not a directory");
  for (const char* wrong : {".", ". a b"}) expect(wrong, "usage: kel_evaluation_tool <directory> <aliasName>");
  expect(". n/a", "cannot create n/" + kList + ": No such file or directory");
  scratch.write("file", "");
  EXPECT_EQ(scratch.run("(ulimit -f 0; kel_evaluation_tool . a) 2>&1 | cat; ls -A").output,
            "kel_evaluation_tool: cannot write " + kList + ": File too large\nfile\n");
  EXPECT_EQ(scratch.run("script -qec 'kel_evaluation_tool . a' /dev/null").output,
            "\0337\33[?7lfiles: 1, size: 0 B\33[?7h\0338\33[K");
  EXPECT_EQ(scratch.run("mkdir b_file_info.log; kel_evaluation_tool . b").errors,
            "kel_evaluation_tool: cannot remove the earlier b_file_info.log: Is a directory\n");
}

}  // namespace
