// Table-driven check-order tests: each fault mutates a valid call's arguments; pairs of faults
// show which check comes first.
#pragma once

#include <functional>

#include <kelsr.h>

namespace kels::test {

template <class Args>
struct Fault {
  const char* what;
  KelsStatus expected;
  std::function<void(Args&)> apply;
};

}  // namespace kels::test
