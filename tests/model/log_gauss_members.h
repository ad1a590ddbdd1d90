// Every single-Gaussian member, described once: its layout, weight form, result kind and scale
// factor read off its name, and a call through a uniform argument record.
#pragma once

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <kelsr.h>

namespace kels::test {

enum class Lay { kSingle, kD2, kD2L };
enum class W { kInv, kId, kDirect };  // inverse variances, none, variances
enum class Kind { kFloat, kScaled, kInt, kLowInt, kLowFloat };

template <class S, class D>
struct Args {
  const S* x = nullptr;
  int step = 0;
  const S** rows = nullptr;
  const S* mu = nullptr;
  const S* w = nullptr;
  int n = 0;
  D* dst = nullptr;
  int m = 0;
  D g = 0;
  int sf = 0;
};

template <class S, class D>
struct Member {
  const char* name;
  KelsStatus (*call)(Args<S, D>&);
  Lay lay;
  W w;
  Kind kind;
  bool hasSf;
  Member(const char* nm, KelsStatus (*fn)(Args<S, D>&)) : name(nm), call(fn) {
    const std::string s = nm;
    auto has = [&](const char* part) { return s.find(part) != std::string::npos; };
    lay = has("Single") ? Lay::kSingle : has("_D2L") ? Lay::kD2L : Lay::kD2;
    w = has("IdVar") ? W::kId : has("DirectVar") ? W::kDirect : W::kInv;
    kind = has("16s32s") ? (has("Low") ? Kind::kLowInt : Kind::kInt)
           : has("16s32f") ? (has("Low") ? Kind::kLowFloat : Kind::kScaled) : Kind::kFloat;
    hasSf = has("Scaled") || has("Sfs");
  }
};

// Each calling convention written once; the overload is chosen by the exact signature, and
// WITH_SF appends the scale factor.
#define WITH_SF(...) (__VA_ARGS__, int)
#define SHAPE(params, ...)                                                              \
  static KelsStatus run(KelsStatus(KELS_CALL* f) params, A& a) { return f(__VA_ARGS__); } \
  static KelsStatus run(KelsStatus(KELS_CALL* f) WITH_SF params, A& a) { return f(__VA_ARGS__, a.sf); }

template <class S, class D>
struct Shapes {
  using A = Args<S, D>;
  using P = const S*;
  using L = const S**;
  SHAPE((P, P, P, int, D*, D), a.x, a.mu, a.w, a.n, a.dst, a.g)
  SHAPE((P, P, int, D*, D), a.x, a.mu, a.n, a.dst, a.g)
  SHAPE((P, int, P, P, int, D*, int, D), a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g)
  SHAPE((P, int, P, int, D*, int, D), a.x, a.step, a.mu, a.n, a.dst, a.m, a.g)
  SHAPE((L, P, P, int, D*, int, D), a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g)
  SHAPE((L, P, int, D*, int, D), a.rows, a.mu, a.n, a.dst, a.m, a.g)
  template <auto F> static KelsStatus call(A& a) { return run(F, a); }
};

#define M(fn) {#fn, &Shapes<S, D>::template call<fn>}

template <class S, class D>
std::vector<Member<S, D>> members() {
  using P = std::pair<S, D>;
  if constexpr (std::is_same_v<P, std::pair<Kels32f, Kels32f>>) {
    return {
      M(kelsLogGaussSingle_32f), M(kelsLogGauss_32f_D2), M(kelsLogGauss_32f_D2L),
      M(kelsLogGaussSingle_IdVar_32f), M(kelsLogGauss_IdVar_32f_D2), M(kelsLogGauss_IdVar_32f_D2L),
      M(kelsLogGaussSingle_DirectVar_32f),
    };
  } else if constexpr (std::is_same_v<P, std::pair<Kels64f, Kels64f>>) {
    return {
      M(kelsLogGaussSingle_64f), M(kelsLogGauss_64f_D2), M(kelsLogGauss_64f_D2L),
      M(kelsLogGaussSingle_IdVar_64f), M(kelsLogGauss_IdVar_64f_D2), M(kelsLogGauss_IdVar_64f_D2L),
      M(kelsLogGaussSingle_DirectVar_64f),
    };
  } else if constexpr (std::is_same_v<P, std::pair<Kels32f, Kels64f>>) {
    return {
      M(kelsLogGaussSingle_32f64f), M(kelsLogGaussSingle_IdVar_32f64f), M(kelsLogGaussSingle_DirectVar_32f64f),
    };
  } else if constexpr (std::is_same_v<P, std::pair<Kels16s, Kels32f>>) {
    return {
      M(kelsLogGaussSingle_DirectVar_16s32f), M(kelsLogGaussSingle_DirectVarScaled_16s32f),
      M(kelsLogGaussSingle_16s32f), M(kelsLogGauss_16s32f_D2), M(kelsLogGauss_16s32f_D2L),
      M(kelsLogGaussSingle_Scaled_16s32f), M(kelsLogGauss_Scaled_16s32f_D2), M(kelsLogGauss_Scaled_16s32f_D2L),
      M(kelsLogGaussSingle_IdVar_16s32f), M(kelsLogGauss_IdVar_16s32f_D2), M(kelsLogGauss_IdVar_16s32f_D2L),
      M(kelsLogGaussSingle_IdVarScaled_16s32f), M(kelsLogGauss_IdVarScaled_16s32f_D2),
      M(kelsLogGauss_IdVarScaled_16s32f_D2L), M(kelsLogGaussSingle_LowScaled_16s32f),
      M(kelsLogGauss_LowScaled_16s32f_D2), M(kelsLogGauss_LowScaled_16s32f_D2L),
      M(kelsLogGaussSingle_IdVarLowScaled_16s32f), M(kelsLogGauss_IdVarLowScaled_16s32f_D2),
      M(kelsLogGauss_IdVarLowScaled_16s32f_D2L), M(kelsLogGaussSingle_Low_16s32f),
      M(kelsLogGauss_Low_16s32f_D2), M(kelsLogGauss_Low_16s32f_D2L), M(kelsLogGaussSingle_IdVarLow_16s32f),
      M(kelsLogGauss_IdVarLow_16s32f_D2), M(kelsLogGauss_IdVarLow_16s32f_D2L),
    };
  } else if constexpr (std::is_same_v<P, std::pair<Kels16s, Kels32s>>) {
    return {
      M(kelsLogGaussSingle_DirectVar_16s32s_Sfs), M(kelsLogGaussSingle_16s32s_Sfs),
      M(kelsLogGauss_16s32s_D2Sfs), M(kelsLogGauss_16s32s_D2LSfs), M(kelsLogGaussSingle_IdVar_16s32s_Sfs),
      M(kelsLogGauss_IdVar_16s32s_D2Sfs), M(kelsLogGauss_IdVar_16s32s_D2LSfs),
      M(kelsLogGaussSingle_Low_16s32s_Sfs), M(kelsLogGauss_Low_16s32s_D2Sfs), M(kelsLogGauss_Low_16s32s_D2LSfs),
      M(kelsLogGaussSingle_IdVarLow_16s32s_Sfs), M(kelsLogGauss_IdVarLow_16s32s_D2Sfs),
      M(kelsLogGauss_IdVarLow_16s32s_D2LSfs),
    };
  }
}

#undef M
#undef SHAPE
#undef WITH_SF

}  // namespace kels::test
