// The simulator over files whose content mostly decides what it must tell, whatever it draws.

#include <zstd.h>

#include <cmath>
#include <random>
#include <vector>

#include "scratch.h"

struct Simulator : Scratch {
  // Random bytes. Of few different ones they compress well, of all 256 not at all.
  string bytes(std::size_t length, unsigned different) {
    string content(length, '\0');
    for (char& byte : content) byte = static_cast<char>(random() / 256 % different);
    return content;
  }
  void addToList(const string& name, std::size_t length) {
    list += std::to_string(length) + " " + name + '\0';
    total += length;
  }
  // Nothing, then 64 times 16 KiB, in turn of random bytes and of small files of these names.
  void addInTurn(const std::vector<string>& names) {
    write("random", bytes(16384, 256));
    addToList("empty", 0);
    for (std::size_t i = 0; i < 32; ++i) {
      addToList("random", 16384);
      for (int file = 0; file < 32; ++file) addToList(names[i % names.size()], 512);
    }
  }

  // What is told, then the result. Later options replace these: blocks of 1 KiB, at least 32 of
  // them, so that 64 are drawn.
  string simulate(const string& options) const {
    write("list", list);
    write("result", "EARLIER");
    const string usual = "kel_sim_test -f list -s 1 -r 0 -j 32 -t 2 -i 0 -l result -o ";
    const string told = run(usual + std::to_string(total) + " " + options);
    return told + read("result");
  }

  std::minstd_rand random{1};
  string list;
  std::uint64_t total = 0;
};

TEST_F(Simulator, ReadsAsManyBlocksAsAsked) {
  fs::resize_file(write("zeros", ""), 8 << 20);
  addToList("zeros", 8 << 20);
  const auto blocks = [&](const string& asked) { return numberBehind(simulate(asked), "blocks:"); };
  EXPECT_EQ(blocks("-j 8 -r 0.125"), 1024) << "an eighth of 8192 blocks";
  EXPECT_EQ(blocks("-j 8 -r 0.125 -o 16777216"), 2048) << "of 16 MiB, though 8 are listed";
  EXPECT_EQ(blocks("-j 8 -r -0.0"), 16) << "twice the fewest; zero has any sign";
  EXPECT_EQ(blocks("-j 1 -r 0.9"), 4096) << "at most 4096 times the fewest";
  EXPECT_NEAR(blocks("-j 2 -r 0.66"), 5025, 150) << "of 5406 some draw the same, read once";
  EXPECT_EQ(blocks("-j 512 -r 0.125"), 8192) << "all, as they are no more than 16 times the fewest";
  EXPECT_EQ(blocks("-j 511 -r 0.125"), 1024) << "an eighth, as they are more than that";
  if (!canTrace()) GTEST_SKIP() << "cannot trace here";
  const string eight = "kel_sim_test -f list -s 1 -r 0 -j 1 -t 8 -o 1 -i 0 -l result";
  const string late = "-e inject=pread64:delay_enter=300000";  // microseconds
  EXPECT_NEAR(threadsOf(late, eight), 8, 1) << "however late; ThreadSanitizer adds 1";
}

TEST_F(Simulator, KnowsItsErrorToTheLastDigit) {
  const string text = bytes(512, 9);
  write("text", text);
  addInTurn({"text"});
  // At level 1; all others make another length of it.
  string room(1024, '\0');
  const double shrunk = double(ZSTD_compress(room.data(), 1024, text.data(), 512, 1)) / 512;
  const double share = (1 + shrunk) / 2;  // each kind is half of the data; what grows counts as 1
  // Twice the standard error of 64 blocks. Their variance is half the squared difference of those
  // in neighbouring strata, and 2.25 / 64, alone an error of 3 / 64, for content too rare to see.
  const double error = 2 * std::sqrt((std::pow(1 - shrunk, 2) / 2 + 2.25 / 64) / 64);
  const string told = simulate("");
  EXPECT_NEAR(numberBehind(told, "finished ratio:"), 1 / share, 0.00005) << told;
  EXPECT_NEAR(numberBehind(told, "95%:"), 1 / (share + error), 0.00005) << told;
  EXPECT_NEAR(numberBehind(told, "to"), 1 / (share - error), 0.00005) << told;
  EXPECT_EQ(numberBehind(told, "between"), std::floor(100 / (share + error)) / 100) << told;
  // Half is in blocks of 1 KiB, half of 0.5: an eighth takes strata of 8 * 0.75 KiB, 170.7 of them.
  EXPECT_EQ(numberBehind(simulate("-j 8 -r 0.125"), "blocks:"), 171);
  EXPECT_TRUE(holds(simulate("-j 1"), ", 95 % sure of at least 1.00, from 2 blocks"));
  EXPECT_EQ(simulate(">&- 2>&-"), "status 1\n") << "a result that nobody was told of";
  // A file that does not compress like its head.
  list.clear();
  write("half", string(65536, '\0') + bytes(65536, 256));
  addToList("half", 131072);
  EXPECT_TRUE(holds(simulate("-r 1 -s 64"), "ratio 2.00, exact: all that was found was read.\n"));
}

