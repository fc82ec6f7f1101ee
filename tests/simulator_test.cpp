#include <zstd.h>

#include <map>
#include <random>
#include <regex>

#include "common/readable.h"
#include "scratch.h"
#include "simulator/sample.h"

namespace {

struct Simulator : testing::Test {
  // The fewer different bytes, the better they compress.
  std::string randomBytes(std::size_t length, unsigned differentBytes = 9) {
    std::string bytes(length, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() / 256 % differentBytes);
    return bytes;
  }

  void add(const std::string& name, const std::string& content) {
    scratch.write("data/" + name, content);
    list += std::to_string(content.size()) + " data/" + name + "\n";
    total += content.size();
  }

  // Options given later replace those given before.
  std::string command(const std::string& options = "") const {
    scratch.write("list", list);
    const std::string usual = " -f list -s 4 -r 0.1 -j 8 -t 2 -i 0 -l result -o ";
    return "kel_sim_test" + usual + std::to_string(total) + " " + options;
  }

  // A field of the result, counted from 1.
  double sampled(int field, const std::string& options = "") const {
    const Outcome run = scratch.run(command(options) + " && awk '{print $" + std::to_string(field) + "}' result");
    EXPECT_EQ(run.errors, "") << options;
    return std::stod("0" + run.output);
  }
  double ratio(const std::string& options) const { return sampled(6, options); }
  double share(const std::string& options) const { return sampled(10, options) / static_cast<double>(total); }

  std::minstd_rand random{1};
  Scratch scratch;
  std::string list;
  std::uint64_t total = 0;
};

TEST_F(Simulator, ReadsEverythingWhenAskedOrWhenThereIsLittle) {
  double compressed = 0;
  std::string out(5000, '\0');
  for (const std::string& content : {randomBytes(20480), randomBytes(4097, 256), std::string("x"), std::string()}) {
    add(std::to_string(content.size()), content);
    for (std::size_t offset = 0; offset < content.size(); offset += 4096) {
      const std::string block = content.substr(offset, 4096);
      const std::size_t size = ZSTD_compress(out.data(), out.size(), block.data(), block.size(), 1);
      compressed += static_cast<double>(std::min(size, block.size()));
    }
  }
  for (const char* options : {"-r 1 -j 1", "-j 7 -s 4", "-j 1 -o 999999999"}) {
    EXPECT_EQ(share(options), 1.0) << options;
    EXPECT_NEAR(ratio(options), static_cast<double>(total) / compressed, 0.00005) << options;
  }
  EXPECT_LT(share("-j 6"), 1.0);
  EXPECT_EQ(share("-s 65536 -j 1") + share("-s 1 -r 1"), 2.0);
  EXPECT_EQ(scratch.run(command("-i 7 -r 1") + "; sed 's/ratio: [0-9.]*/R/' result").output,
            "part 7: detection finished R blocks: 8 bytes: " + std::to_string(total) + "\n");
}

TEST_F(Simulator, SampledRatioMeetsTheExhaustiveOne) {
  for (int i = 0; i < 1500; ++i) add("small" + std::to_string(i), randomBytes(200 + random() % 3000));
  for (const char* asked : {"0.2", "0.5", "0.9"}) {
    EXPECT_NEAR(share(std::string("-s 128 -j 1 -r ") + asked) / std::stod(asked), 1, 0.04) << asked;
  }
  for (int i = 0; i < 5; ++i) add("large" + std::to_string(i), randomBytes(400000, 256));
  double mean = 0.0;
  for (int part = 0; part < 24; ++part) mean += ratio("-i " + std::to_string(part)) / 24;
  EXPECT_NEAR(mean / ratio("-r 1"), 1.0, 0.01);
  EXPECT_NEAR(sampled(8, "-r 0.0001 -j 200"), 300, 100);
  const double once = ratio("-i 5 -t 1");
  for (const char* threads : {"2", "7", "'3;x'", "999999", "x"}) {
    EXPECT_EQ(ratio(std::string("-i 5 -t ") + threads), once) << threads;
  }
  EXPECT_NE(ratio("-i 6"), once);
}

TEST(Sample, EveryBlockWeighsTheInverseOfItsChance) {
  const std::vector<std::uint64_t> sizes = {1000, 30, 250, 0, 99, 150, 20, 20, 20, 600, 100, 26};
  Population population;
  for (const std::uint64_t size : sizes) addFile(population, size, 100);
  for (const double fraction : {0.2, 0.5, 0.8}) {
    std::map<std::uint64_t, double> weights;  // by where the block ends
    for (std::uint64_t part = 0; part < 20000; ++part) {
      Sampler sampler(population, {"", 100, fraction, 1, 1, 2315, part, ""});
      for (const std::uint64_t size : sizes) {
        sampler.startFile(size);
        while (const auto block = sampler.nextBlock()) weights[sampler.bytesPassed()] += block->weight / 20000;
      }
    }
    EXPECT_EQ(weights.size(), 28U);
    for (const auto& [blockEnd, weight] : weights) EXPECT_NEAR(weight, 1.0, 0.12) << blockEnd;
  }
}

TEST_F(Simulator, SkipsWhatCannotBeReadAndSaysHowMany) {
  for (const char* name : {"kept", "gone", "shrunk", "pipe", "link", "folder"}) add(name, randomBytes(9000));
  std::string deep;
  for (int i = 0; i < 50; ++i) deep += std::string(99, 'x') + "/";
  list += "5 data/back\\\\slash\\n\n1 f\n9 /dev/zero\n1 " + deep + "f\n";
  scratch.write("data/back\\slash\n", "12345");
  scratch.run("echo > f; for i in $(seq 50); do mkdir " + deep.substr(0, 99) + " && cd -P x*; done; echo > f");
  fs::resize_file(scratch.folder / "data/shrunk", 8999);
  const std::string spoil = "(cd data; rm gone pipe link folder; mkfifo pipe; ln -s kept link; mkdir folder); ";
  const Outcome run = scratch.run(spoil + command("-r 1"));
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.errors, "kel_sim_test: files skipped because they vanished, shrank or may not be read: 6\n");
  EXPECT_TRUE(scratch.read("result").ends_with(" blocks: 8 bytes: 17199\n"));
}

