#include <regex>

#include "scratch.h"
#include "simulator/compression.h"

namespace {

const std::string kInfo = "a_file_info.log", kList = "a_file_type_file_list_new.log";

// What find says of the folder: the info log and the list.
const std::string kFind = R"(
  find . -printf '%y %s %b\n' | awk '/^d/ { directories++ }
    /^f/ { files++; size += $2; blocks += $3 }
    END { printf "detect_directory_size is: %.0f\ndetect_directory_file_count is: %d\n", size, files
          printf "detect_directory_dir_count is: %d\n", directories
          printf "detect_directory_allocated_size is: %.0f\n", 512 * blocks }'
  find . -type f -printf '%s %p\0' | sed -z 's/\\/\\\\/g; s/\n/\\n/g' | tr '\0' '\n' |
    LC_ALL=C sort)";

TEST(Survey, FindsWhatFindFindsInAHostileTreeButNotItsOwnResults) {
  const Scratch scratch;
  for (const char* name : {"plain", "two\nlines", "back\\slash\\n", "\xff\xfe", " ", "s/f"}) {
    scratch.write(name, name);
  }
  fs::resize_file(scratch.folder / "plain", 1ULL << 36);
  scratch.run("mkfifo pipe; ln -s . loop; ln -s plain soft; ln -s no dangling; ln plain s/hard");
  scratch.run("for i in $(seq 60); do mkdir $(printf %0100d 0); cd -P 0*; echo > file; done");
  const std::string found = scratch.run(kFind);
  for (const std::string directory : {".", "loop/"}) {
    EXPECT_EQ(scratch.run("kel_evaluation_tool " + directory + " a"), "");
    const std::string sorted = "; sed 's, loop/, ./,' " + kList + " | LC_ALL=C sort";
    EXPECT_EQ(scratch.run("cat " + kInfo + sorted), found);
  }
}

TEST(Survey, WhatCannotBeReadIsNamedAndAFailureLeavesNoFigures) {
  const Scratch scratch;
  const auto survey = [&scratch](const std::string& arguments) {
    scratch.write(kInfo, "EARLIER");
    const std::string told = scratch.run("kel_evaluation_tool " + arguments);
    return told + scratch.read(kInfo);
  };
  const std::string tool = "kel_evaluation_tool: ", failed = "\nstatus 1\n";
  std::string deep = "tree/\33";
  for (int i = 0; i < 30; ++i) deep += "/d";
  scratch.write(deep + "/file", "too many directories open on the way");
  const std::string told = scratch.run("ulimit -n 20; kel_evaluation_tool tree a");
  EXPECT_TRUE(told.starts_with(tool + "cannot read tree/?/d/d/")) << told;
  EXPECT_TRUE(told.ends_with(": Too many open files\nstatus 2\n")) << told;
  EXPECT_EQ(survey("no a"), tool + "cannot read no: No such file or directory" + failed);
  EXPECT_EQ(survey("/dev/null a"), tool + "cannot read /dev/null: Not a directory" + failed);
  EXPECT_EQ(survey(". a b"), tool + "usage: kel_evaluation_tool <directory> <aliasName>" + failed);
}

// The number behind a name in the finished line.
double value(const std::string& line, const std::string& name) {
  const std::size_t start = line.find(" " + name + " ");
  return start == std::string::npos ? -1.0 : std::stod(line.substr(start + name.size() + 2));
}

struct Simulator : testing::Test {
  // The fewer different bytes, the better they compress; 256 do not at all.
  void add(const std::string& name, std::size_t length, unsigned differentBytes) {
    std::string bytes(length, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() / 256 % differentBytes);
    scratch.write(name, bytes);
    list += std::to_string(length) + " " + name + "\n";
    total += length;
  }

  // All that comes of it. Options given later replace those given before.
  std::string simulate(const std::string& options) const {
    scratch.write("list", list);
    scratch.write("result", "EARLIER");
    const std::string usual = "kel_sim_test -f list -s 4 -r 0.1 -j 8 -t 2 -i 0 -l result -o ";
    const std::string told = scratch.run(usual + std::to_string(total) + " " + options);
    return told + scratch.read("result");
  }

  std::minstd_rand random{1};
  Scratch scratch;
  std::string list;
  std::uint64_t total = 0;
};

TEST_F(Simulator, ReadsEverythingWhenAskedOrWhenThereIsLittle) {
  add("incompressible", 61441, 256);
  add("empty", 0, 1);
  add("zeros", 4096, 1);
  const std::regex all(
      "part 7: detection finished ratio: (1.066\\d) blocks: 17 bytes: 65537 "
      "95%: \\1 to \\1 skipped: 0\n");
  for (const std::string options : {"-i 7 -r 1 -j 1", "-i 7 -j 9", "-i 7 -j 1 -o 999999999"}) {
    EXPECT_TRUE(std::regex_match(simulate(options), all)) << options << simulate(options);
  }
  EXPECT_LT(value(simulate("-j 8"), "bytes:"), 65537);
}

