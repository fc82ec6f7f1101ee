#include "scratch.h"

namespace {

const string kLogName = "a_file_info.log", kListName = "a_file_type_file_list_new.log";

// What find says of the folder: the info log and, sorted, the list.
const string kFind = R"(
  find . -printf '%y %s %b\n' | awk '{ n[$1]++ } /^f/ { size += $2; blocks += $3 } END {
    form = "detect_directory_%s is: %.0f\n"
    printf form form form, "size", size, "file_count", n["f"], "dir_count", n["d"]
    printf form form, "allocated_size", 512 * blocks, "left_out_count", 0 }'
  find . -type f -printf '%s %p\0' | sort -z)";

TEST(Survey, FindsWhatFindFindsInAHostileTreeButNotItsOwnFiles) {
  const Scratch scratch;
  for (const char* name : {"plain", "two\nlines", "back\\slash", "\xff\xfe", " ", "s/f"}) {
    scratch.write(name, name);
  }
  fs::resize_file(scratch.folder / "plain", 1ULL << 36);  // 64 GiB of hole
  scratch.run("mkfifo pipe; ln -s . loop; ln -s plain soft; ln -s no dangling; ln plain s/hard");
  // 40 levels of 120 characters make paths longer than the system takes, 4096.
  scratch.run("for i in $(seq 40); do mkdir $(printf %0120d 0); cd -P 0*; done; echo > file");
  scratch.run("{ " + kFind + "\n} >../found");
  for (const string directory : {".", "loop/"}) {
    const string told = scratch.run("kel_evaluation_tool " + directory + " a");
    EXPECT_TRUE(told.ends_with(" GiB), nothing left out.\n")) << told;
    scratch.run("{ cat " + kLogName + "; sed -z 's,loop/,./,' " + kListName +
                " | sort -z; } >../ours");
    EXPECT_EQ(scratch.run("diff -a ../found ../ours | cut -c -200"), "") << directory;
  }
}

TEST(Survey, CountsAllThatItLeavesOutAndNamesTen) {
  const Scratch scratch;
  // The last twelve lie on the 1001st level, one too deep.
  scratch.run("d=$(printf 't\33ee')/$(printf 'd/%.0s' $(seq 1000)); mkdir -p $d; cd -P $d; mkdir "
              "$(seq 12)");
  const string told = scratch.run("kel_evaluation_tool t* a");
  EXPECT_EQ(replaced(told, "(.*more than 1000 levels deep\n){10}", "TEN\n"),
            "Surveyed t?ee: files: 0, directories: 1013, size: 0.00 GiB (allocated: 0.00 GiB); "
            "directories or files that could not be read, so that their content is missing: 12.\n"
            "TEN\nkel_evaluation_tool: 2 more could not be read; what 12 in all hold is "
            "missing from the figures\nstatus 2\n");
  EXPECT_TRUE(scratch.read(kLogName).ends_with("\ndetect_directory_left_out_count is: 12\n"));
}

TEST(Survey, EmptiesItsLogOnceTheCommandLineIsRight) {
  const Scratch scratch;
  scratch.write(kLogName, "EARLIER");
  EXPECT_TRUE(scratch.run("kel_evaluation_tool a").starts_with("kel_evaluation_tool: usage: "));
  EXPECT_EQ(scratch.read(kLogName), "EARLIER");
  EXPECT_EQ(scratch.run("kel_evaluation_tool 'n\33o' a"),
            "kel_evaluation_tool: cannot read n?o: No such file or directory\nstatus 1\n");
  EXPECT_EQ(scratch.read(kLogName), "");
}

}  // namespace
