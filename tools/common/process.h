#pragma once

// Makes the process fit to write a result: a missing standard stream cannot be taken for the
// result's descriptor, a full file or a closed pipe is a failed write rather than the end, and a
// signal that ends the process takes the temporary file and the progress line with it.
void prepareProcess();
