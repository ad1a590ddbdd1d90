// Delta features: every streaming member against a long-double regression with replicated ends,
// any split of an utterance equal to the one-call rows, the documented edge cases, integer
// rounding, EvalDelta's deliberate edge rule, and check orders with nothing written on failure.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <kelsr.h>

#include "support/reference.h"
#include "support/rng.h"

namespace kels::test {
namespace {

template <class E>
struct Params {
  E s1, s2;               // scalar scales
  std::vector<E> m1, m2;  // per-coefficient multipliers of the Mul members
  int sf;
  const E* mul1() const { return m1.empty() ? nullptr : m1.data(); }
  const E* mul2() const { return m2.empty() ? nullptr : m2.data(); }
};

template <class E>
using StreamFn = std::function<KelsStatus(const E*, int, E*, int, int, int, const Params<E>&)>;

template <class E>
struct StreamMember {
  std::string name;
  int d1, d2;  // regression half-widths of delta and delta-delta (0: none)
  bool mul;
  StreamFn<E> call;
  int overlap() const { return d2 == 0 ? 2 * d1 : d1 == 1 ? 3 : d1 == 2 ? 6 : 8; }  // as documented
  int cols() const { return d2 > 0 ? 3 : 2; }
};

std::vector<StreamMember<Kels32f>> floatMembers() {
  using P = const Params<Kels32f>&;
  using C = const Kels32f*;
  using D = Kels32f*;
  return {
      {"Delta_Win1", 1, 0, false, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDelta_Win1_32f_D2(s, w, d, S, T, p.s1, f); }},
      {"Delta_Win2", 2, 0, false, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDelta_Win2_32f_D2(s, w, d, S, T, p.s1, f); }},
      {"DeltaDelta_Win1", 1, 1, false, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaDelta_Win1_32f_D2(s, w, d, S, T, p.s1, p.s2, f); }},
      {"DeltaDelta_Win2", 2, 2, false, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaDelta_Win2_32f_D2(s, w, d, S, T, p.s1, p.s2, f); }},
      {"DeltaMul_Win1", 1, 0, true, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaMul_Win1_32f_D2(s, w, d, S, T, p.mul1(), f); }},
      {"DeltaMul_Win2", 2, 0, true, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaMul_Win2_32f_D2(s, w, d, S, T, p.mul1(), f); }},
      {"DeltaDeltaMul_Win1", 1, 1, true, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaDeltaMul_Win1_32f_D2(s, w, d, S, T, p.mul1(), p.mul2(), f); }},
      {"DeltaDeltaMul_Win2", 2, 2, true, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaDeltaMul_Win2_32f_D2(s, w, d, S, T, p.mul1(), p.mul2(), f); }},
      {"DeltaDelta_Aurora", 4, 2, false, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaDelta_Aurora_32f_D2(s, w, d, S, T, p.s1, p.s2, f); }},
      {"DeltaDeltaMul_Aurora", 4, 2, true, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaDeltaMul_Aurora_32f_D2(s, w, d, S, T, p.mul1(), p.mul2(), f); }},
  };
}

