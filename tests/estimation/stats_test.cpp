// Column statistics against long-double references built from plain loops, across layouts,
// alignments and SIMD targets, plus the members' own check orders and edge cases.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <tuple>
#include <vector>

#include "support/canary.h"
#include "support/layout.h"
#include "support/reference.h"
#include "support/rng.h"
#include "support/targets.h"

namespace kels::test {
namespace {

constexpr long double kEpsF = 1.0L / (1 << 23);    // two float ulps at 1
constexpr long double kEpsD = 1.0L / (1LL << 51);  // two double ulps at 1

template <class T>
Matrix2D<T> randomBlock(int n, int d, int step, std::size_t misalign, Rng& rng, double lo, double hi) {
  Matrix2D<T> m(n, d, step, misalign);
  for (int i = 0; i < n; ++i) std::memcpy(&m.at(i, 0), rng.uniformVec<T>(std::size_t(d), lo, hi).data(), d * sizeof(T));
  return m;
}

// Column sums in long double.
template <class T>
void refSums(const Matrix2D<T>& m, int j, Ref& s1, Ref& s2, Ref& sabs) {
  s1 = s2 = sabs = 0;
  for (int i = 0; i < m.rows(); ++i) s1 += Ref(m.at(i, j)), s2 += Ref(m.at(i, j)) * m.at(i, j), sabs += std::fabs(Ref(m.at(i, j)));
}

bool close(Ref got, Ref ref, Ref scale, Ref eps) { return std::fabs(got - ref) <= eps * (1 + scale); }

template <class T>
bool sameBits(const std::vector<T>& a, const std::vector<T>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

struct Shape { int n, d, extra; std::size_t misalign; };
const Shape kShapes[] = {{2, 1, 0, 0}, {3, 7, 1, 4}, {17, 8, 0, 0}, {5, 9, 3, 8}, {40, 16, 0, 4},
                         {33, 17, 2, 0}, {100, 39, 0, 12}, {9, 65, 5, 4}, {6, 300, 0, 0}};

// Each _D2 result is checked against the reference; the _D2L forms, rows scattered at odd
// alignments, must then give the same bits. The D2L calls go through the second names, which
// must be the same entry points.
TEST(ColumnStats32f, MeansAndVariancesMatchReferenceInBothLayouts) {
  Rng rng(7);
  for (const Shape& s : kShapes) {
    auto m = randomBlock<float>(s.n, s.d, s.d + s.extra, s.misalign, rng, -50, 80);
    const auto given = rng.uniformVec<float>(std::size_t(s.d), -20, 20);
    std::vector<float> mean(s.d), var(s.d), varGiven(s.d), m1(s.d), a(s.d), b(s.d), c(s.d), e(s.d);
    ASSERT_EQ(kelOk, kelsMeanVarColumn_32f_D2(m.base(), s.n, m.step(), mean.data(), var.data(), s.d));
    ASSERT_EQ(kelOk, kelsMeanColumn_32f_D2(m.base(), s.n, m.step(), m1.data(), s.d));
    ASSERT_EQ(kelOk, kelsVarColumn_32f_D2(m.base(), s.n, m.step(), given.data(), varGiven.data(), s.d));
    for (int j = 0; j < s.d; ++j) {
      Ref s1, s2, sa;
      refSums(m, j, s1, s2, sa);
      const Ref n = s.n, mu = s1 / n, g = given[j], eps = (n + 4) * kEpsF;
      EXPECT_TRUE(close(mean[j], mu, sa / n, eps)) << s.n << "x" << s.d << " col " << j;
      EXPECT_EQ(mean[j], m1[j]);  // one sum, one reciprocal
      EXPECT_TRUE(close(var[j], (s2 - n * mu * mu) / (n - 1), s2 / (n - 1), eps)) << j;
      EXPECT_TRUE(close(varGiven[j], (s2 - n * g * g) / (n - 1), (s2 + n * g * g) / (n - 1), eps)) << j;
    }
    m.scatter({0, 4, 12, 8, 0, 20});
    ASSERT_EQ(kelOk, kelsMeanVarCol_32f_D2L(m.constRowTable(), s.n, a.data(), b.data(), s.d));
    ASSERT_EQ(kelOk, kelsVarCol_32f_D2L(m.constRowTable(), s.n, given.data(), c.data(), s.d));
    ASSERT_EQ(kelOk, kelsMeanCol_32f_D2L(m.constRowTable(), s.n, e.data(), s.d));
    EXPECT_TRUE(sameBits(mean, a) && sameBits(var, b) && sameBits(varGiven, c) && sameBits(mean, e));
  }
  EXPECT_EQ((void*)&kelsMeanVarCol_32f_D2, (void*)&kelsMeanVarColumn_32f_D2);
  EXPECT_EQ((void*)&kelsMeanCol_32f_D2, (void*)&kelsMeanColumn_32f_D2);
  EXPECT_EQ((void*)&kelsVarCol_32f_D2, (void*)&kelsVarColumn_32f_D2);
}

TEST(ColumnStats, RoundingRules) {
  // 1/3 rounded to float, times the float sum: not the sum divided by 3.
  const float x[3] = {1.0f, 1.0f, 8.0f};
  float mean = 0, var = 0;
  ASSERT_EQ(kelOk, kelsMeanColumn_32f_D2(x, 3, 1, &mean, 1));
  EXPECT_EQ(mean, 10.0f * float(1.0 / 3.0));
  // A constant column: rounding leaves a tiny variance of either sign, and it is not floored.
  const std::vector<float> flat(50, 0.1f);
  ASSERT_EQ(kelOk, kelsMeanVarColumn_32f_D2(flat.data(), 50, 1, &mean, &var, 1));
  EXPECT_LT(std::fabs(var), 1e-6f);
  // 16 bits: mean 2.5 -> 2, mean 3.5 -> 4; the third column's variance is far beyond 16 bits.
  const Kels16s h[] = {2, 3, -30000, 3, 4, 30000};
  Kels16s m16[3], v16[3];
  Kels32s m32[3], v32[3];
  ASSERT_EQ(kelOk, kelsMeanVarColumn_16s_D2Sfs(h, 2, 3, m16, v16, 3, 0));
  EXPECT_EQ(std::vector<Kels16s>(m16, m16 + 3), (std::vector<Kels16s>{2, 4, 0}));
  EXPECT_EQ(v16[2], 32767);
  ASSERT_EQ(kelOk, kelsMeanVarColumn_16s32s_D2Sfs(h, 2, 3, m32, v32, 3, 0));
  EXPECT_EQ(v32[2], 1800000000);
  ASSERT_EQ(kelOk, kelsMeanVarColumn_16s32s_D2Sfs(h, 2, 3, m32, v32, 3, -1));
  EXPECT_EQ(v32[2], INT32_MIN);  // 3.6e9 is clamped to 2^31, which the conversion stores as -2^31
}

TEST(ColumnStats16s, MeansAndScaledVariancesRoundHalfToEven) {
  Rng rng(11);
  for (const Shape& s : kShapes) {
    auto m = randomBlock<Kels16s>(s.n, s.d, s.d + s.extra, s.misalign, rng, -300, 400);
    std::vector<Kels16s> mean(s.d), var(s.d), m1(s.d), vgiven(s.d), a(s.d), b(s.d), c(s.d);
    std::vector<Kels32s> mean32(s.d), var32(s.d), a32(s.d), b32(s.d);
    const int sf = 3;
    ASSERT_EQ(kelOk, kelsMeanColumn_16s_D2(m.base(), s.n, m.step(), m1.data(), s.d));
    ASSERT_EQ(kelOk, kelsMeanVarColumn_16s_D2Sfs(m.base(), s.n, m.step(), mean.data(), var.data(), s.d, sf));
    ASSERT_EQ(kelOk, kelsMeanVarColumn_16s32s_D2Sfs(m.base(), s.n, m.step(), mean32.data(), var32.data(), s.d, -2));
    ASSERT_EQ(kelOk, kelsVarColumn_16s_D2Sfs(m.base(), s.n, m.step(), m1.data(), vgiven.data(), s.d, 1));
    for (int j = 0; j < s.d; ++j) {
      Ref s1, s2, sa;
      refSums(m, j, s1, s2, sa);  // exact: integer sums this small are exact in float
      const Ref n = s.n, mu = s1 / n, g = m1[j];
      const Ref want = refScaleRound<Kels16s>(mu, 0);
      EXPECT_LE(std::fabs(m1[j] - want), nearTie(mu) ? 1 : 0) << "mean col " << j << " exact " << double(mu);
      EXPECT_EQ(mean[j], m1[j]) << j;
      EXPECT_EQ(mean32[j], Kels32s(mean[j])) << j;
      // Variances pass through float rounding of N*m*m: compare with a bound, then the rounding.
      const Ref v = (s2 - n * mu * mu) / (n - 1), vg = (s2 - n * g * g) / (n - 1);
      const Ref tol = (n + 4) * kEpsF * (s2 + n * mu * mu) / (n - 1);
      EXPECT_LE(std::fabs(Ref(var[j]) - refScaleRound<Kels16s>(v, sf)), 1 + std::ldexp(tol, -sf)) << j;
      EXPECT_LE(std::fabs(Ref(var32[j]) - refScaleRound<Kels32s>(v, -2)), 1 + std::ldexp(tol, 2)) << j;
      EXPECT_LE(std::fabs(Ref(vgiven[j]) - refScaleRound<Kels16s>(vg, 1)), 1 + tol) << j;
    }
    m.scatter({2, 6, 0, 14});
    ASSERT_EQ(kelOk, kelsMeanVarColumn_16s_D2LSfs(m.constRowTable(), s.n, a.data(), b.data(), s.d, sf));
    ASSERT_EQ(kelOk, kelsMeanColumn_16s_D2L(m.constRowTable(), s.n, c.data(), s.d));
    EXPECT_TRUE(a == mean && b == var && c == m1);
    ASSERT_EQ(kelOk, kelsVarColumn_16s_D2LSfs(m.constRowTable(), s.n, m1.data(), a.data(), s.d, 1));
    ASSERT_EQ(kelOk, kelsMeanVarColumn_16s32s_D2LSfs(m.constRowTable(), s.n, a32.data(), b32.data(), s.d, -2));
    EXPECT_TRUE(a == vgiven && a32 == mean32 && b32 == var32);
  }
}

// Weighted moments, without normalisation; the D2L forms give the D2 bits.
template <class T, class MV, class M, class V, class MVL, class ML, class VL>
void checkWeighted(Ref eps, MV meanVar, M meanOnly, V varGiven, MVL meanVarL, ML meanL, VL varL) {
  Rng rng(23);
  for (const Shape& s : kShapes) {
    auto m = randomBlock<T>(s.n, s.d, s.d + s.extra, s.misalign * sizeof(T) / 4, rng, -4, 6);
    const auto w = rng.uniformVec<T>(std::size_t(s.n), 0, 2.0 / s.n);
    const auto given = rng.uniformVec<T>(std::size_t(s.d), -1, 1);
    std::vector<T> mean(s.d), var(s.d), mOnly(s.d), vGiven(s.d), a(s.d), b(s.d), c(s.d), e(s.d);
    ASSERT_EQ(kelOk, meanVar(m.base(), m.step(), w.data(), s.n, mean.data(), var.data(), s.d));
    ASSERT_EQ(kelOk, meanOnly(m.base(), m.step(), w.data(), s.n, mOnly.data(), s.d));
    ASSERT_EQ(kelOk, varGiven(m.base(), m.step(), w.data(), s.n, given.data(), vGiven.data(), s.d));
    for (int j = 0; j < s.d; ++j) {
      Ref sw = 0, sw2 = 0, sa = 0;
      for (int i = 0; i < s.n; ++i) {
        const Ref x = m.at(i, j);
        sw += Ref(w[i]) * x;
        sw2 += Ref(w[i]) * x * x;
        sa += std::fabs(Ref(w[i]) * x) * (1 + std::fabs(x));
      }
      const Ref e = (s.n + 4) * eps;
      EXPECT_TRUE(close(mean[j], sw, sa, e)) << j << " n " << s.n;
      EXPECT_EQ(mean[j], mOnly[j]);
      EXPECT_TRUE(close(var[j], sw2 - sw * sw, sa + sw * sw, e)) << j;
      EXPECT_TRUE(close(vGiven[j], sw2 - Ref(given[j]) * given[j], sa + 1, e)) << j;
    }
    m.scatter({0, 8, 4});
    ASSERT_EQ(kelOk, meanVarL(m.constRowTable(), w.data(), s.n, a.data(), b.data(), s.d));
    ASSERT_EQ(kelOk, meanL(m.constRowTable(), w.data(), s.n, c.data(), s.d));
    ASSERT_EQ(kelOk, varL(m.constRowTable(), w.data(), s.n, given.data(), e.data(), s.d));
    EXPECT_TRUE(sameBits(mean, a) && sameBits(var, b) && sameBits(mean, c) && sameBits(vGiven, e));
  }
}
TEST(WeightedColumn, Float) {
  checkWeighted<float>(kEpsF, kelsWeightedMeanVarColumn_32f_D2, kelsWeightedMeanColumn_32f_D2, kelsWeightedVarColumn_32f_D2,
                       kelsWeightedMeanVarColumn_32f_D2L, kelsWeightedMeanColumn_32f_D2L, kelsWeightedVarColumn_32f_D2L);
}
TEST(WeightedColumn, Double) {
  checkWeighted<double>(kEpsD, kelsWeightedMeanVarColumn_64f_D2, kelsWeightedMeanColumn_64f_D2, kelsWeightedVarColumn_64f_D2,
                        kelsWeightedMeanVarColumn_64f_D2L, kelsWeightedMeanColumn_64f_D2L, kelsWeightedVarColumn_64f_D2L);
}

TEST(SumMeanVar, SumsNotMeansAndTheInPlaceFormsAccumulate) {
  Rng rng(5);
  const int n = 21, d = 19, step = 24;
  auto f = randomBlock<float>(n, d, step, 4, rng, -3, 3);
  auto h = randomBlock<Kels16s>(n, d, step, 2, rng, -200, 200);
  std::vector<float> s1(d), s2(d), u1(d), u2(d);
  std::vector<Kels32s> i1(d), i2(d);
  ASSERT_EQ(kelOk, kelsSumMeanVar_32f(f.base(), step, n, s1.data(), s2.data(), d));
  ASSERT_EQ(kelOk, kelsSumMeanVar_16s32f(h.base(), step, n, u1.data(), u2.data(), d));
  ASSERT_EQ(kelOk, kelsSumMeanVar_16s32s_Sfs(h.base(), step, n, i1.data(), i2.data(), d, 1));
  auto t1 = s1, t2 = s2, v1 = u1, v2 = u2;
  auto j1 = i1, j2 = i2, k1 = i1, k2 = i2;
  // The in-place forms start from the previous sums: the same block is added again, and the
  // scaled one rescales its running totals (sf 1 halves the old half-total again).
  ASSERT_EQ(kelOk, kelsSumMeanVar_32f_I(f.base(), step, n, t1.data(), t2.data(), d));
  ASSERT_EQ(kelOk, kelsSumMeanVar_16s32f_I(h.base(), step, n, v1.data(), v2.data(), d));
  ASSERT_EQ(kelOk, kelsSumMeanVar_16s32s_ISfs(h.base(), step, n, j1.data(), j2.data(), d, 1));
  ASSERT_EQ(kelOk, kelsSumMeanVar_16s32s_ISfs(h.base(), step, n, k1.data(), k2.data(), d, 0));
  for (int j = 0; j < d; ++j) {
    Ref a, b, sa;
    refSums(f, j, a, b, sa);
    EXPECT_TRUE(close(s1[j], a, sa, (n + 4) * kEpsF) && close(s2[j], b, b, (n + 4) * kEpsF)) << j;
    EXPECT_NEAR(t1[j], 2 * s1[j], 1e-4 * (1 + std::fabs(s1[j])));
    EXPECT_NEAR(t2[j], 2 * s2[j], 1e-4 * s2[j]);
    refSums(h, j, a, b, sa);  // integer sums this small are exact
    EXPECT_TRUE(Ref(u1[j]) == a && Ref(u2[j]) == b && v1[j] == 2 * u1[j]) << j;
    EXPECT_TRUE(i1[j] == refScaleRound<Kels32s>(a, 1) && i2[j] == refScaleRound<Kels32s>(b, 1)) << j;
    EXPECT_EQ(j1[j], refScaleRound<Kels32s>(Ref(i1[j]) + a, 1)) << j;
    EXPECT_EQ(k1[j], i1[j] + Kels32s(a)) << j;
  }
}

TEST(Vectors, MeanVarAccAndFloatNewVar) {
  const float x[3] = {1.5f, -2.0f, 4.0f}, m[3] = {0.5f, 1.0f, 4.0f};
  float ma[3] = {1, 1, 1}, va[3] = {0, 0, 2};
  ASSERT_EQ(kelOk, kelsMeanVarAcc_32f(x, m, ma, va, 3, 0.5f));
  EXPECT_TRUE(ma[0] == 1.5f && ma[1] == -0.5f && va[0] == 0.5f && va[1] == 4.5f && va[2] == 2.0f);
  const double xd[2] = {3.0, 0.25}, md[2] = {1.0, 0.0};
  double mad[2] = {0, 0}, vad[2] = {1, 1};
  ASSERT_EQ(kelOk, kelsMeanVarAcc_64f(xd, md, mad, vad, 2, 2.0));
  EXPECT_TRUE(mad[0] == 4.0 && vad[0] == 9.0 && vad[1] == 1.125);
  const float mm[3] = {2.0f, 0.5f, -1.0f}, s[3] = {20.0f, 1.0f, 10.0f};
  float d[3], si[3] = {20.0f, 1.0f, 10.0f};
  ASSERT_EQ(kelOk, kelsNewVar_32f(mm, s, d, 3, 4.0f, 1.0f / 3));
  for (int k = 0; k < 3; ++k) EXPECT_FLOAT_EQ(d[k], float((Ref(s[k]) - Ref(mm[k]) * mm[k] * 4) / 3));
  ASSERT_EQ(kelOk, kelsNewVar_32f_I(mm, si, 3, 4.0f, 1.0f / 3));
  EXPECT_EQ(0, std::memcmp(d, si, sizeof d));
}

TEST(NewVar, IntegerRoundingFollowsAlignment) {
  // (s - m*m*a)*b = 5 * 0.5 = 2.5, 3.5, -2.5: aligned rounds to even, unaligned truncates.
  Buffer<Kels32s> m(std::vector<Kels32s>{1, 1, 1, 0, 0}), s(std::vector<Kels32s>{6, 8, -4, 3000, 0});
  Buffer<Kels32s> dst(5), dstOdd(5, 4);  // the second one element off 16 bytes
  ASSERT_EQ(kelOk, kelsNewVar_32s_Sfs(m.data(), s.data(), dst.data(), 5, 1.0f, 0.5f, 0));
  ASSERT_EQ(kelOk, kelsNewVar_32s_Sfs(m.data(), s.data(), dstOdd.data(), 5, 1.0f, 0.5f, 0));
  EXPECT_TRUE(dst[0] == 2 && dst[1] == 4 && dst[2] == -2 && dst[3] == 1500);
  EXPECT_TRUE(dstOdd[0] == 2 && dstOdd[1] == 3 && dstOdd[2] == -2);
  // Saturation both ways, the clamped 2^31 stored as -2^31, and a scale factor.
  Buffer<Kels32s> big(std::vector<Kels32s>{INT32_MAX, INT32_MIN, 100, 0}), zero(std::vector<Kels32s>{0, 0, 0, 0});
  for (std::size_t mis : {0u, 4u}) {
    Buffer<Kels32s> out(4, mis), inplace(std::vector<Kels32s>{100, -7, 0, 0}, mis);
    ASSERT_EQ(kelOk, kelsNewVar_32s_Sfs(zero.data(), big.data(), out.data(), 4, 1.0f, 1.0f, -1));
    EXPECT_TRUE(out[0] == INT32_MIN && out[1] == INT32_MIN && out[2] == 200) << mis;
    ASSERT_EQ(kelOk, kelsNewVar_32s_ISfs(zero.data(), inplace.data(), 4, 1.0f, 1.0f, 2));
    EXPECT_EQ(inplace[0], 25) << mis;
    EXPECT_EQ(inplace[1], mis ? -1 : -2) << mis;  // -1.75: truncated or rounded
  }
}

TEST(RecSqrt, ThresholdsRoundingAndChecks) {
  // Below and equal to the threshold: the threshold itself; +inf gives 0; NaN is not above it.
  std::vector<float> vf = {0.25f, 1.0f, std::numeric_limits<float>::infinity(), std::nanf("")};
  ASSERT_EQ(kelOk, kelsRecSqrt_32f(vf.data(), 4, 1.0f));
  EXPECT_EQ(vf, (std::vector<float>{1.0f, 1.0f, 0.0f, 1.0f}));
  float all[3] = {0.5f, -3.0f, 2.0f};
  EXPECT_EQ(kelWarnDivByZero, kelsRecSqrt_32f_Th(all, 3, 2.0f));
  for (float x : all) EXPECT_EQ(x, 2.0f);
  Rng rng(3);
  for (int k = 0; k < 2000; ++k) {
    const float orig = float(std::exp(rng.uniform(-40, 40)));
    float x = orig;
    ASSERT_EQ(kelOk, kelsRecSqrt_32f(&x, 1, 1e-30f));
    EXPECT_LE(std::fabs(x - 1 / std::sqrt(Ref(orig))) * std::sqrt(Ref(orig)), 3 * kEpsF / 2) << orig;
  }
  // Integer forms take equality and truncate; thresholds are checked after pointers and size.
  Kels32s v[4] = {4, 2, 1, 100}, w[1] = {1};
  float v2[1] = {4.0f};
  ASSERT_EQ(kelOk, kelsRecSqrt_32s_Sfs(v, 4, 2, -15));
  // 0.5 * 2^15; equal to the threshold: 1/sqrt(2) truncated; below: the threshold; 3276.8 truncated.
  EXPECT_TRUE(v[0] == 16384 && v[1] == Kels32s(32768 / std::sqrt(2.0L)) && v[2] == 65536 && v[3] == 3276);
  const Kels32s src[3] = {1, 1, 4};
  Kels16s dst[3];
  EXPECT_EQ(kelOk, kelsRecSqrt_32s16s_Sfs(src, dst, 3, 1, -16));
  EXPECT_TRUE(dst[0] == 32767 && dst[2] == 32767);  // 65536 clamped to 16 bits
  EXPECT_EQ(kelWarnDivByZero, kelsRecSqrt_32s16s_Sfs(src, dst, 3, 5, 0));
  for (Kels16s x : dst) EXPECT_EQ(x, 5);
  ASSERT_EQ(kelOk, kelsRecSqrt_32s_Sfs(w, 1, 1, -31));
  EXPECT_EQ(w[0], INT32_MIN);  // 2^31 clamped and converted
  EXPECT_EQ(kelErrSize, kelsRecSqrt_32f(v2, 0, -1.0f));
  EXPECT_EQ(kelErrBadArg, kelsRecSqrt_32f(v2, 1, 0.0f));
  EXPECT_EQ(kelErrBadArg, kelsRecSqrt_32f(v2, 1, std::nanf("")));
  EXPECT_EQ(kelErrBadArg, kelsRecSqrt_32s_Sfs(w, 1, 0, 0));
  EXPECT_EQ(kelErrNullPtr, kelsRecSqrt_32s16s_Sfs(src, nullptr, 3, 0, 0));
  EXPECT_EQ(kelErrBadArg, kelsRecSqrt_32s16s_Sfs(src, dst, 3, 0, 0));
  EXPECT_TRUE(v2[0] == 4.0f && w[0] == INT32_MIN && dst[0] == 5);
}

// Upper triangle against m(k) for both deviations (matrix is symmetric, filled both ways).
template <class T>
Ref refCov(const Matrix2D<T>& m, const std::vector<T>& mean, int j, int k) {
  if (k < j) std::swap(j, k);
  Ref s = 0;
  for (int i = 0; i < m.rows(); ++i) s += (Ref(m.at(i, j)) - mean[k]) * (Ref(m.at(i, k)) - mean[k]);
  return s;
}

// Large blocks take the tiled loop, small ones the plain one: the same bits either way, on every
// target. The _D2 threshold counts the step, so a wide step pushes the same rows over it. Every
// destination row has one padding element the call must keep, and the destination starts at 0.25:
// the call adds to it.
TEST(AccCovariance, BlockedPathMatchesPlainBitForBitAndTheReference) {
  Rng rng(41);
  for (int d : {1, 3, 8, 13, 39, 70, 300}) {
    const int n = 140000 / (d * 40) + 1, ds = d + 1;
    const std::size_t dd = std::size_t(d) * ds;
    ASSERT_LT(std::int64_t(n) * d * 2, 134000);
    ASSERT_GE(std::int64_t(n) * d * 40, 140000);
    auto m = randomBlock<float>(n, d, d * 40, 4, rng, -5, 5);
    auto h = randomBlock<Kels16s>(n * 2, d, d * 40, 2, rng, -3000, 3000);
    const auto mean = rng.uniformVec<float>(d, -1, 1);
    const std::vector<Kels16s> hm(d, 7);
    auto run = [&] {  // plain (row tables, below the thresholds) and tiled (_D2, above them)
      std::vector<double> out(4 * dd, 0.25);
      std::vector<double*> rows, hrows;
      for (int j = 0; j < d; ++j) {
        rows.push_back(&out[std::size_t(j) * ds]);
        hrows.push_back(&out[dd + std::size_t(j) * ds]);
      }
      EXPECT_EQ(kelOk, kelsAccCovarianceMatrix_32f64f_D2L(m.constRowTable(), n, mean.data(), rows.data(), d, 0.75));
      EXPECT_EQ(kelOk, kelsAccCovarianceMatrix_16s64f_D2L(h.constRowTable(), n * 2, hm.data(), hrows.data(), d, 1.0));
      EXPECT_EQ(kelOk, kelsAccCovarianceMatrix_32f64f_D2(m.base(), m.step(), n, mean.data(), &out[2 * dd], d, ds, 0.75));
      EXPECT_EQ(kelOk, kelsAccCovarianceMatrix_16s64f_D2(h.base(), h.step(), n * 2, hm.data(), &out[3 * dd], d, ds, 1.0));
      return out;
    };
    std::vector<double> scalar;
    forEachTarget([&](Target t) {
      const auto out = run();
      EXPECT_EQ(0, std::memcmp(&out[0], &out[2 * dd], 2 * dd * sizeof(double))) << d << " " << targetName(t);
      if (t == Target::kScalar) scalar = out;
      else EXPECT_TRUE(sameBits(scalar, out)) << d << " " << targetName(t);
    });
    for (int j = 0; j < d; ++j) {
      EXPECT_TRUE(scalar[std::size_t(j) * ds + d] == 0.25 && scalar[dd + std::size_t(j) * ds + d] == 0.25) << d;
      for (int k = 0; k < d; ++k) {
        const std::size_t at = std::size_t(j) * ds + k;
        EXPECT_NEAR(scalar[at], double(0.25L + 0.75L * refCov(m, mean, j, k)), 1e-9 * n) << d << " " << j << "," << k;
        EXPECT_EQ(Ref(scalar[dd + at]), 0.25L + refCov(h, hm, j, k)) << d;  // integers: exact sums
      }
    }
  }
}

TEST(ColumnKernels, EveryTargetGivesTheScalarBits) {
  Rng rng(99);
  for (int d : {1, 3, 4, 7, 8, 9, 15, 16, 17, 31, 33, 39, 63, 64, 65, 80, 257, 300}) {
    for (std::size_t mis : {0u, 4u, 8u, 12u}) {
      const int n = 2 + d % 13;
      auto f = randomBlock<float>(n, d, d + int(mis / 4), mis, rng, -9, 9);
      auto h = randomBlock<Kels16s>(n, d, d + 1, mis / 2, rng, -20000, 20000);
      auto g = randomBlock<double>(n, d, d + 1, mis * 2, rng, -9, 9);
      const auto wd = rng.uniformVec<double>(std::size_t(n), 0, 1);
      const std::vector<float> wf(wd.begin(), wd.end());
      auto run = [&] {
        std::vector<float> out(9 * d);
        std::vector<double> outd(3 * d);
        std::vector<Kels32s> outi(2 * d);
        std::vector<Kels16s> given(d, 3), vars16(d);
        kelsMeanVarColumn_32f_D2(f.base(), n, f.step(), &out[0], &out[d], d);
        kelsWeightedMeanVarColumn_32f_D2(f.base(), f.step(), wf.data(), n, &out[2 * d], &out[3 * d], d);
        kelsSumMeanVar_16s32f(h.base(), h.step(), n, &out[4 * d], &out[5 * d], d);
        kelsMeanColumn_32f_D2(f.base(), n, f.step(), &out[6 * d], d);          // sums only
        kelsVarColumn_32f_D2(f.base(), n, f.step(), &out[0], &out[7 * d], d);  // squares only
        kelsWeightedMeanColumn_32f_D2(f.base(), f.step(), wf.data(), n, &out[8 * d], d);
        kelsWeightedMeanVarColumn_64f_D2(g.base(), g.step(), wd.data(), n, &outd[0], &outd[d], d);
        kelsWeightedVarColumn_64f_D2(g.base(), g.step(), wd.data(), n, &outd[0], &outd[2 * d], d);
        kelsMeanVarColumn_16s32s_D2Sfs(h.base(), n, h.step(), &outi[0], &outi[d], d, 2);
        kelsVarColumn_16s_D2Sfs(h.base(), n, h.step(), given.data(), vars16.data(), d, 4);
        return std::make_tuple(out, outd, outi, vars16);
      };
      decltype(run()) scalar;
      forEachTarget([&](Target t) {
        const auto [f32, f64, i32, i16] = run();
        if (t == Target::kScalar) scalar = {f32, f64, i32, i16};
        else EXPECT_TRUE(sameBits(f32, std::get<0>(scalar)) && sameBits(f64, std::get<1>(scalar)) && i32 == std::get<2>(scalar) &&
                         i16 == std::get<3>(scalar)) << "d " << d << " misalign " << mis << " " << targetName(t);
      });
    }
  }
}

// ---- check orders: the first failing check decides, nothing is written -----------------------------

struct Call { const float* src; const float** rows; int n, step, d; float* out1; float* out2; };

TEST(ColumnChecks, MembersCheckInTheirOwnOrderAndWriteNothing) {
  std::vector<float> block(44, 1.0f);
  const float* rows[4] = {&block[0], &block[10], &block[20], &block[30]};
  const float w[4] = {1, 1, 1, 1}, means[11] = {};
  auto mean = [&](Call c) { return kelsMeanColumn_32f_D2(c.src, c.n, c.step, c.out1, c.d); };
  auto var = [&](Call c) { return kelsVarColumn_32f_D2(c.src, c.n, c.step, c.out2, c.out1, c.d); };
  auto meanVar = [&](Call c) { return kelsMeanVarColumn_32f_D2(c.src, c.n, c.step, c.out1, c.out2, c.d); };
  auto meanVarL = [&](Call c) { return kelsMeanVarColumn_32f_D2L(c.rows, c.n, c.out1, c.out2, c.d); };
  auto wmean = [&](Call c) { return kelsWeightedMeanColumn_32f_D2(c.src, c.step, w, c.n, c.out1, c.d); };
  auto sums = [&](Call c) { return kelsSumMeanVar_32f(c.src, c.step, c.n, c.out1, c.out2, c.d); };
  auto cov = [&](Call c) {
    double dst[110];
    return kelsAccCovarianceMatrix_32f64f_D2(c.src, c.step, c.n, means, dst, c.d, 10, 1.0);
  };
  struct Row { const char* what; std::function<KelsStatus(Call)> fn; std::function<void(Call&)> fault; KelsStatus expected; };
  auto shortStepNull = [](Call& c) { c.step = c.d - 1; c.src = nullptr; c.rows = nullptr; };
  auto shortStepN0 = [](Call& c) { c.step = c.d - 1; c.n = 0; };
  auto nullN0 = [](Call& c) { c.out1 = nullptr; c.n = 0; };
  auto n1 = [](Call& c) { c.n = 1; };
  const Row table[] = {
      {"mean: step before null", mean, shortStepNull, kelErrStep},
      {"mean: step before size", mean, shortStepN0, kelErrStep},
      {"mean: null before size", mean, nullN0, kelErrNullPtr},
      {"mean: one row is fine", mean, n1, kelOk},
      {"var: step before null", var, shortStepNull, kelErrStep},
      {"var: one row refused", var, n1, kelErrSize},
      {"meanvar: null before step", meanVar, shortStepNull, kelErrNullPtr},
      {"meanvar: size before step", meanVar, shortStepN0, kelErrSize},
      {"meanvar: one row refused", meanVar, n1, kelErrSize},
      {"meanvar: short step alone", meanVar, [](Call& c) { c.step = c.d - 1; }, kelErrStep},
      {"meanvar D2L: one row refused", meanVarL, n1, kelErrSize},
      {"meanvar D2L: null list", meanVarL, shortStepNull, kelErrNullPtr},
      {"meanvar D2L: no step check", meanVarL, [](Call& c) { c.step = 0; }, kelOk},
      {"meanvar D2L: null row inside", meanVarL, [&](Call& c) { static const float* r[4]; r[0] = rows[0]; r[1] = nullptr; c.rows = r; }, kelErrNullPtr},
      {"weighted: null before step", wmean, shortStepNull, kelErrNullPtr},
      {"weighted: step before size", wmean, shortStepN0, kelErrStep},
      {"weighted: one row is fine", wmean, n1, kelOk},
      {"sums: step before null", sums, shortStepNull, kelErrStep},
      {"sums: null before size", sums, nullN0, kelErrNullPtr},
      {"cov: size before step", cov, shortStepN0, kelErrSize},
      {"cov: destination step equal to width", cov, [](Call& c) { c.d = 10; c.step = 10; c.n = 4; }, kelOk},
      {"cov: destination step below width", cov, [](Call& c) { c.d = 11; c.step = 11; c.n = 3; }, kelErrStep},
  };
  for (const Row& r : table) {
    Canary<float> o1(10), o2(10);
    Call c{block.data(), rows, 4, 10, 10, o1.data(), o2.data()};
    r.fault(c);
    const KelsStatus st = r.fn(c);
    EXPECT_EQ(r.expected, st) << r.what;
    if (st != kelOk) EXPECT_TRUE(o1.untouched() && o2.untouched()) << r.what;
    else EXPECT_TRUE(o1.guardsIntact()) << r.what;
  }
}

}  // namespace
}  // namespace kels::test
