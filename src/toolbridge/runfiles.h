#pragma once

#include <cstdint>
#include <string>

// The files of a run, all named after its alias and relative to the working directory.

// Written by the evaluation tool; holds the detection figures.
std::string infoLogName(std::string aliasName);

// Written by the evaluation tool for the simulator; lists the files to sample.
std::string fileListName(std::string aliasName);

// The directory that takes the simulator's result files.
constexpr const char* kArtifactDirectory = "artifact";

// Written by the simulator; holds the estimation figures.
std::string resultFileName(std::string aliasName, std::uint64_t partIndex);
