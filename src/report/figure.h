#pragma once

#include <string>

// What the operator reads when a figure cannot be converted.
constexpr const char* kDetectedSizeName = "detected size";
constexpr const char* kFileCountName = "file count";
constexpr const char* kDirectoryCountName = "directory count";
constexpr const char* kEstimatedSizeName = "estimated size";
constexpr const char* kCompressionRatioName = "compression ratio";

// Conversions of figures that came as text. A leading number is enough, whatever follows it.
// Both throw std::runtime_error, with a line for the operator that names the figure and shows the
// text, when there is no leading number or it is out of range.

double toDecimal(std::string figureName, std::string text);
long long toInteger(std::string figureName, std::string text);
