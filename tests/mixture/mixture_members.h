// Every derived mixture member behind one calling convention, so each rule is tested once over
// all of them: one entry per exported entry point, its form read off its name.
#pragma once

#include <string>
#include <type_traits>
#include <utility>
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
  KelsStatus (*call)(const Args<E, R>&);
  Family family = Family::kMax;
  bool d2l, weighted, hasSf;
  Kind kind;
  Member(const char* nm, KelsStatus (*fn)(const Args<E, R>&)) : name(nm), call(fn) {
    const std::string s = nm;
    auto has = [&](const char* part) { return s.find(part) != std::string::npos; };
    const std::string fam = s.substr(12, s.find('_') - 12);  // after "kelsLogGauss"
    const char* families[] = {"Max", "Add", "MultiMix", "MaxMultiMix", "AddMultiMix", "Mixture"};
    for (int i = 0; i < 6; ++i)
      if (fam == families[i]) family = Family(i);
    d2l = has("_D2L");
    weighted = !has("IdVar");
    hasSf = has("Scaled") || has("Sfs");
    kind = has("16s32s") ? (has("Low") ? Kind::kLowI : Kind::kInt)
           : has("16s32f") ? (has("Low") ? Kind::kLowF : Kind::kScaled) : Kind::kReal;
  }
};

inline bool oneGaussian(Family f) { return f == Family::kMax || f == Family::kAdd; }

// Each calling convention written once. The overload is chosen by the exact signature, so an
// entry point whose parameters stray from its family's pattern does not compile; WITH_SF appends
// the scale factor.
#define WITH_SF(...) (__VA_ARGS__, int)
#define SHAPE(params, ...)                                                                    \
  static KelsStatus run(KelsStatus(KELS_CALL* f) params, const A& a) { return f(__VA_ARGS__); } \
  static KelsStatus run(KelsStatus(KELS_CALL* f) WITH_SF params, const A& a) { return f(__VA_ARGS__, a.sf); }
#define SHAPES_OF(Name, ...)                                                \
  template <class E, class R>                                               \
  struct Name {                                                             \
    using A = Args<E, R>;                                                   \
    using P = const E*;                                                     \
    using L = const E**;                                                    \
    using G = const R*;                                                     \
    __VA_ARGS__                                                             \
    template <auto F> static KelsStatus call(const A& a) { return run(F, a); } \
  };

SHAPES_OF(OneShapes,  // Max, Add
  SHAPE((P, int, P, P, int, R*, int, R), a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0)
  SHAPE((L, P, P, int, R*, int, R), a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0)
  SHAPE((P, int, P, int, R*, int, R), a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0)
  SHAPE((L, P, int, R*, int, R), a.xRows, a.mean, a.n, a.dst, a.count, a.g0))
SHAPES_OF(MultiShapes,  // MultiMix
  SHAPE((P, P, int, P, int, R*, int), a.mean, a.var, a.step, a.x, a.n, a.dst, a.count)
  SHAPE((L, L, P, int, R*, int), a.meanRows, a.varRows, a.x, a.n, a.dst, a.count)
  SHAPE((P, int, P, int, R*, int), a.mean, a.step, a.x, a.n, a.dst, a.count)
  SHAPE((L, P, int, R*, int), a.meanRows, a.x, a.n, a.dst, a.count))
SHAPES_OF(MultiGShapes,  // MaxMultiMix, AddMultiMix
  SHAPE((P, P, int, P, int, G, R*, int), a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count)
  SHAPE((L, L, P, int, G, R*, int), a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count)
  SHAPE((P, int, P, int, G, R*, int), a.mean, a.step, a.x, a.n, a.g, a.dst, a.count)
  SHAPE((L, P, int, G, R*, int), a.meanRows, a.x, a.n, a.g, a.dst, a.count))
SHAPES_OF(MixShapes,  // Mixture
  SHAPE((P, P, P, int, int, int, G, R*), a.x, a.mean, a.var, a.count, a.step, a.n, a.g, a.dst)
  SHAPE((P, L, L, int, int, G, R*), a.x, a.meanRows, a.varRows, a.count, a.n, a.g, a.dst)
  SHAPE((P, P, int, int, int, G, R*), a.x, a.mean, a.count, a.step, a.n, a.g, a.dst)
  SHAPE((P, L, int, int, G, R*), a.x, a.meanRows, a.count, a.n, a.g, a.dst))

