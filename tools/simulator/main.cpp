#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "common/process.h"
#include "common/result_file.h"
#include "common/terminal.h"
#include "simulator/options.h"
#include "simulator/simulation.h"

namespace {

constexpr int kSomeSkipped = 2;

std::string finishedLine(std::uint64_t part, const CompressionTotals& totals) {
  const double ratio =
      static_cast<double>(totals.originalBytes) / static_cast<double>(totals.compressedBytes);
  std::array<char, 64> ratioText{};
  std::snprintf(ratioText.data(), ratioText.size(), "%.4f", ratio);
  return "part " + std::to_string(part) + ": detection finished ratio: " + ratioText.data() +
         " blocks: " + std::to_string(totals.blocks) +
         " bytes: " + std::to_string(totals.bytesRead) + "\n";
}

int runSimulation(const Options& options) {
  ResultFile result(options.resultName);
  const CompressionTotals totals = simulate(options);
  const bool isComplete = totals.skippedFiles == 0;
  if (!isComplete) {
    complain("files skipped because they vanished, shrank or may not be read: " +
             std::to_string(totals.skippedFiles));
  }
  if (totals.blocks == 0) {
    complain("no data to sample in " + options.listName);
    return EXIT_FAILURE;
  }
  result.write(finishedLine(options.part, totals));
  result.publish();
  return isComplete ? EXIT_SUCCESS : kSomeSkipped;
}

}  // namespace

int main(int argc, char** argv) {
  prepareProcess();
  try {
    const OptionTexts texts = readOptions(argc, argv);
    if (texts.contains('l')) {
      // Not even options that cannot be used may leave an earlier result standing.
      removeResult(texts.at('l'));
    }
    return runSimulation(parseOptions(texts));
  } catch (const std::exception& error) {
    complain(error.what());
    return EXIT_FAILURE;
  }
}
