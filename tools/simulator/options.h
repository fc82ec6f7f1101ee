#pragma once

#include <cstdint>
#include <string>

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

// Reads the command line, in which the last of several options with one letter counts, and removes
// the earlier result that it names, even when other options cannot be used. Throws
// std::runtime_error, with a message for the operator, when an option is missing or cannot be used
// or the earlier result is there to stay.
Options readOptions(int argc, char** argv);
