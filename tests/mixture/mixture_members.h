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

#define MEMBER(fn, ...) {#fn, [](const A& a) { return fn(__VA_ARGS__); }}

// The members of one element and result type, built once.
template <class E, class R>
const std::vector<Member<E, R>>& members() {
  using A = Args<E, R>;
  using P = std::pair<E, R>;
  static const std::vector<Member<E, R>> all = [] {
    if constexpr (std::is_same_v<P, std::pair<Kels32f, Kels32f>>) {
      return std::vector<Member<E, R>>{
        MEMBER(kelsLogGaussMax_32f_D2, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMax_32f_D2L, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMax_IdVar_32f_D2, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMax_IdVar_32f_D2L, a.xRows, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_32f_D2, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_32f_D2L, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_IdVar_32f_D2, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_IdVar_32f_D2L, a.xRows, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMultiMix_32f_D2, a.mean, a.var, a.step, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMultiMix_32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMultiMix_IdVar_32f_D2, a.mean, a.step, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMultiMix_IdVar_32f_D2L, a.meanRows, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_32f_D2, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_IdVar_32f_D2, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_IdVar_32f_D2L, a.meanRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_32f_D2, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_IdVar_32f_D2, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_IdVar_32f_D2L, a.meanRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMixture_32f_D2, a.x, a.mean, a.var, a.count, a.step, a.n, a.g, a.dst),
        MEMBER(kelsLogGaussMixture_32f_D2L, a.x, a.meanRows, a.varRows, a.count, a.n, a.g, a.dst),
        MEMBER(kelsLogGaussMixture_IdVar_32f_D2, a.x, a.mean, a.count, a.step, a.n, a.g, a.dst),
        MEMBER(kelsLogGaussMixture_IdVar_32f_D2L, a.x, a.meanRows, a.count, a.n, a.g, a.dst),
      };
    } else if constexpr (std::is_same_v<P, std::pair<Kels64f, Kels64f>>) {
      return std::vector<Member<E, R>>{
        MEMBER(kelsLogGaussMax_64f_D2, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMax_64f_D2L, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMax_IdVar_64f_D2, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMax_IdVar_64f_D2L, a.xRows, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_64f_D2, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_64f_D2L, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_IdVar_64f_D2, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_IdVar_64f_D2L, a.xRows, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMultiMix_64f_D2, a.mean, a.var, a.step, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMultiMix_64f_D2L, a.meanRows, a.varRows, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMultiMix_IdVar_64f_D2, a.mean, a.step, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMultiMix_IdVar_64f_D2L, a.meanRows, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_64f_D2, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_64f_D2L, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_IdVar_64f_D2, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_IdVar_64f_D2L, a.meanRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_64f_D2, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_64f_D2L, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_IdVar_64f_D2, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_IdVar_64f_D2L, a.meanRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMixture_64f_D2, a.x, a.mean, a.var, a.count, a.step, a.n, a.g, a.dst),
        MEMBER(kelsLogGaussMixture_64f_D2L, a.x, a.meanRows, a.varRows, a.count, a.n, a.g, a.dst),
        MEMBER(kelsLogGaussMixture_IdVar_64f_D2, a.x, a.mean, a.count, a.step, a.n, a.g, a.dst),
        MEMBER(kelsLogGaussMixture_IdVar_64f_D2L, a.x, a.meanRows, a.count, a.n, a.g, a.dst),
      };
    } else if constexpr (std::is_same_v<P, std::pair<Kels16s, Kels32f>>) {
      return std::vector<Member<E, R>>{
        MEMBER(kelsLogGaussMax_16s32f_D2, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMax_16s32f_D2L, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMax_Scaled_16s32f_D2, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMax_Scaled_16s32f_D2L, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMax_IdVar_16s32f_D2, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMax_IdVar_16s32f_D2L, a.xRows, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMax_IdVarScaled_16s32f_D2, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMax_IdVarScaled_16s32f_D2L, a.xRows, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMax_Low_16s32f_D2, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMax_Low_16s32f_D2L, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMax_LowScaled_16s32f_D2, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMax_LowScaled_16s32f_D2L, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMax_IdVarLow_16s32f_D2, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMax_IdVarLow_16s32f_D2L, a.xRows, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussMax_IdVarLowScaled_16s32f_D2, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMax_IdVarLowScaled_16s32f_D2L, a.xRows, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_16s32f_D2, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_16s32f_D2L, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_Scaled_16s32f_D2, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_Scaled_16s32f_D2L, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_IdVar_16s32f_D2, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_IdVar_16s32f_D2L, a.xRows, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_IdVarScaled_16s32f_D2, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_IdVarScaled_16s32f_D2L, a.xRows, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_Low_16s32f_D2, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_Low_16s32f_D2L, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_LowScaled_16s32f_D2, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_LowScaled_16s32f_D2L, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_IdVarLow_16s32f_D2, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_IdVarLow_16s32f_D2L, a.xRows, a.mean, a.n, a.dst, a.count, a.g0),
        MEMBER(kelsLogGaussAdd_IdVarLowScaled_16s32f_D2, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_IdVarLowScaled_16s32f_D2L, a.xRows, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMultiMix_16s32f_D2, a.mean, a.var, a.step, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMultiMix_16s32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMultiMix_Scaled_16s32f_D2, a.mean, a.var, a.step, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMultiMix_Scaled_16s32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMultiMix_IdVar_16s32f_D2, a.mean, a.step, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMultiMix_IdVar_16s32f_D2L, a.meanRows, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMultiMix_IdVarScaled_16s32f_D2, a.mean, a.step, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMultiMix_IdVarScaled_16s32f_D2L, a.meanRows, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMultiMix_Low_16s32f_D2, a.mean, a.var, a.step, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMultiMix_Low_16s32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMultiMix_LowScaled_16s32f_D2, a.mean, a.var, a.step, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMultiMix_LowScaled_16s32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMultiMix_IdVarLow_16s32f_D2, a.mean, a.step, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMultiMix_IdVarLow_16s32f_D2L, a.meanRows, a.x, a.n, a.dst, a.count),
        MEMBER(kelsLogGaussMultiMix_IdVarLowScaled_16s32f_D2, a.mean, a.step, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMultiMix_IdVarLowScaled_16s32f_D2L, a.meanRows, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_16s32f_D2, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_16s32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_Scaled_16s32f_D2, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_Scaled_16s32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_IdVar_16s32f_D2, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_IdVar_16s32f_D2L, a.meanRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_IdVarScaled_16s32f_D2, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_IdVarScaled_16s32f_D2L, a.meanRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_Low_16s32f_D2, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_Low_16s32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_LowScaled_16s32f_D2, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_LowScaled_16s32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_IdVarLow_16s32f_D2, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_IdVarLow_16s32f_D2L, a.meanRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussMaxMultiMix_IdVarLowScaled_16s32f_D2, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_IdVarLowScaled_16s32f_D2L, a.meanRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_16s32f_D2, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_16s32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_Scaled_16s32f_D2, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_Scaled_16s32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_IdVar_16s32f_D2, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_IdVar_16s32f_D2L, a.meanRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_IdVarScaled_16s32f_D2, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_IdVarScaled_16s32f_D2L, a.meanRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_Low_16s32f_D2, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_Low_16s32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_LowScaled_16s32f_D2, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_LowScaled_16s32f_D2L, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_IdVarLow_16s32f_D2, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_IdVarLow_16s32f_D2L, a.meanRows, a.x, a.n, a.g, a.dst, a.count),
        MEMBER(kelsLogGaussAddMultiMix_IdVarLowScaled_16s32f_D2, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_IdVarLowScaled_16s32f_D2L, a.meanRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMixture_16s32f_D2, a.x, a.mean, a.var, a.count, a.step, a.n, a.g, a.dst),
        MEMBER(kelsLogGaussMixture_16s32f_D2L, a.x, a.meanRows, a.varRows, a.count, a.n, a.g, a.dst),
        MEMBER(kelsLogGaussMixture_Scaled_16s32f_D2, a.x, a.mean, a.var, a.count, a.step, a.n, a.g, a.dst, a.sf),
        MEMBER(kelsLogGaussMixture_Scaled_16s32f_D2L, a.x, a.meanRows, a.varRows, a.count, a.n, a.g, a.dst, a.sf),
        MEMBER(kelsLogGaussMixture_IdVar_16s32f_D2, a.x, a.mean, a.count, a.step, a.n, a.g, a.dst),
        MEMBER(kelsLogGaussMixture_IdVar_16s32f_D2L, a.x, a.meanRows, a.count, a.n, a.g, a.dst),
        MEMBER(kelsLogGaussMixture_IdVarScaled_16s32f_D2, a.x, a.mean, a.count, a.step, a.n, a.g, a.dst, a.sf),
        MEMBER(kelsLogGaussMixture_IdVarScaled_16s32f_D2L, a.x, a.meanRows, a.count, a.n, a.g, a.dst, a.sf),
        MEMBER(kelsLogGaussMixture_Low_16s32f_D2, a.x, a.mean, a.var, a.count, a.step, a.n, a.g, a.dst),
        MEMBER(kelsLogGaussMixture_Low_16s32f_D2L, a.x, a.meanRows, a.varRows, a.count, a.n, a.g, a.dst),
        MEMBER(kelsLogGaussMixture_LowScaled_16s32f_D2, a.x, a.mean, a.var, a.count, a.step, a.n, a.g, a.dst, a.sf),
        MEMBER(kelsLogGaussMixture_LowScaled_16s32f_D2L, a.x, a.meanRows, a.varRows, a.count, a.n, a.g, a.dst, a.sf),
        MEMBER(kelsLogGaussMixture_IdVarLow_16s32f_D2, a.x, a.mean, a.count, a.step, a.n, a.g, a.dst),
        MEMBER(kelsLogGaussMixture_IdVarLow_16s32f_D2L, a.x, a.meanRows, a.count, a.n, a.g, a.dst),
        MEMBER(kelsLogGaussMixture_IdVarLowScaled_16s32f_D2, a.x, a.mean, a.count, a.step, a.n, a.g, a.dst, a.sf),
        MEMBER(kelsLogGaussMixture_IdVarLowScaled_16s32f_D2L, a.x, a.meanRows, a.count, a.n, a.g, a.dst, a.sf),
      };
    } else if constexpr (std::is_same_v<P, std::pair<Kels16s, Kels32s>>) {
      return std::vector<Member<E, R>>{
        MEMBER(kelsLogGaussMax_16s32s_D2Sfs, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMax_16s32s_D2LSfs, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMax_IdVar_16s32s_D2Sfs, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMax_IdVar_16s32s_D2LSfs, a.xRows, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMax_Low_16s32s_D2Sfs, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMax_Low_16s32s_D2LSfs, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMax_IdVarLow_16s32s_D2Sfs, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMax_IdVarLow_16s32s_D2LSfs, a.xRows, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_16s32s_D2Sfs, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_16s32s_D2LSfs, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_IdVar_16s32s_D2Sfs, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_IdVar_16s32s_D2LSfs, a.xRows, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_Low_16s32s_D2Sfs, a.x, a.step, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_Low_16s32s_D2LSfs, a.xRows, a.mean, a.var, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_IdVarLow_16s32s_D2Sfs, a.x, a.step, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussAdd_IdVarLow_16s32s_D2LSfs, a.xRows, a.mean, a.n, a.dst, a.count, a.g0, a.sf),
        MEMBER(kelsLogGaussMultiMix_16s32s_D2Sfs, a.mean, a.var, a.step, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMultiMix_16s32s_D2LSfs, a.meanRows, a.varRows, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMultiMix_IdVar_16s32s_D2Sfs, a.mean, a.step, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMultiMix_IdVar_16s32s_D2LSfs, a.meanRows, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMultiMix_Low_16s32s_D2Sfs, a.mean, a.var, a.step, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMultiMix_Low_16s32s_D2LSfs, a.meanRows, a.varRows, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMultiMix_IdVarLow_16s32s_D2Sfs, a.mean, a.step, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMultiMix_IdVarLow_16s32s_D2LSfs, a.meanRows, a.x, a.n, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_16s32s_D2Sfs, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_16s32s_D2LSfs, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_IdVar_16s32s_D2Sfs, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_IdVar_16s32s_D2LSfs, a.meanRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_Low_16s32s_D2Sfs, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_Low_16s32s_D2LSfs, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_IdVarLow_16s32s_D2Sfs, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMaxMultiMix_IdVarLow_16s32s_D2LSfs, a.meanRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_16s32s_D2Sfs, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_16s32s_D2LSfs, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_IdVar_16s32s_D2Sfs, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_IdVar_16s32s_D2LSfs, a.meanRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_Low_16s32s_D2Sfs, a.mean, a.var, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_Low_16s32s_D2LSfs, a.meanRows, a.varRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_IdVarLow_16s32s_D2Sfs, a.mean, a.step, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussAddMultiMix_IdVarLow_16s32s_D2LSfs, a.meanRows, a.x, a.n, a.g, a.dst, a.count, a.sf),
        MEMBER(kelsLogGaussMixture_16s32s_D2Sfs, a.x, a.mean, a.var, a.count, a.step, a.n, a.g, a.dst, a.sf),
        MEMBER(kelsLogGaussMixture_16s32s_D2LSfs, a.x, a.meanRows, a.varRows, a.count, a.n, a.g, a.dst, a.sf),
        MEMBER(kelsLogGaussMixture_IdVar_16s32s_D2Sfs, a.x, a.mean, a.count, a.step, a.n, a.g, a.dst, a.sf),
        MEMBER(kelsLogGaussMixture_IdVar_16s32s_D2LSfs, a.x, a.meanRows, a.count, a.n, a.g, a.dst, a.sf),
        MEMBER(kelsLogGaussMixture_Low_16s32s_D2Sfs, a.x, a.mean, a.var, a.count, a.step, a.n, a.g, a.dst, a.sf),
        MEMBER(kelsLogGaussMixture_Low_16s32s_D2LSfs, a.x, a.meanRows, a.varRows, a.count, a.n, a.g, a.dst, a.sf),
        MEMBER(kelsLogGaussMixture_IdVarLow_16s32s_D2Sfs, a.x, a.mean, a.count, a.step, a.n, a.g, a.dst, a.sf),
        MEMBER(kelsLogGaussMixture_IdVarLow_16s32s_D2LSfs, a.x, a.meanRows, a.count, a.n, a.g, a.dst, a.sf),
      };
    }
  }();
  return all;
}

#undef MEMBER

}  // namespace kels::test::mixture
