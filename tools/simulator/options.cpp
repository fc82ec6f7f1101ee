#include "simulator/options.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace {

constexpr std::string_view kOptionLetters = "fsrjtoil";
constexpr char kAnythingElse = '?';
constexpr std::uint64_t kBytesPerKib = 1024;
constexpr std::uint64_t kLargestBlockKib = 65536;
constexpr long long kMostThreads = 256;  // each takes memory for its own block

[[noreturn]] void rejectUsage(const std::string& reason) {
  throw std::invalid_argument(
      reason +
      "\nusage: kel_sim_test -f LIST -s KIB -r FRACTION -j FEWEST -t THREADS -o TOTAL -i PART "
      "-l RESULT");
}

[[noreturn]] void rejectOption(char letter, const std::string& text) {
  rejectUsage(std::string("option -") + letter + " cannot be \"" + text + "\"");
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

double fraction(const OptionTexts& texts, char letter) {
  const std::string& text = texts.at(letter);
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !(value > 0.0 && value <= 1.0)) {
    rejectOption(letter, text);
  }
  return value;
}

// The leading integer, since what an operator typed for the thread count comes here unchanged.
unsigned threadCount(const std::string& text) {
  const long long value = std::strtoll(text.c_str(), nullptr, 10);
  return static_cast<unsigned>(std::clamp(value, 1LL, kMostThreads));
}

}  // namespace

OptionTexts readOptions(int argc, char** argv) {
  std::string pattern = ":";  // no messages from getopt
  for (const char letter : kOptionLetters) {
    pattern += letter;
    pattern += ':';
  }
  OptionTexts texts;
  int letter = getopt(argc, argv, pattern.c_str());
  while (letter != -1) {
    const bool isOption = letter != '?' && letter != ':';
    texts[isOption ? static_cast<char>(letter) : kAnythingElse] = isOption ? optarg : "";
    letter = getopt(argc, argv, pattern.c_str());
  }
  if (optind != argc) {
    texts[kAnythingElse] = argv[optind];
  }
  return texts;
}

Options parseOptions(const OptionTexts& texts) {
  if (texts.contains(kAnythingElse) || texts.size() != kOptionLetters.size()) {
    rejectUsage("every option must be given, and nothing else");
  }
  return {
      .listName = texts.at('f'),
      .blockSize = wholeNumber(texts, 's', 1, kLargestBlockKib) * kBytesPerKib,
      .fraction = fraction(texts, 'r'),
      .fewestBlocks = wholeNumber(texts, 'j', 1, UINT32_MAX),
      .threads = threadCount(texts.at('t')),
      .totalBytes = wholeNumber(texts, 'o', 0, UINT64_MAX),
      .part = wholeNumber(texts, 'i', 0, UINT64_MAX),
      .resultName = texts.at('l'),
  };
}
