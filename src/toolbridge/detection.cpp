#include "toolbridge/command.h"
#include "toolbridge/runfiles.h"
#include "toolbridge/toolbridge.h"

int doDirDetection(std::string directory, std::string aliasName) {
  runCommand("./kel_evaluation_tool " + quoteForShell(directory) + " " + quoteForShell(aliasName));
  return 0;
}

int getDirFileInfo(std::string key, std::string& out, std::string aliasName,
                   std::string failureMessage) {
  std::string infoLog = infoLogName(aliasName);
  if (infoLog.front() == '-') {
    // grep would take it for options.
    infoLog.insert(0, "./");
  }
  return getCommandOutput("grep '" + key + "' " + quoteForShell(infoLog) + " | awk '{print $3}'",
                          out, failureMessage);
}

int getDetectInfo(std::string directory, std::string aliasName, std::string& detectedSize,
                  std::string& fileCount, std::string& dirCount) {
  if (getDirFileInfo("detect_directory_size is:", detectedSize, aliasName,
                     "Failed to detect the size of dir " + directory + "\n") != 0) {
    return 1;
  }
  if (getDirFileInfo("detect_directory_file_count is:", fileCount, aliasName,
                     "Failed to detect the file number of dir " + directory + "\n") != 0) {
    return 1;
  }
  return getDirFileInfo("detect_directory_dir_count is:", dirCount, aliasName,
                        "Failed to detect the directory number of dir " + directory + "\n");
}
