#include <cmath>
#include <regex>
#include <set>

#include "scratch.h"
#include "simulator/compression.h"
#include "simulator/estimate.h"

namespace {

const string kInfo = "a_file_info.log", kList = "a_file_type_file_list_new.log";

// What find says of the folder: the info log and the list.
const string kFind = R"(
  find . -printf '%y %s %b\n' | awk '{ n[$1]++ } /^f/ { size += $2; blocks += $3 } END {
    form = "detect_directory_%s is: %.0f\n"
    printf form form, "size", size, "file_count", n["f"]
    printf form form, "dir_count", n["d"], "allocated_size", 512 * blocks }'
  find . -type f -printf '%s %p\0' | sed -z 's/\\/\\\\/g; s/\n/\\n/g' | tr '\0' '\n' | sort)";

TEST(Survey, FindsWhatFindFindsInAHostileTreeButNotItsOwnResults) {
  const Scratch scratch;
  for (const char* name : {"plain", "two\nlines", "back\\slash\\n", "\xff\xfe", " ", "s/f"}) {
    scratch.write(name, name);
  }
  fs::resize_file(scratch.folder / "plain", 1ULL << 36);
  scratch.run("mkfifo pipe; ln -s . loop; ln -s plain soft; ln -s no dangling; ln plain s/hard");
  scratch.run("for i in $(seq 40); do mkdir $(printf %0120d 0); cd -P 0*; done; echo > file");
  scratch.run("{ " + kFind + "\n} >../found");
  for (const string directory : {".", "loop/"}) {
    EXPECT_EQ(scratch.run("kel_evaluation_tool " + directory + " a"), "");
    scratch.run("{ cat " + kInfo + "; sed 's, loop/, ./,' " + kList + " | sort; } >../ours");
    EXPECT_EQ(scratch.run("diff ../found ../ours | cut -c -200"), "") << directory;
  }
}

TEST(Survey, AFailureLeavesAMessageAndNoFigures) {
  const Scratch scratch;
  scratch.write(kInfo, "the figures of an earlier run");
  EXPECT_EQ(scratch.run("kel_evaluation_tool 'n\33o' a"),
            "kel_evaluation_tool: cannot read n?o: No such file or directory\nstatus 1\n");
  EXPECT_EQ(scratch.read(kInfo), "");
}

double value(const string& line, const string& name) {
  const std::size_t start = line.find(" " + name + " ");
  return start == string::npos ? -1.0 : std::stod(line.substr(start + name.size() + 2));
}

struct Simulator : testing::Test {
  // The fewer different bytes, the better they compress; 256 do not at all.
  void add(const string& name, std::size_t length, unsigned differentBytes) {
    string bytes(length, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() / 256 % differentBytes);
    scratch.write(name, bytes);
    list += std::to_string(length) + " " + name + "\n";
    total += length;
  }

  // All that comes of it. Options given later replace those given before.
  string simulate(const string& options) const {
    scratch.write("list", list);
    scratch.write("result", "EARLIER");
    const string usual =
        "ulimit -n 64; kel_sim_test -f list -s 4 -r 0.1 -j 8 -t 2 -i 0 -l result -o ";
    const string told = scratch.run(usual + std::to_string(total) + " " + options);
    return told + scratch.read("result");
  }

  std::minstd_rand random{1};
  Scratch scratch;
  string list;
  std::uint64_t total = 0;
};

TEST_F(Simulator, ReadsEverythingWhenAskedOrWhenThereIsLittle) {
  add("incompressible", 61441, 256);
  add("empty", 0, 1);
  add("zeros", 4096, 1);
  const std::regex all("part 7: detection finished ratio: (1.066\\d) blocks: 17 bytes: 65537 "
                       "95%: \\1 to \\1 skipped: 0\n");
  for (const string options : {"-i 7 -r 1 -j 1", "-i 7 -j 9", "-i 7 -j 1 -o 999999999"}) {
    EXPECT_TRUE(std::regex_match(simulate(options), all)) << options << simulate(options);
  }
  EXPECT_NEAR(value(simulate("-r 0.0001 -j 8"), "blocks:"), 12, 4) << "at least as many as asked";
}

TEST_F(Simulator, TheIntervalHoldsTheExhaustiveRatio) {
  for (int i = 0; i < 1500; ++i) {
    add("small" + std::to_string(i), 200 + random() % 3000, i % 2 == 0 ? 9 : 256);
  }
  for (int i = 0; i < 5; ++i) add("large" + std::to_string(i), 400000, 256);
  const double exact = value(simulate("-r 1"), "ratio:");
  for (const string fraction : {"0.1", "0.5"}) {
    double mean = 0.0;
    int held = 0;
    std::set<double> ratios;
    for (int part = 0; part < 30; ++part) {
      const string line = simulate("-r " + fraction + " -i " + std::to_string(part));
      held += value(line, "95%:") <= exact && exact <= value(line, "to") ? 1 : 0;
      mean += value(line, "ratio:") / 30;
      ratios.insert(value(line, "ratio:"));
    }
    EXPECT_GE(held, 27) << fraction;
    EXPECT_NEAR(mean, exact, 0.006) << fraction;
    EXPECT_GT(ratios.size(), 20U) << "each part draws a sample of its own";
  }
  EXPECT_NEAR(value(simulate(""), "bytes:") / static_cast<double>(total), 0.1, 0.004);
  for (const string threads : {"2", "7", "'3;x'", "999999", "x"}) {
    EXPECT_EQ(simulate("-i 5 -t " + threads), simulate("-i 5 -t 1")) << threads;
  }
}

