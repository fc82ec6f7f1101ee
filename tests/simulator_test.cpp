// The simulator over files that the tests make, mostly of content such that what it must tell does
// not depend on which blocks it draws.

#include <zstd.h>

#include <cmath>
#include <random>
#include <set>

#include "scratch.h"

struct Simulator : testing::Test {
  // Random bytes. Of few different ones they compress well, of all 256 not at all.
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
  }

  // What is told, then the result. Later options replace these: blocks of 1 KiB, at least 32.
  string simulate(const string& options) const {
    scratch.write("list", list);
    scratch.write("result", "EARLIER");
    const string usual = "kel_sim_test -f list -s 1 -r 0 -j 32 -t 2 -i 0 -l result -o ";
    const string told = scratch.run(usual + std::to_string(total) + " " + options);
    return told + scratch.read("result");
  }

  std::minstd_rand random{1};
  const Scratch scratch;
  string list;
  std::uint64_t total = 0;
};

TEST_F(Simulator, ReadsAsManyBlocksAsAsked) {
  fs::resize_file(scratch.write("zeros", ""), 8 << 20);
  addToList("zeros", 8 << 20);
  const auto blocks = [&](const string& asked) { return numberBehind(simulate(asked), "blocks:"); };
  EXPECT_EQ(blocks("-j 8 -r 0.125"), 1024) << "an eighth of 8192 blocks";
  EXPECT_EQ(blocks("-j 8 -r 0.125 -o 16777216"), 2048) << "of 16 MiB, though there are 8";
  EXPECT_EQ(blocks("-j 8 -r 0.5 -o 99999999"), 8192) << "no more than there are";
  EXPECT_EQ(blocks("-j 8 -r 0"), 16) << "twice the fewest";
  EXPECT_EQ(blocks("-j 1 -r 0.9"), 4096) << "at most so many times the fewest";
  EXPECT_EQ(blocks("-j 512 -r 0.125"), 8192) << "all when they are 16 times the fewest";
  EXPECT_EQ(blocks("-j 511 -r 0.125"), 1024) << "but not when they are more";
  if (!scratch.canTrace()) GTEST_SKIP() << "cannot trace here";
  const string eight = "kel_sim_test -f list -s 1 -r 0 -j 1 -t 8 -o 1 -i 0 -l result";
  const string late = "-e inject=pread64:delay_enter=300000";  // microseconds
  EXPECT_NEAR(scratch.threadsOf(late, eight), 8, 1) << "ThreadSanitizer has a thread of its own";
}

TEST_F(Simulator, KnowsItsErrorToTheLastDigit) {
  // 64 strata of 16 blocks, in turn of random bytes and of a text, so that, whatever is drawn, half
  // of the blocks are of each kind and all neighbours differ.
  const string text = bytes(1024, 9);
  string data, room(2048, '\0');
  for (int i = 0; i < 64 * 16; ++i) data += i / 16 % 2 == 0 ? bytes(1024, 256) : text;
  add("empty", "");
  add("data", data);
  // Level 1; others shrink the text to another length.
  const double shrunk = double(ZSTD_compress(room.data(), 2048, text.data(), 1024, 1)) / 1024;
  const double share = (1 + shrunk) / 2;
  // Twice the usual error of 64 blocks. Their variance is half the squared difference of
  // neighbours, and 2.25 / 64 for content too rare to be seen.
  const double error = 2 * std::sqrt((std::pow(1 - shrunk, 2) / 2 + 2.25 / 64) / 64);
  const string told = simulate("-r 0");
  EXPECT_NEAR(numberBehind(told, "finished ratio:"), 1 / share, 0.00005) << told;
  EXPECT_NEAR(numberBehind(told, "95%:"), 1 / (share + error), 0.00005) << told;
  EXPECT_NEAR(numberBehind(told, "to"), 1 / (share - error), 0.00005) << told;
  const string two = simulate("-j 1"), all = simulate("-r 1");
  EXPECT_NE(two.find(", 95 % sure of at least 1.00, from 2 blocks, all of them readable.\n"),
            string::npos)
      << "their error is more than 1: " << two;
  EXPECT_NE(all.find(", exact: all that was found was read.\n"), string::npos) << all;
}

