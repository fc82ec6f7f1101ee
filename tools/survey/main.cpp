#include <cstdlib>
#include <exception>
#include <filesystem>

#include "common/result.h"
#include "common/terminal.h"
#include "survey/survey.h"

namespace {

constexpr int kSomeLeftOut = 2;

int survey(const std::string& directory, const std::string& aliasName) {
  const std::string infoLogName = aliasName + "_file_info.log";
  const std::string listName = aliasName + "_file_type_file_list_new.log";
  std::filesystem::remove(infoLogName);
  std::filesystem::remove(listName);

  const SurveyFigures figures = surveyDirectory(directory, listName);
  writeResult(infoLogName,
              "detect_directory_size is: " + std::to_string(figures.bytes) + "\n" +
                  "detect_directory_file_count is: " + std::to_string(figures.files) + "\n" +
                  "detect_directory_dir_count is: " + std::to_string(figures.directories) + "\n" +
                  "detect_directory_allocated_size is: " + std::to_string(figures.allocatedBytes) +
                  "\n");
  return figures.leftOut == 0 ? EXIT_SUCCESS : kSomeLeftOut;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 3) {
      complain("usage: kel_evaluation_tool <directory> <aliasName>");
      return EXIT_FAILURE;
    }
    return survey(argv[1], argv[2]);
  } catch (const std::exception& error) {
    complain(error.what());
    return EXIT_FAILURE;
  }
}
