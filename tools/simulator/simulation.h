#pragma once

#include "simulator/compression.h"
#include "simulator/options.h"

// Draws the sample, compresses it in the asked number of threads and adds up what came of it.
// Throws when the list cannot be used, or when memory or threads run out.
CompressionTotals simulate(const Options& options);
