// The programs while a call to the system fails, as strace makes it do.

#include <vector>

#include "scratch.h"

struct Failure {
  string why;
  string fail;       // "CALL of FILE: ERROR at the Nth, in one thread"; only the start is needed
  string told = {};  // how what is told then ends
  string left = {};  // the figures that are left, of those that are whole numbers
};

// A call may also hand over so many "bytes" instead, and fail from the Nth one on ("from the Nth").
// "?" stands before a call that not every machine has.
string inStraceWords(string fail) {
  fail = replaced(fail, ", in one thread", " " + kInOneThread);
  fail = replaced(fail, " of (\\S+):(.*)", ":$2 -P $1");
  fail = replaced(fail, ": (E[A-Z]+)", ":error=$1");
  fail = replaced(fail, ": (\\d+) bytes", ":retval=$1");
  fail = replaced(fail, " at the (\\d)[a-z]+", ":when=$1");
  return replaced(fail, " from the (\\d)[a-z]+", ":when=$1+");
}

struct Fault : testing::Test {
  void SetUp() override {
    if (!scratch.canTrace()) GTEST_SKIP() << "cannot trace here";
    scratch.write("t/d/f", string(5000, 'x'));
    scratch.write("t/d/e/empty", "");
    scratch.run("cp \"$PROGRAMS\"/kel_* .");
  }

  void expect(const string& command, const std::vector<Failure>& rows) const {
    for (const auto& [why, fail, told, left] : rows) {
      scratch.run("rm -f a_* result");
      const string all = scratch.runTraced("-e inject=" + inStraceWords(fail), command);
      EXPECT_TRUE(all.ends_with(told)) << why << ": " << all << "instead of: " << told;
      const string figures = scratch.read("a_file_info.log") + scratch.read("result");
      EXPECT_EQ(replaced(figures, "detect_directory_|.*allocated.*\n|\\d\\S*\\.\\d+ ", ""), left)
          << why;
      EXPECT_NE(scratch.read("../trace").find("(INJECTED)"), string::npos) << why;
    }
  }

  const Scratch scratch;
  const string badDisk = ": Input/output error\nstatus 1\n";
};

TEST_F(Fault, OfTheSurveyIsToldAndLeavesNoFalseFigure) {
  const string all = "size is: 5000\nfile_count is: 2\ndir_count is: 3\nleft_out_count is: 0\n";
  // Two calls list t, and one finds f and e in d: d may hold more, and e was not listed.
  const string part = "size is: 5000\nfile_count is: 1\ndir_count is: 3\nleft_out_count is: 2\n";
  const string info = "a_file_info.log", list = "a_file_type_file_list_new.log";
  const string lost = " in the working directory" + badDisk;
  expect(
      "kel_evaluation_tool t a",
      {{.why = "another user's tree", .fail = "openat of t: EPERM at the 1st", .left = all},
       {.why = "stopped and continued", .fail = "openat of t/d: EINTR at the 1st", .left = all},
       {.why = "a bad disk", .fail = "getdents64: EIO from the 4th, in one thread", .left = part},
       {.why = "the info log", .fail = "write of $PWD/" + info + ": EIO", .told = info + lost},
       {.why = "the list", .fail = "write of $PWD/" + list + ": EIO", .told = list + lost}});
  scratch.run("mkdir b; touch $(seq -f b/%0100g 100)");  // more than a buffer of the list holds
  expect("kel_evaluation_tool b a",
         {{.why = "its middle", .fail = "writev: EIO", .told = list + lost}});
}

TEST_F(Fault, OfTheSimulatorIsToldAndLeavesNoFalseFigure) {
  scratch.write("list", string("5000 t/d/f\0", 11));
  const string simulate = "kel_sim_test -f list -r 1 -j 1 -t 2 -o 7 -i 0 -l result -s ";
  const string start = "part 0: detection finished ratio: blocks: 2 bytes: 5000 95%: to skipped: ";
  const string all = start + "0 unread: of: 7\n", full = "No space left on device\nstatus 1\n";
  expect(
      simulate + "4",
      {{.why = "a block in parts", .fail = "pread64 of t/d/f: 3 bytes at the 1st", .left = all},
       {.why = "stopped and continued", .fail = "pread64 of t/d/f: EINTR at the 1st", .left = all},
       {.why = "a bad disk", .fail = "pread64 of t/d/f: EIO", .told = "t/d/f" + badDisk},
       {.why = "the list", .fail = "read of list: EIO at the 2nd", .told = "list" + badDisk},
       {.why = "a pipe", .fail = "lseek of list: ESPIPE", .told = "read twice\nstatus 1\n"},
       {.why = "told late", .fail = "close of $PWD/result: ENOSPC", .told = full}});
  EXPECT_EQ(scratch.run("ulimit -v 60000; " + simulate + "65536"),
            "kel_sim_test: out of memory\nstatus 1\n");
}

TEST_F(Fault, OfTheEstimatorIsTold) {
  scratch.write("answers", "y t 2");
  const string tree = (scratch.folder / "t").string() + "\n", end = "status 1\n";
  // A pipe for each figure that is looked up: the size, two counts, the ratio.
  const string pipe = "?pipe,?pipe2", size = "Failed to detect the size of dir " + tree + "\n";
  const string ratio = "Failed to estimate dir " + tree,
               last = "Failed to write to standard output\n";
  expect("kel_estimator <answers",
         {{.why = "size", .fail = pipe + ": EMFILE at the 1st", .told = size + end},
          {.why = "ratio", .fail = pipe + ": EMFILE at the 4th", .told = ratio + end},
          {.why = "last text", .fail = "write: EIO at the 8th", .told = last + end}});
}
