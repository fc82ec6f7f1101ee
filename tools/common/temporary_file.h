#pragma once

#include <string>

// The one temporary file of the process. A signal handler may remove it at any moment.

// Creates it under a name not yet taken in `folder`, which is empty or ends in "/". Returns its
// descriptor, or -1 with errno set.
int createTemporaryFile(const std::string& folder);

// Gives it its lasting name. Returns 0, or -1 with errno set.
int renameTemporaryFile(const std::string& name);

// Removes it unless it has been renamed.
void removeTemporaryFile();
