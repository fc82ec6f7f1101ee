#pragma once

// Shows what the program does with the host and its data, and asks whether to go on.
// Returns 0 for consent and 1 for anything else.
int printNote();
