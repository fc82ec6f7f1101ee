// The programs while a call to the system fails, as strace makes it do.

#include <vector>

#include "scratch.h"

struct Failure {
  string why;
  string fail;  // "CALL of FILE: ERROR at the Nth, in one thread"; "CALL: ERROR" fails them all
  string told = {};  // the end of what is told, before "status 1" where no figures are left
  string left = {};  // the figures that a tool leaves, but for fractions and allocated sizes
};

// "N bytes" instead of ERROR is what a read claims; "from the Nth" also fails later ones; a thread
// counts its own. "?" stands before a call that not every machine has, "$PWD/" before a new file.
string inStraceWords(string fail) {
  fail = replaced(fail, ", in one thread", " " + kInOneThread);
  fail = replaced(fail, " of (\\S+):(.*)", ":$2 -P \"$1\"");
  fail = replaced(fail, ": (E[A-Z]+)", ":error=$1");
  fail = replaced(fail, ": (\\d+) bytes", ":retval=$1");
  fail = replaced(fail, " at the (\\d)[a-z]+", ":when=$1");
  return replaced(fail, " from the (\\d)[a-z]+", ":when=$1+");
}

struct Fault : Scratch {
  void SetUp() override {
    if (!canTrace()) GTEST_SKIP() << "cannot trace here";
    write("t/d/f", string(5000, 'x'));
    write("t/d/e/empty", "");
    run("cp \"$PROGRAMS\"/kel_* .");  // the estimator takes its tools from here
  }

  void expect(const string& command, const std::vector<Failure>& rows) const {
    for (const auto& [why, fail, told, left] : rows) {
      run("rm -f a_* result");
      const string all = runTraced("-e inject=" + inStraceWords(fail), command);
      const string figures = read("a_file_info.log") + read("result");
      const string row = why + ", " + fail + ": " + all + figures;
      const string end = told + (left.empty() ? "status 1\n" : "");
      const bool isTold = end.empty() ? !holds(all, "status ") : all.ends_with(end);
      EXPECT_TRUE(isTold) << row << "does not end in: " << end;
      EXPECT_EQ(replaced(figures, "detect_directory_|.*allocated.*\n|\\d\\S*\\.\\d+ ", ""), left)
          << row;
      EXPECT_TRUE(holds(read("../trace"), "(INJECTED)")) << row;
    }
  }

  const string badDisk = ": Input/output error\n";
};

TEST_F(Fault, OfTheSurveyIsToldAndLeavesNoFalseFigure) {
  const string all = "size is: 5000\nfile_count is: 2\ndir_count is: 3\nleft_out_count is: 0\n";
  // Two calls list t, one finds f and e in d: then e fails and, told last, the rest of d.
  const string part = "size is: 5000\nfile_count is: 1\ndir_count is: 3\nleft_out_count is: 2\n";
  const string info = "a_file_info.log", list = "a_file_type_file_list_new.log";
  const string lost = " in the working directory" + badDisk, partial = badDisk + "status 2\n";
  expect("kel_evaluation_tool t a",
         {{.why = "owned by another", .fail = "openat of t: EPERM at the 1st", .left = all},
          {.why = "stopped by Ctrl-Z", .fail = "openat of t/d: EINTR at the 1st", .left = all},
          {.why = "a bad disk",
           .fail = "getdents64: EIO from the 4th, in one thread",
           .told = "cannot read t/d" + partial,
           .left = part},
          {.why = "figures", .fail = "write of $PWD/" + info + ": EIO", .told = info + lost},
          {.why = "the list", .fail = "write of $PWD/" + list + ": EIO", .told = list + lost}});
}

TEST_F(Fault, OfTheSimulatorIsToldAndLeavesNoFalseResult) {
  write("list", string("5000 t/d/f\0", 11));
  // Reads all of it, in blocks of 4 KiB; tells the total size as it is given, as 7.
  const string simulate = "kel_sim_test -f list -s 4 -r 1 -j 1 -t 2 -o 7 -i 0 -l result";
  const string start = "part 0: detection finished ratio: blocks: 2 bytes: 5000 95%: to skipped: ";
  const string all = start + "0 unread: of: 7\n", full = "No space left on device\n";
  expect(simulate,
         {{.why = "few bytes at once", .fail = "pread64 of t/d/f: 3 bytes at the 1st", .left = all},
          {.why = "stopped by Ctrl-Z", .fail = "pread64 of t/d/f: EINTR at the 1st", .left = all},
          {.why = "no block is read", .fail = "pread64 of t/d/f: EIO", .told = "t/d/f" + badDisk},
          {.why = "a bad list", .fail = "read of list: EIO at the 2nd", .told = "list" + badDisk},
          {.why = "a pipe as list", .fail = "lseek of list: ESPIPE", .told = "be read twice\n"},
          {.why = "full, as close tells", .fail = "close of $PWD/result: ENOSPC", .told = full}});
}

TEST_F(Fault, OfTheEstimatorIsTold) {
  write("answers", "y t 2");
  // A pipe for each lookup: size, files and directories, whose messages end in a blank line, ratio.
  const string pipe = "?pipe,?pipe2: EMFILE at the ", tree = folder / "t";
  const string last = "Failed to write to standard output\n";
  expect("kel_estimator <answers",
         {{.why = "files", .fail = pipe + "2nd", .told = "file number of dir " + tree + "\n\n"},
          {.why = "ratio", .fail = pipe + "4th", .told = "Failed to estimate dir " + tree + "\n"},
          {.why = "the last of 8 writes", .fail = "write: EIO at the 8th", .told = last}});
}
