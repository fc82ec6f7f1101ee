#include "toolbridge/runfiles.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include "toolbridge/toolbridge.h"

namespace {

// A directory of that name holds no figures, and no file can have too long a name or be reached
// through a loop of links.
constexpr std::array kNothingThere = {ENOENT, ENOTDIR, EISDIR, ENAMETOOLONG, ELOOP};

int discard(const std::string& fileName) {
  if (unlink(fileName.c_str()) == 0 ||
      std::find(kNothingThere.begin(), kNothingThere.end(), errno) != kNothingThere.end()) {
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
