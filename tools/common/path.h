#pragma once

#include <string>

#include "common/descriptor.h"

// Opens `path`, which may be longer than the system takes in one call; `flags` are those of
// open(2). An unopened descriptor means failure, with errno set.
Descriptor openPath(const std::string& path, int flags);

// Puts `path` on one line: a line end becomes "\n" and a backslash "\\".
std::string escapePath(const std::string& path);

// Takes the escapes of escapePath back.
std::string unescapePath(const std::string& escaped);
