// kels: command-line front end of libkelsr.
#include <malloc.h>

#include <string>
#include <vector>

#include "commands.h"

int main(int argc, char** argv) {
  // Every file allocates a few buffers of some hundred kilobytes; keep them on the heap instead
  // of fresh mappings, whose page faults would cost more than the features.
  mallopt(M_MMAP_THRESHOLD, 64 << 20);
  mallopt(M_TRIM_THRESHOLD, 128 << 20);
  return kels::tool::runKels(std::vector<std::string>(argv + 1, argv + argc));
}
