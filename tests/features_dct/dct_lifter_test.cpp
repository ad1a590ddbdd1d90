// DCT lifter: every builder's outputs against a long-double cosine sum, the lifter formulas, the
// integer forms' rounding and output counts, the caller-memory object, check orders, allocation
// failures, and identical bits on every SIMD target.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <algorithm>
#include <cstring>
#include <vector>

#include <kelsr.h>

#include "core/alloc.h"
#include "support/canary.h"
#include "support/layout.h"
#include "support/reference.h"
#include "support/rng.h"
#include "support/targets.h"

namespace kels::test {
namespace {

const Ref kPiL = 3.141592653589793238462643383279502884L;

// sum_k cos(pi n (k + 1/2) / M) x[k], row n of an unnormalised DCT-II, and the bound of a float
// evaluation of it: every product and partial sum rounds once, the lifter multiply once more,
// and each stored cosine carries the error of a double-precision argument near pi n.
template <class X>
Ref refDct(const X* x, int M, int n, Ref* bound) {
  Ref s = 0, mag = 0, sumAbs = 0;
  for (int k = 0; k < M; ++k) {
    const Ref c = std::cos(kPiL * n * (k + 0.5L) / M);
    s += c * Ref(x[k]);
    mag += std::fabs(c * Ref(x[k]));
    sumAbs += std::fabs(Ref(x[k]));
  }
  *bound = mag * (M + 8) * Ref(FLT_EPSILON) + sumAbs * (4 * n + 4) * Ref(DBL_EPSILON);
  return s;
}

Ref refSineLifter(int n, int L, Ref g) { return (1 + Ref(L) / 2 * std::sin(kPiL * n / L)) * g; }

// Frees the arrays, then the record the library deliberately keeps.
void destroy(KelsDCTLifter_32f* o) { EXPECT_EQ(kelsDCTLifterFree_32f(o), kelOk); kels::release(o); }
void destroy(KelsDCTLifter_16s* o) { EXPECT_EQ(kelsDCTLifterFree_16s(o), kelOk); kels::release(o); }

// Plain and C0 builders in both types against the long-double cosine sums times the sine
// lifter: float outputs within the float error bound, integer outputs between the roundings of
// the bound's ends; exactly Q outputs, plus the zeroth coefficient last with C0.
TEST(DCTLifter, MatchesCosineSumsWithSineLifter) {
  Rng rng(7);
  const float g = 0.75f, z = -1.5f;
  for (int M : {1, 7, 8, 9, 23, 24, 40}) {
    for (int Q : {1, M / 2 + 1, M}) {
      for (int L : {1, 22}) {
        const int c0 = (M + Q + L) % 2, sf = rng.integer(-2, 4);
        KelsDCTLifter_32f* o = nullptr;
        KelsDCTLifter_16s* o16 = nullptr;
        ASSERT_EQ(c0 ? kelsDCTLifterInitAlloc_C0_32f(&o, M, Q, L, g, z) : kelsDCTLifterInitAlloc_32f(&o, M, Q, L, g), kelOk);
        ASSERT_EQ(c0 ? kelsDCTLifterInitAlloc_C0_16s(&o16, M, Q, L, g, z) : kelsDCTLifterInitAlloc_16s(&o16, M, Q, L, g), kelOk);
        const auto xf = rng.uniformVec<float>(std::size_t(M), -10, 10);
        const auto x16 = rng.uniformVec<Kels16s>(std::size_t(M), -3000, 3000);
        const auto x32 = rng.uniformVec<Kels32s>(std::size_t(M), -40000000, 40000000);  // beyond 2^24: rounded to float
        Canary<float> outF(std::size_t(Q + c0));
        Canary<Kels16s> out16(std::size_t(Q + c0)), out32(std::size_t(Q + c0));
        ASSERT_EQ(kelsDCTLifter_32f(xf.data(), outF.data(), o), kelOk);
        ASSERT_EQ(kelsDCTLifter_16s_Sfs(x16.data(), out16.data(), o16, sf), kelOk);
        ASSERT_EQ(kelsDCTLifter_32s16s_Sfs(x32.data(), out32.data(), o16, sf), kelOk);
        EXPECT_TRUE(outF.guardsIntact() && out16.guardsIntact() && out32.guardsIntact()) << M << " " << Q << " " << c0;
        for (int j = 0; j < Q + c0; ++j) {
          const int n = j < Q ? j + 1 : 0;
          const Ref w = n == 0 ? Ref(z) : refSineLifter(n, L, g);
          auto check = [&](const auto* x, Ref inputError, auto got) {
            Ref bound;
            const Ref s = refDct(x, M, n, &bound), want = s * w;
            const Ref err = (bound + inputError + std::fabs(s) * 2 * Ref(FLT_EPSILON)) * std::fabs(w) + 1e-30L;
            const bool isFloat = std::is_same_v<decltype(got), float>;  // integers: between the roundings of the ends
            EXPECT_TRUE(isFloat ? std::fabs(got - want) <= err
                                : got >= refScaleRound<Kels16s>(want - err, sf) && got <= refScaleRound<Kels16s>(want + err, sf))
                << got << " vs " << double(want) << ", M " << M << " Q " << Q << " L " << L << " n " << n << " sf " << sf;
          };
          check(xf.data(), 0, outF[std::size_t(j)]);
          check(x16.data(), 0, out16[std::size_t(j)]);
          check(x32.data(), 40000000.0L * M * Ref(FLT_EPSILON), out32[std::size_t(j)]);
        }
        destroy(o);
        destroy(o16);
      }
    }
  }
}

// The multipliers only scale each sum: a MulC0 object with u = 1 gives the raw sums s_n, and
// every other object's output must be s_n times its w[n] (one float multiplication).
TEST(DCTLifter, LifterFormulas) {
  Rng rng(11);
  const int M = 26, Q = 14;
  const auto x = rng.uniformVec<float>(M, -5, 5);
  const std::vector<float> ones(Q, 1.0f), u = rng.uniformVec<float>(Q, -2, 2);
  std::vector<float> raw(Q + 1), out(Q + 1);  // s[n - 1] for n = 1..Q, then s_0
  KelsDCTLifter_32f* o = nullptr;
  ASSERT_EQ(kelsDCTLifterInitAlloc_MulC0_32f(&o, M, ones.data(), Q), kelOk);
  ASSERT_EQ(kelsDCTLifter_32f(x.data(), raw.data(), o), kelOk);
  destroy(o);

  // L = 1: sin(pi n) vanishes, so every multiplier is exactly g.
  ASSERT_EQ(kelsDCTLifterInitAlloc_32f(&o, M, Q, 1, -0.3f), kelOk);
  ASSERT_EQ(kelsDCTLifter_32f(x.data(), out.data(), o), kelOk);
  for (int n = 1; n <= Q; ++n) EXPECT_EQ(out[n - 1], raw[n - 1] * -0.3f) << n;
  destroy(o);

  // Mul: w[n] = u[n - 1], Q outputs. MulC0: the zeroth sum takes u[Q - 1].
  for (int c0 : {0, 1}) {
    ASSERT_EQ((c0 ? kelsDCTLifterInitAlloc_MulC0_32f : kelsDCTLifterInitAlloc_Mul_32f)(&o, M, u.data(), Q), kelOk);
    Canary<float> got(std::size_t(Q + c0));
    ASSERT_EQ(kelsDCTLifter_32f(x.data(), got.data(), o), kelOk);
    EXPECT_TRUE(got.guardsIntact()) << "Q + c0 outputs exactly";
    for (int n = 1; n <= Q + c0; ++n) EXPECT_EQ(got[std::size_t(n - 1)], raw[n - 1] * u[std::min(n, Q) - 1]) << n;
    destroy(o);
  }
}

// The integer forms: float sums, then x 2^-sf, ties to even, 16-bit saturation. With MulC0 and
// u = 1 the zeroth output is the plain sum of the inputs, an exact integer, so the rounding rule
// shows without any float error.
TEST(DCTLifterInt, ScalesThenRoundsHalfToEvenThenSaturates) {
  const std::vector<float> ones(2, 1.0f);
  KelsDCTLifter_16s* o = nullptr;
  ASSERT_EQ(kelsDCTLifterInitAlloc_MulC0_16s(&o, 2, ones.data(), 2), kelOk);
  struct Case { Kels32s a, b; int sf; Kels16s want; };
  const Case cases[] = {
      {2, 3, 1, 2},          // 2.5 -> 2
      {3, 4, 1, 4},          // 3.5 -> 4
      {-2, -3, 1, -2},       // -2.5 -> -2
      {3, 3, 2, 2},          // 1.5 -> 2: scaled first, then rounded
      {5, 0, 2, 1},          // 1.25 -> 1
      {100, 1, -1, 202},     // sf -1 doubles
      {30000, 30000, 0, 32767},
      {-30000, -30000, 0, -32768},
      {20000, 0, -1, 32767},
      {1, 0, -200, 32767},   // clamped to 2^128: +inf saturates
      {32000, 0, 200, 0},    // 2^-150: 0
  };
  Kels16s out[3];
  for (const Case& c : cases) {
    const Kels32s x32[2] = {c.a, c.b};
    ASSERT_EQ(kelsDCTLifter_32s16s_Sfs(x32, out, o, c.sf), kelOk);
    EXPECT_EQ(out[2], c.want) << c.a << "+" << c.b << " sf " << c.sf;
    if (c.a >= -32768 && c.a <= 32767 && c.b >= -32768 && c.b <= 32767) {
      const Kels16s x16[2] = {Kels16s(c.a), Kels16s(c.b)};
      ASSERT_EQ(kelsDCTLifter_16s_Sfs(x16, out, o, c.sf), kelOk);
      EXPECT_EQ(out[2], c.want) << c.a << "+" << c.b << " sf " << c.sf;
    }
  }
  destroy(o);
}

// The size is the documented formula; built at any 4-byte misalignment, the object stays inside
// it, computes what the InitAlloc MulC0 object computes, and still works after a byte copy.
TEST(DCTLifterCaller, SizeFormulaFitsMatchesInitAllocAndSurvivesACopy) {
  int size = -1;
  EXPECT_EQ(kelsDCTLifterGetSize_MulC0_16s(8192, 8192, &size), kelOk);
  EXPECT_EQ(size, 8 * 8192 + 100 + 18 * 16386 + 2 * 16386 * 8192 + 32);
  Rng rng(5);
  for (int M : {1, 2, 9, 23, 64}) {
    for (int Q : {1, (M + 1) / 2, M}) {
      ASSERT_EQ(kelsDCTLifterGetSize_MulC0_16s(M, Q, &size), kelOk);
      EXPECT_EQ(size, 8 * Q + 100 + 18 * (2 * Q + 2) + 2 * (2 * Q + 2) * M + 32) << M << " " << Q;
      const auto u = rng.uniformVec<float>(std::size_t(Q), -1, 1);
      const auto x = rng.uniformVec<Kels16s>(std::size_t(M), -500, 500);
      KelsDCTLifter_16s* heap = nullptr;
      ASSERT_EQ(kelsDCTLifterInitAlloc_MulC0_16s(&heap, M, u.data(), Q), kelOk);
      std::vector<Kels16s> want(std::size_t(Q) + 1), got(std::size_t(Q) + 1);
      ASSERT_EQ(kelsDCTLifter_16s_Sfs(x.data(), want.data(), heap, -4), kelOk);
      destroy(heap);
      for (std::size_t mis = 0; mis < 32; mis += 4) {
        Canary<unsigned char> mem(std::size_t(size), mis);
        auto* o = reinterpret_cast<KelsDCTLifter_16s*>(mem.data());
        ASSERT_EQ(kelsDCTLifterInit_MulC0_16s(o, M, u.data(), Q), kelOk);
        EXPECT_TRUE(mem.guardsIntact()) << "M " << M << " Q " << Q << " misalign " << mis;
        ASSERT_EQ(kelsDCTLifter_16s_Sfs(x.data(), got.data(), o, -4), kelOk);
        EXPECT_EQ(got, want) << "M " << M << " Q " << Q << " misalign " << mis;

        Buffer<unsigned char> copy(std::size_t(size), (mis + 12) % 32);
        std::memcpy(copy.data(), mem.data(), std::size_t(size));
        std::memset(mem.data(), 0xEE, std::size_t(size));  // the original is gone
        auto* c = reinterpret_cast<KelsDCTLifter_16s*>(copy.data());
        got.assign(got.size(), 0);
        ASSERT_EQ(kelsDCTLifter_16s_Sfs(x.data(), got.data(), c, -4), kelOk);
        EXPECT_EQ(got, want) << "copy, M " << M << " Q " << Q;
        EXPECT_EQ(kelsDCTLifterFree_16s(c), kelOk);  // the caller's memory: nothing to release
      }
    }
  }
}

TEST(DCTLifterChecks, InOrderAndNothingWritten) {
  const float u[4] = {1, 2, 3, 4};
  KelsDCTLifter_32f* o = nullptr;
  KelsDCTLifter_16s* o16 = nullptr;
  EXPECT_EQ(kelsDCTLifterInitAlloc_C0_16s(nullptr, 0, 0, 0, 1.0f, 1.0f), kelErrNullPtr);
  EXPECT_EQ(kelsDCTLifterInitAlloc_Mul_32f(&o, 0, nullptr, 0), kelErrNullPtr);
  EXPECT_EQ(kelsDCTLifterInitAlloc_32f(&o, 0, 1, 1, 1.0f), kelErrSize);
  EXPECT_EQ(kelsDCTLifterInitAlloc_32f(&o, 4, 0, 1, 1.0f), kelErrSize);
  EXPECT_EQ(kelsDCTLifterInitAlloc_16s(&o16, 4, 2, 0, 1.0f), kelErrSize);
  EXPECT_EQ(kelsDCTLifterInitAlloc_C0_32f(&o, 3, 4, 1, 1.0f, 1.0f), kelErrSize);
  EXPECT_TRUE(o == nullptr && o16 == nullptr);  // no record on a failed check
  int size = -1;
  EXPECT_EQ(kelsDCTLifterGetSize_MulC0_16s(0, 0, nullptr), kelErrNullPtr);
  const int badMQ[][2] = {{8193, 1}, {5, 6}, {0, 1}, {4, 0}};
  for (const auto& mq : badMQ) EXPECT_EQ(kelsDCTLifterGetSize_MulC0_16s(mq[0], mq[1], &size), kelErrSize);
  EXPECT_EQ(size, -1);
  ASSERT_EQ(kelsDCTLifterGetSize_MulC0_16s(4, 4, &size), kelOk);
  Canary<unsigned char> mem{std::size_t(size)};
  auto* c = reinterpret_cast<KelsDCTLifter_16s*>(mem.data());
  EXPECT_EQ(kelsDCTLifterInit_MulC0_16s(nullptr, 0, u, 4), kelErrNullPtr);
  EXPECT_EQ(kelsDCTLifterInit_MulC0_16s(c, 0, nullptr, 4), kelErrNullPtr);
  EXPECT_EQ(kelsDCTLifterInit_MulC0_16s(c, 3, u, 4), kelErrSize);
  EXPECT_EQ(kelsDCTLifterInit_MulC0_16s(c, 8193, u, 4), kelErrSize);
  EXPECT_TRUE(mem.untouched());
  EXPECT_EQ(kelsDCTLifterFree_32f(nullptr), kelErrNullPtr);

  // Applying checks only its pointers: any scale factor is accepted.
  ASSERT_EQ(kelsDCTLifterInitAlloc_MulC0_32f(&o, 4, u, 4), kelOk);  // M = Q is accepted
  ASSERT_EQ(kelsDCTLifterInitAlloc_MulC0_16s(&o16, 4, u, 4), kelOk);
  const float x[4] = {1, 2};
  const Kels16s x16[4] = {1, 2};
  const Kels32s x32[4] = {1, 2};
  Canary<float> out(5);
  Canary<Kels16s> out16(5);
  EXPECT_EQ(kelsDCTLifter_32f(nullptr, out.data(), o), kelErrNullPtr);
  EXPECT_EQ(kelsDCTLifter_32f(x, out.data(), nullptr), kelErrNullPtr);
  EXPECT_EQ(kelsDCTLifter_16s_Sfs(x16, nullptr, o16, 0), kelErrNullPtr);
  EXPECT_EQ(kelsDCTLifter_32s16s_Sfs(x32, out16.data(), nullptr, 0), kelErrNullPtr);
  EXPECT_TRUE(out.untouched() && out16.untouched());
  EXPECT_EQ(kelsDCTLifter_16s_Sfs(x16, out16.data(), o16, 1000), kelOk);
  destroy(o);
  destroy(o16);
}

// Each allocation refused in turn: kelErrMemAlloc, and what was built is attached to the handle,
// so Free releases it (the sanitizer build sees any leak or double release).
template <class Obj, class Build>
void everyRefusal(int allocations, Build build) {
  for (int nth = 1; nth <= allocations + 1; ++nth) {
    Obj* o = nullptr;
    kels::testing::failNthAllocation(nth);
    EXPECT_EQ(build(&o), nth <= allocations ? kelErrMemAlloc : kelOk) << nth;
    kels::testing::failNthAllocation(0);
    EXPECT_EQ(o == nullptr, nth == 1) << nth;
    if (o != nullptr) destroy(o);
  }
}

TEST(DCTLifterAlloc, EveryRefusalIsReportedAndReleasable) {
  const float u[3] = {1, 2, 3};
  everyRefusal<KelsDCTLifter_32f>(3, [&](KelsDCTLifter_32f** o) { return kelsDCTLifterInitAlloc_Mul_32f(o, 5, u, 3); });
  everyRefusal<KelsDCTLifter_16s>(4, [&](KelsDCTLifter_16s** o) { return kelsDCTLifterInitAlloc_C0_16s(o, 5, 3, 2, 1.0f, 1.0f); });
  KelsDCTLifter_32f* o = nullptr;
  ASSERT_EQ(kelsDCTLifterInitAlloc_32f(&o, 5, 3, 2, 1.0f), kelOk);
  EXPECT_EQ(kelsDCTLifterFree_32f(o), kelOk);
  EXPECT_EQ(kelsDCTLifterFree_32f(o), kelOk);  // the arrays are gone; nothing is released twice
  kels::release(o);
}

// Every target, every input type, lengths around the eight-lane blocks and misaligned inputs:
// the same bits as the scalar kernel.
TEST(DCTLifterTargets, IdenticalBitsOnEveryTargetAndAlignment) {
  Rng rng(99);
  for (int M : {1, 3, 7, 8, 9, 15, 16, 17, 23, 63, 64, 65}) {
    for (int Q : {1, 5, 8, 9, 13, M}) {
      if (Q > M) continue;
      const auto u = rng.uniformVec<float>(std::size_t(Q), -3, 3);
      KelsDCTLifter_32f* o = nullptr;
      KelsDCTLifter_16s* o16 = nullptr;
      ASSERT_EQ(kelsDCTLifterInitAlloc_MulC0_32f(&o, M, u.data(), Q), kelOk);
      ASSERT_EQ(kelsDCTLifterInitAlloc_C0_16s(&o16, M, Q, 22, 0.5f, 3.0f), kelOk);
      auto xf = rng.uniformVec<float>(std::size_t(M), -100, 100);
      if (Q % 2 == 1) {  // signed zeros, infinities and NaNs in fixed places: same bits too, NaNs aside
        const float specials[] = {0.0f, -0.0f, INFINITY, -INFINITY, NAN, -0.0f, -NAN};
        for (int k = 0; k < M; k += 2) xf[std::size_t(k)] = specials[(k / 2 + Q) % 7];
      }
      if (Q == M) std::fill(xf.begin(), xf.end(), -0.0f);
      const auto x16 = rng.uniformVec<Kels16s>(std::size_t(M), -32768, 32767);
      const auto x32 = rng.uniformVec<Kels32s>(std::size_t(M), -2000000000, 2000000000);
      std::vector<float> refF;
      std::vector<Kels16s> ref16, ref32;
      forEachTarget([&](Target t) {
        for (std::size_t mis = 0; mis < 4; ++mis) {
          Buffer<float> bf(xf, mis * 4);
          Buffer<Kels16s> b16(x16, mis * 2);
          Buffer<Kels32s> b32(x32, mis * 4);
          std::vector<float> of(std::size_t(Q) + 1);
          std::vector<Kels16s> o16a(std::size_t(Q) + 1), o32a(std::size_t(Q) + 1);
          ASSERT_EQ(kelsDCTLifter_32f(bf.data(), of.data(), o), kelOk);
          ASSERT_EQ(kelsDCTLifter_16s_Sfs(b16.data(), o16a.data(), o16, 6), kelOk);
          ASSERT_EQ(kelsDCTLifter_32s16s_Sfs(b32.data(), o32a.data(), o16, 22), kelOk);
          if (refF.empty()) refF = of, ref16 = o16a, ref32 = o32a;
          for (std::size_t j = 0; j < of.size(); ++j)  // NaN sign and payload are free
            EXPECT_TRUE((std::isnan(of[j]) && std::isnan(refF[j])) || std::memcmp(&of[j], &refF[j], sizeof(float)) == 0)
                << targetName(t) << " M " << M << " Q " << Q << " misalign " << mis << " output " << j;
          EXPECT_TRUE(o16a == ref16 && o32a == ref32) << targetName(t) << " M " << M << " Q " << Q;
        }
      });
      destroy(o);
      destroy(o16);
    }
  }
}

}  // namespace
}  // namespace kels::test
