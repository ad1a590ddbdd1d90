// DCT-lifter objects and the matrix-vector kernel that applies them: out[j] = w[n] * <row n, x>
// with n = j + 1 for the Q cepstral outputs and n = 0 for the appended zeroth coefficient.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <kelsr.h>

// Built by InitAlloc: the record and each array are separate blocks of the aligned allocator.
struct KelsDCTLifter_32f {
  std::int32_t L;   // sine-lifter parameter; -1 when built from caller multipliers
  std::int32_t M;   // inputs
  std::int32_t Q;   // cepstral outputs
  std::int32_t c0;  // 1: the zeroth coefficient is appended
  float* lifter;    // w[0..Q]
  float** basis;    // row table: Q + 1 rows of M cosines, row 0 all ones
};

// The integer forms. Built by InitAlloc, the arrays are separate blocks (see HeapLifter16s);
// built by Init in caller memory, they follow this header at byte offsets from it, so the object
// can be copied. The header is 32 bytes on every build, which the documented size relies on.
struct KelsDCTLifter_16s {
  std::int32_t L, M, Q, c0;
  std::int32_t inCaller;  // 1: built by Init, arrays at the offsets below
  std::uint32_t lifterAt, outAt, basisAt;  // basisAt: a table of Q + 1 int32 row offsets
};
static_assert(sizeof(KelsDCTLifter_16s) == 32 && std::is_trivially_destructible_v<KelsDCTLifter_16s>);

namespace kels::features {

struct HeapLifter16s {
  KelsDCTLifter_16s head;  // first, so the handle converts both ways
  float* lifter;
  float* out;    // Q + 1 floats that receive the sums before conversion
  float** basis;
};

// What the kernel needs, whichever way the object was built. Rows are equally spaced.
struct LifterView {
  int M, Q, c0;
  const float* w;
  const float* row0;
  std::ptrdiff_t stride;  // floats from one row to the next
  float* out;             // the integer forms' buffer; null for _32f objects
};

// The per-target kernels: out[0 .. Q + c0 - 1] from x[0 .. M - 1].
void lifterScalar(const float* x, float* out, const LifterView& v);
void lifterScalar(const Kels16s* x, float* out, const LifterView& v);
void lifterScalar(const Kels32s* x, float* out, const LifterView& v);
#if defined(KELSR_X86)
void lifterSse2(const float* x, float* out, const LifterView& v);
void lifterSse2(const Kels16s* x, float* out, const LifterView& v);
void lifterSse2(const Kels32s* x, float* out, const LifterView& v);
void lifterAvx2(const float* x, float* out, const LifterView& v);
void lifterAvx2(const Kels16s* x, float* out, const LifterView& v);
void lifterAvx2(const Kels32s* x, float* out, const LifterView& v);
#endif

// Row feeding output j: the cepstral rows 1..Q first, then row 0. Unnamed, so the copy inlined
// into a target's translation unit never stands in for another target's.
namespace {
inline int lifterRow(int j, int Q) { return j < Q ? j + 1 : 0; }
}  // namespace

}  // namespace kels::features
