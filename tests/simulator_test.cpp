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
  add("zeros", 4096, 1);
  // 16 times the fewest blocks; the last shrinks to some 20 bytes: 65536 / (61440 + 20) = 1.0663.
  EXPECT_EQ(replaced(simulate("-i 7 -j 1"), "(1.066)\\d", "$1"),
            R"(The data alone: ratio 1.07, everything listed was read.
part 7: detection finished ratio: 1.066 blocks: 16 bytes: 65536 95%: 1.066 to 1.066 skipped: 0
)");
  add("one byte more", 1, 1);
  for (const string asked : {"-r 1 -o 1", "-r 0.1 -o 655370"}) {  // all; a tenth of ten times more
    EXPECT_EQ(numberBehind(simulate("-j 1 " + asked), "bytes:"), 65537) << asked;
  }
  const string sentence = "95 % sure between 1.00 and inf, from 3 blocks, all of them readable.\n";
  EXPECT_NE(simulate("-j 1").find(sentence), string::npos) << "two, and one for the byte";
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
  EXPECT_NEAR(width / std::sqrt(squares), 2.1, 0.1) << "usual errors, some for rare content";
  // Blocks of 16 KiB are picked by more than one stratum, and stand for all of them.
  EXPECT_NEAR(numberBehind(simulate("-s 16 -j 1 -r 0.9"), "finished ratio:"), exact, 0.02);
}

TEST_F(Simulator, ReadsTheAskedShareInAnyNumberOfThreads) {
  for (int i = 0; i < 999; ++i) add(std::to_string(i), 200 + random() % 3000, 9);
  EXPECT_NEAR(numberBehind(simulate(""), "bytes:") / static_cast<double>(total), 0.1, 0.01);
  EXPECT_NEAR(numberBehind(simulate("-r 0.0001"), "blocks:"), 12.5, 4.5) << "from 8 to 17";
  const string one = simulate("-t 1");
  for (const string many : {"7", "'3;x'", "999999"}) EXPECT_EQ(simulate("-t " + many), one) << many;
}

TEST_F(Simulator, WhatCannotBeReadIsSaidWithTheWeightOfWhatItStandsFor) {
  add("kept", 1200000, 256);
  add("shrunk", 5000, 256);
  scratch.run("mkfifo pipe");
  for (int i = 0; i < 3000; ++i) addToList(i % 2 == 0 ? "missing" : "pipe", 400);
  EXPECT_NEAR(numberBehind(simulate(""), ";"), 50, 2) << "% of the data, in small files";
  addToList("shrunk", 8192);
  const string told = simulate("-r 1 -t 1"), cause = "3001, such as shrunk: shorter than listed";
  EXPECT_EQ(numberBehind(told, "bytes:"), 1200000 + 5000 + 4096) << "the first block of 8192 bytes";
  EXPECT_NE(told.find(cause + "): the ratio speaks for the rest only.\nstatus 2\n"), string::npos);
}

TEST_F(Simulator, AFailureIsToldAndLeavesNoFalseResult) {
  add("file", 5, 1);
  scratch.run(R"(printf '9223372036854775807 f\0' >half; cat half half >huge; cat huge half >huger;
                 printf '5 file' >cut; mkfifo pipe)");
  const auto fail = [this](const std::vector<Row>& rows, const string& result) {
    for (const Row& row : rows) {
      const string all = simulate(row.given);
      EXPECT_TRUE(all.starts_with("kel_sim_test: " + row.told)) << row.why << ": " << all;
      EXPECT_TRUE(all.ends_with("\nstatus 1\n" + result)) << row.why << ": " << all;
    }
  };
  fail({{.why = "a stray word", .given = "x", .told = "usage: kel_sim_test -f LIST"},
        {.why = "no value", .given = "-j ''", .told = "option -j is missing; usage: kel_sim"},
        {.why = "an empty size", .given = "-o -i 0", .told = "no total size: the survey left"},
        {.why = "the list is the result", .given = "-l ./list", .told = "the result would replace"},
        {.why = "before the list", .given = "-f no -l no/r", .told = "cannot write no/r: No such"}},
       "EARLIER");
  fail({{.why = "a unit", .given = "-s 4k", .told = "option -s cannot be \"4k\""},
        {.why = "no share", .given = "-r 0", .told = "option -r cannot be \"0\""},
        {.why = "fits in 64 bits", .given = "-f huge -r 1e-12", .told = "nothing could be read"},
        {.why = "beyond 64 bits", .given = "-f huger", .told = "the sizes add up to more"},
        {.why = "a pipe", .given = "-f pipe", .told = "cannot read the list of files twice"},
        {.why = "the last NUL is missing", .given = "-f cut", .told = "not a list of files"}},
       "");
  EXPECT_TRUE(scratch.run("kel_sim_test --help -l list").starts_with("usage: kel_sim_test -f "));
  EXPECT_EQ(scratch.read("list"), list) << "as it was";
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
