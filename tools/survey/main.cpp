#include <sys/stat.h>

#include <cstdlib>
#include <stdexcept>

#include "common/messages.h"
#include "survey/survey.h"

namespace {

int survey(const std::string& directory, const std::string& aliasName) {
  Output infoLog(aliasName + "_file_info.log");
  umask(077);  // the list names what lies in private directories, too
  Output list(aliasName + "_file_type_file_list_new.log");
  const Figures figures = surveyTree(directory, infoLog, list);
  list.finish();
  say(sentenceOf(figures, directory));
  infoLog.append(infoLogOf(figures));
  infoLog.finish();
  return figures.leftOutCount == 0 ? EXIT_SUCCESS : kPartialResult;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string usage = "usage: kel_evaluation_tool <directory> <aliasName>";
  return runTool(argc, argv, usage, [&] {
    if (argc != 3) {
      throw std::runtime_error(usage);
    }
    return survey(argv[1], argv[2]);
  });
}
