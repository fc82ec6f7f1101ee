#include "dialogue/dialogue.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "report/console.h"
#include "toolbridge/toolbridge.h"

namespace {

constexpr long long kFewestThreads = 1;
constexpr long long kMostThreadsUnasked = 20;

void readToken(std::string& token) {
  flushConsole();
  std::cin >> token;
}

int offerRetry() {
  std::puts("Invalid obtains...");
  std::printf("Do you want retry? [Y/N] ");
  return readYesNo() ? kAskAgain : kGaveUp;
}

int checkDirectory(std::string& value) {
  const std::string typed = value;
  if (typed.empty()) {
    return offerRetry();
  }
  if (typed.front() != '/') {
    std::array<char, PATH_MAX> canonical{};
    if (realpath(typed.c_str(), canonical.data()) == nullptr) {
      return offerRetry();
    }
    value = canonical.data();
  }
  return isDirExistent(typed) && !isDirEmpty(typed) ? kAccepted : offerRetry();
}

int checkThreadCount(const std::string& value) {
  const long long threads = std::strtoll(value.c_str(), nullptr, 10);
  if (threads < kFewestThreads) {
    std::printf("Thread number must be greater than zero. ");
    return offerRetry();
  }
  if (threads > kMostThreadsUnasked) {
    std::printf(
        "Thread number is more than 20, this might reduce front-end performance, more threads only "
        "reduce\nexecution time, do you want to continue? [Y/N] ");
    return readYesNo() ? kAccepted : kGaveUp;
  }
  return is_number(value) ? kAccepted : offerRetry();
}

void askUntilAccepted(std::string& value, const std::string& label, int kind) {
  std::size_t typedLength = 0;
  int result = kAskAgain;
  while (result == kAskAgain) {
    result = getInput(value, label, &typedLength, kind);
  }
  if (result == kGaveUp) {
    std::exit(EXIT_FAILURE);
  }
}

}  // namespace

bool readYesNo() {
  std::string answer;
  readToken(answer);
  return answer == "y" || answer == "Y";
}

bool isDirExistent(std::string path) {
  std::error_code error;
  return std::filesystem::is_directory(path, error);
}

bool isDirEmpty(std::string path) {
  std::error_code error;
  return std::filesystem::directory_iterator(path, error) == std::filesystem::directory_iterator();
}

int getInput(std::string& value, std::string label, std::size_t* typedLength, int kind) {
  std::printf("Please enter %s to be detected: ", label.c_str());
  readToken(value);
  *typedLength = value.size();
  switch (kind) {
    case kDirectoryAnswer:
      return checkDirectory(value);
    case kThreadCountAnswer:
      return checkThreadCount(value);
    default:
      return value.empty() ? offerRetry() : kAccepted;
  }
}

int getParameters(std::string& directory, std::string& threadCount, std::string& aliasName) {
  askUntilAccepted(directory, "the dir", kDirectoryAnswer);

  aliasName = directory;
  std::replace(aliasName.begin(), aliasName.end(), '/', '_');
  std::printf("aliasName %s\n", aliasName.c_str());
  aliasName.erase(0, 1);
  if (aliasName.empty()) {
    std::puts("Get invalid path input, please use absolute path instead of relative path");
    std::exit(EXIT_FAILURE);
  }

  askUntilAccepted(threadCount, "the thread number", kThreadCountAnswer);
  return 0;
}