#define ONE(fn) {#fn, &OneShapes<E, R>::template call<fn>}
#define MM(fn) {#fn, &MultiShapes<E, R>::template call<fn>}
#define MMG(fn) {#fn, &MultiGShapes<E, R>::template call<fn>}
#define MIX(fn) {#fn, &MixShapes<E, R>::template call<fn>}

// The members of one element and result type, built once.
template <class E, class R>
const std::vector<Member<E, R>>& members() {
  using P = std::pair<E, R>;
  static const std::vector<Member<E, R>> all = [] {
    if constexpr (std::is_same_v<P, std::pair<Kels32f, Kels32f>>) {
      return std::vector<Member<E, R>>{
        ONE(kelsLogGaussMax_32f_D2), ONE(kelsLogGaussMax_32f_D2L), ONE(kelsLogGaussMax_IdVar_32f_D2),
        ONE(kelsLogGaussMax_IdVar_32f_D2L), ONE(kelsLogGaussAdd_32f_D2), ONE(kelsLogGaussAdd_32f_D2L),
        ONE(kelsLogGaussAdd_IdVar_32f_D2), ONE(kelsLogGaussAdd_IdVar_32f_D2L), MM(kelsLogGaussMultiMix_32f_D2),
        MM(kelsLogGaussMultiMix_32f_D2L), MM(kelsLogGaussMultiMix_IdVar_32f_D2),
        MM(kelsLogGaussMultiMix_IdVar_32f_D2L), MMG(kelsLogGaussMaxMultiMix_32f_D2),
        MMG(kelsLogGaussMaxMultiMix_32f_D2L), MMG(kelsLogGaussMaxMultiMix_IdVar_32f_D2),
        MMG(kelsLogGaussMaxMultiMix_IdVar_32f_D2L), MMG(kelsLogGaussAddMultiMix_32f_D2),
        MMG(kelsLogGaussAddMultiMix_32f_D2L), MMG(kelsLogGaussAddMultiMix_IdVar_32f_D2),
        MMG(kelsLogGaussAddMultiMix_IdVar_32f_D2L), MIX(kelsLogGaussMixture_32f_D2), MIX(kelsLogGaussMixture_32f_D2L),
        MIX(kelsLogGaussMixture_IdVar_32f_D2), MIX(kelsLogGaussMixture_IdVar_32f_D2L),
      };
    } else if constexpr (std::is_same_v<P, std::pair<Kels64f, Kels64f>>) {
      return std::vector<Member<E, R>>{
        ONE(kelsLogGaussMax_64f_D2), ONE(kelsLogGaussMax_64f_D2L), ONE(kelsLogGaussMax_IdVar_64f_D2),
        ONE(kelsLogGaussMax_IdVar_64f_D2L), ONE(kelsLogGaussAdd_64f_D2), ONE(kelsLogGaussAdd_64f_D2L),
        ONE(kelsLogGaussAdd_IdVar_64f_D2), ONE(kelsLogGaussAdd_IdVar_64f_D2L), MM(kelsLogGaussMultiMix_64f_D2),
        MM(kelsLogGaussMultiMix_64f_D2L), MM(kelsLogGaussMultiMix_IdVar_64f_D2),
        MM(kelsLogGaussMultiMix_IdVar_64f_D2L), MMG(kelsLogGaussMaxMultiMix_64f_D2),
        MMG(kelsLogGaussMaxMultiMix_64f_D2L), MMG(kelsLogGaussMaxMultiMix_IdVar_64f_D2),
        MMG(kelsLogGaussMaxMultiMix_IdVar_64f_D2L), MMG(kelsLogGaussAddMultiMix_64f_D2),
        MMG(kelsLogGaussAddMultiMix_64f_D2L), MMG(kelsLogGaussAddMultiMix_IdVar_64f_D2),
        MMG(kelsLogGaussAddMultiMix_IdVar_64f_D2L), MIX(kelsLogGaussMixture_64f_D2), MIX(kelsLogGaussMixture_64f_D2L),
        MIX(kelsLogGaussMixture_IdVar_64f_D2), MIX(kelsLogGaussMixture_IdVar_64f_D2L),
      };
    } else if constexpr (std::is_same_v<P, std::pair<Kels16s, Kels32f>>) {
      return std::vector<Member<E, R>>{
        ONE(kelsLogGaussMax_16s32f_D2), ONE(kelsLogGaussMax_16s32f_D2L), ONE(kelsLogGaussMax_Scaled_16s32f_D2),
        ONE(kelsLogGaussMax_Scaled_16s32f_D2L), ONE(kelsLogGaussMax_IdVar_16s32f_D2),
        ONE(kelsLogGaussMax_IdVar_16s32f_D2L), ONE(kelsLogGaussMax_IdVarScaled_16s32f_D2),
        ONE(kelsLogGaussMax_IdVarScaled_16s32f_D2L), ONE(kelsLogGaussMax_Low_16s32f_D2),
        ONE(kelsLogGaussMax_Low_16s32f_D2L), ONE(kelsLogGaussMax_LowScaled_16s32f_D2),
        ONE(kelsLogGaussMax_LowScaled_16s32f_D2L), ONE(kelsLogGaussMax_IdVarLow_16s32f_D2),
        ONE(kelsLogGaussMax_IdVarLow_16s32f_D2L), ONE(kelsLogGaussMax_IdVarLowScaled_16s32f_D2),
        ONE(kelsLogGaussMax_IdVarLowScaled_16s32f_D2L), ONE(kelsLogGaussAdd_16s32f_D2),
        ONE(kelsLogGaussAdd_16s32f_D2L), ONE(kelsLogGaussAdd_Scaled_16s32f_D2),
        ONE(kelsLogGaussAdd_Scaled_16s32f_D2L), ONE(kelsLogGaussAdd_IdVar_16s32f_D2),
        ONE(kelsLogGaussAdd_IdVar_16s32f_D2L), ONE(kelsLogGaussAdd_IdVarScaled_16s32f_D2),
        ONE(kelsLogGaussAdd_IdVarScaled_16s32f_D2L), ONE(kelsLogGaussAdd_Low_16s32f_D2),
        ONE(kelsLogGaussAdd_Low_16s32f_D2L), ONE(kelsLogGaussAdd_LowScaled_16s32f_D2),
        ONE(kelsLogGaussAdd_LowScaled_16s32f_D2L), ONE(kelsLogGaussAdd_IdVarLow_16s32f_D2),
        ONE(kelsLogGaussAdd_IdVarLow_16s32f_D2L), ONE(kelsLogGaussAdd_IdVarLowScaled_16s32f_D2),
        ONE(kelsLogGaussAdd_IdVarLowScaled_16s32f_D2L), MM(kelsLogGaussMultiMix_16s32f_D2),
        MM(kelsLogGaussMultiMix_16s32f_D2L), MM(kelsLogGaussMultiMix_Scaled_16s32f_D2),
        MM(kelsLogGaussMultiMix_Scaled_16s32f_D2L), MM(kelsLogGaussMultiMix_IdVar_16s32f_D2),
        MM(kelsLogGaussMultiMix_IdVar_16s32f_D2L), MM(kelsLogGaussMultiMix_IdVarScaled_16s32f_D2),
        MM(kelsLogGaussMultiMix_IdVarScaled_16s32f_D2L), MM(kelsLogGaussMultiMix_Low_16s32f_D2),
        MM(kelsLogGaussMultiMix_Low_16s32f_D2L), MM(kelsLogGaussMultiMix_LowScaled_16s32f_D2),
        MM(kelsLogGaussMultiMix_LowScaled_16s32f_D2L), MM(kelsLogGaussMultiMix_IdVarLow_16s32f_D2),
        MM(kelsLogGaussMultiMix_IdVarLow_16s32f_D2L), MM(kelsLogGaussMultiMix_IdVarLowScaled_16s32f_D2),
        MM(kelsLogGaussMultiMix_IdVarLowScaled_16s32f_D2L), MMG(kelsLogGaussMaxMultiMix_16s32f_D2),
        MMG(kelsLogGaussMaxMultiMix_16s32f_D2L), MMG(kelsLogGaussMaxMultiMix_Scaled_16s32f_D2),
        MMG(kelsLogGaussMaxMultiMix_Scaled_16s32f_D2L), MMG(kelsLogGaussMaxMultiMix_IdVar_16s32f_D2),
        MMG(kelsLogGaussMaxMultiMix_IdVar_16s32f_D2L), MMG(kelsLogGaussMaxMultiMix_IdVarScaled_16s32f_D2),
        MMG(kelsLogGaussMaxMultiMix_IdVarScaled_16s32f_D2L), MMG(kelsLogGaussMaxMultiMix_Low_16s32f_D2),
        MMG(kelsLogGaussMaxMultiMix_Low_16s32f_D2L), MMG(kelsLogGaussMaxMultiMix_LowScaled_16s32f_D2),
        MMG(kelsLogGaussMaxMultiMix_LowScaled_16s32f_D2L), MMG(kelsLogGaussMaxMultiMix_IdVarLow_16s32f_D2),
        MMG(kelsLogGaussMaxMultiMix_IdVarLow_16s32f_D2L), MMG(kelsLogGaussMaxMultiMix_IdVarLowScaled_16s32f_D2),
        MMG(kelsLogGaussMaxMultiMix_IdVarLowScaled_16s32f_D2L), MMG(kelsLogGaussAddMultiMix_16s32f_D2),
        MMG(kelsLogGaussAddMultiMix_16s32f_D2L), MMG(kelsLogGaussAddMultiMix_Scaled_16s32f_D2),
        MMG(kelsLogGaussAddMultiMix_Scaled_16s32f_D2L), MMG(kelsLogGaussAddMultiMix_IdVar_16s32f_D2),
        MMG(kelsLogGaussAddMultiMix_IdVar_16s32f_D2L), MMG(kelsLogGaussAddMultiMix_IdVarScaled_16s32f_D2),
        MMG(kelsLogGaussAddMultiMix_IdVarScaled_16s32f_D2L), MMG(kelsLogGaussAddMultiMix_Low_16s32f_D2),
        MMG(kelsLogGaussAddMultiMix_Low_16s32f_D2L), MMG(kelsLogGaussAddMultiMix_LowScaled_16s32f_D2),
        MMG(kelsLogGaussAddMultiMix_LowScaled_16s32f_D2L), MMG(kelsLogGaussAddMultiMix_IdVarLow_16s32f_D2),
        MMG(kelsLogGaussAddMultiMix_IdVarLow_16s32f_D2L), MMG(kelsLogGaussAddMultiMix_IdVarLowScaled_16s32f_D2),
        MMG(kelsLogGaussAddMultiMix_IdVarLowScaled_16s32f_D2L), MIX(kelsLogGaussMixture_16s32f_D2),
        MIX(kelsLogGaussMixture_16s32f_D2L), MIX(kelsLogGaussMixture_Scaled_16s32f_D2),
        MIX(kelsLogGaussMixture_Scaled_16s32f_D2L), MIX(kelsLogGaussMixture_IdVar_16s32f_D2),
        MIX(kelsLogGaussMixture_IdVar_16s32f_D2L), MIX(kelsLogGaussMixture_IdVarScaled_16s32f_D2),
        MIX(kelsLogGaussMixture_IdVarScaled_16s32f_D2L), MIX(kelsLogGaussMixture_Low_16s32f_D2),
        MIX(kelsLogGaussMixture_Low_16s32f_D2L), MIX(kelsLogGaussMixture_LowScaled_16s32f_D2),
        MIX(kelsLogGaussMixture_LowScaled_16s32f_D2L), MIX(kelsLogGaussMixture_IdVarLow_16s32f_D2),
        MIX(kelsLogGaussMixture_IdVarLow_16s32f_D2L), MIX(kelsLogGaussMixture_IdVarLowScaled_16s32f_D2),
        MIX(kelsLogGaussMixture_IdVarLowScaled_16s32f_D2L),
      };
    } else if constexpr (std::is_same_v<P, std::pair<Kels16s, Kels32s>>) {
      return std::vector<Member<E, R>>{
        ONE(kelsLogGaussMax_16s32s_D2Sfs), ONE(kelsLogGaussMax_16s32s_D2LSfs),
        ONE(kelsLogGaussMax_IdVar_16s32s_D2Sfs), ONE(kelsLogGaussMax_IdVar_16s32s_D2LSfs),
        ONE(kelsLogGaussMax_Low_16s32s_D2Sfs), ONE(kelsLogGaussMax_Low_16s32s_D2LSfs),
        ONE(kelsLogGaussMax_IdVarLow_16s32s_D2Sfs), ONE(kelsLogGaussMax_IdVarLow_16s32s_D2LSfs),
        ONE(kelsLogGaussAdd_16s32s_D2Sfs), ONE(kelsLogGaussAdd_16s32s_D2LSfs),
        ONE(kelsLogGaussAdd_IdVar_16s32s_D2Sfs), ONE(kelsLogGaussAdd_IdVar_16s32s_D2LSfs),
        ONE(kelsLogGaussAdd_Low_16s32s_D2Sfs), ONE(kelsLogGaussAdd_Low_16s32s_D2LSfs),
        ONE(kelsLogGaussAdd_IdVarLow_16s32s_D2Sfs), ONE(kelsLogGaussAdd_IdVarLow_16s32s_D2LSfs),
        MM(kelsLogGaussMultiMix_16s32s_D2Sfs), MM(kelsLogGaussMultiMix_16s32s_D2LSfs),
        MM(kelsLogGaussMultiMix_IdVar_16s32s_D2Sfs), MM(kelsLogGaussMultiMix_IdVar_16s32s_D2LSfs),
        MM(kelsLogGaussMultiMix_Low_16s32s_D2Sfs), MM(kelsLogGaussMultiMix_Low_16s32s_D2LSfs),
        MM(kelsLogGaussMultiMix_IdVarLow_16s32s_D2Sfs), MM(kelsLogGaussMultiMix_IdVarLow_16s32s_D2LSfs),
        MMG(kelsLogGaussMaxMultiMix_16s32s_D2Sfs), MMG(kelsLogGaussMaxMultiMix_16s32s_D2LSfs),
        MMG(kelsLogGaussMaxMultiMix_IdVar_16s32s_D2Sfs), MMG(kelsLogGaussMaxMultiMix_IdVar_16s32s_D2LSfs),
        MMG(kelsLogGaussMaxMultiMix_Low_16s32s_D2Sfs), MMG(kelsLogGaussMaxMultiMix_Low_16s32s_D2LSfs),
        MMG(kelsLogGaussMaxMultiMix_IdVarLow_16s32s_D2Sfs), MMG(kelsLogGaussMaxMultiMix_IdVarLow_16s32s_D2LSfs),
        MMG(kelsLogGaussAddMultiMix_16s32s_D2Sfs), MMG(kelsLogGaussAddMultiMix_16s32s_D2LSfs),
        MMG(kelsLogGaussAddMultiMix_IdVar_16s32s_D2Sfs), MMG(kelsLogGaussAddMultiMix_IdVar_16s32s_D2LSfs),
        MMG(kelsLogGaussAddMultiMix_Low_16s32s_D2Sfs), MMG(kelsLogGaussAddMultiMix_Low_16s32s_D2LSfs),
        MMG(kelsLogGaussAddMultiMix_IdVarLow_16s32s_D2Sfs), MMG(kelsLogGaussAddMultiMix_IdVarLow_16s32s_D2LSfs),
        MIX(kelsLogGaussMixture_16s32s_D2Sfs), MIX(kelsLogGaussMixture_16s32s_D2LSfs),
        MIX(kelsLogGaussMixture_IdVar_16s32s_D2Sfs), MIX(kelsLogGaussMixture_IdVar_16s32s_D2LSfs),
        MIX(kelsLogGaussMixture_Low_16s32s_D2Sfs), MIX(kelsLogGaussMixture_Low_16s32s_D2LSfs),
        MIX(kelsLogGaussMixture_IdVarLow_16s32s_D2Sfs), MIX(kelsLogGaussMixture_IdVarLow_16s32s_D2LSfs),
      };
    }
  }();
  return all;
}

#undef ONE
#undef MM
#undef MMG
#undef MIX
#undef SHAPES_OF
#undef SHAPE
#undef WITH_SF

}  // namespace kels::test::mixture
