#include "toolbridge/runfiles.h"

std::string infoLogName(std::string aliasName) { return aliasName + "_file_info.log"; }

std::string fileListName(std::string aliasName) {
  return aliasName + "_file_type_file_list_new.log";
}

std::string resultFileName(std::string aliasName, std::uint64_t partIndex) {
  return std::string("./") + kArtifactDirectory + "/" + aliasName + "_p" +
         std::to_string(partIndex) + ".drav";
}
