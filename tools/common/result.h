#pragma once

#include <string>

// Writes `text` as the file `name`, whole or not at all. Throws std::system_error on failure.
void writeResult(const std::string& name, const std::string& text);
