#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "dialogue/dialogue.h"
#include "report/console.h"
#include "report/figure.h"
#include "report/report.h"
#include "toolbridge/toolbridge.h"

namespace {

// A run samples one part.
constexpr unsigned kPartIndex = 0;
constexpr const char* kPartText = "0";

// Shows what the program does with the host and its data, and asks whether to go on.
// Returns 0 for consent and 1 for anything else.
int printNote() {
  std::puts("[Note]:");
  std::puts("1. This tool does not collect and damage user data.");
  std::puts(
      "2. If this tool is used on a host that runs services, run the tool in off-peak hours.");
  std::printf("Do you want to continue? [Y/N] ");
  return readYesNo() ? 0 : 1;
}

TimePoint now() { return std::chrono::steady_clock::now(); }

int runEstimation() {
  std::string directory;
  std::string threadCount;
  std::string aliasName;
  std::string detectedSize;
  std::string fileCount;
  std::string dirCount;
  std::string estimatedCr;
  std::string estimatedSize;

  if (printNote() != 0) {
    return EXIT_FAILURE;
  }
  getParameters(directory, threadCount, aliasName);

  const TimePoint t0 = now();
  doDirDetection(directory, aliasName);
  const TimePoint t1 = now();
  if (getDetectInfo(directory, aliasName, detectedSize, fileCount, dirCount) != 0) {
    return EXIT_FAILURE;
  }
  showDetectInfo(fileCount, detectedSize, t0, t1);

  const TimePoint t2 = now();
  printBanner(" Estimation Results ");
  doCrEstimation(aliasName, threadCount, kPartIndex, kPartText, detectedSize);
  if (getEstimationCR(kPartIndex, estimatedCr, aliasName, "Failed to estimate dir " + directory) !=
      0) {
    return EXIT_FAILURE;
  }
  if (getEstimationSize(kPartIndex, estimatedSize, aliasName,
                        "Failed to get estimate size " + directory) != 0) {
    return EXIT_FAILURE;
  }
  const double processedBytes = toDecimal(kEstimatedSizeName, estimatedSize);
  const double totalBytes = toDecimal(kDetectedSizeName, detectedSize);
  const double ratio = toDecimal(kCompressionRatioName, estimatedCr);
  const double finishedPercent = (processedBytes * 100.0) / totalBytes;
  const TimePoint t3 = now();

  // A ratio of -0 would show an overall ratio of -0.00; adding 0.0 makes it 0.
  showEstimationInfo(ratio + 0.0, finishedPercent, detectedSize, fileCount, dirCount);
  showTimeInfo(t2, t3, t0, t1);
  return EXIT_SUCCESS;
}

// Takes the place of the default action, so that output whose reader has gone away, or whose file
// may not grow, shows as a failed write. A handler, unlike ignoring the signals, is not passed on
// to the external tools.
void onLostOutput(int /*signal*/) {}

}  // namespace

int main() {
  std::signal(SIGPIPE, onLostOutput);
  std::signal(SIGXFSZ, onLostOutput);
  try {
    const int status = runEstimation();
    flushConsole();
    return status;
  } catch (const std::exception& error) {
    std::puts(error.what());
    return EXIT_FAILURE;
  }
}
