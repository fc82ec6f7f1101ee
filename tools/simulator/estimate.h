#pragma once

#include "simulator/compression.h"

// A compression ratio and the ends of its 95 % confidence interval.
struct Estimate {
  double ratio;
  double low;
  double high;  // infinite where nothing limits the ratio
};

// Estimates the ratio of all data from what at least one block of it came to.
Estimate estimateRatio(const SampleTotals& totals);
