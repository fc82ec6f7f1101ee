#include "scratch.h"

// The programs while one of their system calls fails, as strace makes it.

namespace {

struct Fault : testing::Test {
  void SetUp() override {
    scratch.write("tree/sub/file", "content");
    scratch.write("tree/file", string(5000, 'x'));
    scratch.write("list", string("5000 tree/file\0007 tree/sub/file\0", 31));
    scratch.run("cp '" PROGRAMS "'/kel_* .");
    if (!scratch.run("strace -o trace true").empty()) GTEST_SKIP() << "cannot trace here";
  }

  // `given` are a call's names on all machines, its error and where or when it strikes; `told` is
  // how all that is told ends. A program that fails leaves its `output` empty.
  void strike(const string& program, const string& output, const std::vector<Row>& rows) const {
    for (const Row& row : rows) {
      scratch.run("rm -f " + output);
      const string told = scratch.run("strace -qqo trace -e inject=" + row.given + " " + program);
      EXPECT_NE(scratch.read("trace").find("(INJECTED)"), string::npos) << row.why;
      EXPECT_TRUE(told.ends_with(row.told)) << row.why << ": " << told;
      EXPECT_EQ(scratch.read(output).empty(), told.ends_with("status 1\n")) << row.why;
    }
  }

  Scratch scratch;
  string io = ": Input/output error\n", full = ": No space left on device\nstatus 1\n";
  string noSpace = "write,writev:error=ENOSPC -P $PWD/", inSub = ":error=EIO -P $PWD/tree/sub";
};

TEST_F(Fault, OfTheSurvey) {
  const string list = "a_file_type_file_list_new.log", log = "a_file_info.log";
  const string sub =
      "these figures: 1.\nkel_evaluation_tool: cannot read tree/sub" + io + "status 2\n";
  strike(
      "kel_evaluation_tool tree a", log,
      {{.why = "a directory ends early", .given = "getdents64" + inSub, .told = sub},
       {.why = "no status", .given = "?newfstatat,?fstat,?statx" + inSub, .told = sub},
       {.why = "not opened", .given = "?open,?openat:error=EIO -P sub", .told = sub},
       {.why = "ends early", .given = "getdents64:error=EIO", .told = "tree" + io + "status 1\n"},
       {.why = "no space for the list", .given = noSpace + list, .told = "write " + list + full},
       {.why = "no space for figures", .given = noSpace + log, .told = "write " + log + full}});
}

TEST_F(Fault, OfTheSimulator) {
  const string partly = "): the ratio speaks for the rest only.\nstatus 2\n";
  strike("kel_sim_test -f list -s 4 -r 1 -j 1 -t 2 -o 5007 -i 0 -l result", "result",
         {{.why = "a thread that is not started leaves its work to the others",
           .given = "?clone,?clone3:error=EAGAIN:when=2",
           .told = ", everything read.\n"},
          {.why = "a file is not read",
           .given = "read,readv" + inSub + "/file -f",
           .told = "such as tree/sub/file: Input/output error" + partly},
          {.why = "the list is not read",
           .given = "read,readv:error=EIO -P $PWD/list",
           .told = "cannot read the list of files" + io + "status 1\n"},
          {.why = "the result is written and not stored",
           .given = "close:error=EIO -P $PWD/result",
           .told = "cannot write result" + io + "status 1\n"}});
}

TEST_F(Fault, OfTheEstimator) {
  const string tree = scratch.folder / "tree", detect = "\nFailed to detect the ";
  scratch.write("answers", "y " + tree + " 2");
  const string noPipe = "?pipe,?pipe2:error=EMFILE:when=", end = tree + "\nstatus 1\n";
  const string detectEnd = tree + "\n\nstatus 1\n";
  strike("kel_estimator <answers", "no output",
         {{.why = "no directory",
           .given = "?open,?openat:error=EIO -P " + tree,
           .told = "retry? [Y/N] status 1\n"},
          {.why = "the first lookup",
           .given = noPipe + "1",
           .told = detect + "size of dir " + detectEnd},
          {.why = "the second",
           .given = noPipe + "2",
           .told = detect + "file number of dir " + detectEnd},
          {.why = "the third",
           .given = noPipe + "3",
           .told = detect + "directory number of dir " + detectEnd},
          {.why = "the fourth", .given = noPipe + "4", .told = "\nFailed to estimate dir " + end},
          {.why = "the fifth",
           .given = noPipe + "5",
           .told = "\nFailed to get estimate size " + end}});
}

}  // namespace
