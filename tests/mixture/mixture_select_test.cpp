// Mixture_Select: selected Gaussians per frame from a bit table, most significant bit first;
// and the recogniser's inner loop, MultiMix then LogSum, against Mixture.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "core/alloc.h"
#include "mixture_ref.h"
#include "support/canary.h"
#include "support/targets.h"

namespace kels::test::mixture {
namespace {

template <class T>
struct SelectApi {
  static constexpr auto select = byType<T>(kelsLogGaussMixture_Select_32f_D2, kelsLogGaussMixture_Select_64f_D2);
  static constexpr auto multiMix = byType<T>(kelsLogGaussMultiMix_32f_D2, kelsLogGaussMultiMix_64f_D2);
  static constexpr auto mixture = byType<T>(kelsLogGaussMixture_32f_D2, kelsLogGaussMixture_64f_D2);
  static constexpr auto mixtureL = byType<T>(kelsLogGaussMixture_32f_D2L, kelsLogGaussMixture_64f_D2L);
  static constexpr auto logSum = byType<T>(kelsLogSum_32f, kelsLogSum_64f);
  static constexpr LogDomain kLd = sizeof(T) == 4 ? kLog32 : kLog64;
};

// T frames and G Gaussians of length n, all rows sharing one step.
template <class T>
struct SelectData {
  int n, G, frames, step, rowBytes;
  Matrix2D<T> x, mean, var;
  std::vector<T> g;
  std::vector<Kels8u> table;
  SelectData(Rng& rng, int n_, int G_, int T_)
      : n(n_), G(G_), frames(T_), step(n_ + 2), rowBytes((G_ + 7) / 8), x(T_, n_, n_ + 2, sizeof(T)),
        mean(G_, n_, n_ + 2), var(G_, n_, n_ + 2, 2 * sizeof(T)), g(std::size_t(G_)),
        table(std::size_t(T_) * std::size_t(rowBytes), 0) {
    for (int t = 0; t < frames; ++t)
      for (int i = 0; i < n; ++i) x.at(t, i) = T(rng.uniform(-2, 2));
    for (int j = 0; j < G; ++j) {
      for (int i = 0; i < n; ++i) {
        mean.at(j, i) = T(rng.uniform(-2, 2));
        var.at(j, i) = T(rng.uniform(0.2, 2));
      }
      g[std::size_t(j)] = T(rng.uniform(-20, -5));
    }
  }
  void set(int t, int j) { table[std::size_t(t * rowBytes + j / 8)] |= Kels8u(0x80 >> (j % 8)); }
  bool selected(int t, int j) const { return table[std::size_t(t * rowBytes + j / 8)] & (0x80 >> (j % 8)); }
  KelsStatus run(T* dst, T def) {
    return SelectApi<T>::select(x.base(), mean.base(), var.base(), step, n, g.data(), table.data(), G, dst, frames, def);
  }
};

template <class T>
class Select : public ::testing::Test {};
using Types = ::testing::Types<Kels32f, Kels64f>;
TYPED_TEST_SUITE(Select, Types);

// Frame 0 selects nothing (the default), frame 1 only the last Gaussian (its score written
// unchanged), the others at random; the same bits on every target, and spare bits ignored.
TYPED_TEST(Select, LogSumsTheSelectedScoresOfEachFrame) {
  using T = TypeParam;
  Rng rng(21);
  for (int G : {1, 8, 13, 20})
    for (int n : {1, 9, 39}) {
      SelectData<T> d(rng, n, G, 10);
      d.set(1, G - 1);
      for (int t = 2; t < 10; ++t)
        for (int j = 0; j < G; ++j)
          if (rng.integer(0, 9) < 4) d.set(t, j);
      std::vector<T> base;
      forEachTarget([&](Target tg) {
        Canary<T> out(10);
        ASSERT_EQ(kelOk, d.run(out.data(), T(-77)));
        ASSERT_TRUE(out.guardsIntact());
        if (tg == Target::kScalar) base = out.values();
        EXPECT_EQ(0, std::memcmp(base.data(), out.data(), 10 * sizeof(T))) << targetName(tg) << " G " << G;
      });
      for (int t = 0; t < 10; ++t) {
        std::vector<Ref> s;
        for (int j = 0; j < G; ++j)
          if (d.selected(t, j))
            s.push_back(Ref(d.g[std::size_t(j)]) -
                        refHalfDist(d.x.rowTable()[t], d.mean.rowTable()[j], d.var.rowTable()[j], n, 0));
        const Ref want = s.empty() ? Ref(-77) : refLogSum(s, SelectApi<T>::kLd);
        // Each log-add drops a correction below e^-15.3 (float) or 1e-10 (double).
        const double tol = sizeof(T) == 4 ? 2e-5 * (1 + std::fabs(double(want))) : 1.1e-10 * double(s.size() + 1);
        EXPECT_NEAR(double(want), double(base[std::size_t(t)]), tol) << "G " << G << " n " << n << " frame " << t;
      }
      T one = d.g[std::size_t(G - 1)];
      ASSERT_EQ(kelOk, SelectApi<T>::multiMix(d.mean.rowTable()[G - 1], d.var.rowTable()[G - 1], d.step,
                                              d.x.rowTable()[1], n, &one, 1));
      EXPECT_EQ(0, std::memcmp(&one, &base[1], sizeof(T))) << "G " << G;
      // The spare bits past G in each frame's last byte.
      for (int t = 0; t < 10; ++t)
        d.table[std::size_t(t * d.rowBytes + d.rowBytes - 1)] |= Kels8u(0xFF >> (G % 8 ? G % 8 : 8));
      std::vector<T> spare(10);
      ASSERT_EQ(kelOk, d.run(spare.data(), T(-77)));
      EXPECT_EQ(0, std::memcmp(spare.data(), base.data(), 10 * sizeof(T))) << "G " << G;
    }
}

// Pointers, then n, G and T, then the step; a refused counter array reports kelErrMemAlloc.
TYPED_TEST(Select, RejectsInOrderAndWritesNothing) {
  using T = TypeParam;
  Rng rng(24);
  SelectData<T> d(rng, 5, 9, 3);
  d.set(0, 0);
  auto call = [&](const T* x, const Kels8u* table, int step, int n, int G, int frames, T* dst) {
    return SelectApi<T>::select(x, d.mean.base(), d.var.base(), step, n, d.g.data(), table, G, dst, frames, T(0));
  };
  Canary<T> out(3);
  EXPECT_EQ(kelErrNullPtr, call(nullptr, d.table.data(), 2, 5, 9, 3, out.data()));
  EXPECT_EQ(kelErrNullPtr, call(d.x.base(), nullptr, 2, 0, 9, 3, out.data()));
  EXPECT_EQ(kelErrNullPtr, call(d.x.base(), d.table.data(), 7, 5, 9, 3, nullptr));
  EXPECT_EQ(kelErrSize, call(d.x.base(), d.table.data(), 2, 5, 0, 3, out.data()));
  EXPECT_EQ(kelErrSize, call(d.x.base(), d.table.data(), 7, 5, 9, 0, out.data()));
  EXPECT_EQ(kelErrSize, call(d.x.base(), d.table.data(), -1, 0, 9, 3, out.data()));
  EXPECT_EQ(kelErrStep, call(d.x.base(), d.table.data(), 4, 5, 9, 3, out.data()));
  kels::testing::failNthAllocation(1);
  EXPECT_EQ(kelErrMemAlloc, call(d.x.base(), d.table.data(), 7, 5, 9, 3, out.data()));
  kels::testing::failNthAllocation(0);
  EXPECT_TRUE(out.untouched());
}

// The recogniser's inner loop: the component scores of MultiMix, log-summed, are the mixture
// score, bit for bit, in both layouts and on every target.
TYPED_TEST(Select, MultiMixThenLogSumIsTheMixtureScore) {
  using T = TypeParam;
  Rng rng(25);
  for (int G : {1, 4, 37, 130}) {
    SelectData<T> d(rng, 39, G, 1);
    forEachTarget([&](Target tg) {
      std::vector<T> comp = d.g;
      ASSERT_EQ(kelOk, SelectApi<T>::multiMix(d.mean.base(), d.var.base(), d.step, d.x.base(), d.n, comp.data(), G));
      T viaLogSum = 0;
      ASSERT_EQ(kelOk, SelectApi<T>::logSum(comp.data(), &viaLogSum, G, 0));
      T mix = 0, mixL = 0;
      ASSERT_EQ(kelOk, SelectApi<T>::mixture(d.x.base(), d.mean.base(), d.var.base(), G, d.step, d.n, d.g.data(), &mix));
      ASSERT_EQ(kelOk, SelectApi<T>::mixtureL(d.x.base(), d.mean.constRowTable(), d.var.constRowTable(), G, d.n,
                                             d.g.data(), &mixL));
      EXPECT_EQ(0, std::memcmp(&viaLogSum, &mix, sizeof(T))) << targetName(tg) << " G " << G;
      EXPECT_EQ(0, std::memcmp(&viaLogSum, &mixL, sizeof(T))) << targetName(tg) << " G " << G;
    });
  }
}

}  // namespace
}  // namespace kels::test::mixture
