#pragma once

#include <chrono>
#include <functional>
#include <string>

// What a tool tells its operator. In messages ASCII control characters, which a terminal would
// obey, are shown as "?".

constexpr int kPartialResult = 2;  // exit status: figures, but something could not be read

// Calls `work` and returns its exit status, or tells what it throws and returns 1. A command line
// of nothing but `--help` or `--version` only tells the `usage` or the version.
int runTool(int argc, char** argv, const std::string& usage, const std::function<int()>& work);

// Prints "<program>: <message>" and a line end on standard error.
void complain(const std::string& message);

// Prints a line on standard output, at once; on a terminal behind what an operator may have typed.
// Throws std::system_error when it cannot be written.
void say(const std::string& sentence);

// The number with so many digits behind the point; "inf" where it has no bounds.
std::string decimal(double number, int digits);

// A text on standard error that is drawn over and over, once in an interval, and erased at the end.
// It shows only on a terminal that knows how to and that the tool has to itself, behind the cursor,
// which stays where it is.
constexpr std::chrono::milliseconds kRedrawInterval(200);
void drawProgress(const std::string& text);
void eraseProgress();
