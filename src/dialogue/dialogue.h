#pragma once

#include <cstddef>
#include <string>

// What an answer is checked as. Any other kind accepts every token that is not empty.
constexpr int kDirectoryAnswer = 0;
constexpr int kThreadCountAnswer = 1;

// What getInput returns.
constexpr int kAccepted = 0;
constexpr int kAskAgain = 1;
constexpr int kGaveUp = 2;

// Every read throws std::runtime_error when its prompt cannot be written.

// Reads one token: true for exactly "y" or "Y", false for anything else and at end of input.
bool readYesNo();

// True when `path`, symbolic links followed, is a directory; false also when that cannot be told.
bool isDirExistent(std::string path);

// True when the directory `path` has no entries, or none that may be read.
bool isDirEmpty(std::string path);

// Asks once for `label` and checks the token read into `value`, which end of input leaves as it
// was; a relative directory is replaced by its canonical absolute path. `typedLength` receives the
// length of `value` right after the read. Returns kAccepted, kAskAgain or kGaveUp.
int getInput(std::string& value, std::string label, std::size_t* typedLength, int kind);

// Asks for the directory and the thread count until both are accepted, and derives the alias that
// names the files of the run. Returns 0; an operator who gives up, or a directory that yields no
// alias, ends the process with status 1.
int getParameters(std::string& directory, std::string& threadCount, std::string& aliasName);