std::vector<StreamMember<Kels16s>> fixedMembers() {
  using P = const Params<Kels16s>&;
  using C = const Kels16s*;
  using D = Kels16s*;
  return {
      {"Delta_Win1_16s", 1, 0, false, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDelta_Win1_16s_D2Sfs(s, w, d, S, T, p.s1, f, p.sf); }},
      {"Delta_Win2_16s", 2, 0, false, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDelta_Win2_16s_D2Sfs(s, w, d, S, T, p.s1, f, p.sf); }},
      {"DeltaDelta_Win1_16s", 1, 1, false, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaDelta_Win1_16s_D2Sfs(s, w, d, S, T, p.s1, p.s2, f, p.sf); }},
      {"DeltaDelta_Win2_16s", 2, 2, false, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaDelta_Win2_16s_D2Sfs(s, w, d, S, T, p.s1, p.s2, f, p.sf); }},
      {"DeltaMul_Win1_16s", 1, 0, true, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaMul_Win1_16s_D2Sfs(s, w, d, S, T, p.mul1(), f, p.sf); }},
      {"DeltaMul_Win2_16s", 2, 0, true, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaMul_Win2_16s_D2Sfs(s, w, d, S, T, p.mul1(), f, p.sf); }},
      {"DeltaDeltaMul_Win1_16s", 1, 1, true, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaDeltaMul_Win1_16s_D2Sfs(s, w, d, S, T, p.mul1(), p.mul2(), f, p.sf); }},
      {"DeltaDeltaMul_Win2_16s", 2, 2, true, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaDeltaMul_Win2_16s_D2Sfs(s, w, d, S, T, p.mul1(), p.mul2(), f, p.sf); }},
      {"DeltaDelta_Aurora_16s", 4, 2, false, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaDelta_Aurora_16s_D2Sfs(s, w, d, S, T, p.s1, p.s2, f, p.sf); }},
      {"DeltaDeltaMul_Aurora_16s", 4, 2, true, [](C s, int w, D d, int S, int T, int f, P p) { return kelsDeltaDeltaMul_Aurora_16s_D2Sfs(s, w, d, S, T, p.mul1(), p.mul2(), f, p.sf); }},
  };
}

template <class E> std::vector<StreamMember<E>> members() {
  if constexpr (std::is_same_v<E, Kels32f>) return floatMembers(); else return fixedMembers();
}

template <class E>
Params<E> params(Rng& rng, int w) {
  if constexpr (std::is_same_v<E, Kels32f>) {
    return {0.5f, -1.25f, rng.uniformVec<Kels32f>(std::size_t(w), -2, 2), rng.uniformVec<Kels32f>(std::size_t(w), -2, 2), 0};
  } else {
    return {Kels16s(rng.integer(-300, 300)), Kels16s(rng.integer(-300, 300)),
            rng.uniformVec<Kels16s>(std::size_t(w), -300, 300), rng.uniformVec<Kels16s>(std::size_t(w), -300, 300), 6};
  }
}

template <class E>
std::vector<E> frames(Rng& rng, int T, int w) {
  return std::is_same_v<E, Kels32f> ? rng.uniformVec<E>(std::size_t(T) * w, -1, 1) : rng.uniformVec<E>(std::size_t(T) * w, -20000, 20000);
}

// Whole-utterance reference, rows of statics, deltas and delta-deltas. Ends replicated; a
// regression is sum_tau tau (y[t+tau] - y[t-tau]) times the multiplier. Integer members round
// each delta (x 2^-sf, ties to even, saturated) and difference the rounded deltas.
template <class E>
std::vector<Ref> reference(const std::vector<E>& x, int T, int w, const StreamMember<E>& m, const Params<E>& p) {
  const int cols = m.cols();
  std::vector<Ref> out(std::size_t(T) * cols * w);
  auto at = [&](int t, int c, int i) -> Ref& { return out[(std::size_t(t) * cols + c) * w + i]; };
  for (int t = 0; t < T; ++t)
    for (int i = 0; i < w; ++i) at(t, 0, i) = Ref(x[std::size_t(t) * w + i]);
  auto regress = [&](int from, int to, int D, bool second) {
    for (int t = 0; t < T; ++t)
      for (int i = 0; i < w; ++i) {
        Ref s = 0;
        for (int tau = 1; tau <= D; ++tau)
          s += tau * (at(std::min(t + tau, T - 1), from, i) - at(std::max(t - tau, 0), from, i));
        const Ref mul = m.mul ? Ref((second ? p.m2 : p.m1)[std::size_t(i)]) : Ref(second ? p.s2 : p.s1);
        at(t, to, i) = std::is_same_v<E, Kels16s> ? Ref(refScaleRound<Kels16s>(s * mul, p.sf)) : s * mul;
      }
  };
  regress(0, 1, m.d1, false);
  if (m.d2 > 0) regress(1, 2, m.d2, true);
  return out;
}