TEST_F(Simulator, IsRightOnAverageByTheErrorThatItTells) {
  for (int i = 0; i < 400; ++i)
    add(std::to_string(i), bytes(200 + random() % 3000, i % 2 == 0 ? 9 : 256));
  add("large", bytes(600000, 256));
  const double exact = 1 / numberBehind(simulate("-s 4 -r 1"), "finished ratio:");
  double off = 0, squaredErrors = 0, read = 0;
  std::set<double> shares;
  for (int part = 0; part < 40; ++part) {
    const string told = simulate("-s 4 -j 8 -r 0.1 -i " + std::to_string(part));
    const double share = 1 / numberBehind(told, "finished ratio:");
    const double low = numberBehind(told, "95%:"), high = numberBehind(told, "to");
    // Outwards to two decimals from what was then rounded to four.
    EXPECT_NEAR(numberBehind(told, "between"), low - 0.005, 0.00506) << told;
    EXPECT_NEAR(numberBehind(told, "and"), high + 0.005, 0.00506) << told;
    off += share - exact;
    squaredErrors += std::pow((share - 1 / high) / 2, 2);
    read += numberBehind(told, "bytes:") / double(total) / 40;
    shares.insert(share);
  }
  EXPECT_LE(std::abs(off), 5 * std::sqrt(squaredErrors)) << "by chance 1 in a million";
  EXPECT_NEAR(read, 0.1, 0.005) << "the mean of 40 is usually off by 0.001";
  EXPECT_GT(shares.size(), 20) << "each part is another sample";
}

TEST_F(Simulator, WhatCannotBeReadIsSaidWithTheWeightOfWhatItStandsFor) {
  // The tape, a device that hands over as many zeros as one likes, only where root runs this.
  scratch.run("mkfifo pipe; ln -s list link; echo >short; mknod tape c 1 5");
  // 64 strata of 16 KiB, in turn of random bytes and of small files that cannot be read. A pair of
  // which one was skipped tells nothing, so only rare content leaves an error, 2 * sqrt(2.25) / 32.
  const string bad[] = {"missing", "pipe", "link", "short", "tape"};
  for (int i = 0; i < 32; ++i) {
    add("read", bytes(16384, 256));
    for (int file = 0; file < 32; ++file) addToList(bad[i % 5], 512);
  }
  const string start = "The data alone, in blocks of 1 KiB at zstd level 1: ratio 1.00";
  const string told = simulate("");
  EXPECT_EQ(told, start + R"(, 95 % sure between 1.00 and 1.11, from 32 blocks; 50.0 % of the )"
                          R"(data found could not be read (blocks: 32, such as link: )"
                          R"(Too many levels of symbolic links): the ratio speaks for the rest only.
status 2
part 0: detection finished ratio: 1.0000 blocks: 32 bytes: 32768 95%: 1.0000 to 1.1034 )"
                          R"(skipped: 32 unread: 0.5000 of: 1048576
)");
  for (const string threads : {"0", "1", "7", "'3;x'", "999999"})
    EXPECT_EQ(simulate("-t " + threads), told) << threads;
  const auto ofAll = [&](std::size_t read, std::size_t missing) {
    list.clear();
    add("read", bytes(read, 256));
    addToList("missing", missing);
    return simulate("-r 1").substr(start.size(), 17);
  };
  EXPECT_EQ(ofAll(9999, 1), "; less than 0.1 %");
  EXPECT_EQ(ofAll(1, 9999), "; more than 99.9 ");
}

TEST_F(Simulator, AFailureIsToldAndLeavesNoFalseResult) {
  scratch.write("short", "bytes");
  addToList("short", 50);
  scratch.run(R"(printf '18446744073709551615 f\0001 f\0' >huge; printf '5 short' >cut; >none)");
  EXPECT_EQ(simulate("-r 1 >&- 2>&-"), "status 1\n") << "nowhere to tell";
  const struct {
    string why, options, told, left = {};
  } rows[] = {
      {.why = "a stray word", .options = "x", .told = "usage: kel_sim_", .left = "EARLIER"},
      {.why = "an empty size", .options = "-o -i 0", .told = "no total size", .left = "EARLIER"},
      {.why = "result first", .options = "-f no -l /no/r", .told = "cannot wr", .left = "EARLIER"},
      {.why = "a unit", .options = "-s 4k", .told = "option -s must be a whole number from 1 to"},
      {.why = "beyond 64 bits", .options = "-f huge", .told = "the sizes add up to more than 64"},
      {.why = "the last NUL is missing", .options = "-f cut", .told = "not a list of files: cut"},
      {.why = "no data", .options = "-f none", .told = "no data to sample in none"},
      {.why = "all of it shrank", .options = "", .told = "nothing could be read, such as short: s"},
  };
  for (const auto& row : rows) {
    const string all = simulate(row.options);
    EXPECT_TRUE(all.starts_with("kel_sim_test: " + row.told)) << row.why << ": " << all;
    EXPECT_TRUE(all.ends_with("\nstatus 1\n" + row.left)) << row.why << ": " << all;
  }
}
