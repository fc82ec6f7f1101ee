#pragma once

#include <cstdint>
#include <string>

// What the survey counts; sizes in bytes.
struct Figures {
  std::uint64_t size = 0;  // of the regular files
  std::uint64_t fileCount = 0;
  std::uint64_t dirCount = 0;         // the surveyed one included
  std::uint64_t allocatedSize = 0;    // of storage, to the files
  std::uint64_t unallocatedSize = 0;  // of the files, without storage
  std::uint64_t leftOutCount = 0;     // directories and files found that could not be read
};

// Throws std::overflow_error when 64 bits do not hold a figure.
void add(Figures& total, const Figures& more);

// The lines of the info log, one for each figure.
std::string infoLogOf(const Figures& figures);

// What the operator is told.
std::string sentenceOf(const Figures& figures, const std::string& directory);
