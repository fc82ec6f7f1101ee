#pragma once

// Hands everything printed so far to the system, so that it stands before whatever is read or
// started next. Throws std::runtime_error when any of it, now or earlier, could not be written.
void flushConsole();
