#include "scratch.h"

namespace {

TEST(Fault, OfASystemCallIsToldAndLeavesNoFalseFigure) {
  const Scratch scratch;
  scratch.write("tree/sub/file", "content");
  scratch.write("tree/file", string(5000, 'x'));
  scratch.write("list", "5000 tree/file\n7 tree/sub/file\n");
  scratch.write("answers", "y " + scratch.folder.string() + "/tree 2");
  scratch.run("cp '" PROGRAMS "'/kel_* .");
  if (!scratch.run("strace -o trace true").empty()) GTEST_SKIP() << "cannot trace here";

  // `fault` is strace's: the calls, by all their names, the error and where or when it strikes.
  const auto expect = [&](const string& program, const string& fault, const string& end) {
    const string row = program + " with " + fault + "\n";
    scratch.run("rm -f a_file_info.log result");
    const string told = scratch.run("strace -qqo trace -e inject=" + fault + " " + program);
    EXPECT_NE(scratch.read("trace").find("(INJECTED)"), string::npos) << row;
    EXPECT_TRUE(end.empty() ? told.empty() : told.ends_with(end)) << row << told;
    const string figures = scratch.run("ls a_file_info.log result 2>/dev/null");
    EXPECT_EQ(figures.starts_with("status"), end.ends_with("status 1\n")) << row << figures;
  };
  const string survey = "kel_evaluation_tool tree a", estimator = "kel_estimator <answers";
  const string simulator = "kel_sim_test -f list -s 4 -r 1 -j 1 -t 2 -o 5007 -i 0 -l result";
  const string inSub = ":error=EIO -P $PWD/tree/sub", io = ": Input/output error\nstatus ";
  const string full = "write,writev:error=ENOSPC -P $PWD/";
  const string noSpace = ": No space left on device\nstatus 1\n";
  expect(survey, "getdents64" + inSub, "cannot read tree/sub" + io + "2\n");
  expect(survey, "?newfstatat,?fstat,?statx" + inSub, "cannot read tree/sub" + io + "2\n");
  expect(survey, "?open,?openat:error=EMFILE -P $PWD/tree/sub -P sub", "open files\nstatus 2\n");
  expect(survey, "getdents64:error=EIO", "cannot read tree" + io + "1\n");
  expect(survey, full + "a_file_info.log", "cannot write a_file_info.log" + noSpace);
  expect(survey, full + "a_file_type_file_list_new.log", "file_list_new.log" + noSpace);
  expect(simulator, "?clone,?clone3:error=EAGAIN:when=2", "");
  expect(simulator, "pread64:error=EIO -f -P $PWD/tree/sub/file", "in tree/sub/file" + io + "2\n");
  expect(simulator, "read:error=EIO -P $PWD/list", "cannot read the list of files" + io + "1\n");
  expect(simulator, full + "result", "cannot write result" + noSpace);
  const string tree = (scratch.folder / "tree").string() + "\n", failed = "status 1\n";
  const string noPipe = "?pipe,?pipe2:error=EMFILE:when=";
  expect(estimator, "?open,?openat:error=EACCES -P $PWD/tree", "retry? [Y/N] " + failed);
  expect(estimator, noPipe + "1", ": Failed to detect the size of dir " + tree + "\n" + failed);
  expect(estimator, noPipe + "2", "to detect the file number of dir " + tree + "\n" + failed);
  expect(estimator, noPipe + "3", "the directory number of dir " + tree + "\n" + failed);
  expect(estimator, noPipe + "4", "-\nFailed to estimate dir " + tree + failed);
  expect(estimator, noPipe + "5", "-\nFailed to get estimate size " + tree + failed);
}

}  // namespace