// The W1/W2 names are the same entry points as the _Win1/_Win2 ones.
TEST(DeltaAliases, SameEntryPoints) {
  EXPECT_TRUE((void*)&kelsDeltaW1_32f_D2 == (void*)&kelsDelta_Win1_32f_D2 && (void*)&kelsDeltaW2_32f_D2 == (void*)&kelsDelta_Win2_32f_D2);
  EXPECT_TRUE((void*)&kelsDeltaDeltaW1_32f_D2 == (void*)&kelsDeltaDelta_Win1_32f_D2 && (void*)&kelsDeltaDeltaW2_32f_D2 == (void*)&kelsDeltaDelta_Win2_32f_D2);
}

template <class T> class DeltaStream : public ::testing::Test {};
using ElementTypes = ::testing::Types<Kels32f, Kels16s>;
TYPED_TEST_SUITE(DeltaStream, ElementTypes);

constexpr int kPad = 3;  // extra columns at the end of each destination row: never written

// One call against the reference, writing only its columns of its rows; then the same frames fed
// in random chunks of at least the overlap (begin flag first, end flag last, each destination
// placed P rows before the end of what the previous call wrote) give the same bits.
TYPED_TEST(DeltaStream, OneCallMatchesReferenceAndAnySplitGivesTheSameRows) {
  using E = TypeParam;
  Rng rng(21);
  for (const auto& m : members<E>()) {
    const int P = m.overlap();
    for (int w : {1, 3, 8, 13}) {
      for (int T : {P, P + 1, 2 * P + 3, 40, P * rng.integer(2, 5) + rng.integer(0, 2 * P)}) {
        const Params<E> p = params<E>(rng, w);
        const auto x = frames<E>(rng, T, w);
        const int S = m.cols() * w + kPad;
        std::vector<E> whole(std::size_t(T + 1) * S, E(77));
        ASSERT_EQ(m.call(x.data(), w, whole.data(), S, T, 3, p), kelOk) << m.name;
        const auto ref = reference(x, T, w, m, p);
        for (std::size_t k = 0; k < whole.size(); ++k) {
          const std::size_t t = k / S, c = k % S;
          const bool outside = t >= std::size_t(T) || c >= std::size_t(m.cols() * w);
          const Ref want = outside ? Ref(77) : ref[t * m.cols() * w + c];  // integer references are exact
          const Ref tol = std::is_same_v<E, Kels16s> || outside ? 0 : 1e-4L * (1 + std::fabs(want));
          ASSERT_NEAR(whole[k], want, tol)
              << m.name << " w " << w << " T " << T << " index " << k;
        }
        std::vector<E> split(whole.size(), E(77));
        int done = 0, rowAt = 0, calls = 0;  // frames consumed; destination row of this call
        while (done < T) {
          const int n = T - done < 2 * P ? T - done : rng.integer(P, std::max(P, (T - done) - P));
          const int flags = (done == 0 ? 1 : 0) | (done + n == T ? 2 : 0);
          ASSERT_EQ(m.call(x.data() + std::size_t(done) * w, w, split.data() + std::size_t(rowAt) * S, S, n, flags, p), kelOk)
              << m.name << " call " << calls;
          rowAt += (done == 0 ? 0 : P) + n - P;
          done += n;
          ++calls;
        }
        EXPECT_EQ(std::memcmp(whole.data(), split.data(), whole.size() * sizeof(E)), 0)
            << m.name << " w " << w << " T " << T << " in " << calls << " calls";
      }
    }
  }
}

