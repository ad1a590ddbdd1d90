// The calling convention the mixture tests use for every member: one argument record, unused
// fields ignored by members that lack them.
#pragma once

#include <vector>

#include <kelsr.h>

namespace kels::test::mixture {

enum class Family { kMax, kAdd, kMultiMix, kMaxMultiMix, kAddMultiMix, kMixture };
// kReal: 32f/64f; kScaled: 16s data, float result, 2^-sf; kInt: 16s data, 32-bit result;
// kLowF / kLowI: the 16-bit split evaluation (0 <= sf <= 15), float / 32-bit result.
enum class Kind { kReal, kScaled, kInt, kLowF, kLowI };

template <class E, class R>
struct Args {
  const E* x = nullptr;       // Max/Add: rows; others: the one vector
  int step = 0;
  const E** xRows = nullptr;
  const E* mean = nullptr;    // Max/Add: the one mean; others: rows
  const E* var = nullptr;
  const E** meanRows = nullptr;
  const E** varRows = nullptr;
  int n = 0;
  R* dst = nullptr;
  const R* g = nullptr;       // per-Gaussian constants
  R g0 = 0;                   // the one constant of Max/Add
  int count = 0;
  int sf = 0;
};

template <class E, class R>
struct Member {
  const char* name;
  Family family;
  bool d2l;
  bool weighted;
  Kind kind;
  bool hasSf;
  KelsStatus (*call)(const Args<E, R>&);
};

inline bool oneGaussian(Family f) { return f == Family::kMax || f == Family::kAdd; }

}  // namespace kels::test::mixture
