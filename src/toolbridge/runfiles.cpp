#include "toolbridge/runfiles.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "toolbridge/toolbridge.h"

namespace {

int discard(const std::string& fileName) {
  // A directory, or what may not be read, cannot be taken for figures.
  std::error_code error;
  if (unlink(fileName.c_str()) == 0 || std::filesystem::is_directory(fileName, error) ||
      access(fileName.c_str(), R_OK) != 0) {
    return 0;
  }
  std::printf("Failed to remove the earlier figures %s\n", fileName.c_str());
  return 1;
}

}  // namespace

std::string infoLogName(std::string aliasName) { return aliasName + "_file_info.log"; }

std::string fileListName(std::string aliasName) {
  return aliasName + "_file_type_file_list_new.log";
}

std::string resultFileName(std::string aliasName, std::uint64_t partIndex) {
  return std::string("./") + kArtifactDirectory + "/" + aliasName + "_p" +
         std::to_string(partIndex) + ".drav";
}

int discardEarlierFigures(std::string aliasName, std::uint64_t partIndex) {
  const bool discarded =
      discard(infoLogName(aliasName)) == 0 && discard(resultFileName(aliasName, partIndex)) == 0;
  return discarded ? 0 : 1;
}
