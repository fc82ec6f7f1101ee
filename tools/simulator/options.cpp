#include "simulator/options.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>
#include <type_traits>
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
  bool isWhole = argc % 2 == 1 && texts.size() == std::size(kOptions);
  for (const auto& [option, value] : kOptions) {
    isWhole = isWhole && !texts[option].empty();
  }
  if (!isWhole) {
    throw std::runtime_error(usage());
  }
  return texts;
}

// Takes the whole text for a number from `least` to `most`.
template <typename Number>
Number numberFrom(const OptionTexts& texts, const char* option, Number least, Number most) {
  const std::string& text = texts.at(option);
  const char* const end = text.data() + text.size();
  Number value{};
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end || !(value >= least && value <= most)) {
    std::ostringstream message;
    message << "option " << option << " must be a" << (std::is_integral_v<Number> ? " whole" : "")
            << " number from " << least << " to " << most << ", not \"" << text << '"';
    throw std::runtime_error(message.str());
  }
  return value;
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
  return {.result = std::move(result),
          .listName = texts.at("-f"),
          .blockSize = numberFrom<std::uint64_t>(texts, "-s", 1, 65536) * 1024,
          .fraction = numberFrom(texts, "-r", 0.0, 1.0) + 0.0,  // not -0, by which one divides
          .fewestBlocks = numberFrom<std::uint64_t>(texts, "-j", 1, UINT32_MAX),
          .threads = static_cast<unsigned>(std::clamp(threads, 1LL, kMostThreads)),
          .totalBytes = numberFrom<std::uint64_t>(texts, "-o", 0, UINT64_MAX),
          .part = numberFrom<std::uint64_t>(texts, "-i", 0, UINT64_MAX)};
}
