#include "scratch.h"

namespace {

// The programs while one of their system calls fails, as strace makes it.
TEST(Fault, OfASystemCallIsToldAndLeavesNoFalseFigure) {
  const Scratch scratch;
  const string tree = scratch.write("tree/sub/file", "content").parent_path().parent_path();
  scratch.write("list", string("7 tree/sub/file\0", 16));
  scratch.write("answers", "y " + tree + " 2");
  scratch.run("cd tree; touch $(seq -f %0100g 100)");  // so that the list is written in two pieces
  scratch.run("cp '" PROGRAMS "'/kel_* .");
  if (!scratch.run("strace -o trace true").empty()) GTEST_SKIP() << "cannot trace here";

  // `given` is a call, by its names on all machines, its error and where or when it strikes; `told`
  // ends what is told then and the figures that a tool leaves, and behind a ^ is all of it.
  const auto strike = [&scratch](const string& program, const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      scratch.run("rm -f a_file_info.log result");
      const string told = scratch.run("strace -qqo trace -e inject=" + row.given + " " + program);
      EXPECT_NE(scratch.read("trace").find("(INJECTED)"), string::npos) << row.why;
      const string all = "^" + told + scratch.read("a_file_info.log") + scratch.read("result");
      EXPECT_TRUE(all.ends_with(row.told)) << row.why << ": " << all;
    }
  };
  const string readFails = "getdents64:error=EIO -P $PWD/tree/sub";
  const string full = "write:error=ENOSPC -P $PWD/a_file_", list = full + "type_file_list_new.log";
  const string lost = " in the working directory: No space left on device\nstatus 1\n";
  const string once = "^kel_evaluation_tool: cannot write a_file_type_file_list_new.log" + lost;
  strike("-f kel_evaluation_tool tree a",
         {{.why = "a directory ends early", .given = readFails, .told = "count is: 1\n"},
          {.why = "no space for figures", .given = full + "info.log", .told = "_info.log" + lost},
          {.why = "no space for the list", .given = list, .told = once}});
  const string onList = ":error=EIO -P $PWD/list", again = "has changed, or cannot be read twice\n";
  strike("-f kel_sim_test -f list -s 4 -r 1 -j 1 -t 2 -o 7 -i 0 -l result",
         {{.why = "no thread", .given = "?clone,?clone3:error=EAGAIN", .told = "skipped: 0\n"},
          {.why = "no second reading", .given = "lseek" + onList, .told = again + "status 1\n"},
          {.why = "no end", .given = "read:when=2" + onList, .told = "output error\nstatus 1\n"},
          {.why = "not stored", .given = "close:error=EIO -P $PWD/result", .told = "status 1\n"}});
  // Each of the five lookups takes a pipe. A message of the first three has a line end of its own.
  const string pipe = "?pipe,?pipe2:error=EMFILE:when=", detect = "\nFailed to detect the ";
  const string end = tree + "\nstatus 1\n", blank = tree + "\n\nstatus 1\n";
  strike(
      "kel_estimator <answers",
      {{.why = "bytes", .given = pipe + "1", .told = detect + "size of dir " + blank},
       {.why = "files", .given = pipe + "2", .told = detect + "file number of dir " + blank},
       {.why = "dirs", .given = pipe + "3", .told = detect + "directory number of dir " + blank},
       {.why = "ratio", .given = pipe + "4", .told = "\nFailed to estimate dir " + end},
       {.why = "read", .given = pipe + "5", .told = "\nFailed to get estimate size " + end},
       {.why = "the last text", .given = "write:error=EIO:when=8", .told = "output\nstatus 1\n"}});
}

}  // namespace
