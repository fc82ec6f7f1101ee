#include <zstd.h>

#include <cmath>

#include "scratch.h"
#include "simulator/compression.h"

namespace {

double numberBehind(const string& text, const string& name) {
  return std::stod(text.substr(text.find(name + " ") + name.size()));
}

struct Simulator : testing::Test {
  // The fewer different bytes, the better they compress; 256 do not at all.
  void add(const string& name, std::size_t length, unsigned differentBytes) {
    string bytes(length, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() / 256 % differentBytes);
    scratch.write(name, bytes);
    addToList(name, length);
  }
  void addToList(const string& name, std::size_t length) {
    list += std::to_string(length) + " " + name + '\0';
    total += length;
  }

  // What is told and the result, of a tenth and at least 8 blocks of 4 KiB: later options replace
  // these. Few descriptors, so that a leak shows.
  string simulate(const string& options) const {
    scratch.write("list", list);
    scratch.write("result", "EARLIER");
    const string usual = "ulimit -n 64; kel_sim_test -f list -s 4 -r 0.1 -j 8 -t 2 -i 0 -l result";
    const string told = scratch.run(usual + " -o " + std::to_string(total) + " " + options);
    return told + scratch.read("result");
  }

  std::minstd_rand random{1};
  Scratch scratch;
  string list;
  std::uint64_t total = 0;
};

TEST_F(Simulator, ReadsEverythingWhenAskedOrWhenThereIsLittle) {
  add("incompressible", 61440, 256);
  add("empty", 0, 1);
  string text, shrunk(5000, '\0');  // that level 3 shrinks further than level 1
  while (text.size() < 4096) text += "word " + std::to_string(random() % 300) + ", ";
  addToList(scratch.write("text", text.substr(0, 4096)).filename(), 4096);
  const std::size_t stored = 61440 + ZSTD_compress(shrunk.data(), 5000, text.data(), 4096, 1);
  scratch.run("touch -ad 2001-01-01 text");
  const string told = simulate("-i 7 -j 1");  // 16 times the fewest blocks
  EXPECT_EQ(
      replaced(told, "1\\.0\\d+", "R"),
      "The data alone, in blocks of 4 KiB at zstd level 1: ratio R, exact: all that was found "
      "was read.\npart 7: detection finished ratio: R blocks: 16 bytes: 65536 95%: R to R "
      "skipped: 0\n");
  EXPECT_NEAR(numberBehind(told, "finished ratio:"), 65536.0 / double(stored), 0.0001);
  EXPECT_EQ(scratch.run("find text -newerat 2001-01-02"), "") << "the access time stays";
  add("one byte more", 1, 1);
  for (const string asked : {"-r 1 -o 1", "-r 0.1 -o 655370"}) {  // all; a tenth of ten times more
    EXPECT_EQ(numberBehind(simulate("-j 1 " + asked), "bytes:"), 65537) << asked;
  }
  const string few = simulate("-j 1"),
               sentence = ", 95 % sure of at least 1.00, from 3 blocks, all ";
  EXPECT_NE(few.find(sentence), string::npos) << "two by -j, and one that holds the byte" << few;
}

TEST_F(Simulator, TheIntervalHoldsTheExhaustiveRatio) {
  for (int i = 0; i < 1500; ++i) add(std::to_string(i), 200 + random() % 3000, i % 2 ? 256 : 9);
  add("large", 2000000, 256);
  const double exact = numberBehind(simulate("-r 1"), "finished ratio:");
  double squares = 0.0, width = 0.0, held = 0.0;
  for (int part = 0; part < 30; ++part) {
    const string line = simulate("-i " + std::to_string(part));
    held += numberBehind(line, "95%:") <= exact && exact <= numberBehind(line, "to") ? 1 : 0;
    width += (numberBehind(line, "to") - numberBehind(line, "95%:")) / 2 / 30;
    squares += std::pow(numberBehind(line, "finished ratio:") - exact, 2) / 30;
  }
  EXPECT_GE(held, 27) << "nine in ten, since 30 parts are few";
  // Half of it is 2 usual errors by the formula, and what stands for rare content.
  EXPECT_NEAR(width / std::sqrt(squares), 2.1, 0.1);
  // Blocks of 16 KiB are picked by more than one stratum, and stand for all of them.
  EXPECT_NEAR(numberBehind(simulate("-s 16 -j 1 -r 0.9"), "finished ratio:"), exact, 0.02);
}

TEST_F(Simulator, ReadsTheAskedShareInAnyNumberOfThreads) {
  for (int i = 0; i < 999; ++i) add(std::to_string(i), 200 + random() % 3000, 9);
  EXPECT_NEAR(numberBehind(simulate(""), "bytes:") / double(total), 0.1, 0.01);
  EXPECT_NEAR(numberBehind(simulate("-r 0.0001"), "blocks:"), 12, 5) << "one or two for each of 8";
  const string one = simulate("-t 1");
  for (const string many : {"0", "7", "'3;x'", "999999"})
    EXPECT_EQ(simulate("-t " + many), one) << many;
}

TEST_F(Simulator, ReadsNoMoreThan4096TimesTheFewestBlocks) {
  fs::resize_file(scratch.write("sparse", ""), 40 << 20);  // 40960 blocks of 1 KiB
  addToList("sparse", 40 << 20);
  EXPECT_NEAR(numberBehind(simulate("-s 1 -j 1 -r 0.9"), "blocks:"), 3950, 146) << "some twice";
  EXPECT_NEAR(numberBehind(simulate("-s 1 -j 1 -r 0.05"), "blocks:"), 2048, 60) << "a twentieth";
  EXPECT_EQ(numberBehind(simulate("-s 1 -j 1 -r 1"), "blocks:"), 40960) << "when asked for all";
}

TEST_F(Simulator, WhatCannotBeReadIsSaidWithTheWeightOfWhatItStandsFor) {
  scratch.run("mkfifo pipe");
  for (int i = 0; i < 1500; ++i) {
    add("kept", 400, 256);
    addToList(i % 2 == 0 ? "missing" : "pipe", 800);
  }
  const string told = simulate(""), line = told.substr(told.find("part 0"));
  EXPECT_NEAR(numberBehind(told, ";"), 66.7, 5) << "per cent, 800 bytes of 1200";
  // All that is read is incompressible, so only the 2.25 for rare content leave an error: 3 / n.
  EXPECT_NEAR(numberBehind(line, "to"), 1 / (1 - 3 / numberBehind(line, "blocks:")), 0.0001)
      << "a pair of which one was skipped tells nothing";
  EXPECT_EQ(simulate("-t 7"), told) << "with the same example";
  addToList("kept", 8192);
  const string all = simulate("-r 1"),
               cause = "1502, such as kept: shorter than at the survey): the ";
  EXPECT_NE(all.find("ratio 1.00; 66.8 % of the data found could not be read (blocks: " + cause),
            string::npos)
      << all;
}

TEST_F(Simulator, AFailureIsToldAndLeavesNoFalseResult) {
  add("file", 5, 1);
  scratch.run(R"(printf '9223372036854775807 f\0' >half; cat half half >huge; cat huge half >huger;
                 printf '5 file' >cut)");
  const auto fail = [this](const std::vector<Row>& rows, const string& result) {
    for (const Row& row : rows) {
      const string all = simulate(row.given);
      EXPECT_TRUE(all.starts_with("kel_sim_test: " + row.told)) << row.why << ": " << all;
      EXPECT_TRUE(all.ends_with("\nstatus 1\n" + result)) << row.why << ": " << all;
    }
  };
  const string size = "option -s must be a whole number from 1 to 65536, not \"4k\"\n";
  const string share = "option -r must be above 0 and at most 1, not \"";
  fail({{.why = "a stray word", .given = "x", .told = "usage: kel_sim_test -f LIST -s KIB"},
        {.why = "no value", .given = "-j ''", .told = "option -j is missing; usage: kel_sim"},
        {.why = "an empty size", .given = "-o -i 0", .told = "no total size: the survey left"},
        {.why = "before the list", .given = "-f no -l no/r", .told = "cannot write no/r in the w"}},
       "EARLIER");
  fail(
      {{.why = "a unit", .given = "-s 4k", .told = size},
       {.why = "no share", .given = "-r 0", .told = share + "0"},
       {.why = "not decimal", .given = "-r ' 0x1p-1'", .told = share + " 0x1p-1"},
       {.why = "2^64 - 2", .given = "-f huge -r 1e-12", .told = "nothing could be read, such as f"},
       {.why = "beyond 64 bits", .given = "-f huger", .told = "the sizes add up to more"},
       {.why = "the last NUL is missing", .given = "-f cut", .told = "not a list of files"}},
      "");
}

TEST_F(Simulator, WritesItsResultAsAShellWould) {
  add("file", 5, 1);
  scratch.run("mkfifo pipe; ln -s /proc/self/fd/1 output");
  const string told = simulate("-l pipe & cat pipe; wait; test -p pipe");
  EXPECT_TRUE(told.ends_with(" bytes: 5 95%: 1.0000 to 1.0000 skipped: 0\nEARLIER")) << told;
  EXPECT_EQ(simulate("-l output"), told) << "standard output and the result are one file";
}

TEST_F(Simulator, ExpectsThreeTimesAsLongAfterAQuarter) {
  EXPECT_EQ(progressText(0.25, std::chrono::seconds(3723)), "25.0 % done, 3:06:09 left");
}

}  // namespace
