#include "scratch.h"

namespace {

struct Program {
  std::string command;
  std::string result;  // the file that shows figures
};

const Program kSurvey = {"kel_evaluation_tool tree a", "a_file_info.log"};
const Program kSimulator = {"kel_sim_test -f list -s 4 -r 1 -j 1 -t 2 -o 5007 -i 0 -l result",
                            "result"};
const Program kEstimator = {"kel_estimator < answers", "no file of its own"};

TEST(Fault, OfASystemCallIsToldAndLeavesNoFalseFigure) {
  const Scratch scratch;
  scratch.write("tree/sub/file", "content");
  scratch.write("tree/file", std::string(5000, 'x'));
  scratch.write("list", "5000 tree/file\n7 tree/sub/file\n");
  scratch.write("answers", "y tree 2");
  scratch.run("cp '" PROGRAMS "'/kel_* .");
  if (scratch.run("strace -o trace true").status != 0) GTEST_SKIP() << "cannot trace here";

  // `fault` is strace's: the calls, by all their names, and the error; which of the calls meet it.
  const auto expect = [&](const Program& program, const std::string& fault, int status,
                          const std::string& end) {
    fs::remove(scratch.folder / program.result);
    const Outcome run =
        scratch.run("strace -qq -o trace -e inject=" + fault + " " + program.command);
    const std::string row = program.command + " with " + fault;
    EXPECT_NE(scratch.read("trace").find("(INJECTED)"), std::string::npos) << row;
    EXPECT_EQ(run.status, status) << row;
    EXPECT_TRUE((run.output + run.errors).ends_with(end)) << row << "\n"
                                                          << run.output << run.errors;
    EXPECT_EQ(scratch.has(program.result), status != 1) << row;
  };
  const std::string inSub = "error=EIO -P $PWD/tree/sub";
  expect(kSurvey, "getdents64:" + inSub, 2, "cannot read tree/sub: Input/output error\n");
  expect(kSurvey, "?newfstatat,?fstat,?statx:" + inSub, 2, "read tree/sub: Input/output error\n");
  expect(kSurvey, "getdents64:error=EIO:when=1", 1, "cannot read tree: Input/output error\n");
  for (const std::string name : {"a_file_type_file_list_new.log", "a_file_info.log"}) {
    expect(kSurvey, "write,writev:error=ENOSPC -P $PWD/" + name, 1,
           "cannot write " + name + ": No space left on device\n");
  }
  expect(kSimulator, "?clone,?clone3:error=EAGAIN", 0, "");
  expect(kSimulator, "pread64:error=EIO -f -P $PWD/tree/sub/file", 2,
         "0.14 % of the data could not be read, as in tree/sub/file: Input/output error\n");
  expect(kSimulator, "read:error=EIO -P $PWD/list", 1, "list of files: Input/output error\n");
  expect(kSimulator, "write,writev:error=ENOSPC -P $PWD/result", 1,
         "cannot write result: No space left on device\n");
  const std::string tree = scratch.folder / "tree", noPipe = "?pipe,?pipe2:error=EMFILE:when=";
  expect(kEstimator, noPipe + "1", 1, ": Failed to detect the size of dir " + tree + "\n\n");
  expect(kEstimator, noPipe + "2", 1, ": Failed to detect the file number of dir " + tree + "\n\n");
  expect(kEstimator, noPipe + "3", 1,
         ": Failed to detect the directory number of dir " + tree + "\n\n");
  expect(kEstimator, noPipe + "4", 1, "\nFailed to estimate dir " + tree + "\n");
  expect(kEstimator, noPipe + "5", 1, "-\nFailed to get estimate size " + tree + "\n");
  expect(kEstimator, "?clone,?clone3,?vfork:error=EAGAIN", 1, "size of dir " + tree + "\n\n");
}

}  // namespace
