#pragma once

#include "simulator/compression.h"

// A compression ratio, bytes before over bytes after, and the ends of its 95 % confidence interval.
struct Estimate {
  double ratio;
  double low;
  double high;   // infinite where nothing limits the ratio
  bool isExact;  // everything was read, so both ends are the ratio
};

// Estimates the ratio of all data that could be read. At least one block must have been.
Estimate estimateRatio(const SampleTotals& totals);
