#include "scratch.h"

namespace {

// The programs while one of their system calls fails, as strace makes it.
struct Fault : testing::Test {
  Fault() {
    scratch.write("tree/sub/file", "content");
    scratch.run("cd tree; touch $(seq -f %0100g 100)");  // so that the list is written in pieces
    scratch.write("list", string("7 tree/sub/file\0", 16));
    scratch.write("answers", "y " + tree + " 2");
    scratch.run("cp '" PROGRAMS "'/kel_* .");
  }

  // `given` is a call, by its names on all machines, how it fails and where or when; `told` ends
  // what is told then and the figures that a tool leaves, and behind a ^ is all of it.
  void strike(const string& program, const std::vector<Row>& rows) const {
    if (!scratch.run("strace -o trace true").empty()) GTEST_SKIP() << "cannot trace here";
    for (const Row& row : rows) {
      scratch.run("rm -f a_file_info.log result");
      const string told = scratch.run("strace -fqqo trace -e inject=" + row.given + " " + program);
      EXPECT_NE(scratch.read("trace").find("(INJECTED)"), string::npos) << row.why;
      const string all = "^" + told + scratch.read("a_file_info.log") + scratch.read("result");
      EXPECT_TRUE(all.ends_with(row.told)) << row.why << ": " << all;
    }
  }

  const Scratch scratch;
  const string tree = scratch.folder / "tree";
};

TEST_F(Fault, OfTheSurveyIsToldAndLeavesNoFalseFigure) {
  const string log =
      "^kel_evaluation_tool: cannot write a_file_info.log in the working directory: ";
  const string list =
      "^kel_evaluation_tool: cannot write a_file_type_file_list_new.log in the working directory: ";
  const string full = "No space left on device\nstatus 1\n";
  strike("kel_evaluation_tool tree a",
         {{.why = "a directory of somebody else",
           .given = "openat:error=EPERM:when=1 -P tree",
           .told = "left_out_count is: 0\n"},
          {.why = "a directory ends early",
           .given = "getdents64:error=EIO -P $PWD/tree/sub",
           .told = "left_out_count is: 1\n"},
          {.why = "no thread",
           .given = "?clone,?clone3:error=EPERM",
           .told = "left_out_count is: 0\n"},
          {.why = "earlier figures that cannot be emptied",
           .given = "openat:error=EPERM:when=1 -P a_file_info.log",
           .told = log + "Operation not permitted\nstatus 1\n"},
          {.why = "no space for figures",
           .given = "write:error=ENOSPC -P $PWD/a_file_info.log",
           .told = full},
          {.why = "no space for the list", .given = "writev:error=ENOSPC", .told = list + full}});
}

TEST_F(Fault, OfTheSimulatorIsToldAndLeavesNoFalseFigure) {
  const string changed = "the list of files has changed, or cannot be read twice\nstatus 1\n";
  strike("kel_sim_test -f list -s 4 -r 1 -j 1 -t 2 -o 7 -i 0 -l result",
         {{.why = "one thread only",
           .given = "?clone,?clone3:error=EAGAIN:when=2",
           .told = "skipped: 0 unread: 0.0000\n"},
          {.why = "a block in two pieces",
           .given = "pread64:retval=3:when=1 -P $PWD/tree/sub/file",
           .told = "skipped: 0 unread: 0.0000\n"},
          {.why = "no data",
           .given = "pread64:error=EIO -P $PWD/tree/sub/file",
           .told = "nothing could be read, such as tree/sub/file: Input/output error\nstatus 1\n"},
          {.why = "no second reading", .given = "lseek:error=EIO -P $PWD/list", .told = changed},
          {.why = "no end of the list",
           .given = "read:error=EIO:when=2 -P $PWD/list",
           .told = "Input/output error\nstatus 1\n"},
          {.why = "not stored",
           .given = "close:error=EIO -P $PWD/result",
           .told = "Input/output error\nstatus 1\n"}});
  EXPECT_EQ(
      scratch.run(
          "ulimit -v 60000; kel_sim_test -f list -s 65536 -r 1 -j 1 -t 1 -o 7 -i 0 -l result"),
      "kel_sim_test: out of memory\nstatus 1\n");
}

TEST_F(Fault, OfALookupIsTold) {
  // Each of the five takes a pipe. A message of the first three has a line end of its own.
  std::vector<Row> rows;
  for (const string message :
       {"detect the size of dir T\n", "detect the file number of dir T\n",
        "detect the directory number of dir T\n", "estimate dir T", "get estimate size T"}) {
    rows.push_back({.why = message,
                    .given = "?pipe,?pipe2:error=EMFILE:when=" + std::to_string(rows.size() + 1),
                    .told = "\nFailed to " + replaced(message, "T", tree) + "\nstatus 1\n"});
  }
  strike("kel_estimator <answers", rows);
  strike(
      "kel_estimator <answers",
      {{.why = "the last text", .given = "write:error=EIO:when=8", .told = "output\nstatus 1\n"}});
}

}  // namespace
