// Every derived mixture member against long-double references, across layouts, alignments and
// targets; the check orders; the scratch memory of the Add families and of Mixture.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/alloc.h"
#include "mixture_members.h"
#include "mixture_ref.h"
#include "support/canary.h"
#include "support/targets.h"

namespace kels::test::mixture {
namespace {

template <class P>
class MixtureMembers : public ::testing::Test {};
using Sets = ::testing::Types<std::pair<Kels32f, Kels32f>, std::pair<Kels64f, Kels64f>, std::pair<Kels16s, Kels32f>,
                              std::pair<Kels16s, Kels32s>>;
TYPED_TEST_SUITE(MixtureMembers, Sets);

template <class E, class R>
int outCount(const Member<E, R>& mb, int count) { return mb.family == Family::kMixture ? 1 : count; }

// In-out values on entry: g_j for MultiMix, otherwise near each score, so that both outcomes of
// Max and the log-add correction are exercised.
template <class E, class R>
std::vector<R> entryValues(const Member<E, R>& mb, Problem<E, R>& p, Rng& rng) {
  std::vector<R> v(std::size_t(outCount(mb, p.count)));
  if (mb.family == Family::kMixture) return v;
  for (int j = 0; j < p.count; ++j) {
    if (mb.family == Family::kMultiMix) {
      v[std::size_t(j)] = p.g[std::size_t(j)];
      continue;
    }
    const Ref gj = oneGaussian(mb.family) ? Ref(p.g0) : Ref(p.g[std::size_t(j)]);
    Ref tol;
    const Ref r = p.score(mb, j, gj, &tol);
    // Integers keep off the score itself: scaled by 2^sf, a tie and a near-tie merge differently.
    if constexpr (std::is_integral_v<R>)
      v[std::size_t(j)] = R(std::llround(r) + rng.integer(1, 3) * (rng.integer(0, 1) ? 1 : -1));
    else
      v[std::size_t(j)] = R(r + rng.uniform(-3, 3));
  }
  return v;
}

// Expected outputs and bounds, from the formulas.
template <class E, class R>
std::vector<Ref> expected(const Member<E, R>& mb, Problem<E, R>& p, const std::vector<R>& entry,
                          std::vector<Ref>* tol) {
  const Ref unit = intResult(mb.kind) ? std::ldexp(1.0L, p.sf) : 1.0L;  // an integer k is k 2^sf
  const Ref logEps = sizeof(R) == 8 ? 1e-12L : 4e-7L;
  const LogDomain ld = sizeof(R) == 8 ? kLog64 : kLog32;
  std::vector<Ref> out, comp;
  Ref compTol = 0;
  tol->clear();
  for (int j = 0; j < p.count; ++j) {
    const Family f = mb.family;
    const Ref old = Ref(entry[std::size_t(f == Family::kMixture ? 0 : j)]);
    const Ref gj = oneGaussian(f) ? Ref(p.g0) : f == Family::kMultiMix ? old : Ref(p.g[std::size_t(j)]);
    Ref t;
    Ref r = p.score(mb, j, gj, &t);
    if (intResult(mb.kind) && (f == Family::kAdd || f == Family::kAddMultiMix || f == Family::kMixture))
      r = refRoundEven(r);  // the integer score is what enters the log domain
    switch (f) {
      case Family::kMultiMix: out.push_back(r); tol->push_back(t); break;
      case Family::kMax:
      case Family::kMaxMultiMix: out.push_back(std::max(old, r)); tol->push_back(t); break;
      case Family::kAdd:
      case Family::kAddMultiMix: {
        const Ref e = refLogAdd(old * unit, r * unit, ld) / unit;
        out.push_back(e);
        tol->push_back(t + logEps * (1 + std::fabs(e)) + (intResult(mb.kind) ? 1 : 0));
        break;
      }
      case Family::kMixture: comp.push_back(r * unit); compTol = std::max(compTol, t); break;
    }
  }
  if (mb.family == Family::kMixture) {
    const Ref e = refLogSum(comp, ld) / unit;
    out.push_back(e);
    tol->push_back(compTol + logEps * (1 + std::fabs(e)) * std::sqrt(Ref(p.count)) + (intResult(mb.kind) ? 1 : 0));
  }
  return out;
}

// Each _D2 member on the scalar target, aligned, against the long-double reference; then bits,
// not closeness: every target, every offset, _D2 and _D2L (rows scattered and misaligned) give
// what the scalar kernel gave.
TYPED_TEST(MixtureMembers, MatchReferenceAndSameBitsEverywhere) {
  using E = typename TypeParam::first_type;
  using R = typename TypeParam::second_type;
  const auto& all = members<E, R>();
  const std::vector<int> sfs = sizeof(E) == 2 ? std::vector<int>{0, 3, -1, 9, 17} : std::vector<int>{0};
  for (const auto& mb : all) {
    if (mb.d2l) continue;
    const std::string lname = std::string(mb.name).replace(std::string(mb.name).rfind("_D2"), 3, "_D2L");
    const auto l = std::find_if(all.begin(), all.end(), [&](const auto& m) { return lname == m.name; });
    ASSERT_NE(all.end(), l) << mb.name;
    for (int n : {1, 7, 8, 9, 13, 15, 16, 17, 39, 64, 65})
      for (int count : {1, 6, 9, 67}) {
        const int sf = mb.hasSf ? sfs[std::size_t(n + count) % sfs.size()] : 0;
        std::vector<R> base;
        for (std::size_t mis = 0; mis < 8; ++mis) {
          const bool wide = mis >= 4;  // a second pass on wide data, bits only
          Rng same(std::uint32_t(n * 100 + count + (wide ? 1 : 0)));
          Problem<E, R> p(same, n, count, sf, mis % 4, wide);
          const std::vector<R> entry = entryValues(mb, p, same);
          auto runOn = [&](const Member<E, R>& m) {
            Canary<R> out(entry.size(), mis % 4 * sizeof(R));
            out.assign(entry);
            EXPECT_EQ(kelOk, m.call(p.args(m, out.data()))) << m.name;
            EXPECT_TRUE(out.guardsIntact()) << m.name;
            return out.values();
          };
          if (mis % 4 == 0) {
            PinnedTarget pin(Target::kScalar);
            base = runOn(mb);
            std::vector<Ref> tol;
            const std::vector<Ref> want = expected(mb, p, entry, &tol);
            for (std::size_t j = 0; j < want.size() && !wide; ++j)
              ASSERT_NEAR(double(want[j]), double(base[j]), double(tol[j]))
                  << mb.name << " n " << n << " count " << count << " sf " << sf << " row " << j;
          }
          auto sameAsBase = [&](const Member<E, R>& m, Target t) {
            const std::vector<R> got = runOn(m);
            EXPECT_EQ(0, std::memcmp(base.data(), got.data(), base.size() * sizeof(R)))
                << m.name << " " << targetName(t) << " n " << n << " count " << count << " off " << mis;
          };
          forEachTarget([&](Target t) { sameAsBase(mb, t); });
          p.rows.scatter({mis % 4 * sizeof(E), 0, sizeof(E)});
          p.rowVars.scatter({0, (3 - mis % 4) * sizeof(E)});
          forEachTarget([&](Target t) { sameAsBase(*l, t); });
        }
      }
  }
}

// Rejections return the first failing check of the family's order and write nothing.
TYPED_TEST(MixtureMembers, RejectInOrderAndWriteNothing) {
  using E = typename TypeParam::first_type;
  using R = typename TypeParam::second_type;
  using A = Args<E, R>;
  Rng rng(3);
  for (const auto& mb : members<E, R>()) {
    const bool mixture = mb.family == Family::kMixture;
    const bool d2 = !mb.d2l;
    // Step first in the fast _D2 families; Mixture checks pointers before the step.
    const KelsStatus shortStepNull = d2 && !mixture ? kelErrStep : kelErrNullPtr;
    const struct {
      const char* what;
      KelsStatus code;
      void (*apply)(A&);
    } faults[] = {
        {"null output", kelErrNullPtr, [](A& a) { a.dst = nullptr; }},
        {"null x", kelErrNullPtr, [](A& a) { a.x = nullptr; a.xRows = nullptr; }},
        {"null mean", kelErrNullPtr, [](A& a) { a.mean = nullptr; a.meanRows = nullptr; }},
        {"n 0", kelErrSize, [](A& a) { a.n = 0; }},
        {"count 0", kelErrSize, [](A& a) { a.count = 0; }},
        {"n 0 and null output", kelErrNullPtr, [](A& a) { a.n = 0; a.dst = nullptr; }},
        {"short step and null output", d2 ? shortStepNull : kelErrNullPtr, [](A& a) { a.step = a.n - 1; a.dst = nullptr; }},
        {"short step and count 0", d2 ? kelErrStep : kelErrSize, [](A& a) { a.step = a.n - 1; a.count = 0; }},
    };
    for (const auto& f : faults) {
      Problem<E, R> p(rng, 5, 4, 0, 0);
      const std::vector<R> entry = entryValues(mb, p, rng);
      Canary<R> out(entry.size());
      out.assign(entry);
      A a = p.args(mb, out.data());
      f.apply(a);
      EXPECT_EQ(f.code, mb.call(a)) << mb.name << ": " << f.what;
      EXPECT_TRUE(out.untouched()) << mb.name << ": " << f.what;
    }
  }
}

// Add and AddMultiMix keep up to 100 scores on the stack and allocate beyond; a refused
// allocation reports kelErrNullPtr (Mixture: kelErrMemAlloc) and writes nothing. Rows are
// independent, so 100 and 101 rows agree on the first 100.
TYPED_TEST(MixtureMembers, ScratchOnTheStackUpTo100) {
  using E = typename TypeParam::first_type;
  using R = typename TypeParam::second_type;
  for (const auto& mb : members<E, R>()) {
    const bool add = mb.family == Family::kAdd || mb.family == Family::kAddMultiMix;
    if (!add && mb.family != Family::kMixture) continue;
    Rng rng(5);
    Problem<E, R> p(rng, 9, 101, 2, 0);
    const std::vector<R> entry = entryValues(mb, p, rng);
    std::vector<R> got[2];
    for (int count : {100, 101}) {
      Canary<R> out(entry.size());
      out.assign(entry);
      Args<E, R> a = p.args(mb, out.data());
      a.count = count;
      const long before = kels::testing::allocationCount();
      ASSERT_EQ(kelOk, mb.call(a)) << mb.name;
      EXPECT_EQ(count == 101 ? 1 : 0, kels::testing::allocationCount() - before) << mb.name << " " << count;
      got[count - 100] = out.values();
    }
    if (add) {
      EXPECT_TRUE(std::memcmp(got[0].data(), got[1].data(), 100 * sizeof(R)) == 0) << mb.name;
    }
    Canary<R> out(entry.size());
    out.assign(entry);
    kels::testing::failNthAllocation(1);
    EXPECT_EQ(add ? kelErrNullPtr : kelErrMemAlloc, mb.call(p.args(mb, out.data()))) << mb.name;
    kels::testing::failNthAllocation(0);
    EXPECT_TRUE(out.untouched()) << mb.name;
  }
}

// A score equal to the held value keeps the held one: +0 does not replace -0.
TYPED_TEST(MixtureMembers, MaxKeepsTheOldValueOnTies) {
  using E = typename TypeParam::first_type;
  using R = typename TypeParam::second_type;
  if constexpr (std::is_floating_point_v<R>) {
    for (const auto& mb : members<E, R>()) {
      if (mb.family != Family::kMax && mb.family != Family::kMaxMultiMix) continue;
      Rng rng(9);
      Problem<E, R> p(rng, 6, 3, 0, 0);
      for (int j = 0; j < 3; ++j)  // every x equals its mean
        for (int c = 0; c < 6; ++c) p.rows.at(j, c) = p.vec[std::size_t(c)];
      std::fill(p.g.begin(), p.g.end(), R(0));
      p.g0 = 0;
      Canary<R> out(3);
      out.assign({R(-0.0), R(-0.0), R(-0.0)});
      ASSERT_EQ(kelOk, mb.call(p.args(mb, out.data()))) << mb.name;
      for (int j = 0; j < 3; ++j) EXPECT_TRUE(std::signbit(out[std::size_t(j)])) << mb.name;
    }
  }
}

}  // namespace
}  // namespace kels::test::mixture
