#pragma once

#include <cstdint>
#include <map>
#include <string>

// The options of a command line as they stand there, by their letters.
using OptionTexts = std::map<char, std::string>;

// What the simulator is asked to do.
struct Options {
  std::string listName;        // -f, the files to sample
  std::uint64_t blockSize;     // -s, given in KiB, here in bytes
  double fraction;             // -r, share of the bytes to sample, above 0 and at most 1
  std::uint64_t fewestBlocks;  // -j
  unsigned threads;            // -t
  std::uint64_t totalBytes;    // -o, what the fraction is taken of
  std::uint64_t part;          // -i, seeds the sample
  std::string resultName;      // -l
};

// Reads the command line, unchecked; the last of several options with one letter counts.
OptionTexts readOptions(int argc, char** argv);

// Throws std::invalid_argument with a usage message when an option is missing or cannot be used.
Options parseOptions(const OptionTexts& texts);
