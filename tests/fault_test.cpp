#include "scratch.h"

namespace {

const std::string kStrace = "strace --seccomp-bpf -fqq -o trace ";

TEST(FailingSystemCall, LeavesNoFalseResult) {
  const Scratch scratch;
  scratch.run("cp '" PROGRAMS "'/kel_* .");
  for (int i = 0; i < 60; ++i) scratch.write("tree/folder/" + std::string(100, 'x') + std::to_string(i), "content");
  scratch.write("answers", "y tree 2");
  if (scratch.run(kStrace + "true").status != 0) GTEST_SKIP() << "no right to trace here";

  // The program must end as after a good run, or complain and leave no result.
  const auto failEachCall = [&scratch](const std::string& program, int worst, const std::string& results,
                                       const std::string& outputEnd) {
    const std::string show = "cat " + results + " 2> /dev/null";
    const std::string good = scratch.run("./" + program + " > /dev/null; " + show).output;
    for (const char* call : {"read", "write", "openat", "newfstatat", "getdents64", "fchmod", "rename", "pread64",
                             "readlink", "getcwd", "pipe2", "clone3", "clone", "vfork", "wait4"}) {
      for (int n = 1; n == 1 || scratch.read("trace").find("INJECTED") != std::string::npos; ++n) {
        const std::string fault = std::string(call) + ":error=EIO:when=" + std::to_string(n);
        const Outcome run = scratch.run(kStrace + "-e trace=" + call + " -e inject=" + fault + " ./" + program);
        if (run.status == 127) continue;  // the system's loader failed
        const std::string shown = scratch.run(show).output;
        const bool isComplete = shown == good && run.output.ends_with(outputEnd);
        const bool hasComplained = !(run.output + run.errors).empty() && (run.status == 2 || shown.empty());
        EXPECT_TRUE(run.status == 0 ? isComplete : run.status <= worst && hasComplained) << fault << run.output;
        EXPECT_EQ(scratch.run("ls -A | grep '^[.]kel'").output, "") << fault;
      }
    }
  };
  failEachCall("kel_evaluation_tool tree a", 2, "a_*", "");
  failEachCall("kel_sim_test -f a_file_type_file_list_new.log -s 4 -r 1 -j 1 -t 1 -o 5 -i 0 -l r", 2, "r", "");
  failEachCall("kel_estimator < answers", 1, "no_file", "-----\n");
}

}  // namespace
