#include <zstd.h>

#include <map>
#include <random>

#include "scratch.h"
#include "simulator/sample.h"

namespace {

const std::string kUsage =
    "; usage: kel_sim_test -f LIST -s KIB -r FRACTION -j FEWEST -t THREADS -o TOTAL -i PART -l "
    "RESULT\n";

// The number behind a name in the finished line.
double value(const std::string& line, const std::string& name) {
  const std::size_t start = line.find(name + " ");
  return start == std::string::npos ? -1 : std::stod(line.substr(start + name.size()));
}

struct Simulator : testing::Test {
  // The fewer different bytes, the better they compress; 256 do not at all.
  void add(const std::string& name, std::size_t length, unsigned differentBytes) {
    std::string bytes(length, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() / 256 % differentBytes);
    scratch.write("data/" + name, bytes);
    list += std::to_string(length) + " data/" + name + "\n";
    total += length;
  }

  // Options given later replace those given before.
  Outcome simulate(const std::string& options) const {
    scratch.write("list", list);
    return scratch.run("kel_sim_test -f list -s 4 -r 0.1 -j 8 -t 2 -i 0 -l result -o " +
                       std::to_string(total) + " " + options);
  }
  std::string finishedLine(const std::string& options) const {
    EXPECT_EQ(simulate(options).errors, "") << options;
    return scratch.read("result");
  }

