#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>

#include "common/result.h"
#include "common/terminal.h"
#include "survey/survey.h"

namespace {

// One directory is open on each level. With no more than these, a tree too deep runs out of
// descriptors, which is reported, and not of stack.
constexpr rlim_t kMostOpenFiles = 1024;

void limitOpenFiles() {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::min(limit.rlim_cur, kMostOpenFiles);
  setrlimit(RLIMIT_NOFILE, &limit);
}

int survey(const std::string& directory, const std::string& infoLogName,
           const std::string& listName) {
  const SurveyFigures figures = surveyDirectory(directory, listName);
  writeResult(infoLogName,
              "detect_directory_size is: " + std::to_string(figures.bytes) + "\n" +
                  "detect_directory_file_count is: " + std::to_string(figures.files) + "\n" +
                  "detect_directory_dir_count is: " + std::to_string(figures.directories) + "\n" +
                  "detect_directory_allocated_size is: " + std::to_string(figures.allocatedBytes) +
                  "\n");
  return figures.leftOut == 0 ? EXIT_SUCCESS : kPartialResult;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::string aliasName = argc > 2 ? argv[2] : "";
    const std::string infoLogName = aliasName + "_file_info.log";
    const std::string listName = aliasName + "_file_type_file_list_new.log";
    if (!aliasName.empty()) {
      // Not even wrong arguments may leave the figures of an earlier run standing.
      std::filesystem::remove(infoLogName);
      std::filesystem::remove(listName);
    }
    if (argc != 3) {
      complain("usage: kel_evaluation_tool <directory> <aliasName>");
      return EXIT_FAILURE;
    }
    limitOpenFiles();
    return survey(argv[1], infoLogName, listName);
  } catch (const std::exception& error) {
    complain(error.what());
    return EXIT_FAILURE;
  }
}
