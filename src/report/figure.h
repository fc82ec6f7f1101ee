#pragma once

#include <string>

// What the operator reads when a figure cannot be converted.
constexpr const char* kDetectedSize = "detected size";
constexpr const char* kFileCount = "file count";
constexpr const char* kDirectoryCount = "directory count";
constexpr const char* kEstimatedSize = "estimated size";
constexpr const char* kCompressionRatio = "compression ratio";

// Conversions of figures that came as text. A leading number is enough, whatever follows it.
// Both throw std::runtime_error, with a line for the operator that names the figure and shows the
// text, when there is no leading number or it is out of range.

double toDecimal(std::string figureName, std::string text);
long long toInteger(std::string figureName, std::string text);