TYPED_TEST(DeltaStream, RejectsInOrderAndWritesNothing) {
  using E = TypeParam;
  Rng rng(4);
  for (const auto& m : members<E>()) {
    const int w = 4, P = m.overlap(), T = P + 2, S = m.cols() * w;
    Params<E> p = params<E>(rng, w);
    const auto x = frames<E>(rng, T, w);
    std::vector<E> dst(std::size_t(T) * S + 8, E(9));
    const auto before = dst;
    struct Case { const char* what; KelsStatus want; const E* src; int w; E* dst; int S; int T; bool nullMul1, nullMul2; };
    const Case cases[] = {
        {"null source, w 0", kelErrNullPtr, nullptr, 0, dst.data(), S, T, false, false},
        {"null destination, T 0", kelErrNullPtr, x.data(), w, nullptr, S, 0, false, false},
        {"null first multipliers, w 0", kelErrNullPtr, x.data(), 0, dst.data(), S, T, true, false},
        {"null second multipliers, short step", kelErrNullPtr, x.data(), w, dst.data(), 0, T, false, true},
        {"w 0, short step", kelErrSize, x.data(), 0, dst.data(), -1, T, false, false},
        {"T below overlap, short step", kelErrSize, x.data(), w, dst.data(), S - 1, P - 1, false, false},
        {"short step", kelErrStep, x.data(), w, dst.data(), S - 1, T, false, false},
    };
    for (const Case& c : cases) {
      if ((c.nullMul1 || c.nullMul2) && !m.mul) continue;
      if (c.nullMul2 && m.d2 == 0) continue;
      Params<E> q = p;
      if (c.nullMul1) q.m1 = {};
      if (c.nullMul2) q.m2 = {};
      EXPECT_EQ(m.call(c.src, c.w, c.dst, c.S, c.T, 3, q), c.want) << m.name << ": " << c.what;
      EXPECT_EQ(dst, before) << m.name << ": " << c.what;
    }
    EXPECT_EQ(m.call(x.data(), w, dst.data(), S, P, 3, p), kelOk) << m.name << ": T equal to the overlap";
  }
}

// Integer deltas are exact before the scale factor: 65535 * 32767 = 2147385345 is 32766.50002
// after sf 16 (in float the product would round to 2147385344, a tie that goes to 32766).
TEST(DeltaInt, ExactProductThenScaleRoundHalfEvenSaturate) {
  struct Case { Kels16s x0, x1, s; int sf; Kels16s want; };
  const Case cases[] = {
      {0, 3, 1, 1, 2},              // 1.5 -> 2
      {0, 5, 1, 1, 2},              // 2.5 -> 2
      {0, -5, 1, 1, -2},            // -2.5 -> -2
      {0, 7, 3, -1, 42},                  // doubled
      {-32768, 32767, 32767, 16, 32767},   // just above the tie
      {-32768, 32767, -32768, 16, -32768}, // -32767.5 -> -32768
      {-32768, 32767, 32767, 0, 32767},    // saturated
      {-32768, 32767, -32768, 0, -32768},
      {0, 100, 1, 200, 0},                 // beyond 150: 0
  };
  for (const Case& c : cases) {
    const Kels16s x[2] = {c.x0, c.x1};
    Kels16s d[4] = {};
    ASSERT_EQ(kelsDelta_Win1_16s_D2Sfs(x, 1, d, 2, 2, c.s, 3, c.sf), kelOk);
    EXPECT_EQ(d[1], c.want) << c.x0 << " " << c.x1 << " s " << c.s << " sf " << c.sf;
    EXPECT_EQ(d[3], c.want);
  }
}

// ---- EvalDelta ----

template <class E>
struct EvalMember {
  std::string name;
  bool mul;
  std::function<KelsStatus(E*, int, int, int, int, int, const Params<E>&)> call;
};

template <class E> std::vector<EvalMember<E>> evalMembers() {
  using P = const Params<E>&;
  if constexpr (std::is_same_v<E, Kels32f>)
    return {{"EvalDelta_32f", false, [](E* b, int T, int S, int w, int off, int W, P p) { return kelsEvalDelta_32f_D2(b, T, S, w, off, W, p.s1); }},
            {"EvalDeltaMul_32f", true, [](E* b, int T, int S, int w, int off, int W, P p) { return kelsEvalDeltaMul_32f_D2(b, T, S, w, off, W, p.mul1()); }}};
  else
    return {{"EvalDelta_16s", false, [](E* b, int T, int S, int w, int off, int W, P p) { return kelsEvalDelta_16s_D2Sfs(b, T, S, w, off, W, p.s1, p.sf); }},
            {"EvalDeltaMul_16s", true, [](E* b, int T, int S, int w, int off, int W, P p) { return kelsEvalDeltaMul_16s_D2Sfs(b, T, S, w, off, W, p.mul1(), p.sf); }}};
}

