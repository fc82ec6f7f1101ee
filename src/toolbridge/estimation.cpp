#include <sys/stat.h>

#include "toolbridge/command.h"
#include "toolbridge/runfiles.h"
#include "toolbridge/toolbridge.h"

namespace {

void makeArtifactDirectory() {
  struct stat status {};
  if (stat(kArtifactDirectory, &status) != 0 || !S_ISDIR(status.st_mode)) {
    runCommand(std::string("mkdir ") + kArtifactDirectory);
  }
}

}  // namespace

int doCrEstimation(std::string aliasName, std::string threadCount, std::uint64_t partIndex,
                   std::string partText, std::string detectedSize) {
  makeArtifactDirectory();
  runCommand("./kel_sim_test -f " + quoteForShell(fileListName(aliasName)) +
             " -s 128 -r 0.05 -j 64 -t " + quoteForShell(threadCount) + " -o " +
             quoteForShell(detectedSize) + " -i " + quoteForShell(partText) + " -l " +
             quoteForShell(resultFileName(aliasName, partIndex)));
  return 0;
}