TEST_F(Simulator, DrawsFromAllOfAStratum) {
  write("zeros", string(512, '\0'));
  addInTurn({"zeros"});
  // 32 strata, each half of random bytes and then half of zeros.
  double randoms = 0;
  for (int part = 0; part < 10; ++part) {
    const string told = simulate("-j 16 -i " + std::to_string(part));
    randoms += numberBehind(told, "bytes:") / 512 - 32;  // as their blocks are twice as long
  }
  EXPECT_NEAR(randoms, 160, 45) << "half of 320; 5 standard deviations, 1 in 3 million";
}

TEST_F(Simulator, WhatCannotBeReadIsSaidWithTheWeightOfWhatItStandsFor) {
  // Endless zeros are a device; for other users than root one more that is missing.
  run("mkfifo pipe; ln -s list link; echo >short; mknod zeros c 1 5");
  addInTurn({"missing", "pipe", "link", "short", "zeros"});
  // Pairs of which one was skipped leave only the error of content too rare to see, 2 * sqrt(2.25)
  // / 32 = 0.0938, so 1 / (1 - 0.0938) = 1.1034. Told is the first by its name, the link.
  const string told = simulate("");
  EXPECT_EQ(
      told,
      "The data alone, in blocks of 1 KiB at zstd level 1: ratio 1.00, 95 % sure between 1.00 "
      "and 1.11, from 32 blocks; 50.0 % of the data found could not be read (blocks: 32, such "
      "as link: Too many levels of symbolic links): the ratio speaks for the rest only.\n"
      "status 2\n"
      "part 0: detection finished ratio: 1.0000 blocks: 32 bytes: 32768 95%: 1.0000 to 1.1034 "
      "skipped: 32 unread: 0.5000 of: 1048576\n");
  for (const string threads : {"0", "1", "7", "'3;x'", "999999"})
    EXPECT_EQ(simulate("-t " + threads), told) << threads;
  list.clear();
  addToList("random", 9999);
  addToList("missing", 1);
  EXPECT_TRUE(holds(simulate("-r 1"), "; less than 0.1 % of the data found"));
  addToList("missing", 99999999);
  EXPECT_TRUE(holds(simulate("-r 1 -s 1024"), "; more than 99.9 % of the data found"));
}

TEST_F(Simulator, AFailureIsToldAndLeavesNoFalseResult) {
  write("short", "bytes");
  addToList("short", 50);
  run(R"(printf '18446744073709551615 f\0001 f\0' >huge; printf '5 short' >cut; >none)");
  const struct {
    string why, options, told, left = {};  // the earlier result stays while an option is missing
  } rows[] = {
      {.why = "a stray word", .options = "x", .told = "usage: kel_sim_", .left = "EARLIER"},
      {.why = "no total", .options = "-o -i 0", .told = "no total size", .left = "EARLIER"},
      {.why = "a unit", .options = "-s 4k", .told = "option -s must be a whole number from 1 to"},
      {.why = "beyond 64 bits", .options = "-f huge", .told = "the sizes add up to more than 64"},
      {.why = "the last NUL is missing", .options = "-f cut", .told = "not a list of files: cut"},
      {.why = "no data", .options = "-f none", .told = "no data to sample in none"},
      {.why = "a shorter file", .options = "", .told = "nothing could be read, such as short"},
  };
  for (const auto& row : rows) {
    const string all = simulate(row.options);
    EXPECT_TRUE(all.starts_with("kel_sim_test: " + row.told)) << row.why << ": " << all;
    EXPECT_TRUE(all.ends_with("\nstatus 1\n" + row.left)) << row.why << ": " << all;
  }
}
