// SIMD targets. The best one the processor has is detected once per process; every target of a
// kernel returns the same bits, so the choice only changes speed. Tests and benchmarks that link
// the internal library may pin a target.
#pragma once

namespace kels {

enum class Target : int { kScalar = 0, kSse2 = 1, kAvx2 = 2, kAvx512 = 3 };
inline constexpr int kTargetCount = 4;

bool targetAvailable(Target t);
Target bestTarget();    // detected once (thread-safe)
Target activeTarget();  // the pinned target if any, else bestTarget(); cheap enough per call
const char* targetName(Target t);

// A per-target table of kernels, indexed by the active target. Families without a version for
// some target fill its slot with the next narrower one.
template <class K>
const K& forActiveTarget(const K (&table)[kTargetCount]) {
  return table[int(activeTarget())];
}

namespace testing {
// Pins the target used by every kernel from now on; false (and nothing pinned) if this
// processor lacks it.
bool pinTarget(Target t);
void unpinTarget();
}  // namespace testing

}  // namespace kels
