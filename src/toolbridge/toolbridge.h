#pragma once

#include <cstdint>
#include <string>

#include "toolbridge/command.h"

// The stages that drive the external tools and read their figures. Figures are text, exactly as the
// tools wrote them, and are appended to the out parameters. Each stage returns 0 for success and 1
// for a failure, for which it has printed its `failureMessage`; a tool's own exit status is never
// looked at, so a tool that fails shows only in figures that are missing. Those that run a tool
// throw std::runtime_error when the console text before it cannot be written.

// Runs the evaluation tool over `directory` and waits for it. Always returns 0.
int doDirDetection(std::string directory, std::string aliasName);

// Looks up one figure in the info log: the third field of every line that matches `key`, a basic
// regular expression. A missing log or key yields an empty text. Returns 1 when the lookup cannot
// be started.
int getDirFileInfo(std::string key, std::string& out, std::string aliasName,
                   std::string failureMessage);

// Looks up the size in bytes and the numbers of files and directories that the evaluation tool
// found, and stops at the first lookup that cannot be started.
int getDetectInfo(std::string directory, std::string aliasName, std::string& detectedSize,
                  std::string& fileCount, std::string& dirCount);

// Makes sure that the artifact directory is there, runs the sampling simulator and waits for it.
// The part comes as a number, for the result's name, and as the text to pass on. Always returns 0.
int doCrEstimation(std::string aliasName, std::string threadCount, std::uint64_t partIndex,
                   std::string partText, std::string detectedSize);

// Looks up the simulator's compression ratio, bytes before over bytes after, unchecked: it is empty
// when the result file or its finished line is missing. Returns 1 when the lookup cannot be
// started.
int getEstimationCR(std::uint32_t partIndex, std::string& out, std::string aliasName,
                    std::string failureMessage);

// Looks up the amount of data in bytes that the simulator processed. Returns 1 also when `out` is
// then no digit string.
int getEstimationSize(std::uint32_t partIndex, std::string& out, std::string aliasName,
                      std::string failureMessage);

// True when `text` is non-empty and holds only the digits "0" to "9".
bool is_number(std::string text);
