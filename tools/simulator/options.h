#pragma once

#include "common/files.h"

// What the simulator is asked to do.
struct Options {
  Output result;               // -l
  std::string listName;        // -f, the files to sample
  std::uint64_t blockSize;     // -s, given in KiB, here in bytes
  double fraction;             // -r, share of the bytes to sample, 1 reads everything
  std::uint64_t fewestBlocks;  // -j
  unsigned threads;            // -t
  std::uint64_t totalBytes;    // -o, what the fraction is taken of
  std::uint64_t part;          // -i, seeds the sample
};

// The form of the command line, as the operator reads it.
std::string usage();

// Reads the command line and opens the result once no option is missing, so that no earlier figures
// outlast a bad value. Throws std::runtime_error, with a message for the operator, on failure.
Options readOptions(int argc, char** argv);
