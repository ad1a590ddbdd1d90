#include "core/cpu.h"

#include <atomic>

namespace kels {
namespace {

Target detect() {
#if defined(KELSR_X86)
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
      __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl"))
    return Target::kAvx512;
  if (__builtin_cpu_supports("avx2")) return Target::kAvx2;
  if (__builtin_cpu_supports("sse2")) return Target::kSse2;
#endif
  return Target::kScalar;
}

}  // namespace

namespace detail {
std::atomic<int> gActive{-1};
Target firstActive() {
  const Target best = bestTarget();
  int unset = -1;  // a target pinned meanwhile wins
  gActive.compare_exchange_strong(unset, int(best), std::memory_order_relaxed);
  return Target(gActive.load(std::memory_order_relaxed));
}
}  // namespace detail

Target bestTarget() {
  static const Target best = detect();
  return best;
}

bool targetAvailable(Target t) { return int(t) >= 0 && int(t) <= int(bestTarget()); }

const char* targetName(Target t) {
  switch (t) {
    case Target::kScalar: return "scalar";
    case Target::kSse2: return "sse2";
    case Target::kAvx2: return "avx2";
    case Target::kAvx512: return "avx512";
  }
  return "?";
}

namespace testing {
bool pinTarget(Target t) {
  if (!targetAvailable(t)) return false;
  detail::gActive.store(int(t), std::memory_order_relaxed);
  return true;
}
void unpinTarget() { detail::gActive.store(int(bestTarget()), std::memory_order_relaxed); }
}  // namespace testing

}  // namespace kels
