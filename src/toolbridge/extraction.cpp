#include <algorithm>

#include "toolbridge/toolbridge.h"

bool is_number(std::string text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}
