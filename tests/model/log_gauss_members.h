// Every single-Gaussian member, described once: layout, weight form, result kind, and a call
// through a uniform argument record.
#pragma once

#include <functional>
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
  Lay lay;
  W w;
  Kind kind;
  bool hasSf;
  std::function<KelsStatus(Args<S, D>&)> call;
};

template <class S, class D>
std::vector<Member<S, D>> members();

template <>
inline std::vector<Member<Kels32f, Kels32f>> members<Kels32f, Kels32f>() {
  return {
      {"kelsLogGaussSingle_32f", Lay::kSingle, W::kInv, Kind::kFloat, false,
       [](Args<Kels32f, Kels32f>& a) { return kelsLogGaussSingle_32f(a.x, a.mu, a.w, a.n, a.dst, a.g); }},
      {"kelsLogGauss_32f_D2", Lay::kD2, W::kInv, Kind::kFloat, false,
       [](Args<Kels32f, Kels32f>& a) { return kelsLogGauss_32f_D2(a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGauss_32f_D2L", Lay::kD2L, W::kInv, Kind::kFloat, false,
       [](Args<Kels32f, Kels32f>& a) { return kelsLogGauss_32f_D2L(a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGaussSingle_IdVar_32f", Lay::kSingle, W::kId, Kind::kFloat, false,
       [](Args<Kels32f, Kels32f>& a) { return kelsLogGaussSingle_IdVar_32f(a.x, a.mu, a.n, a.dst, a.g); }},
      {"kelsLogGauss_IdVar_32f_D2", Lay::kD2, W::kId, Kind::kFloat, false,
       [](Args<Kels32f, Kels32f>& a) { return kelsLogGauss_IdVar_32f_D2(a.x, a.step, a.mu, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGauss_IdVar_32f_D2L", Lay::kD2L, W::kId, Kind::kFloat, false,
       [](Args<Kels32f, Kels32f>& a) { return kelsLogGauss_IdVar_32f_D2L(a.rows, a.mu, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGaussSingle_DirectVar_32f", Lay::kSingle, W::kDirect, Kind::kFloat, false,
       [](Args<Kels32f, Kels32f>& a) { return kelsLogGaussSingle_DirectVar_32f(a.x, a.mu, a.w, a.n, a.dst, a.g); }},
  };
}

template <>
inline std::vector<Member<Kels64f, Kels64f>> members<Kels64f, Kels64f>() {
  return {
      {"kelsLogGaussSingle_64f", Lay::kSingle, W::kInv, Kind::kFloat, false,
       [](Args<Kels64f, Kels64f>& a) { return kelsLogGaussSingle_64f(a.x, a.mu, a.w, a.n, a.dst, a.g); }},
      {"kelsLogGauss_64f_D2", Lay::kD2, W::kInv, Kind::kFloat, false,
       [](Args<Kels64f, Kels64f>& a) { return kelsLogGauss_64f_D2(a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGauss_64f_D2L", Lay::kD2L, W::kInv, Kind::kFloat, false,
       [](Args<Kels64f, Kels64f>& a) { return kelsLogGauss_64f_D2L(a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGaussSingle_IdVar_64f", Lay::kSingle, W::kId, Kind::kFloat, false,
       [](Args<Kels64f, Kels64f>& a) { return kelsLogGaussSingle_IdVar_64f(a.x, a.mu, a.n, a.dst, a.g); }},
      {"kelsLogGauss_IdVar_64f_D2", Lay::kD2, W::kId, Kind::kFloat, false,
       [](Args<Kels64f, Kels64f>& a) { return kelsLogGauss_IdVar_64f_D2(a.x, a.step, a.mu, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGauss_IdVar_64f_D2L", Lay::kD2L, W::kId, Kind::kFloat, false,
       [](Args<Kels64f, Kels64f>& a) { return kelsLogGauss_IdVar_64f_D2L(a.rows, a.mu, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGaussSingle_DirectVar_64f", Lay::kSingle, W::kDirect, Kind::kFloat, false,
       [](Args<Kels64f, Kels64f>& a) { return kelsLogGaussSingle_DirectVar_64f(a.x, a.mu, a.w, a.n, a.dst, a.g); }},
  };
}

template <>
inline std::vector<Member<Kels32f, Kels64f>> members<Kels32f, Kels64f>() {
  return {
      {"kelsLogGaussSingle_32f64f", Lay::kSingle, W::kInv, Kind::kFloat, false,
       [](Args<Kels32f, Kels64f>& a) { return kelsLogGaussSingle_32f64f(a.x, a.mu, a.w, a.n, a.dst, a.g); }},
      {"kelsLogGaussSingle_IdVar_32f64f", Lay::kSingle, W::kId, Kind::kFloat, false,
       [](Args<Kels32f, Kels64f>& a) { return kelsLogGaussSingle_IdVar_32f64f(a.x, a.mu, a.n, a.dst, a.g); }},
      {"kelsLogGaussSingle_DirectVar_32f64f", Lay::kSingle, W::kDirect, Kind::kFloat, false,
       [](Args<Kels32f, Kels64f>& a) { return kelsLogGaussSingle_DirectVar_32f64f(a.x, a.mu, a.w, a.n, a.dst, a.g); }},
  };
}

template <>
inline std::vector<Member<Kels16s, Kels32f>> members<Kels16s, Kels32f>() {
  return {
      {"kelsLogGaussSingle_DirectVar_16s32f", Lay::kSingle, W::kDirect, Kind::kScaled, false,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGaussSingle_DirectVar_16s32f(a.x, a.mu, a.w, a.n, a.dst, a.g); }},
      {"kelsLogGaussSingle_DirectVarScaled_16s32f", Lay::kSingle, W::kDirect, Kind::kScaled, true,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGaussSingle_DirectVarScaled_16s32f(a.x, a.mu, a.w, a.n, a.dst, a.g, a.sf); }},
      {"kelsLogGaussSingle_16s32f", Lay::kSingle, W::kInv, Kind::kScaled, false,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGaussSingle_16s32f(a.x, a.mu, a.w, a.n, a.dst, a.g); }},
      {"kelsLogGauss_16s32f_D2", Lay::kD2, W::kInv, Kind::kScaled, false,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_16s32f_D2(a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGauss_16s32f_D2L", Lay::kD2L, W::kInv, Kind::kScaled, false,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_16s32f_D2L(a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGaussSingle_Scaled_16s32f", Lay::kSingle, W::kInv, Kind::kScaled, true,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGaussSingle_Scaled_16s32f(a.x, a.mu, a.w, a.n, a.dst, a.g, a.sf); }},
      {"kelsLogGauss_Scaled_16s32f_D2", Lay::kD2, W::kInv, Kind::kScaled, true,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_Scaled_16s32f_D2(a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGauss_Scaled_16s32f_D2L", Lay::kD2L, W::kInv, Kind::kScaled, true,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_Scaled_16s32f_D2L(a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGaussSingle_IdVar_16s32f", Lay::kSingle, W::kId, Kind::kScaled, false,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGaussSingle_IdVar_16s32f(a.x, a.mu, a.n, a.dst, a.g); }},
      {"kelsLogGauss_IdVar_16s32f_D2", Lay::kD2, W::kId, Kind::kScaled, false,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_IdVar_16s32f_D2(a.x, a.step, a.mu, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGauss_IdVar_16s32f_D2L", Lay::kD2L, W::kId, Kind::kScaled, false,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_IdVar_16s32f_D2L(a.rows, a.mu, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGaussSingle_IdVarScaled_16s32f", Lay::kSingle, W::kId, Kind::kScaled, true,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGaussSingle_IdVarScaled_16s32f(a.x, a.mu, a.n, a.dst, a.g, a.sf); }},
      {"kelsLogGauss_IdVarScaled_16s32f_D2", Lay::kD2, W::kId, Kind::kScaled, true,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_IdVarScaled_16s32f_D2(a.x, a.step, a.mu, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGauss_IdVarScaled_16s32f_D2L", Lay::kD2L, W::kId, Kind::kScaled, true,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_IdVarScaled_16s32f_D2L(a.rows, a.mu, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGaussSingle_LowScaled_16s32f", Lay::kSingle, W::kInv, Kind::kLowFloat, true,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGaussSingle_LowScaled_16s32f(a.x, a.mu, a.w, a.n, a.dst, a.g, a.sf); }},
      {"kelsLogGauss_LowScaled_16s32f_D2", Lay::kD2, W::kInv, Kind::kLowFloat, true,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_LowScaled_16s32f_D2(a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGauss_LowScaled_16s32f_D2L", Lay::kD2L, W::kInv, Kind::kLowFloat, true,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_LowScaled_16s32f_D2L(a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGaussSingle_IdVarLowScaled_16s32f", Lay::kSingle, W::kId, Kind::kLowFloat, true,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGaussSingle_IdVarLowScaled_16s32f(a.x, a.mu, a.n, a.dst, a.g, a.sf); }},
      {"kelsLogGauss_IdVarLowScaled_16s32f_D2", Lay::kD2, W::kId, Kind::kLowFloat, true,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_IdVarLowScaled_16s32f_D2(a.x, a.step, a.mu, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGauss_IdVarLowScaled_16s32f_D2L", Lay::kD2L, W::kId, Kind::kLowFloat, true,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_IdVarLowScaled_16s32f_D2L(a.rows, a.mu, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGaussSingle_Low_16s32f", Lay::kSingle, W::kInv, Kind::kLowFloat, false,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGaussSingle_Low_16s32f(a.x, a.mu, a.w, a.n, a.dst, a.g); }},
      {"kelsLogGauss_Low_16s32f_D2", Lay::kD2, W::kInv, Kind::kLowFloat, false,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_Low_16s32f_D2(a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGauss_Low_16s32f_D2L", Lay::kD2L, W::kInv, Kind::kLowFloat, false,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_Low_16s32f_D2L(a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGaussSingle_IdVarLow_16s32f", Lay::kSingle, W::kId, Kind::kLowFloat, false,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGaussSingle_IdVarLow_16s32f(a.x, a.mu, a.n, a.dst, a.g); }},
      {"kelsLogGauss_IdVarLow_16s32f_D2", Lay::kD2, W::kId, Kind::kLowFloat, false,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_IdVarLow_16s32f_D2(a.x, a.step, a.mu, a.n, a.dst, a.m, a.g); }},
      {"kelsLogGauss_IdVarLow_16s32f_D2L", Lay::kD2L, W::kId, Kind::kLowFloat, false,
       [](Args<Kels16s, Kels32f>& a) { return kelsLogGauss_IdVarLow_16s32f_D2L(a.rows, a.mu, a.n, a.dst, a.m, a.g); }},
  };
}

template <>
inline std::vector<Member<Kels16s, Kels32s>> members<Kels16s, Kels32s>() {
  return {
      {"kelsLogGaussSingle_DirectVar_16s32s_Sfs", Lay::kSingle, W::kDirect, Kind::kInt, true,
       [](Args<Kels16s, Kels32s>& a) { return kelsLogGaussSingle_DirectVar_16s32s_Sfs(a.x, a.mu, a.w, a.n, a.dst, a.g, a.sf); }},
      {"kelsLogGaussSingle_16s32s_Sfs", Lay::kSingle, W::kInv, Kind::kInt, true,
       [](Args<Kels16s, Kels32s>& a) { return kelsLogGaussSingle_16s32s_Sfs(a.x, a.mu, a.w, a.n, a.dst, a.g, a.sf); }},
      {"kelsLogGauss_16s32s_D2Sfs", Lay::kD2, W::kInv, Kind::kInt, true,
       [](Args<Kels16s, Kels32s>& a) { return kelsLogGauss_16s32s_D2Sfs(a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGauss_16s32s_D2LSfs", Lay::kD2L, W::kInv, Kind::kInt, true,
       [](Args<Kels16s, Kels32s>& a) { return kelsLogGauss_16s32s_D2LSfs(a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGaussSingle_IdVar_16s32s_Sfs", Lay::kSingle, W::kId, Kind::kInt, true,
       [](Args<Kels16s, Kels32s>& a) { return kelsLogGaussSingle_IdVar_16s32s_Sfs(a.x, a.mu, a.n, a.dst, a.g, a.sf); }},
      {"kelsLogGauss_IdVar_16s32s_D2Sfs", Lay::kD2, W::kId, Kind::kInt, true,
       [](Args<Kels16s, Kels32s>& a) { return kelsLogGauss_IdVar_16s32s_D2Sfs(a.x, a.step, a.mu, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGauss_IdVar_16s32s_D2LSfs", Lay::kD2L, W::kId, Kind::kInt, true,
       [](Args<Kels16s, Kels32s>& a) { return kelsLogGauss_IdVar_16s32s_D2LSfs(a.rows, a.mu, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGaussSingle_Low_16s32s_Sfs", Lay::kSingle, W::kInv, Kind::kLowInt, true,
       [](Args<Kels16s, Kels32s>& a) { return kelsLogGaussSingle_Low_16s32s_Sfs(a.x, a.mu, a.w, a.n, a.dst, a.g, a.sf); }},
      {"kelsLogGauss_Low_16s32s_D2Sfs", Lay::kD2, W::kInv, Kind::kLowInt, true,
       [](Args<Kels16s, Kels32s>& a) { return kelsLogGauss_Low_16s32s_D2Sfs(a.x, a.step, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGauss_Low_16s32s_D2LSfs", Lay::kD2L, W::kInv, Kind::kLowInt, true,
       [](Args<Kels16s, Kels32s>& a) { return kelsLogGauss_Low_16s32s_D2LSfs(a.rows, a.mu, a.w, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGaussSingle_IdVarLow_16s32s_Sfs", Lay::kSingle, W::kId, Kind::kLowInt, true,
       [](Args<Kels16s, Kels32s>& a) { return kelsLogGaussSingle_IdVarLow_16s32s_Sfs(a.x, a.mu, a.n, a.dst, a.g, a.sf); }},
      {"kelsLogGauss_IdVarLow_16s32s_D2Sfs", Lay::kD2, W::kId, Kind::kLowInt, true,
       [](Args<Kels16s, Kels32s>& a) { return kelsLogGauss_IdVarLow_16s32s_D2Sfs(a.x, a.step, a.mu, a.n, a.dst, a.m, a.g, a.sf); }},
      {"kelsLogGauss_IdVarLow_16s32s_D2LSfs", Lay::kD2L, W::kId, Kind::kLowInt, true,
       [](Args<Kels16s, Kels32s>& a) { return kelsLogGauss_IdVarLow_16s32s_D2LSfs(a.rows, a.mu, a.n, a.dst, a.m, a.g, a.sf); }},
  };
}

}  // namespace kels::test
