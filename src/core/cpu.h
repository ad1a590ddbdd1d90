// SIMD targets. The best one the processor has is detected once per process; every target of a
// kernel returns the same bits, so the choice only changes speed. Tests and benchmarks that link
// the internal library may pin a target.
#pragma once

#include <atomic>

// Internal objects shared between translation units: hidden, so position-independent code
// reaches them directly instead of through the global offset table.
#if defined(__GNUC__) && !defined(_WIN32)
#define KELS_HIDDEN __attribute__((visibility("hidden")))
#else
#define KELS_HIDDEN
#endif

namespace kels {

enum class Target : int { kScalar = 0, kSse2 = 1, kAvx2 = 2, kAvx512 = 3 };
inline constexpr int kTargetCount = 4;

bool targetAvailable(Target t);
Target bestTarget();  // detected once (thread-safe)
const char* targetName(Target t);

namespace detail {
extern KELS_HIDDEN std::atomic<int> gActive;  // the pinned or detected target; -1 until first use
Target firstActive();
}  // namespace detail

// The pinned target if any, else bestTarget(). Inline: every exported call asks once, and an
// out-of-line call with its spills cost short single-row calls a third of their time. The
// unnamed namespace keeps target files (compiled with wider instruction sets) from supplying
// the copy an SSE2 caller links against.
namespace {
inline Target activeTarget() {
  const int t = detail::gActive.load(std::memory_order_relaxed);
  return t >= 0 ? Target(t) : detail::firstActive();
}

// A per-target table of kernels, indexed by the active target. Families without a version for
// some target fill its slot with the next narrower one.
template <class K>
const K& forActiveTarget(const K (&table)[kTargetCount]) {
  return table[int(activeTarget())];
}
}  // namespace

namespace testing {
// Pins the target used by every kernel from now on; false (and nothing pinned) if this
// processor lacks it.
bool pinTarget(Target t);
void unpinTarget();
}  // namespace testing

}  // namespace kels
