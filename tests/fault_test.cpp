// The programs while system calls fail, as strace makes them: at each call of a kind, at the first
// (":when=1") or from the fourth on (":when=4+"), and behind -P only those that take this file. A
// "retval" is how many bytes a call says that it has read.

#include <vector>

#include "scratch.h"

struct Row {
  string why, fail;
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
      string all = scratch.runTraced("-e inject=" + row.fail, command) + "left:\n";
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
  const string noThread = "?clone,?clone3:error=EAGAIN", badDisk = "getdents64:error=EIO:when=4+";
  const string stat = "?newfstatat,?fstatat64", info = "a_file_info.log";
  const string list = "a_file_type_file_list_new.log";
  const string lost = " in the working directory" + error;
  strike(
      "kel_evaluation_tool tree a",
      {{.why = "another's tree", .fail = "openat:error=EPERM:when=1 -P tree", .ends = all},
       {.why = "signal", .fail = "openat:error=EINTR:when=1 -P tree/sub", .ends = all},
       {.why = "signal at a file", .fail = stat + ":error=EINTR:when=1 -P file", .ends = all},
       {.why = "no thread starts", .fail = noThread, .ends = all},
       {.why = "a bad disk", .fail = noThread + " -e inject=" + badDisk, .ends = part},
       {.why = "log", .fail = "write:error=EIO -P \"$PWD\"/" + info, .ends = info + lost},
       {.why = "end of list", .fail = "write:error=EIO -P \"$PWD\"/" + list, .ends = list + lost},
       {.why = "its middle, in a larger piece", .fail = "writev:error=EIO", .ends = list + lost}});
}

TEST_F(Fault, OfTheSimulatorIsToldAndLeavesNoFalseFigure) {
  const string all = " blocks: 2 bytes: 5000 95%: R to R skipped: 0 unread: 0.0000 of: 7\n";
  const string file = "tree/sub/file", of = " -P " + file;
  const string simulate = "kel_sim_test -f list -r 1 -j 1 -t 2 -o 7 -i 0 -l result -s ";
  strike(
      simulate + "4",
      {{.why = "a block in two parts", .fail = "pread64:retval=3:when=1" + of, .ends = all},
       {.why = "a signal", .fail = "pread64:error=EINTR:when=1" + of, .ends = all},
       {.why = "a bad disk", .fail = "pread64:error=EIO" + of, .ends = "such as " + file + error},
       {.why = "its list", .fail = "read:error=EIO:when=2 -P list", .ends = "read list" + error},
       {.why = "a pipe", .fail = "lseek:error=ESPIPE -P list", .ends = "read twice" + end},
       {.why = "late", .fail = "close:error=EIO -P \"$PWD\"/result", .ends = "directory" + error}});
  EXPECT_EQ(scratch.run("ulimit -v 60000; " + simulate + "65536"),
            "kel_sim_test: out of memory\nstatus 1\n");
}

TEST_F(Fault, OfTheEstimatorIsTold) {
  // Each lookup of a figure takes a pipe. The messages of the first three end in a blank line.
  const string dir = "dir " + (scratch.folder / "tree").string();
  const string pipe = "?pipe,?pipe2:error=EMFILE";
  strike("kel_estimator <answers",
         {{.why = "size", .fail = pipe + ":when=1", .ends = "the size of " + dir + "\n" + end},
          {.why = "ratio", .fail = pipe + ":when=4", .ends = "estimate " + dir + end},
          {.why = "last text", .fail = "write:error=EIO:when=8", .ends = "standard output" + end}});
}
