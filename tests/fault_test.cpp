// The programs while system calls fail, as strace makes them. What fails in a row reads "CALL:
// ERROR" or "CALL of FILE: ERROR", at each call of the kind unless "the 2nd" or "from the 2nd"
// follows. "3 bytes" for an error is what a call says that it has read.

#include <vector>

#include "scratch.h"

// The options of strace for that, with the names that the calls have on different machines.
string options(string failure) {
  const std::pair<string, string> translations[] = {
      {"clone", "?clone,?clone3"},   {"fstatat", "?newfstatat,?fstatat64"},
      {"pipe", "?pipe,?pipe2"},      {": (\\d+) bytes", ":retval=$1"},
      {": E", ":error=E"},           {" from the (\\d+)..", ":when=$1+"},
      {" the (\\d+)..", ":when=$1"}, {" of ([^:]+)(.*)", "$2 -P $1 -P \"$$PWD\"/$1"}};
  for (const auto& [words, option] : translations) failure = replaced(failure, words, option);
  return " -e inject=" + failure;
}

struct Row {
  string why;
  std::vector<string> fail;
  string ends = {};  // the end of what is told, then of the figures that a tool leaves
};

struct Fault : testing::Test {
  void SetUp() override {
    if (!scratch.canTrace()) GTEST_SKIP() << "cannot trace here";
    scratch.write("tree/sub/file", string(5000, 'x'));
    scratch.write("tree/sub/more/last/file", "");
    scratch.run("cd tree/sub/more; touch $(seq -f %0100g 100)");  // fills a piece of the list
    scratch.write("list", string("5000 tree/sub/file\0", 19));
    scratch.write("answers", "y tree 2");
    scratch.run("cp \"$PROGRAMS\"/kel_* .");
  }

  void strike(const string& command, const std::vector<Row>& rows) const {
    for (const Row& row : rows) {
      scratch.run("rm -f a_* result");
      string injections;
      for (const string& failure : row.fail) injections += options(failure);
      string all = scratch.runTraced(injections, command) + "left:\n";
      all += replaced(scratch.read("a_file_info.log"), "detect_directory_|.*allocated.*\n", "");
      all += replaced(scratch.read("result"), "%: (.*) to \\1", "%: R to R");
      EXPECT_TRUE(all.ends_with(row.ends)) << row.why << ": " << all << "instead of: " << row.ends;
      EXPECT_NE(scratch.read("../trace").find("(INJECTED)"), string::npos) << row.why;
    }
  }

  const Scratch scratch;
  const string end = "\nstatus 1\nleft:\n", error = ": Input/output error" + end;
};

TEST_F(Fault, OfTheSurveyIsToldAndLeavesNoFalseFigure) {
  const string all = "size is: 5000\nfile_count is: 102\ndir_count is: 4\nleft_out_count is: 0\n";
  // One thread, whose first two calls list the tree, gets file and more by the third.
  const string part = "size is: 5000\nfile_count is: 1\ndir_count is: 3\nleft_out_count is: 2\n";
  const string info = "a_file_info.log", list = "a_file_type_file_list_new.log";
  const string lost = " in the working directory" + error;
  strike(
      "kel_evaluation_tool tree a",
      {{.why = "another user's tree", .fail = {"openat of tree: EPERM the 1st"}, .ends = all},
       {.why = "signal at a directory", .fail = {"openat of tree/sub: EINTR the 1st"}, .ends = all},
       {.why = "signal at a file", .fail = {"fstatat of file: EINTR the 1st"}, .ends = all},
       {.why = "no thread starts", .fail = {"clone: EAGAIN"}, .ends = all},
       {.why = "one thread starts", .fail = {"clone: EAGAIN from the 2nd"}, .ends = all},
       {.why = "bad disk", .fail = {"clone: EAGAIN", "getdents64: EIO from the 4th"}, .ends = part},
       {.why = "log not opened", .fail = {"openat of " + info + ": EIO"}, .ends = info + lost},
       {.why = "log not written", .fail = {"write of " + info + ": EIO"}, .ends = info + lost},
       {.why = "end of the list", .fail = {"write of " + list + ": EIO"}, .ends = list + lost},
       {.why = "its middle, in a larger piece", .fail = {"writev: EIO"}, .ends = list + lost}});
}

TEST_F(Fault, OfTheSimulatorIsToldAndLeavesNoFalseFigure) {
  const string all = " blocks: 2 bytes: 5000 95%: R to R skipped: 0 unread: 0.0000 of: 7\n";
  const string file = "tree/sub/file", data = "pread64 of " + file;
  const string simulate = "kel_sim_test -f list -r 1 -j 1 -t 2 -o 7 -i 0 -l result -s ";
  strike(
      simulate + "4",
      {{.why = "no thread starts", .fail = {"clone: EPERM"}, .ends = all},
       {.why = "a block in two parts", .fail = {data + ": 3 bytes the 1st"}, .ends = all},
       {.why = "a signal", .fail = {data + ": EINTR the 1st"}, .ends = all},
       {.why = "a bad disk", .fail = {data + ": EIO"}, .ends = "read, such as " + file + error},
       {.why = "its list", .fail = {"read of list: EIO the 2nd"}, .ends = "read list" + error},
       {.why = "list is a pipe", .fail = {"lseek of list: ESPIPE"}, .ends = "read twice" + end},
       {.why = "late end of disk", .fail = {"close of result: EIO"}, .ends = "directory" + error}});
  EXPECT_EQ(scratch.run("ulimit -v 60000; " + simulate + "65536"),
            "kel_sim_test: out of memory\nstatus 1\n");
}

TEST_F(Fault, OfTheEstimatorIsTold) {
  // Each lookup of a figure takes a pipe. The messages of the first three end in a blank line.
  const string dir = "dir " + (scratch.folder / "tree").string();
  strike(
      "kel_estimator <answers",
      {{.why = "size", .fail = {"pipe: EMFILE the 1st"}, .ends = "the size of " + dir + "\n" + end},
       {.why = "ratio", .fail = {"pipe: EMFILE the 4th"}, .ends = "estimate " + dir + end},
       {.why = "last text", .fail = {"write: EIO the 8th"}, .ends = "to standard output" + end}});
}