TEST_F(Simulator, AFailureLeavesAMessageAndNoResult) {
  add("file", "12345");
  const std::string usage =
      "\nusage: kel_sim_test -f LIST -s KIB -r FRACTION -j FEWEST -t THREADS -o TOTAL -i PART -l RESULT\n";
  const auto expect = [&](const std::string& options, const std::string& message) {
    scratch.write("result", "old");
    const Outcome run = scratch.run(command(options));
    EXPECT_EQ(run.status, 1) << options;
    EXPECT_EQ(run.errors, "kel_sim_test: " + message);
    EXPECT_FALSE(scratch.has("result")) << options;
  };
  scratch.write("zero", "0 data/file\n");
  scratch.write("huge", "9223372036854775807 data/file\n1 data/file\n");
  for (const std::string bad : {"5 f", "5f\n", "5 \n", "x f\n", "5 f@x\n", "99999999999999999999 f\n"}) {
    scratch.run("printf '" + bad + "' | tr @ '\\0' > bad");
    expect("-f bad", "not a list of files: bad\n");
  }
  expect("-f huge", "too many bytes in huge\n");
  const std::string changing = "mkfifo pipe; (cat list > pipe; sleep 1; cat zero > pipe) & timeout 20 ";
  EXPECT_EQ(scratch.run(changing + command("-f pipe")).errors, "kel_sim_test: changed while it was read: pipe\n");
  expect("-f nothing", "cannot open nothing\n");
  expect("-f data", "cannot read data\n");
  expect("-f /dev/null", "no data to sample in /dev/null\n");
  expect("-f zero", "no data to sample in zero\n");
  for (const std::string bad : {"s0", "s65537", "s4k", "r0", "r1.01", "rnan", "r", "r1x", "j0", "o", "i-1"}) {
    const std::string complaint = "option -" + bad.substr(0, 1) + " cannot be \"" + bad.substr(1) + "\"";
    expect(("-" + bad + "'").insert(2, " '"), complaint + usage);
  }
  for (const char* bad : {"-x", "-l", "stray"}) expect(bad, "every option must be given, and nothing else" + usage);
  EXPECT_TRUE(scratch.run("kel_sim_test -f list").errors.ends_with("given, and nothing else" + usage));
}

TEST_F(Simulator, ASignalTakesTheTemporaryResultWithIt) {
  // A list that never comes keeps the simulator waiting.
  const std::string start = "trap '' HUP; mkfifo pipe; " + command("-f pipe");
  const std::string wait = " & timeout 20 sh -c 'until ls .kel*; do :; done'; kill -HUP $!; sleep 0.1; ";
  EXPECT_EQ(scratch.run(start + wait + "kill $!; wait $!; echo $?; ls -A").output.substr(12), "143\nlist\npipe\n");
}

TEST_F(Simulator, ShowsProgressOnATerminalOnly) {
  for (const std::size_t blocks : {1UL, 2UL}) add(std::to_string(blocks), randomBytes(blocks * 4096));
  // The list comes twice, and slowly for the sample.
  const std::string pipe = "mkfifo pipe; (cat list > pipe; sleep 1; (head -1 list; sleep 1.2; tail -1 list) > pipe) & ";
  const std::string simulation = "timeout 20 script -qec '" + command("-f pipe -r 1 -j 1") + "' /dev/null";
  const std::string shown = scratch.run(pipe + simulation).output;
  const std::regex expected(
      "\0337\33\\[\\?7l33 % of the sample(, . s left)?\33\\[\\?7h\0338\33\\[K"
      "\33\\[\\?7l66 % of the sample, [0-2] s left\33\\[\\?7h\0338\33\\[K"
      "(\33\\[\\?7l100 .*)?");
  EXPECT_TRUE(std::regex_match(shown, expected)) << shown;
  std::string texts;
  for (int i = 0; i < 8; ++i) texts += readableSize(std::ldexp(1, 10 * i)) + ", ";
  for (const double seconds : {59.4, 59.6, 3599.0, 7384.0}) texts += readableTime(seconds) + ", ";
  EXPECT_EQ(texts,
            "1 B, 1.0 KiB, 1.0 MiB, 1.0 GiB, 1.0 TiB, 1.0 PiB, 1.0 EiB, 1024.0 EiB, "
            "59 s, 1 min 0 s, 59 min 59 s, 2 h 3 min, ");
}

}  // namespace
