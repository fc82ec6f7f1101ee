#include "simulator/options.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>

#include "common/console.h"

namespace {

using OptionTexts = std::map<int, std::string>;  // by their letters

constexpr const char* kUsage =
    "usage: kel_sim_test -f LIST -s KIB -r FRACTION -j FEWEST -t THREADS -o TOTAL -i PART "
    "-l RESULT";

constexpr std::uint64_t kLargestBlockKib = 65536;
constexpr long long kMostThreads = 256;  // each takes memory for its own block

void require(bool isUsable, char letter, const std::string& text) {
  if (!isUsable) {
    throw std::runtime_error(std::string("option -") + letter + " cannot be \"" + text + "\"");
  }
}

std::uint64_t wholeNumber(const OptionTexts& texts, char letter, std::uint64_t least,
                          std::uint64_t most) {
  const std::string& text = texts.at(letter);
  std::uint64_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  require(error == std::errc() && stop == end && value >= least && value <= most, letter, text);
  return value;
}

double fraction(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  require(*end == '\0' && value > 0.0 && value <= 1.0, 'r', text);
  return value;
}

OptionTexts readTexts(int argc, char** argv) {
  OptionTexts texts;
  int letter = 0;
  while ((letter = nextOption(argc, argv, "f:s:r:j:t:o:i:l:", 0, kUsage)) != -1) {
    texts[letter] = optarg;
    if (letter == 'o' && texts['o'] == "-i") {
      // A size that nobody found is no word on the command line: the next option takes its place.
      throw std::runtime_error("no total size: the survey left no figures");
    }
  }
  for (const char option : std::string("fsrjtoil")) {
    if (texts[option].empty()) {
      throw std::runtime_error(std::string("option -") + option + " is missing; " + kUsage);
    }
  }
  std::error_code oneIsMissing;
  if (std::filesystem::equivalent(texts['f'], texts['l'], oneIsMissing)) {
    throw std::runtime_error("the result would replace the list of files " + texts['f']);
  }
  return texts;
}

}  // namespace

Options readOptions(int argc, char** argv) {
  const OptionTexts texts = readTexts(argc, argv);
  // The leading integer, since what an operator typed comes here unchanged.
  const long long threads = std::strtoll(texts.at('t').c_str(), nullptr, 10);
  return {
      .result = Output(texts.at('l')),  // before the values are looked at
      .listName = texts.at('f'),
      .blockSize = wholeNumber(texts, 's', 1, kLargestBlockKib) * 1024,
      .fraction = fraction(texts.at('r')),
      .fewestBlocks = wholeNumber(texts, 'j', 1, UINT32_MAX),
      .threads = static_cast<unsigned>(std::clamp(threads, 1LL, kMostThreads)),
      .totalBytes = wholeNumber(texts, 'o', 0, UINT64_MAX),
      .part = wholeNumber(texts, 'i', 0, UINT64_MAX),
  };
}
