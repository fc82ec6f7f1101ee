#include "simulator/options.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <map>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::pair<const char*, const char*> kOptions[] = {
    {"-f", "LIST"},    {"-s", "KIB"},   {"-r", "FRACTION"}, {"-j", "FEWEST"},
    {"-t", "THREADS"}, {"-o", "TOTAL"}, {"-i", "PART"},     {"-l", "RESULT"}};

constexpr long long kMostThreads = 256;  // each takes memory for its own block

using OptionTexts = std::map<std::string, std::string>;

OptionTexts readTexts(int argc, char** argv) {
  OptionTexts texts;
  for (int i = 1; i + 1 < argc; i += 2) {
    texts[argv[i]] = argv[i + 1];
  }
  if (texts["-o"] == "-i") {
    // A size that nobody found is no word on the command line: the next option takes its place.
    throw std::runtime_error("no total size: the survey left no figures");
  }
  std::string missing;
  for (const auto& [option, value] : kOptions) {
    if (missing.empty() && texts[option].empty()) {
      missing = std::string("option ") + option + " is missing; ";
    }
  }
  if (!missing.empty() || argc % 2 == 0 || texts.size() != std::size(kOptions)) {
    throw std::runtime_error(missing + usage());
  }
  return texts;
}

// Takes the whole text for a number in what `allowed` says in words.
template <typename Number>
Number numberFrom(const OptionTexts& texts, const char* option, Number least, Number most,
                  const std::string& allowed) {
  const std::string& text = texts.at(option);
  const char* const end = text.data() + text.size();
  Number value{};
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end || !(value >= least && value <= most)) {
    throw std::runtime_error(std::string("option ") + option + " must be " + allowed + ", not \"" +
                             text + '"');
  }
  return value;
}

std::uint64_t wholeNumber(const OptionTexts& texts, const char* option, std::uint64_t least,
                          std::uint64_t most) {
  return numberFrom(texts, option, least, most,
                    "a whole number from " + std::to_string(least) + " to " + std::to_string(most));
}

}  // namespace

std::string usage() {
  std::string text = "usage: kel_sim_test";
  for (const auto& [option, value] : kOptions) {
    text += std::string(" ") + option + " " + value;
  }
  return text;
}

Options readOptions(int argc, char** argv) {
  const OptionTexts texts = readTexts(argc, argv);
  Output result(texts.at("-l"));
  // The leading integer, since what an operator typed comes here unchanged.
  const long long threads = std::strtoll(texts.at("-t").c_str(), nullptr, 10);
  return {
      .result = std::move(result),
      .listName = texts.at("-f"),
      .blockSize = wholeNumber(texts, "-s", 1, 65536) * 1024,
      .fraction = numberFrom(texts, "-r", std::nextafter(0.0, 1.0), 1.0, "above 0 and at most 1"),
      .fewestBlocks = wholeNumber(texts, "-j", 1, UINT32_MAX),
      .threads = static_cast<unsigned>(std::clamp(threads, 1LL, kMostThreads)),
      .totalBytes = wholeNumber(texts, "-o", 0, UINT64_MAX),
      .part = wholeNumber(texts, "-i", 0, UINT64_MAX)};
}