TEST(Estimate, FollowsFromTheTotals) {
  // Blocks, bytes read, original and compressed bytes, pairs, squared differences, what is skipped.
  constexpr std::uint64_t kSquares = kShareUnits * kShareUnits * 7 / 4;
  const SampleTotals usual = {100, 600, 900, 450, 50, kSquares, 1, 100, ""};
  EXPECT_DOUBLE_EQ(estimateRatio(usual).low, 1 / 0.532);
  EXPECT_DOUBLE_EQ(estimateRatio(usual).high, 1 / 0.468);
  EXPECT_DOUBLE_EQ(estimateRatio({100, 600, 1000, 10, 50, kSquares, 0, 0, ""}).high, INFINITY);
  EXPECT_DOUBLE_EQ(estimateRatio({100, 600, 1000, 999, 50, kSquares, 0, 0, ""}).low, 1.0);
  EXPECT_DOUBLE_EQ(estimateRatio({1, 7, 7, 5, 0, 0, 0, 0, ""}).high, 1.4);
}

TEST_F(Simulator, WhatCannotBeReadIsSkippedAndSaidWithItsWeight) {
  add("kept", 400000, 256);
  list += "400000 missing\n5 back\\\\slash\\n\n1 pipe\n1 link\n8192 shrunk\n";
  total = 808199;
  scratch.write("back\\slash\n", "12345");
  scratch.write("shrunk", string(8191, 'x'));
  scratch.run("mkfifo pipe; ln -s kept link");
  const string all = simulate("-r 1 -t 1"), said = "50.00 % of the data could not be read, as in ";
  EXPECT_TRUE(all.starts_with("kel_sim_test: " + said + "shrunk: shorter than listed\n")) << all;
  EXPECT_TRUE(value(all, "bytes:") == 404101 && value(all, "skipped:") == 101) << all;
}

TEST_F(Simulator, AFailureLeavesAMessageAndNoResult) {
  // The message alone, without the usage that some end with.
  const auto complaint = [this](const string& options) {
    const std::regex failure("kel_sim_test: (.*?)(; usage: .* -l RESULT)?\nstatus 1\n");
    return std::regex_replace(simulate(options), failure, "$1");
  };
  add("file", 5, 1);
  for (const char* foreign : {"5 f", "5ff\n", "5 \n", "x f\n", "99999999999999999999 f\n"}) {
    scratch.write("foreign", string("5 file\n") + foreign);
    EXPECT_EQ(complaint("-f foreign"), "not a list of files") << foreign;
  }
  EXPECT_EQ(complaint("-f /dev/null"), "no data to sample in /dev/null");
  for (const string bad : {"-s 0", "-s 4k", "-r 0", "-r 1.01", "-r nan", "-r .5x", "-o 1e9"}) {
    const string option = bad.substr(0, 2), text = bad.substr(3);
    EXPECT_EQ(complaint(bad), "option " + option + " cannot be \"" + text + "\"");
  }
  EXPECT_EQ(complaint("-o -i 0"), "no total size: the survey left no figures");
  const char* noSize = "; kel_sim_test -f list -r 1 -j 1 -t 1 -o 5 -i 0 -l result stray";
  for (const char* bad : {"-x", "-l", "stray", noSize}) {
    EXPECT_TRUE(complaint(bad).ends_with("every option must be given, and nothing else")) << bad;
  }
}

TEST_F(Simulator, AndSurveyShowTheirProgressOnATerminal) {
  EXPECT_EQ(progressText(0.25, 120.0), "25.0 % done, 6.0 min left");
  scratch.write("tree/file", "12345");
  const auto onTerminal = [this](const string& command) {
    return scratch.run("script -qec '" + command + " >/dev/null' /dev/null");
  };
  if (!onTerminal("tty").empty()) GTEST_SKIP() << "no terminal can be had";
  const string simulator = "kel_sim_test -s 4 -r 1 -j 1 -t 1 -o 5 -i 0 -l r -f " + kList;
  EXPECT_EQ(onTerminal("kel_evaluation_tool tree a"),
            "\33[J\0337\33[?7l [files: 1, size: 0.0 GiB]\33[?7h\0338\33[J");
  EXPECT_EQ(onTerminal(simulator),
            "\33[J\0337\33[?7l [100.0 % done, 0.0 min left]\33[?7h\0338\33[J");
  EXPECT_TRUE(onTerminal(simulator + " -x").starts_with("\33[Jkel_sim_test: "));
}

}  // namespace
