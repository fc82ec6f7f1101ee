#include <zstd.h>

#include <cmath>
#include <random>

#include "scratch.h"

struct Simulator : testing::Test {
  // The fewer different bytes, the better they compress; 256 do not at all.
  string bytes(std::size_t length, unsigned different) {
    string content(length, '\0');
    for (char& byte : content) byte = static_cast<char>(random() / 256 % different);
    return content;
  }
  void add(const string& name, const string& content) {
    scratch.write(name, content);
    addToList(name, content.size());
  }
  void addToList(const string& name, std::size_t length) {
    list += std::to_string(length) + " " + name + '\0';
    total += length;
    scratch.write("list", list);
  }

  // What is told and the result; later options replace the usual ones.
  string simulate(const string& options) const {
    scratch.write("result", "EARLIER");
    const string usual = "kel_sim_test -f list -s 4 -r 0.1 -j 8 -t 2 -i 0 -l result";
    const string told = scratch.run(usual + " -o " + std::to_string(total) + " " + options);
    return told + scratch.read("result");
  }

  std::minstd_rand random{1};
  Scratch scratch;
  string list;
  std::uint64_t total = 0;
};

TEST_F(Simulator, ReadsEverythingWhenAskedOrWhenThereIsLittle) {
  const string text = bytes(4096, 9);  // which other levels shrink to another length
  string shrunk(5000, '\0');
  const std::size_t stored = 61440 + ZSTD_compress(shrunk.data(), 5000, text.data(), 4096, 1);
  add("file", bytes(61440, 256) + text);
  add("empty", "");
  const string told = simulate("-i 7 -j 1 -o 70000");  // 16 times the fewest blocks
  EXPECT_EQ(replaced(told, "1\\.0\\d+", "R"),
            R"(The data alone, in blocks of 4 KiB at zstd level 1: )"
            R"(ratio R, exact: all that was found was read.
part 7: detection finished ratio: R blocks: 16 bytes: 65536 95%: R to R skipped: 0 )"
            "unread: 0.0000 of: 70000\n");
  EXPECT_NEAR(numberBehind(told, "finished ratio:"), 65536.0 / double(stored), 0.0001);
  const string command = "kel_sim_test -f list -s 4 -r 1 -j 1 -t 8 -o 9 -i 0 -l result";
  scratch.runIn("0.8", "pread64:delay_exit=100000", command);  // of 1.6 s one after another
  add("one byte more", "x");
  EXPECT_NE(simulate("-j 1").find(", 95 % sure of at least 1.00, from 3 blocks, "), string::npos)
      << "two by -j, and one that holds the byte";
}

TEST_F(Simulator, ReadsTheAskedShareAndKnowsItsError) {
  for (int i = 0; i < 1500; ++i) {
    add(std::to_string(i), bytes(200 + random() % 3000, i % 2 == 0 ? 9 : 256));
  }
  add("large", bytes(2000000, 256));
  const double exact = numberBehind(simulate("-r 1"), "finished ratio:");
  double squares = 0.0, width = 0.0;
  for (int part = 0; part < 30; ++part) {
    const string told = simulate("-i " + std::to_string(part));
    const double low = numberBehind(told, "95%:"), high = numberBehind(told, "to");
    width += (high - low) / 2 / 30;
    squares += std::pow(numberBehind(told, "finished ratio:") - exact, 2) / 30;
    EXPECT_NEAR(numberBehind(told, "between"), low - 0.005, 0.005) << "rounded down: " << told;
    EXPECT_NEAR(numberBehind(told, "and"), high + 0.005, 0.005) << "rounded up: " << told;
  }
  // Half of the interval is 2 usual errors by the formula, and what stands for rare content.
  EXPECT_NEAR(width / std::sqrt(squares), 2.1, 0.1);
  // Blocks of 16 KiB are picked by more than one stratum, and stand for all of them.
  EXPECT_NEAR(numberBehind(simulate("-s 16 -j 1 -r 0.9"), "finished ratio:"), exact, 0.02);
  EXPECT_NEAR(numberBehind(simulate("-r 0"), "blocks:"), 12, 5) << "one or two for each of 8";
  fs::resize_file(scratch.write("sparse", ""), 40 << 20);
  addToList("sparse", 40 << 20);
  // Never more than 4096 times the fewest, of which neighbours pick the same some 200 times.
  EXPECT_NEAR(numberBehind(simulate("-s 1 -j 1 -r 0.001 -o 99999999999"), "blocks:"), 3900, 195);
  EXPECT_EQ(numberBehind(simulate("-s 1 -j 1 -r 1"), "bytes:"), total) << "when asked for all";
}

TEST_F(Simulator, WhatCannotBeReadIsSaidWithTheWeightOfWhatItStandsFor) {
  scratch.write("target", string(800, 'x'));
  scratch.run("mkfifo pipe; ln -s target link");
  for (int i = 0; i < 1500; ++i) {
    add("kept", bytes(400, 256));
    if (i == 750) addToList("kept", 8192);  // neither the first nor the last that is skipped
    addToList(i % 3 == 0 ? "missing" : i % 3 == 1 ? "pipe" : "link", 800);
  }
  const string told = simulate("");
  // All that is read is incompressible, so only the 2.25 for rare content leave an error: 3 / n. A
  // pair of which one was skipped tells nothing.
  EXPECT_NEAR(numberBehind(told, "to"), 1 / (1 - 3 / numberBehind(told, "1.0000 blocks:")), 0.0001);
  // Two blocks are of 8192 bytes: (1500 * 800 + 8192) / (1500 * 1200 + 8192) is 0.668.
  EXPECT_NEAR(numberBehind(told, "unread:"), 0.668, 0.06);
  for (const string threads : {"0", "1", "7", "'3;x'", "999999"})
    EXPECT_EQ(simulate("-t " + threads), told) << threads;
  const string all = simulate("-r 1");
  const string weight = "ratio 1.00; 66.8 % of the data found could not be read (blocks: 1502, ";
  EXPECT_NE(all.find(weight + "such as kept: shorter than at the survey): "), string::npos) << all;
  EXPECT_NE(all.find("status 2\n"), string::npos) << all;
}

TEST_F(Simulator, AFailureIsToldAndLeavesNoFalseResult) {
  add("file", "bytes");
  scratch.run(R"(printf '18446744073709551615 f\0001 f\0' >huge; printf '5 file' >cut)");
  // The options, the start of what is told, and the result that is left.
  const Row rows[] = {
      {"a stray word", "x", "usage: kel_sim_test -f LIST -s KIB", "EARLIER"},
      {"an empty size", "-o -i 0", "no total size: the survey left", "EARLIER"},
      {"the result comes first", "-f no -l no/r", "cannot write no/r in the working", "EARLIER"},
      {"a unit", "-s 4k", "option -s must be a whole number from 1 to 65536, not \"4k\""},
      {"beyond 64 bits", "-f huge", "the sizes add up to more"},
      {"the last NUL is missing", "-f cut", "not a list of files"},
  };
  for (const Row& row : rows) {
    const string all = simulate(row.given);
    EXPECT_TRUE(all.starts_with("kel_sim_test: " + row.told)) << row.why << ": " << all;
    EXPECT_TRUE(all.ends_with("\nstatus 1\n" + row.also)) << row.why << ": " << all;
  }
}
