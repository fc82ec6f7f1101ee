#pragma once

#include "common/files.h"
#include "survey/figures.h"

// Walks the tree below `directory`, which may itself be a symbolic link, without following those in
// it, writes the list of its files and complains of what it cannot read. Neither of the survey's
// own two files counts. Throws std::runtime_error when the directory cannot be read, the list
// cannot be written or the sizes do not add up in 64 bits.
Figures surveyTree(const std::string& directory, const Output& infoLog, Output& list);
