#include "simulator/options.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string_view>

namespace {

using OptionTexts = std::map<int, std::string>;  // by their letters

// "-" makes a word that belongs to no option one of its own, ":" keeps getopt silent.
constexpr const char* kPattern = "-:f:s:r:j:t:o:i:l:";
constexpr std::string_view kLetters = "fsrjtoil";
constexpr std::uint64_t kBytesPerKib = 1024;
constexpr std::uint64_t kLargestBlockKib = 65536;
constexpr long long kMostThreads = 256;  // each takes memory for its own block

[[noreturn]] void reject(const std::string& reason) {
  throw std::runtime_error(
      reason +
      "; usage: kel_sim_test -f LIST -s KIB -r FRACTION -j FEWEST -t THREADS -o TOTAL -i PART "
      "-l RESULT");
}

[[noreturn]] void rejectOption(char letter, const std::string& text) {
  reject(std::string("option -") + letter + " cannot be \"" + text + "\"");
}

std::uint64_t wholeNumber(const OptionTexts& texts, char letter, std::uint64_t least,
                          std::uint64_t most) {
  const std::string& text = texts.at(letter);
  std::uint64_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end || value < least || value > most) {
    rejectOption(letter, text);
  }
  return value;
}

double fraction(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (*end != '\0' || !(value > 0.0 && value <= 1.0)) {
    rejectOption('r', text);
  }
  return value;
}

// The leading integer, since what an operator typed for the thread count comes here unchanged.
unsigned threadCount(const std::string& text) {
  const long long value = std::strtoll(text.c_str(), nullptr, 10);
  return static_cast<unsigned>(std::clamp(value, 1LL, kMostThreads));
}

OptionTexts readTexts(int argc, char** argv) {
  OptionTexts texts;
  int letter = getopt(argc, argv, kPattern);
  while (letter != -1) {
    texts[letter] = optarg != nullptr ? optarg : "";
    letter = getopt(argc, argv, kPattern);
  }
  return texts;
}

}  // namespace

Options readOptions(int argc, char** argv) {
  const OptionTexts texts = readTexts(argc, argv);
  if (texts.contains('l')) {
    std::filesystem::remove(texts.at('l'));
  }
  // A size that nobody found is no word on the command line, so the next option takes its place.
  if (texts.contains('o') && texts.at('o').starts_with('-')) {
    throw std::runtime_error("no total size: the survey left no figures");
  }
  const bool hasAll = std::all_of(kLetters.begin(), kLetters.end(),
                                  [&texts](char letter) { return texts.contains(letter); });
  if (!hasAll || texts.size() != kLetters.size() || optind != argc) {
    reject("every option must be given, and nothing else");
  }
  return {
      .listName = texts.at('f'),
      .blockSize = wholeNumber(texts, 's', 1, kLargestBlockKib) * kBytesPerKib,
      .fraction = fraction(texts.at('r')),
      .fewestBlocks = wholeNumber(texts, 'j', 1, UINT32_MAX),
      .threads = threadCount(texts.at('t')),
      .totalBytes = wholeNumber(texts, 'o', 0, UINT64_MAX),
      .part = wholeNumber(texts, 'i', 0, UINT64_MAX),
      .resultName = texts.at('l'),
  };
}
