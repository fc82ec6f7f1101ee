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

// Reads the command line, on which every option must stand. Throws std::invalid_argument with a
// usage message when it cannot be used.
Options parseOptions(int argc, char** argv);
