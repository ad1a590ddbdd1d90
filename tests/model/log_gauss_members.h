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

#define MEMBER(fn, ...) {#fn, [](A& a) { return fn(__VA_ARGS__); }}

template <class S, class D>
std::vector<Member<S, D>> members() {
  using A = Args<S, D>;
  using P = std::pair<S, D>;
  if constexpr (std::is_same_v<P, std::pair<Kels32f, Kels32f>>) {
    return {
        MEMBER(kelsLogGaussSingle_32f, a.x, a.mu, a.w, a.n, a.dst, a.g),
        MEMBER(kelsLogGauss_32f_D2, a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGauss_32f_D2L, a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGaussSingle_IdVar_32f, a.x, a.mu, a.n, a.dst, a.g),
        MEMBER(kelsLogGauss_IdVar_32f_D2, a.x, a.step, a.mu, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGauss_IdVar_32f_D2L, a.rows, a.mu, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGaussSingle_DirectVar_32f, a.x, a.mu, a.w, a.n, a.dst, a.g),
    };
  } else if constexpr (std::is_same_v<P, std::pair<Kels64f, Kels64f>>) {
    return {
        MEMBER(kelsLogGaussSingle_64f, a.x, a.mu, a.w, a.n, a.dst, a.g),
        MEMBER(kelsLogGauss_64f_D2, a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGauss_64f_D2L, a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGaussSingle_IdVar_64f, a.x, a.mu, a.n, a.dst, a.g),
        MEMBER(kelsLogGauss_IdVar_64f_D2, a.x, a.step, a.mu, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGauss_IdVar_64f_D2L, a.rows, a.mu, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGaussSingle_DirectVar_64f, a.x, a.mu, a.w, a.n, a.dst, a.g),
    };
  } else if constexpr (std::is_same_v<P, std::pair<Kels32f, Kels64f>>) {
    return {
        MEMBER(kelsLogGaussSingle_32f64f, a.x, a.mu, a.w, a.n, a.dst, a.g),
        MEMBER(kelsLogGaussSingle_IdVar_32f64f, a.x, a.mu, a.n, a.dst, a.g),
        MEMBER(kelsLogGaussSingle_DirectVar_32f64f, a.x, a.mu, a.w, a.n, a.dst, a.g),
    };
  } else if constexpr (std::is_same_v<P, std::pair<Kels16s, Kels32f>>) {
    return {
        MEMBER(kelsLogGaussSingle_DirectVar_16s32f, a.x, a.mu, a.w, a.n, a.dst, a.g),
        MEMBER(kelsLogGaussSingle_DirectVarScaled_16s32f, a.x, a.mu, a.w, a.n, a.dst, a.g, a.sf),
        MEMBER(kelsLogGaussSingle_16s32f, a.x, a.mu, a.w, a.n, a.dst, a.g),
        MEMBER(kelsLogGauss_16s32f_D2, a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGauss_16s32f_D2L, a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGaussSingle_Scaled_16s32f, a.x, a.mu, a.w, a.n, a.dst, a.g, a.sf),
        MEMBER(kelsLogGauss_Scaled_16s32f_D2, a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGauss_Scaled_16s32f_D2L, a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGaussSingle_IdVar_16s32f, a.x, a.mu, a.n, a.dst, a.g),
        MEMBER(kelsLogGauss_IdVar_16s32f_D2, a.x, a.step, a.mu, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGauss_IdVar_16s32f_D2L, a.rows, a.mu, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGaussSingle_IdVarScaled_16s32f, a.x, a.mu, a.n, a.dst, a.g, a.sf),
        MEMBER(kelsLogGauss_IdVarScaled_16s32f_D2, a.x, a.step, a.mu, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGauss_IdVarScaled_16s32f_D2L, a.rows, a.mu, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGaussSingle_LowScaled_16s32f, a.x, a.mu, a.w, a.n, a.dst, a.g, a.sf),
        MEMBER(kelsLogGauss_LowScaled_16s32f_D2, a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGauss_LowScaled_16s32f_D2L, a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGaussSingle_IdVarLowScaled_16s32f, a.x, a.mu, a.n, a.dst, a.g, a.sf),
        MEMBER(kelsLogGauss_IdVarLowScaled_16s32f_D2, a.x, a.step, a.mu, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGauss_IdVarLowScaled_16s32f_D2L, a.rows, a.mu, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGaussSingle_Low_16s32f, a.x, a.mu, a.w, a.n, a.dst, a.g),
        MEMBER(kelsLogGauss_Low_16s32f_D2, a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGauss_Low_16s32f_D2L, a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGaussSingle_IdVarLow_16s32f, a.x, a.mu, a.n, a.dst, a.g),
        MEMBER(kelsLogGauss_IdVarLow_16s32f_D2, a.x, a.step, a.mu, a.n, a.dst, a.m, a.g),
        MEMBER(kelsLogGauss_IdVarLow_16s32f_D2L, a.rows, a.mu, a.n, a.dst, a.m, a.g),
    };
  } else if constexpr (std::is_same_v<P, std::pair<Kels16s, Kels32s>>) {
    return {
        MEMBER(kelsLogGaussSingle_DirectVar_16s32s_Sfs, a.x, a.mu, a.w, a.n, a.dst, a.g, a.sf),
        MEMBER(kelsLogGaussSingle_16s32s_Sfs, a.x, a.mu, a.w, a.n, a.dst, a.g, a.sf),
        MEMBER(kelsLogGauss_16s32s_D2Sfs, a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGauss_16s32s_D2LSfs, a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGaussSingle_IdVar_16s32s_Sfs, a.x, a.mu, a.n, a.dst, a.g, a.sf),
        MEMBER(kelsLogGauss_IdVar_16s32s_D2Sfs, a.x, a.step, a.mu, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGauss_IdVar_16s32s_D2LSfs, a.rows, a.mu, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGaussSingle_Low_16s32s_Sfs, a.x, a.mu, a.w, a.n, a.dst, a.g, a.sf),
        MEMBER(kelsLogGauss_Low_16s32s_D2Sfs, a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGauss_Low_16s32s_D2LSfs, a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGaussSingle_IdVarLow_16s32s_Sfs, a.x, a.mu, a.n, a.dst, a.g, a.sf),
        MEMBER(kelsLogGauss_IdVarLow_16s32s_D2Sfs, a.x, a.step, a.mu, a.n, a.dst, a.m, a.g, a.sf),
        MEMBER(kelsLogGauss_IdVarLow_16s32s_D2LSfs, a.rows, a.mu, a.n, a.dst, a.m, a.g, a.sf),
    };
  }
}

#undef MEMBER

}  // namespace kels::test
