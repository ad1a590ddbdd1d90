// kels: the error type of the command-line program. The library returns statuses; the program
// turns every failure into one of these, caught per file or at the top of main.
#ifndef KELS_TOOLS_ERROR_H
#define KELS_TOOLS_ERROR_H

#include <stdexcept>
#include <string>

#include <kelsr.h>

namespace kels::tool {

struct Error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A library call that returns an error (negative status) becomes an Error naming the call;
// warnings pass, the caller decides whether they matter.
void check(KelsStatus st, const char* call);

}  // namespace kels::tool

#endif
