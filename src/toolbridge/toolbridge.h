#pragma once

#include <string>

// True when `text` is non-empty and holds only the digits "0" to "9".
bool is_number(std::string text);
