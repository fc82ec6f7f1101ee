#pragma once

#include <string>

// Returns `value` as one word of a shell command line. Plain values, and the empty one, stay as
// they are; anything else is single-quoted.
std::string quoteForShell(std::string value);

// Runs `command` through the shell and waits for it, whatever becomes of it. Throws
// std::runtime_error when the console text before it cannot be written.
void runCommand(std::string command);

// Runs `command` through the shell and appends its standard output to `out`, minus one trailing
// line end. A NUL byte ends a piece, a line or 1023 bytes of one; an error of reading counts as the
// end. Returns 0, or 1 when the command cannot be started: `failureMessage` has then been printed
// and `out` is unchanged.
int getCommandOutput(std::string command, std::string& out, std::string failureMessage);
