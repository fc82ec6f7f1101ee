#include "scratch.h"

using Rows = std::vector<std::pair<string, string>>;

// The programs while a system call fails, as strace makes it.
struct Fault : testing::Test {
  Fault() {
    scratch.write("tree/sub/file", string(5000, 'x'));
    scratch.run("cd tree; touch $(seq -f %0100g 100)");  // so that the list is written in pieces
    scratch.write("list", string("5000 tree/sub/file\0", 19));
    scratch.write("answers", "y tree 2");
    scratch.run("cp \"$PROGRAMS\"/kel_* .");
  }

  // A row is a call, by its names on all machines, with its failure and where or when it strikes,
  // and the end of what is told then and the figures that a tool leaves.
  void strike(const string& program, const Rows& rows) const {
    if (!scratch.run("strace -o trace true").empty()) GTEST_SKIP() << "cannot trace here";
    for (const auto& [call, told] : rows) {
      scratch.run("rm -f a_file_info.log result");
      string all = scratch.run("strace -fqqo trace -e inject=" + call + " " + program);
      all += scratch.read("a_file_info.log") + scratch.read("result");
      EXPECT_TRUE(all.ends_with(told)) << call << ": " << all;
      EXPECT_NE(scratch.read("trace").find("(INJECTED)"), string::npos) << call;
    }
  }

  const Scratch scratch;
};

TEST_F(Fault, IsToldAndLeavesNoFalseFigure) {
  const string place = " in the working directory: ", error = "Input/output error\nstatus 1\n";
  strike(
      "kel_evaluation_tool tree a",
      {{"openat:error=EPERM:when=1 -P tree", "left_out_count is: 0\n"},  // another user's
       {"getdents64:error=EIO:when=5+ -e inject=?clone,?clone3:error=EAGAIN", "out_count is: 1\n"},
       {"?clone,?clone3:error=EAGAIN:when=2", "left_out_count is: 0\n"},
       {"openat:error=EPERM:when=1 -P a_file_info.log", "Operation not permitted\nstatus 1\n"},
       {"write:error=EIO -P $PWD/a_file_info.log", "cannot write a_file_info.log" + place + error},
       {"write,writev:error=EIO -P $PWD/a_file_type_file_list_new.log", "_new.log" + place + error},
       {"writev:error=ENOSPC", "_list_new.log" + place + "No space left on device\nstatus 1\n"}});
  strike("kel_sim_test -f list -s 4 -r 1 -j 1 -t 2 -o 7 -i 0 -l result",
         {{"?clone,?clone3:error=EPERM", "skipped: 0 unread: 0.0000 of: 7\n"},
          {"pread64:retval=3:when=1 -P $PWD/tree/sub/file", "skipped: 0 unread: 0.0000 of: 7\n"},
          {"pread64:error=EIO -P $PWD/tree/sub/file", "be read, such as tree/sub/file: " + error},
          {"read:error=EIO:when=2 -P $PWD/list", "cannot read list: " + error},
          {"lseek:error=EIO -P $PWD/list", "has changed, or cannot be read twice\nstatus 1\n"},
          {"close:error=EIO -P $PWD/result", error}});
  const string large = "kel_sim_test -f list -s 65536 -r 1 -j 1 -t 1 -o 7 -i 0 -l result";
  EXPECT_EQ(scratch.run("ulimit -v 60000; " + large), "kel_sim_test: out of memory\nstatus 1\n");

  Rows rows;
  // Each lookup takes a pipe. A message of the first three has a line end of its own.
  for (const string message :
       {"detect the size of dir T\n", "detect the file number of dir T\n",
        "detect the directory number of dir T\n", "estimate dir T", "get estimate size T"}) {
    const string told = "\nFailed to " + replaced(message, "T", scratch.folder / "tree");
    rows.emplace_back("?pipe,?pipe2:error=EMFILE:when=" + std::to_string(rows.size() + 1),
                      told + "\nstatus 1\n");
  }
  rows.emplace_back("write:error=EIO:when=8", "output\nstatus 1\n");  // the last text
  strike("kel_estimator <answers", rows);
}
