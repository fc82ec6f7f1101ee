#include "main/note.h"

#include <cstdio>

#include "dialogue/dialogue.h"

int printNote() {
  std::puts("[Note]:");
  std::puts("1. This tool does not collect and damage user data.");
  std::puts(
      "2. If this tool is used on a host that runs services, run the tool in off-peak hours.");
  std::printf("Do you want to continue? [Y/N] ");
  return readYesNo() ? 0 : 1;
}