  std::minstd_rand random{1};
  Scratch scratch;
  std::string list;
  std::uint64_t total = 0;
};

TEST_F(Simulator, ReadsEverythingWhenAskedOrWhenThereIsLittle) {
  const std::string zeros(4096, '\0');
  std::string out(zeros.size(), '\0');
  const std::size_t kept = ZSTD_compress(out.data(), out.size(), zeros.data(), zeros.size(), 1);
  add("incompressible", 61441, 256);
  add("empty", 0, 1);
  add("zeros", zeros.size(), 1);
  char ratio[16];
  std::snprintf(ratio, sizeof ratio, "%.4f", 65537.0 / static_cast<double>(61441 + kept));
  const std::string all = std::string("part 7: detection finished ratio: ") + ratio +
                          " blocks: 17 bytes: 65537 95%: " + ratio + " to " + ratio +
                          " skipped: 0\n";
  for (const char* options : {"-r 1 -j 1", "-j 9", "-j 1 -o 999999999"}) {
    EXPECT_EQ(finishedLine(std::string("-i 7 ") + options), all) << options;
  }
  EXPECT_LT(value(finishedLine("-j 8"), "bytes:"), 65537);
  EXPECT_EQ(value(finishedLine("-r 1 -s 8"), "blocks:"), 9);
}

TEST_F(Simulator, TheIntervalHoldsTheExhaustiveRatio) {
  for (int i = 0; i < 1500; ++i) add("small" + std::to_string(i), 200 + random() % 3000, 9);
  for (int i = 0; i < 5; ++i) add("large" + std::to_string(i), 400000, 256);
  const double exact = value(finishedLine("-r 1"), "ratio:");
  double mean = 0.0;
  int held = 0;
  for (int part = 0; part < 30; ++part) {
    const std::string line = finishedLine("-i " + std::to_string(part));
    const double low = value(line, "95%:"), high = value(line, "to");
    EXPECT_NEAR(value(line, "bytes:"), 0.1 * static_cast<double>(total), 20000) << line;
    EXPECT_LT(high - low, 0.1) << line;
    held += low <= exact && exact <= high ? 1 : 0;
    mean += value(line, "ratio:") / 30;
  }
  EXPECT_GE(held, 27);
  EXPECT_NEAR(mean, exact, 0.01);
  const std::string line = finishedLine("-i 5 -t 1");
  for (const char* threads : {"2", "7", "'3;x'", "999999", "x"}) {
    EXPECT_EQ(finishedLine(std::string("-i 5 -t ") + threads), line) << threads;
  }
  EXPECT_NEAR(value(finishedLine("-r 0.0001 -j 200"), "blocks:"), 300, 100);
}

TEST_F(Simulator, EveryBlockStandsForItsOwnLengthOnAverage) {
  const auto nameOf = [](const Block& b) { return b.path + " " + std::to_string(b.offset); };
  for (const char* size : {"1000", "30", "250", "0", "99", "150", "20", "21", "600", "100"}) {
    list.append(size).append(" ").append(size).append("\n");
    total += std::stoul(size);
  }
  const std::string name = scratch.write("list", list);
  constexpr unsigned kParts = 10000;
  for (const double fraction : {0.2, 0.5, 0.8}) {
    std::map<std::string, double> stoodFor;  // in lengths of the block
    for (unsigned part = 0; part < kParts; ++part) {
      Sample sample({name, 100, fraction, 1, 1, total, part, ""});
      for (auto pair = sample.nextPair(); !pair.empty(); pair = sample.nextPair()) {
        for (const Block& block : pair) {
          stoodFor[nameOf(block)] +=
              static_cast<double>(block.standsFor) / static_cast<double>(block.length);
        }
      }
    }
    EXPECT_EQ(stoodFor.size(), 26U);
    for (const auto& [block, sum] : stoodFor) {
      EXPECT_NEAR(sum / kParts, 1.0, 0.2) << "block " << block << ", fraction " << fraction;
    }
  }
}

TEST_F(Simulator, WhatCannotBeReadIsSkippedAndSaidWithItsWeight) {
  add("kept", 9000, 256);
  list += "5 data/back\\\\slash\\n\n";
  scratch.write("data/back\\slash\n", "12345");
  add("shrunk", 8192, 256);
  for (const char* name : {"gone", "pipe", "folder", "link"}) add(name, 1, 1);
  const Outcome run = simulate(
      "-r 1 -t 1; echo $?; cd data; truncate -s 8191 shrunk; rm gone pipe folder link;"
      "mkfifo pipe; mkdir folder; ln -s kept link; cd ..; kel_sim_test -f list -s 4 -r 1"
      " -j 8 -t 1 -o 17196 -i 0 -l result; echo $?");
  EXPECT_EQ(run.output, "0\n2\n");
  EXPECT_EQ(run.errors,
            "kel_sim_test: 23.84 % of the data could not be read, as in data/link: "
            "Too many levels of symbolic links\n");
  EXPECT_EQ(value(scratch.read("result"), "bytes:"), 13101);
  EXPECT_EQ(value(scratch.read("result"), "skipped:"), 5);
}

TEST_F(Simulator, AFailureLeavesAMessageAndNoResult) {
  add("file", 5, 1);
  const auto expect = [&](const std::string& options, const std::string& message) {
    scratch.write("result", "an earlier run's");
    const Outcome run = simulate(options);
    EXPECT_EQ(run.status, 1) << options;
    EXPECT_EQ(run.errors, "kel_sim_test: " + message) << options;
    EXPECT_FALSE(scratch.has("result")) << options;
  };
  for (const char* foreign : {"5 f", "5f\n", "5 \n", "x f\n", "99999999999999999999 f\n"}) {
    scratch.write("foreign", std::string("5 data/file\n") + foreign);
    expect("-f foreign", "not a list of files\n");
  }
  scratch.write("zero", "0 data/file\n");
  expect("-f zero", "no data to sample in zero\n");
  expect("-f nothing", "cannot open nothing: No such file or directory\n");
  expect("-f data", "cannot read the list of files: Is a directory\n");
  for (const char* wrong : {"-s 0", "-s 4k", "-r 0", "-r 1.01", "-r nan", "-j 0", "-o 1e9"}) {
    expect(wrong,
           std::string("option ").append(wrong, 2) + " cannot be \"" + (wrong + 3) + "\"" + kUsage);
  }
  expect("-o -i 0", "no total size: the survey left no figures\n");
  for (const char* wrong : {"-x", "-l", "stray"}) {
    expect(wrong, "every option must be given, and nothing else" + kUsage);
  }
}

TEST_F(Simulator, ShowsProgressOnATerminalOnly) {
  EXPECT_EQ(progressText(0.25, 120.0), "25.0 % done, 6.0 min left");
  if (scratch.runOnTerminal("true").status != 0) GTEST_SKIP() << "no terminal can be had here";
  scratch.write("file", "1");
  scratch.write("list", "1 file\n");
  EXPECT_EQ(scratch.runOnTerminal("kel_sim_test -f list -s 4 -r 1 -j 1 -t 1 -o 1 -i 0 -l r").output,
            "\33[J\0337\33[?7l100.0 % done, 0.0 min left\33[?7h\0338\33[J");
}

}  // namespace
