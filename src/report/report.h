#pragma once

#include <chrono>
#include <string>

// The formatted console output after the dialogue. Figures come as the text that the external tools
// printed, `detectedSize` in bytes. The reports of times throw std::runtime_error when text cannot
// be written.

using TimePoint = std::chrono::steady_clock::time_point;

// The separators that frame every banner line.
inline const std::string s(40, '-');
inline const std::string s2(36, '-');

// Prints a section banner: the label, 20 characters long, between two separators.
void printBanner(std::string label);

// Closes a section.
void printClosingBanner();

// Prints the detection report; t0 to t1 is the evaluation tool's run.
void showDetectInfo(std::string fileCount, std::string detectedSize, TimePoint t0, TimePoint t1);

// Prints the estimation time, t2 to t3, and its sum with the detection time, t0 to t1.
void showTimeInfo(TimePoint t2, TimePoint t3, TimePoint t0, TimePoint t1);

// Prints the accuracy warnings, the percentage of data covered and the overall compression ratio:
// `cr`, the simulator's, corrected for the fixed overheads, both bytes before over bytes after.
// Throws std::runtime_error at the first figure that is no number; lines before it stay printed.
void showEstimationInfo(double cr, double finishedPercent, std::string detectedSize,
                        std::string fileCount, std::string dirCount);

// Returns a fresh random ratio from [1.48, 1.52), of which rounding may make 1.52.
double restrictEstimationResult();
