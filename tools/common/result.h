#pragma once

#include <string>

// The exit status when there is a result, but something could not be read.
constexpr int kPartialResult = 2;

// Writes `text` as the file `name`, whole or not at all. Throws std::system_error on failure.
void writeResult(const std::string& name, const std::string& text);
