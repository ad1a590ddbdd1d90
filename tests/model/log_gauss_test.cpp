// Single-Gaussian scores: every member against a long-double reference, layouts and targets bit
// for bit, the check order with nothing written on failure, and the edges that catch faults.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "log_gauss_members.h"
#include "model/kernels/dist_kernels.h"
#include "support/canary.h"
#include "support/layout.h"
#include "support/reference.h"
#include "support/rng.h"
#include "support/targets.h"

namespace kels::test {
namespace {

template <class S, class D>
struct Fixture {
  Matrix2D<S> x;
  Buffer<S> mu, w;
  Canary<D> out;
  Args<S, D> args;

  // wide: full-range integers, floats spread over seven decades, where a different summation
  // order would show in the last bits.
  Fixture(Rng& rng, const Member<S, D>& mb, int n, int m, int step, std::size_t mis, bool wide = false)
      : x(mb.lay == Lay::kSingle ? 1 : m, n, step, mis * sizeof(S)), mu(n, (mis + 1) % 4 * sizeof(S)),
        w(n, (mis + 2) % 4 * sizeof(S)), out(mb.lay == Lay::kSingle ? 1 : m, mis * sizeof(D)) {
    const bool ints = std::is_integral_v<S>;
    auto value = [&] {
      if (ints) return S(wide ? rng.integer(-32768, 32767) : rng.integer(-100, 100));
      return S(wide ? rng.uniform(-1e3, 1e3) : rng.uniform(-10, 10));
    };
    auto weight = [&] {
      if (ints) return S(wide ? rng.integer(-32768, 32767) : rng.integer(1, 50));
      return S(wide ? rng.uniform(1e-4, 1e2) : rng.uniform(0.05, 4));
    };
    for (int r = 0; r < x.rows(); ++r)
      for (int c = 0; c < n; ++c) x.at(r, c) = value();
    for (int c = 0; c < n; ++c) {
      mu[c] = value();
      w[c] = weight();
    }
    const D g = D(ints ? rng.integer(-2000, 2000) : rng.uniform(-50, 50));
    const S* weights = mb.w == W::kId ? nullptr : w.data();
    args = {x.base(), step, x.constRowTable(), mu.data(), weights, n, out.data(), x.rows(), g, 0};
  }
};

// The score from variances rather than their inverses, in long double, and how far this member's
// evaluation may stray from it.
template <class S, class D>
std::pair<Ref, Ref> reference(const Member<S, D>& mb, const S* x, const S* mu, const S* w, int n, D g, int sf) {
  Ref s = 0, abs = 0, maxW = 1;
  for (int i = 0; i < n; ++i) {
    const Ref d = Ref(x[i]) - Ref(mu[i]);
    const Ref var = mb.w == W::kId ? 1 : mb.w == W::kInv ? 1 / Ref(w[i]) : Ref(w[i]);
    s += d * d / var;
    abs += std::fabs(d * d / var);
    if (mb.w != W::kId) maxW = std::max(maxW, std::fabs(Ref(w[i])));
  }
  const Ref scale = std::ldexp(Ref(1), -sf);
  Ref tol = (sizeof(D) == 8 ? 0x1p-52L : 0x1p-23L) * (n + 8) * (abs / 2 * scale + std::fabs(Ref(g)));
  const bool split = (mb.kind == Kind::kLowInt || mb.kind == Kind::kLowFloat) && sf >= 0 && sf <= 15;
  if (split) tol += n * (1 + maxW * std::ldexp(Ref(1), -(sf + 1)));  // bits the split drops
  if (mb.kind == Kind::kInt || mb.kind == Kind::kLowInt) tol += 0.5;  // rounding to an integer
  return {Ref(g) - s / 2 * scale, tol};
}

std::vector<int> scaleFactors(bool hasSf) {
  return hasSf ? std::vector<int>{-1, 0, 3, 15, 16} : std::vector<int>{0};
}

template <class P>
class LogGauss : public ::testing::Test {};
using Types = ::testing::Types<std::pair<Kels32f, Kels32f>, std::pair<Kels64f, Kels64f>,
                               std::pair<Kels32f, Kels64f>, std::pair<Kels16s, Kels32f>,
                               std::pair<Kels16s, Kels32s>>;
TYPED_TEST_SUITE(LogGauss, Types);

// The scalar target against the long-double reference (on moderate data; wide data would
// saturate); every other target bit for bit against it; a _D2 member's rows also through _D2L
// (rows scattered at their own misalignments) and through Single, with identical bits.
TYPED_TEST(LogGauss, MatchesReferenceWithIdenticalBitsEverywhere) {
  using S = typename TypeParam::first_type;
  using D = typename TypeParam::second_type;
  const auto all = members<S, D>();
  auto find = [&](const std::string& name) -> const Member<S, D>* {
    for (const auto& mb : all)
      if (name == mb.name) return &mb;
    return nullptr;
  };
  Rng rng(23);
  for (const auto& mb : all) {
    if (mb.lay == Lay::kD2L) continue;  // reached through its _D2 sibling
    const std::string name = mb.name;
    const Member<S, D>* d2l = nullptr;
    const Member<S, D>* one = nullptr;
    if (mb.lay == Lay::kD2) {
      d2l = find(std::string(name).insert(name.rfind("_D2") + 3, "L"));
      std::string single = name.substr(0, name.rfind("_D2")).replace(0, 12, "kelsLogGaussSingle");
      one = find(name.substr(name.size() - 3) == "Sfs" ? single + "_Sfs" : single);
      ASSERT_TRUE(d2l && one) << name;
    }
    const auto sfs = scaleFactors(mb.hasSf);
    for (int n : {1, 7, 8, 9, 15, 16, 17, 39, 64, 65})
      for (std::size_t mis : {0, 1, 2, 3}) {
        const bool wide = mis % 2 == 1;
        Fixture<S, D> f(rng, mb, n, 15, n + 1 + int(mis), mis, wide);  // 15 rows: passes of 8 and 4 rows, then single rows
        f.args.sf = sfs[(std::size_t(n) + mis) % sfs.size()];
        f.x.scatter({0, 2 * sizeof(S), sizeof(S), 3 * sizeof(S)});  // the _D2 block keeps its rows
        std::vector<D> want;
        forEachTarget([&](Target t) {
          const std::string where = name + " " + targetName(t) + " n " + std::to_string(n);
          ASSERT_EQ(kelOk, mb.call(f.args));
          const auto got = f.out.values();
          EXPECT_TRUE(f.out.guardsIntact()) << where;
          if (t == Target::kScalar) want = got;
          EXPECT_EQ(0, std::memcmp(want.data(), got.data(), got.size() * sizeof(D))) << where;
          for (int r = 0; r < f.args.m && t == Target::kScalar && !wide; ++r) {
            const auto [ref, tol] = reference(mb, f.x.row(r).data(), f.mu.data(), f.w.data(), n, f.args.g, f.args.sf);
            EXPECT_LE(std::fabs(Ref(got[std::size_t(r)]) - ref), tol) << where << " sf " << f.args.sf << " row " << r;
          }
          if (!d2l) return;
          Canary<D> viaList(15, 0);
          Args<S, D> a = f.args;
          a.rows = f.x.constRowTable();
          a.dst = viaList.data();
          ASSERT_EQ(kelOk, d2l->call(a));
          EXPECT_EQ(0, std::memcmp(want.data(), viaList.data(), 15 * sizeof(D))) << where;
          for (int r = 0; r < 15; ++r) {
            D single1;
            a.x = f.x.rowTable()[r];
            a.dst = &single1;
            ASSERT_EQ(kelOk, one->call(a));
            EXPECT_EQ(0, std::memcmp(&single1, &want[std::size_t(r)], sizeof(D))) << where << " row " << r;
          }
        });
      }
  }
}

TYPED_TEST(LogGauss, RejectsInOrderAndWritesNothing) {
  using S = typename TypeParam::first_type;
  using D = typename TypeParam::second_type;
  using A = Args<S, D>;
  Rng rng(24);
  for (const auto& mb : members<S, D>()) {
    std::vector<std::pair<KelsStatus, std::function<void(A&)>>> faults = {
        {kelErrNullPtr, [](A& a) { a.x = nullptr; a.rows = nullptr; }},
        {kelErrNullPtr, [](A& a) { a.mu = nullptr; }},
        {kelErrNullPtr, [](A& a) { a.dst = nullptr; }},
        {kelErrSize, [](A& a) { a.n = 0; }},
        {kelErrSize, [](A& a) { a.n = -3; }},
        {kelErrNullPtr, [](A& a) { a.n = 0; a.mu = nullptr; }},  // pointers before sizes
    };
    if (mb.w != W::kId) faults.push_back({kelErrNullPtr, [](A& a) { a.w = nullptr; }});
    if (mb.lay != Lay::kSingle) {
      faults.push_back({kelErrSize, [](A& a) { a.m = 0; }});
      faults.push_back({kelErrNullPtr, [](A& a) { a.m = 0; a.dst = nullptr; }});
    }
    if (mb.lay == Lay::kD2) {
      // Step first, even before a null pointer; the comparison is literal.
      faults.push_back({kelErrStep, [](A& a) { a.step = a.n - 1; a.x = nullptr; }});
      faults.push_back({kelErrStep, [](A& a) { a.step = a.n - 1; a.dst = nullptr; a.n = 0; a.step = -1; }});
      faults.push_back({kelErrStep, [](A& a) { a.n = -1; a.step = -2; a.mu = nullptr; }});
    }
    if (mb.lay == Lay::kD2L) faults.push_back({kelErrNullPtr, [](A& a) { a.rows[2] = nullptr; }});
    for (std::size_t i = 0; i < faults.size(); ++i) {
      Fixture<S, D> f(rng, mb, 9, 4, 11, 1);
      faults[i].second(f.args);
      EXPECT_EQ(faults[i].first, mb.call(f.args)) << mb.name << " fault " << i;
      EXPECT_TRUE(f.out.untouched()) << mb.name << " fault " << i;
    }
  }
}

TEST(LogGaussEdges, IntegerConstantAtTwoToThe31) {
  const Kels16s x[3] = {5, -7, 9};
  const Kels16s w[3] = {1, 2, 3};
  Kels32s r = 0;
  // float(2147483647) is 2^31, which converts to -2^31.
  ASSERT_EQ(kelOk, kelsLogGaussSingle_IdVar_16s32s_Sfs(x, x, 3, &r, INT_MAX, 4));
  EXPECT_EQ(INT_MIN, r);
  // The Low split is exact integer arithmetic: it saturates to 2^31 - 1 instead; outside
  // 0..15 the scale factor takes the single-precision path again.
  ASSERT_EQ(kelOk, kelsLogGaussSingle_Low_16s32s_Sfs(x, x, w, 3, &r, INT_MAX, 0));
  EXPECT_EQ(INT_MAX, r);
  ASSERT_EQ(kelOk, kelsLogGaussSingle_Low_16s32s_Sfs(x, x, w, 3, &r, INT_MAX, 16));
  EXPECT_EQ(INT_MIN, r);
  const Kels16s far[3] = {-32768, -32768, -32768}, near[3] = {32767, 32767, 32767};
  const Kels16s big[3] = {32767, 32767, 32767};
  ASSERT_EQ(kelOk, kelsLogGaussSingle_Low_16s32s_Sfs(far, near, big, 3, &r, INT_MIN, 0));
  EXPECT_EQ(INT_MIN, r);  // saturated below, not wrapped
  ASSERT_EQ(kelOk, kelsLogGaussSingle_16s32s_Sfs(far, near, big, 3, &r, 0, 0));
  EXPECT_EQ(INT_MIN, r);
}

// 300000 saturated differences with the largest weight: the exact split sum passes 2^62 and
// saturates there instead of overflowing.
TEST(LogGaussEdges, LowSumSaturatesOnVeryLongRows) {
  const int n = 300000;
  const std::vector<Kels16s> x(n, 32767), mu(n, -32768), w(n, 32767);
  Kels32s r = 0;
  ASSERT_EQ(kelOk, kelsLogGaussSingle_Low_16s32s_Sfs(x.data(), mu.data(), w.data(), n, &r, INT_MAX, 0));
  EXPECT_EQ(INT_MIN, r);
  Kels32f rf = 0;
  ASSERT_EQ(kelOk, kelsLogGaussSingle_LowScaled_16s32f(x.data(), mu.data(), w.data(), n, &rf, 0, 0));
  EXPECT_EQ(-0x1p62f, rf);
}

// sf = -1 doubles the half sum; sf = 1 rounds half to even; sf beyond the table makes it 0.
TEST(LogGaussEdges, ScaleFactorsAtAndBeyondTheEnds) {
  const Kels16s x[2] = {3, 0}, mu[2] = {0, 1}, w[2] = {2, 5};  // S = 18 + 5 = 23
  Kels32s r = 0;
  ASSERT_EQ(kelOk, kelsLogGaussSingle_16s32s_Sfs(x, mu, w, 2, &r, 100, -1));
  EXPECT_EQ(100 - 23, r);
  ASSERT_EQ(kelOk, kelsLogGaussSingle_16s32s_Sfs(x, mu, w, 2, &r, 100, 1));
  EXPECT_EQ(100 - 6, r);  // 5.75 rounds to 6
  Kels32f rf = 0;
  ASSERT_EQ(kelOk, kelsLogGaussSingle_IdVarScaled_16s32f(x, mu, 2, &rf, 100, INT_MAX));
  EXPECT_EQ(100.0f, rf);
}

// The Low split against its definition, written out per element with 64-bit products.
TEST(LogGaussEdges, LowSplitFollowsItsDefinitionOnEveryTarget) {
  Rng rng(8);
  for (int n : {1, 9, 16, 17, 40})
    for (int sf = 0; sf <= 15; ++sf) {
      auto x = rng.uniformVec<std::int16_t>(n, -32768, 32767);
      auto mu = rng.uniformVec<std::int16_t>(n, -32768, 32767);
      auto w = rng.uniformVec<std::int16_t>(n, -32768, 32767);
      long long want = 0, wantId = 0;
      long double exact = 0;
      for (int i = 0; i < n; ++i) {
        long long dd = (long long)x[i] - mu[i];
        dd = dd > 32767 ? 32767 : dd < -32768 ? -32768 : dd;
        const long long sq = dd * dd;
        const long long hi = sq / 65536, lo = (sq % 65536) / 2;
        auto floorDiv = [](long long v, long long p) { return v >= 0 ? v / p : -((-v + p - 1) / p); };
        want += hi * w[i] * (1LL << (15 - sf)) + floorDiv(lo * w[i], 1LL << sf);
        wantId += hi * (1LL << (15 - sf)) + floorDiv(lo, 1LL << sf);
        exact += 0.5L * sq * w[i] / (1LL << sf);
      }
      for (Target t : availableTargets()) {
        const DistKernels& k = distKernels(t);
        EXPECT_EQ(want, k.lowWsd16s(x.data(), mu.data(), w.data(), n, sf)) << targetName(t);
        EXPECT_EQ(wantId, k.lowSd16s(x.data(), mu.data(), n, sf)) << targetName(t);
      }
      // The split loses at most one unit per element (the floor of the low product, halving).
      EXPECT_LE(std::abs((long double)want - exact), n * (1.0L + 32768.0L / (1 << sf)));
    }
}

TEST(LogGaussEdges, AliasesAreTheSameFunctions) {
  EXPECT_EQ(reinterpret_cast<void*>(&kelsLogGauss1_32f_D2), reinterpret_cast<void*>(&kelsLogGauss_32f_D2));
  EXPECT_EQ(reinterpret_cast<void*>(&kelsLogGauss1_32f_D2L), reinterpret_cast<void*>(&kelsLogGauss_32f_D2L));
  EXPECT_EQ(reinterpret_cast<void*>(&kelsLogGauss1_64f_D2), reinterpret_cast<void*>(&kelsLogGauss_64f_D2));
  EXPECT_EQ(reinterpret_cast<void*>(&kelsLogGauss1_64f_D2L), reinterpret_cast<void*>(&kelsLogGauss_64f_D2L));
}

}  // namespace
}  // namespace kels::test
