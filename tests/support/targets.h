// Runs a piece of test code once per SIMD target this processor has, pinned, so exported
// functions can be compared bit for bit across targets.
#pragma once

#include <string>
#include <vector>

#include "core/cpu.h"

namespace kels::test {

inline std::vector<Target> availableTargets() {
  std::vector<Target> out;
  for (int t = 0; t < kTargetCount; ++t)
    if (targetAvailable(Target(t))) out.push_back(Target(t));
  return out;
}

// fn(target) runs with the target pinned; the pin is lifted afterwards.
template <class Fn>
void forEachTarget(Fn fn) {
  for (Target t : availableTargets()) {
    kels::testing::pinTarget(t);
    fn(t);
  }
  kels::testing::unpinTarget();
}

struct PinnedTarget {  // RAII pin for a single test body
  explicit PinnedTarget(Target t) { ok = kels::testing::pinTarget(t); }
  ~PinnedTarget() { kels::testing::unpinTarget(); }
  bool ok;
};

}  // namespace kels::test
