// Mahalanobis distances against long-double references; bits across targets, layouts and the
// single-vector members; the exact integer member; check orders.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "mixture_ref.h"
#include "support/canary.h"
#include "support/targets.h"

namespace kels::test::mixture {
namespace {

template <class T>
struct MahApi {
  static constexpr auto single = byType<T>(kelsMahDistSingle_32f, kelsMahDistSingle_64f);
  static constexpr auto d2 = byType<T>(kelsMahDist_32f_D2, kelsMahDist_64f_D2);
  static constexpr auto d2l = byType<T>(kelsMahDist_32f_D2L, kelsMahDist_64f_D2L);
  static constexpr auto multi = byType<T>(kelsMahDistMultiMix_32f_D2, kelsMahDistMultiMix_64f_D2);
  static constexpr auto multiL = byType<T>(kelsMahDistMultiMix_32f_D2L, kelsMahDistMultiMix_64f_D2L);
  static constexpr auto d2b = byType<T>(kelsMahDist1_32f_D2, kelsMahDist1_64f_D2);  // second names
  static constexpr auto d2lB = byType<T>(kelsMahDist1_32f_D2L, kelsMahDist1_64f_D2L);
  static constexpr auto multiB = byType<T>(kelsMahDist2_32f_D2, kelsMahDist2_64f_D2);
  static constexpr auto multiLB = byType<T>(kelsMahDist2_32f_D2L, kelsMahDist2_64f_D2L);
  static constexpr double kEps = sizeof(T) == 4 ? 0x1p-23 : 0x1p-52;
};

template <class T>
class MahDist : public ::testing::Test {};
using Types = ::testing::Types<Kels32f, Kels64f>;
TYPED_TEST_SUITE(MahDist, Types);

// m rows in a _D2 block and a row table, and one vector with its weights.
template <class T>
struct MahData {
  int n, m;
  Matrix2D<T> rows, rowW;
  Buffer<T> vec, vecW;
  MahData(Rng& rng, int n_, int m_, std::size_t mis)
      : n(n_), m(m_), rows(m_, n_, n_ + 1, mis * sizeof(T)), rowW(m_, n_, n_ + 1, mis * sizeof(T)),
        vec(std::size_t(n_), mis * sizeof(T)), vecW(std::size_t(n_), mis * sizeof(T)) {
    for (int r = 0; r < m; ++r)
      for (int i = 0; i < n; ++i) {
        rows.at(r, i) = T(rng.uniform(-3, 3));
        rowW.at(r, i) = T(rng.uniform(0.1, 3));
      }
    for (int i = 0; i < n; ++i) {
      vec[std::size_t(i)] = T(rng.uniform(-3, 3));
      vecW[std::size_t(i)] = T(rng.uniform(0.1, 3));
    }
  }
};

// The single-vector distances against the reference; then every row of the many-row members
// (rows scattered for _D2L, second names included) on every target and offset: that distance,
// bit for bit.
TYPED_TEST(MahDist, EveryLayoutAndTargetMatchesTheReference) {
  using T = TypeParam;
  using Api = MahApi<T>;
  Rng rng(31);
  for (int n : {1, 7, 8, 9, 15, 16, 17, 39, 64, 65})
    for (std::size_t mis = 0; mis < 4; ++mis) {
      MahData<T> d(rng, n, 9, mis);
      std::vector<T> one(9), many(9);
      for (int j = 0; j < 9; ++j) {
        const T* row = d.rows.rowTable()[j];
        const T* rowW = d.rowW.rowTable()[j];
        PinnedTarget scalar(Target::kScalar);
        ASSERT_EQ(kelOk, Api::single(row, d.vec.data(), d.vecW.data(), n, &one[std::size_t(j)]));
        ASSERT_EQ(kelOk, Api::single(d.vec.data(), row, rowW, n, &many[std::size_t(j)]));
        const Ref r1 = 2 * refHalfDist(row, d.vec.data(), d.vecW.data(), n, 0);
        const Ref r2 = 2 * refHalfDist(d.vec.data(), row, rowW, n, 0);
        EXPECT_NEAR(double(r1), double(one[std::size_t(j)]), 4 * Api::kEps * (n + 8) * double(r1)) << n;
        EXPECT_NEAR(double(r2), double(many[std::size_t(j)]), 4 * Api::kEps * (n + 8) * double(r2)) << n;
      }
      d.rows.scatter({mis * sizeof(T), 0, sizeof(T)});  // the _D2 blocks keep their rows
      d.rowW.scatter({0, (3 - mis) * sizeof(T)});
      forEachTarget([&](Target tg) {
        std::vector<Canary<T>> out;
        for (int k = 0; k < 8; ++k) out.emplace_back(9, k == 0 ? mis * sizeof(T) : 0);
        const T** rowT = d.rows.constRowTable();
        const T** rowWT = d.rowW.constRowTable();
        ASSERT_EQ(kelOk, Api::d2(d.rows.base(), n + 1, d.vec.data(), d.vecW.data(), n, out[0].data(), 9));
        ASSERT_EQ(kelOk, Api::d2l(rowT, d.vec.data(), d.vecW.data(), n, out[1].data(), 9));
        ASSERT_EQ(kelOk, Api::d2b(d.rows.base(), n + 1, d.vec.data(), d.vecW.data(), n, out[2].data(), 9));
        ASSERT_EQ(kelOk, Api::d2lB(rowT, d.vec.data(), d.vecW.data(), n, out[3].data(), 9));
        ASSERT_EQ(kelOk, Api::multi(d.rows.base(), d.rowW.base(), n + 1, d.vec.data(), n, out[4].data(), 9));
        ASSERT_EQ(kelOk, Api::multiL(rowT, rowWT, d.vec.data(), n, out[5].data(), 9));
        ASSERT_EQ(kelOk, Api::multiB(d.rows.base(), d.rowW.base(), n + 1, d.vec.data(), n, out[6].data(), 9));
        ASSERT_EQ(kelOk, Api::multiLB(rowT, rowWT, d.vec.data(), n, out[7].data(), 9));
        for (int k = 0; k < 8; ++k) {
          EXPECT_TRUE(out[std::size_t(k)].guardsIntact()) << k;
          EXPECT_EQ(0, std::memcmp((k < 4 ? one : many).data(), out[std::size_t(k)].data(), 9 * sizeof(T)))
              << targetName(tg) << " n " << n << " member " << k;
        }
      });
    }
}

// _D2: step first, then pointers, then sizes; _D2L and Single: pointers, then sizes.
TYPED_TEST(MahDist, RejectsInOrderAndWritesNothing) {
  using T = TypeParam;
  using Api = MahApi<T>;
  Rng rng(34);
  MahData<T> d(rng, 5, 3, 0);
  Canary<T> out(3);
  const T* x = d.rows.base();
  const T* mu = d.vec.data();
  const T* w = d.vecW.data();
  EXPECT_EQ(kelErrStep, Api::d2(nullptr, 4, mu, w, 5, nullptr, 3));
  EXPECT_EQ(kelErrNullPtr, Api::d2(x, 6, nullptr, w, 5, out.data(), 3));
  EXPECT_EQ(kelErrNullPtr, Api::d2(x, 6, mu, w, 0, nullptr, 3));
  EXPECT_EQ(kelErrSize, Api::d2(x, 6, mu, w, 5, out.data(), 0));
  EXPECT_EQ(kelErrStep, Api::multi(nullptr, nullptr, 4, mu, 5, nullptr, 3));
  EXPECT_EQ(kelErrNullPtr, Api::multi(x, nullptr, 6, mu, 5, out.data(), 3));
  EXPECT_EQ(kelErrSize, Api::multi(x, x, 6, mu, 0, out.data(), 3));
  EXPECT_EQ(kelErrNullPtr, Api::d2l(nullptr, mu, w, 0, out.data(), 3));
  EXPECT_EQ(kelErrSize, Api::d2l(d.rows.constRowTable(), mu, w, 5, out.data(), 0));
  const T* holes[3] = {x, nullptr, x};
  EXPECT_EQ(kelErrNullPtr, Api::d2l(holes, mu, w, 5, out.data(), 3));
  EXPECT_EQ(kelErrNullPtr, Api::multiL(d.rows.constRowTable(), holes, mu, 5, out.data(), 3));
  EXPECT_EQ(kelErrNullPtr, Api::single(x, mu, nullptr, 0, out.data()));
  EXPECT_EQ(kelErrSize, Api::single(x, mu, w, 0, out.data()));
  EXPECT_TRUE(out.untouched());
}

TEST(MahDistSingle, SixteenBitFloatAndDoubleWideningMatchReference) {
  Rng rng(35);
  for (int n : {1, 8, 13, 40}) {
    const auto x = rng.uniformVec<Kels16s>(std::size_t(n), -3000, 3000);
    const auto m = rng.uniformVec<Kels16s>(std::size_t(n), -3000, 3000);
    const auto w = rng.uniformVec<Kels16s>(std::size_t(n), 1, 500);
    Kels32f f = 0;
    ASSERT_EQ(kelOk, kelsMahDistSingle_16s32f(x.data(), m.data(), w.data(), n, &f));
    const Ref want = 2 * refHalfDist(x.data(), m.data(), w.data(), n, 0);
    EXPECT_NEAR(double(want), double(f), 4 * 0x1p-23 * (n + 8) * double(want));
    const auto xf = rng.uniformVec<Kels32f>(std::size_t(n), -3, 3);
    const auto mf = rng.uniformVec<Kels32f>(std::size_t(n), -3, 3);
    const auto wf = rng.uniformVec<Kels32f>(std::size_t(n), 0.1, 3);
    Kels64f dd = 0;
    ASSERT_EQ(kelOk, kelsMahDistSingle_32f64f(xf.data(), mf.data(), wf.data(), n, &dd));
    const Ref wantD = 2 * refHalfDist(xf.data(), mf.data(), wf.data(), n, 0);
    EXPECT_NEAR(double(wantD), dd, 4 * 0x1p-52 * (n + 8) * double(wantD));  // the floats are exact in double
  }
}

// Exact 64-bit sum, then x 2^-sf rounded half to even and saturated (2147483647, no quirk).
TEST(MahDistSingle, IntegerResultIsExactlyRoundedAndSaturated) {
  Rng rng(36);
  for (int sf : {-1, 0, 1, 5, 16, 31, 40, 200, -200}) {
    const int n = 17;
    auto x = rng.uniformVec<Kels16s>(n, -400, 400);
    auto m = rng.uniformVec<Kels16s>(n, -400, 400);
    auto w = rng.uniformVec<Kels16s>(n, -50, 300);
    long long exact = 0;
    for (int i = 0; i < n; ++i) exact += (long long)(x[i] - m[i]) * (x[i] - m[i]) * w[i];
    Kels32s got = 0;
    ASSERT_EQ(kelOk, kelsMahDistSingle_16s32s_Sfs(x.data(), m.data(), w.data(), n, &got, sf));
    const int csf = std::max(-100, std::min(100, sf));
    EXPECT_EQ(refScaleRound<Kels32s>(Ref(exact), csf), got) << "sf " << sf;
  }
  const std::vector<Kels16s> lo(64, -32768), hi(64, 32767), big(64, 32767), neg(64, -32768);
  Kels32s got = 0;
  ASSERT_EQ(kelOk, kelsMahDistSingle_16s32s_Sfs(lo.data(), hi.data(), big.data(), 64, &got, 0));
  EXPECT_EQ(2147483647, got);
  ASSERT_EQ(kelOk, kelsMahDistSingle_16s32s_Sfs(lo.data(), hi.data(), neg.data(), 64, &got, 0));
  EXPECT_EQ(INT32_MIN, got);
  ASSERT_EQ(kelOk, kelsMahDistSingle_16s32s_Sfs(lo.data(), hi.data(), big.data(), 1, &got, 20));
  EXPECT_EQ(refScaleRound<Kels32s>(65535.0L * 65535.0L * 32767.0L, 20), got);
  const Kels16s one = 3, zero = 0, unit = 1;
  ASSERT_EQ(kelOk, kelsMahDistSingle_16s32s_Sfs(&one, &zero, &unit, 1, &got, 1));  // 9/2 ties to 4
  EXPECT_EQ(4, got);
}

}  // namespace
}  // namespace kels::test::mixture
