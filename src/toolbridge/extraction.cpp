#include <algorithm>
#include <cstdio>

#include "toolbridge/command.h"
#include "toolbridge/runfiles.h"
#include "toolbridge/toolbridge.h"

namespace {

// Fields of the finished line, counted from 1.
constexpr int kRatioField = 6;
constexpr int kSizeField = 10;

std::string finishedLinePipeline(const std::string& aliasName, std::uint32_t partIndex, int field) {
  return "grep -w 'detection finished' " + quoteForShell(resultFileName(aliasName, partIndex)) +
         " | awk '{print $" + std::to_string(field) + "}'";
}

}  // namespace

int getEstimationCR(std::uint32_t partIndex, std::string& out, std::string aliasName,
                    std::string failureMessage) {
  return getCommandOutput(finishedLinePipeline(aliasName, partIndex, kRatioField), out,
                          failureMessage);
}

int getEstimationSize(std::uint32_t partIndex, std::string& out, std::string aliasName,
                      std::string failureMessage) {
  if (getCommandOutput(finishedLinePipeline(aliasName, partIndex, kSizeField), out,
                       failureMessage) != 0) {
    return 1;
  }
  if (!is_number(out)) {
    std::printf("\n%s\n", failureMessage.c_str());
    return 1;
  }
  return 0;
}

bool is_number(std::string text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}