template <class T> class EvalDelta : public ::testing::Test {};
TYPED_TEST_SUITE(EvalDelta, ElementTypes);

// Reference with the deliberate edge rule: rows t < W take row 0 for every backward term, rows
// t >= T - W take row T - 1 for every forward term.
TYPED_TEST(EvalDelta, MatchesReferenceWithItsEdgeRuleAndWritesOnlyDeltas) {
  using E = TypeParam;
  Rng rng(13);
  for (const auto& m : evalMembers<E>()) {
    for (int W : {1, 2, 3, 5}) {
      for (int T : {2 * W, 2 * W + 1, 17}) {
        for (int off : {0, 2}) {
          const int w = 5, S = off + 2 * w + 1;
          const Params<E> p = params<E>(rng, w);
          auto block = frames<E>(rng, T, S);
          const auto before = block;
          ASSERT_EQ(m.call(block.data(), T, S, w, off, W, p), kelOk) << m.name;
          for (int t = 0; t < T; ++t) {
            for (int c = 0; c < S; ++c) {
              const std::size_t k = std::size_t(t) * S + c;
              if (c < off + w || c >= off + 2 * w) {
                ASSERT_EQ(block[k], before[k]) << m.name << " column " << c << " changed";
                continue;
              }
              const int i = c - off - w;
              Ref s = 0;
              for (int tau = 1; tau <= W; ++tau) {
                const int f = t >= T - W ? T - 1 : t + tau, b = t < W ? 0 : t - tau;
                s += tau * (Ref(before[std::size_t(f) * S + off + i]) - Ref(before[std::size_t(b) * S + off + i]));
              }
              const Ref want = s * (m.mul ? Ref(p.m1[std::size_t(i)]) : Ref(p.s1));
              if constexpr (std::is_same_v<E, Kels32f>) ASSERT_NEAR(block[k], want, 1e-4L * (1 + std::fabs(want))) << m.name << " W " << W << " T " << T << " row " << t;
              else ASSERT_EQ(block[k], refScaleRound<Kels16s>(want, p.sf)) << m.name << " W " << W << " T " << T << " row " << t;
            }
          }
        }
      }
    }
  }
}

TYPED_TEST(EvalDelta, RejectsInOrderAndWritesNothing) {
  using E = TypeParam;
  Rng rng(2);
  for (const auto& m : evalMembers<E>()) {
    const int T = 6, w = 3, S = 2 * w + 1, W = 2;
    Params<E> p = params<E>(rng, w);
    auto block = frames<E>(rng, T, S);
    const auto before = block;
    struct Case { const char* what; KelsStatus want; bool nullBlock, nullMul; int T, S, w, off, W; };
    const Case cases[] = {
        {"null block, T 0", kelErrNullPtr, true, false, 0, S, w, 0, W},
        {"null multipliers, short step", kelErrNullPtr, false, true, T, 0, w, 0, W},
        {"T 0", kelErrSize, false, false, 0, S, w, 0, W},
        {"w 0, short step", kelErrSize, false, false, T, -5, 0, 0, W},
        {"W 0", kelErrSize, false, false, T, S, w, 0, 0},
        {"offset -1", kelErrSize, false, false, T, S, w, -1, W},
        {"T = 2W - 1, short step", kelErrSize, false, false, 2 * W - 1, 1, w, 0, W},
        {"step below 2w + offset", kelErrStep, false, false, T, S, w, 2, W},
    };
    for (const Case& c : cases) {
      if (c.nullMul && !m.mul) continue;
      Params<E> q = p;
      if (c.nullMul) q.m1 = {};
      EXPECT_EQ(m.call(c.nullBlock ? nullptr : block.data(), c.T, c.S, c.w, c.off, c.W, q), c.want) << m.name << ": " << c.what;
      EXPECT_EQ(block, before) << m.name << ": " << c.what;
    }
    EXPECT_EQ(m.call(block.data(), 2 * W, S, w, 1, W, p), kelOk) << m.name << ": T = 2W, step = 2w + offset";
  }
}

}  // namespace
}  // namespace kels::test
