#pragma once

#include <string>

// Makes the process fit to write a result: a missing standard stream cannot be taken for the
// result's descriptor, a full file or a closed pipe is a failed write rather than the end, and a
// signal that ends the process takes the temporary file and the progress line with it.
void prepareProcess();

// Creates a file of a name not yet taken in `folder`, which is empty or ends in "/": the one
// temporary file of the process. Returns its descriptor, or -1 with errno set.
int createTemporaryFile(const std::string& folder);

// Gives the temporary file its lasting name. Returns 0, or -1 with errno set.
int renameTemporaryFile(const std::string& name);

// Removes the temporary file unless it has been renamed.
void removeTemporaryFile();
