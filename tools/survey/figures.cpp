#include "survey/figures.h"

#include "common/filelist.h"
#include "common/messages.h"

namespace {

// In the order of the info log.
constexpr struct {
  const char* key;
  std::uint64_t Figures::*figure;
} kFigures[] = {
    {"detect_directory_size", &Figures::size},
    {"detect_directory_file_count", &Figures::fileCount},
    {"detect_directory_dir_count", &Figures::dirCount},
    {"detect_directory_allocated_size", &Figures::allocatedSize},
    {"detect_directory_unallocated_size", &Figures::unallocatedSize},
    {"detect_directory_left_out_count", &Figures::leftOutCount},
};

constexpr double kTellingShare = 0.01;  // of the size, without storage

// In the unit that `du -h` takes.
std::string sizeText(std::uint64_t bytes) {
  const char* unit = "KMGTPE";
  double size = double(bytes) / 1024.0;
  for (; size >= 1023.995; ++unit) {
    size /= 1024.0;
  }
  return decimal(size, 2) + ' ' + *unit + "iB";
}

}  // namespace

void add(Figures& total, const Figures& more) {
  for (const auto& [key, figure] : kFigures) {
    total.*figure = sum(total.*figure, more.*figure);
  }
}

std::string infoLogOf(const Figures& figures) {
  std::string lines;
  for (const auto& [key, figure] : kFigures) {
    lines += std::string(key) + " is: " + std::to_string(figures.*figure) + "\n";
  }
  return lines;
}

std::string sentenceOf(const Figures& figures, const std::string& directory) {
  std::string text = "Surveyed " + directory + ": files: " + std::to_string(figures.fileCount) +
                     ", directories: " + std::to_string(figures.dirCount) +
                     ", size: " + sizeText(figures.size) +
                     " (allocated: " + sizeText(figures.allocatedSize);
  if (double(figures.unallocatedSize) / double(figures.size) >= kTellingShare) {
    text += "; without storage: " + sizeText(figures.unallocatedSize) +
            " of holes or compressed by the file system, which lift the ratio";
  }
  if (figures.leftOutCount == 0) {
    return text + "), all of it listed.";
  }
  return text +
         "), directories or files that could not be read: " + std::to_string(figures.leftOutCount) +
         "; what they hold is missing.";
}
