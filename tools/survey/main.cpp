#include <cstdlib>
#include <exception>

#include "common/file_list.h"
#include "common/path.h"
#include "common/process.h"
#include "common/readable.h"
#include "common/result_file.h"
#include "common/terminal.h"
#include "survey/survey.h"

namespace {

constexpr int kSomeLeftOut = 2;

int survey(const std::string& directory, const std::string& aliasName) {
  const std::string infoLogName = aliasName + "_file_info.log";
  const std::string listName = aliasName + "_file_type_file_list_new.log";
  removeResult(infoLogName);
  ResultFile list(listName);

  SurveyFigures figures;
  {
    Progress progress;
    figures = surveyDirectory(
        directory, list.status(),
        [&](const std::string& path, std::uint64_t size, const SurveyFigures& soFar) {
          list.write(listLine(path, size));
          if (progress.isDue()) {
            progress.draw("files: " + std::to_string(soFar.files) +
                          ", size: " + readableSize(static_cast<double>(soFar.bytes)));
          }
        });
  }

  list.publish();
  try {
    ResultFile infoLog(infoLogName);
    infoLog.write("detect_directory_size is: " + std::to_string(figures.bytes) + "\n" +
                  "detect_directory_file_count is: " + std::to_string(figures.files) + "\n" +
                  "detect_directory_dir_count is: " + std::to_string(figures.directories) + "\n");
    infoLog.publish();
  } catch (...) {
    removeResult(listName);
    throw;
  }
  return figures.leftOut == 0 ? EXIT_SUCCESS : kSomeLeftOut;
}

}  // namespace

int main(int argc, char** argv) {
  prepareProcess();
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
