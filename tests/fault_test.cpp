#include "scratch.h"

// The programs while one of their system calls fails, as strace makes it.

namespace {

struct Fault : testing::Test {
  void SetUp() override {
    scratch.write("tree/sub/file", "content");
    scratch.write("list", string("7 tree/sub/file\0", 16));
    scratch.write("answers", "y " + tree + " 2");
    scratch.run("cp '" PROGRAMS "'/kel_* .");
    if (!scratch.run("strace -o trace true").empty()) GTEST_SKIP() << "cannot trace here";
  }

  // What a program tells. A fault is a call, by its names on all machines, its error and where or
  // when it strikes.
  string told(const string& program, const string& fault) const {
    const string all = scratch.run("strace -qqo trace -e inject=" + fault + " " + program);
    EXPECT_NE(scratch.read("trace").find("(INJECTED)"), string::npos) << fault;
    return all;
  }

  Scratch scratch;
  string tree = scratch.folder / "tree";
};

TEST_F(Fault, OfAToolLeavesNoFalseFigure) {
  const string inSub = ":error=EIO -P $PWD/tree/sub",
               noSpace = "write:error=ENOSPC -P $PWD/a_file_";
  const string io = ": Input/output error\nstatus ", full = ": No space left on device\nstatus 1\n";
  const auto expect = [this](const string& program, const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      scratch.run("rm -f a_file_info.log result");
      const string all = told(program, row.given);
      EXPECT_TRUE(all.ends_with(row.told)) << row.why << ": " << all;
      const string figures = scratch.read("a_file_info.log") + scratch.read("result");
      EXPECT_EQ(figures.empty(), all.ends_with("status 1\n")) << row.why << ": " << figures;
    }
  };
  expect("kel_evaluation_tool tree a",
         {{.why = "an end", .given = "getdents64" + inSub, .told = "read tree/sub" + io + "2\n"},
          {.why = "no way in", .given = "openat:error=EIO -P sub", .told = "tree/sub" + io + "2\n"},
          {.why = "no tree", .given = "getdents64:error=EIO", .told = "read tree" + io + "1\n"},
          {.why = "the log", .given = noSpace + "info.log", .told = "a_file_info.log" + full},
          {.why = "the list", .given = noSpace + "type*", .told = "list_new.log" + full}});
  expect(
      "kel_sim_test -f list -s 4 -r 1 -j 1 -t 2 -o 7 -i 0 -l result",
      {{.why = "one thread less", .given = "?clone,?clone3:error=EAGAIN:when=2", .told = "read.\n"},
       {.why = "no data", .given = "read" + inSub + "/file -f", .told = "file" + io + "1\n"},
       {.why = "no list", .given = "read:error=EIO -P $PWD/list", .told = "of files" + io + "1\n"},
       {.why = "no end",
        .given = "close:error=EIO -P $PWD/result",
        .told = "result" + io + "1\n"}});
}

TEST_F(Fault, OfTheEstimatorIsTold) {
  const string open = told("kel_estimator <answers", "?open,?openat:error=EIO -P " + tree);
  EXPECT_TRUE(open.ends_with("Do you want retry? [Y/N] status 1\n")) << open;
  const string messages[] = {"detect the size of dir " + tree + "\n",
                             "detect the file number of dir " + tree + "\n",
                             "detect the directory number of dir " + tree + "\n",
                             "estimate dir " + tree, "get estimate size " + tree};
  for (int lookup = 1; lookup <= 5; ++lookup) {
    const string end = "\nFailed to " + messages[lookup - 1] + "\nstatus 1\n";
    const string all =
        told("kel_estimator <answers", "?pipe,?pipe2:error=EMFILE:when=" + std::to_string(lookup));
    EXPECT_TRUE(all.ends_with(end)) << all << "instead of" << end;
  }
}

}  // namespace