TEST_F(Simulator, TheIntervalHoldsTheExhaustiveRatio) {
  for (int i = 0; i < 1500; ++i) add("small" + std::to_string(i), 200 + random() % 3000, 9);
  for (int i = 0; i < 5; ++i) add("large" + std::to_string(i), 400000, 256);
  const double exact = value(simulate("-r 1"), "ratio:");
  for (const std::string fraction : {"0.1", "0.8"}) {
    double mean = 0.0;
    int held = 0;
    for (int part = 0; part < 30; ++part) {
      const std::string line = simulate("-r " + fraction + " -i " + std::to_string(part));
      const double low = value(line, "95%:"), high = value(line, "to");
      EXPECT_LT(high - low, 0.1) << line;
      held += low <= exact && exact <= high ? 1 : 0;
      mean += value(line, "ratio:") / 30;
    }
    EXPECT_GE(held, 27) << fraction;
    EXPECT_NEAR(mean, exact, 0.006) << fraction;
  }
  EXPECT_NEAR(value(simulate(""), "bytes:") / static_cast<double>(total), 0.1, 0.004);
  EXPECT_NEAR(value(simulate("-r 0.0001 -j 200"), "blocks:"), 300, 100);
  for (const std::string threads : {"2", "7", "'3;x'", "999999", "x"}) {
    EXPECT_EQ(simulate("-i 5 -t " + threads), simulate("-i 5 -t 1")) << threads;
  }
}

TEST_F(Simulator, WhatCannotBeReadIsSkippedAndSaidWithItsWeight) {
  add("kept", 9000, 256);
  list += "5 back\\\\slash\\n\n1 pipe\n1 link\n8192 shrunk\n1 gone\n";
  scratch.write("back\\slash\n", "12345");
  scratch.write("shrunk", std::string(8191, 'x'));
  scratch.run("mkfifo pipe; ln -s kept link");
  const std::string told = simulate("-r 1 -t 1");
  EXPECT_EQ(told.find("kel_sim_test: 23.83 % of the data could not be read, as in gone: No"), 0U);
  EXPECT_TRUE(value(told, "bytes:") == 13101 && value(told, "skipped:") == 4) << told;
}

TEST_F(Simulator, AFailureLeavesAMessageAndNoResult) {
  const std::string tool = "kel_sim_test: ", failed = "\nstatus 1\n";
  const std::string usage =
      "; usage: kel_sim_test -f LIST -s KIB -r FRACTION -j FEWEST "
      "-t THREADS -o TOTAL -i PART -l RESULT" +
      failed;
  add("file", 5, 1);
  for (const char* foreign : {"5 f", "5f\n", "5 \n", "x f\n", "99999999999999999999 f\n"}) {
    scratch.write("foreign", std::string("5 file\n") + foreign);
    EXPECT_EQ(simulate("-f foreign"), tool + "not a list of files" + failed) << foreign;
  }
  EXPECT_EQ(simulate("-f /dev/null"), tool + "no data to sample in /dev/null" + failed);
  EXPECT_EQ(simulate("-f no"), tool + "cannot open no: No such file or directory" + failed);
  for (const std::string bad : {"-s 0", "-s 4k", "-r 0", "-r 1.01", "-r nan", "-j 0", "-o 1e9"}) {
    const std::string option = bad.substr(0, 2), text = bad.substr(3);
    EXPECT_EQ(simulate(bad), tool + "option " + option + " cannot be \"" + text + "\"" + usage);
  }
  EXPECT_EQ(simulate("-o -i 0"), tool + "no total size: the survey left no figures" + failed);
  for (const char* bad : {"-x", "-l", "stray"}) {
    EXPECT_EQ(simulate(bad), tool + "every option must be given, and nothing else" + usage);
  }
}

TEST_F(Simulator, AndSurveyShowTheirProgressOnATerminal) {
  EXPECT_EQ(progressText(0.25, 120.0), "25.0 % done, 6.0 min left");
  scratch.write("tree/file", "12345");
  const auto onTerminal = [this](const std::string& command) {
    return scratch.run("script -qec '" + command + "' /dev/null");
  };
  if (onTerminal("echo here") != "here\r\n") GTEST_SKIP() << "no terminal can be had";
  const std::string simulator = "kel_sim_test -s 4 -r 1 -j 1 -t 1 -o 5 -i 0 -l r -f " + kList;
  EXPECT_EQ(onTerminal("kel_evaluation_tool tree a"),
            "\33[J\0337\33[?7l [files: 1, size: 0.0 GiB]\33[?7h\0338\33[J");
  EXPECT_EQ(onTerminal(simulator),
            "\33[J\0337\33[?7l [100.0 % done, 0.0 min left]\33[?7h\0338\33[J");
}

}  // namespace
