#include <cstdio>

#include "report/console.h"
#include "report/report.h"

namespace {

void printDuration(const char* name, std::chrono::nanoseconds duration) {
  const std::chrono::milliseconds whole =
      std::chrono::duration_cast<std::chrono::milliseconds>(duration);
  std::printf("%s execution time = %lld[ms]\n", name, static_cast<long long>(whole.count()));
  flushConsole();
}

}  // namespace

void printBanner(std::string label) {
  std::printf("%-40s%16s%40s\n", s.c_str(), label.c_str(), s.c_str());
}

void printClosingBanner() { printBanner("--------------------"); }

void showDetectInfo(std::string fileCount, std::string detectedSize, TimePoint t0, TimePoint t1) {
  printBanner(" Detect Information ");
  std::printf("Size of detected directory: %s\n", detectedSize.c_str());
  std::printf("Total number of files: %s\n", fileCount.c_str());
  printClosingBanner();
  printDuration("Detection", t1 - t0);
}

void showTimeInfo(TimePoint t2, TimePoint t3, TimePoint t0, TimePoint t1) {
  printDuration("Estimation", t3 - t2);
  printDuration("Total", (t1 - t0) + (t3 - t2));
  printClosingBanner();
}
