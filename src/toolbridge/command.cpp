#include "toolbridge/command.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "report/console.h"

namespace {

constexpr const char* kPlainCharacters =
    "abcdefghijklmnopqrstuvwxyz"
    "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
    "0123456789"
    "_-./+,:=@%";

constexpr std::size_t kPieceSize = 1024;

struct PipeCloser {
  void operator()(std::FILE* pipe) const { pclose(pipe); }
};

}  // namespace

std::string quoteForShell(std::string value) {
  if (value.find_first_not_of(kPlainCharacters) == std::string::npos) {
    return value;
  }
  std::string quoted = "'";
  for (const char c : value) {
    if (c == '\'') {
      quoted += R"('\'')";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

void runCommand(std::string command) {
  flushConsole();
  [[maybe_unused]] const int ignoredStatus = std::system(command.c_str());
}

int getCommandOutput(std::string command, std::string& out, std::string failureMessage) {
  const std::unique_ptr<std::FILE, PipeCloser> pipe(popen(command.c_str(), "r"));
  if (pipe == nullptr) {
    std::puts(failureMessage.c_str());
    return 1;
  }
  std::array<char, kPieceSize> piece{};
  while (std::fgets(piece.data(), piece.size(), pipe.get()) != nullptr) {
    out += piece.data();
  }
  if (out.ends_with('\n')) {
    out.pop_back();
  }
  return 0;
}
