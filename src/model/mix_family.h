// The mixture families over one Gaussian and many vectors (Max, Add) or one vector and many
// Gaussians (MultiMix, MaxMultiMix, AddMultiMix, Mixture, Mixture_Select). Each computes the
// single-Gaussian score r = g - 1/2 * S of its form and merges it into the output: overwritten,
// kept if strictly larger, or log-added.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include <kelsr.h>

#include "core/alloc.h"
#include "core/check.h"
#include "core/rows.h"
#include "model/mix_forms.h"

namespace kels::model {

// Row tables may hold null rows; those are reported before anything is written.
template <class R>
bool rowsPresent(const R& r, int h) {
  if constexpr (R::kHasStep) return true;
  else return r.rowsNonNull(h);
}

// Max, Add: vectors x (rows), one Gaussian.
// Step first: a short step is reported even when a pointer is null.
template <class Rows, class E, class R>
KelsStatus checkOneGaussian(const Rows& x, const E* mean, const E* var, bool weighted, int n,
                            const R* dst, int m) {
  return ArgCheck{}
      .step(x, n)
      .ptr(x.ptr())
      .ptr(mean)
      .arg(!weighted || var != nullptr, kelErrNullPtr)
      .ptr(dst)
      .size(n)
      .size(m)
      .data([&] { return rowsPresent(x, m); }, kelErrNullPtr);
}

// MultiMix, MaxMultiMix, AddMultiMix: Gaussians (rows of means and weights), one vector. The
// constants g are absent (null allowed) in MultiMix, whose output holds them on entry.
// Step first, as above.
template <class Rows, class E, class R>
KelsStatus checkManyGaussians(const Rows& mean, const Rows& var, bool weighted, const E* x, int n,
                              const R* g, bool hasG, const R* dst, int count) {
  return ArgCheck{}
      .step(mean, n)
      .ptr(mean.ptr())
      .arg(!weighted || var.ptr() != nullptr, kelErrNullPtr)
      .ptr(x)
      .arg(!hasG || g != nullptr, kelErrNullPtr)
      .ptr(dst)
      .size(n)
      .size(count)
      .data([&] { return rowsPresent(mean, count) && (!weighted || rowsPresent(var, count)); },
            kelErrNullPtr);
}

// Mixture: pointers, then the step, then the sizes.
template <class Rows, class E, class R>
KelsStatus checkMixture(const E* x, const Rows& mean, const Rows& var, bool weighted, int count,
                        int n, const R* g, const R* dst) {
  return ArgCheck{}
      .ptr(x)
      .ptr(mean.ptr())
      .arg(!weighted || var.ptr() != nullptr, kelErrNullPtr)
      .ptr(g)
      .ptr(dst)
      .step(mean, n)
      .size(n)
      .size(count)
      .data([&] { return rowsPresent(mean, count) && (!weighted || rowsPresent(var, count)); },
            kelErrNullPtr);
}

// dst[j] <- LogAdd(dst[j], score[j]): float results a row at a time on the active target.
template <class Form>
void logAddInto(const Form& f, const typename Form::Res* score, typename Form::Res* dst, int n) {
  if constexpr (std::is_same_v<typename Form::Res, Kels32f>) {
    (void)f;
    logAddRow32f(score, dst, n, kMixHint);
  } else {
    for (int j = 0; j < n; ++j) dst[j] = f.fromLog(logAddMix(f.toLog(dst[j]), f.toLog(score[j])));
  }
}

// D[t] <- max(D[t], g - 1/2 S_t); ties keep the old value.
template <class Rows, class Form>
KelsStatus logGaussMax(Rows x, const typename Form::Elem* mean, const typename Form::Elem* var,
                       int n, typename Form::Res* dst, int m, typename Form::Res g, Form form) {
  if (KelsStatus st = checkOneGaussian(x, mean, var, Form::kWeighted, n, dst, m); st != kelOk)
    return st;
  return form.with([&](auto f) {
    forEachDistance(f, rowSrc(x), fixedRow(mean), fixedRow(var), n, m, [&](int t, auto s) {
      const auto r = f.score(g, s);
      if (r > dst[t]) dst[t] = r;
    });
    return kelOk;
  });
}

// D[t] <- LogAdd(D[t], g - 1/2 S_t), the scores gathered first. The scratch is on the stack up to
// 100 values; a refused allocation beyond reports kelErrNullPtr.
template <class Rows, class Form>
KelsStatus logGaussAdd(Rows x, const typename Form::Elem* mean, const typename Form::Elem* var,
                       int n, typename Form::Res* dst, int m, typename Form::Res g, Form form) {
  if (KelsStatus st = checkOneGaussian(x, mean, var, Form::kWeighted, n, dst, m); st != kelOk)
    return st;
  Scratch<typename Form::Res, 100> score(m);
  if (!score) return kelErrNullPtr;
  return form.with([&](auto f) {
    forEachDistance(f, rowSrc(x), fixedRow(mean), fixedRow(var), n, m,
                    [&](int t, auto s) { score[t] = f.score(g, s); });
    logAddInto(f, score.data(), dst, m);
    return kelOk;
  });
}

// D[j] <- D[j] - 1/2 S_j: the caller loads g_j into D.
template <class Rows, class Form>
KelsStatus logGaussMultiMix(Rows mean, Rows var, const typename Form::Elem* x, int n,
                            typename Form::Res* dst, int count, Form form) {
  if (KelsStatus st = checkManyGaussians(mean, var, Form::kWeighted, x, n, dst, false, dst, count);
      st != kelOk)
    return st;
  return form.with([&](auto f) {
    forEachDistance(f, fixedRow(x), rowSrc(mean), rowSrc(var), n, count,
                    [&](int j, auto s) { dst[j] = f.score(dst[j], s); });
    return kelOk;
  });
}

// D[j] <- max(D[j], g_j - 1/2 S_j); ties keep the old value.
template <class Rows, class Form>
KelsStatus logGaussMaxMultiMix(Rows mean, Rows var, const typename Form::Elem* x, int n,
                               const typename Form::Res* g, typename Form::Res* dst, int count,
                               Form form) {
  if (KelsStatus st = checkManyGaussians(mean, var, Form::kWeighted, x, n, g, true, dst, count);
      st != kelOk)
    return st;
  return form.with([&](auto f) {
    forEachDistance(f, fixedRow(x), rowSrc(mean), rowSrc(var), n, count, [&](int j, auto s) {
      const auto r = f.score(g[j], s);
      if (r > dst[j]) dst[j] = r;
    });
    return kelOk;
  });
}

// D[j] <- LogAdd(D[j], g_j - 1/2 S_j), the scores gathered first; scratch as in logGaussAdd.
template <class Rows, class Form>
KelsStatus logGaussAddMultiMix(Rows mean, Rows var, const typename Form::Elem* x, int n,
                               const typename Form::Res* g, typename Form::Res* dst, int count,
                               Form form) {
  if (KelsStatus st = checkManyGaussians(mean, var, Form::kWeighted, x, n, g, true, dst, count);
      st != kelOk)
    return st;
  Scratch<typename Form::Res, 100> score(count);
  if (!score) return kelErrNullPtr;
  return form.with([&](auto f) {
    forEachDistance(f, fixedRow(x), rowSrc(mean), rowSrc(var), n, count,
                    [&](int j, auto s) { score[j] = f.score(g[j], s); });
    logAddInto(f, score.data(), dst, count);
    return kelOk;
  });
}

// out <- log sum_j exp(g_j - 1/2 S_j). Scratch on the stack up to 100 components; a refused
// allocation beyond reports kelErrMemAlloc.
template <class Rows, class Form>
KelsStatus logGaussMixture(const typename Form::Elem* x, Rows mean, Rows var, int count, int n,
                           const typename Form::Res* g, typename Form::Res* dst, Form form) {
  if (KelsStatus st = checkMixture(x, mean, var, Form::kWeighted, count, n, g, dst); st != kelOk)
    return st;
  return form.with([&](auto f) {
    using F = decltype(f);
    Scratch<typename F::Log, 100> score(count);
    if (!score) return kelErrMemAlloc;
    forEachDistance(f, fixedRow(x), rowSrc(mean), rowSrc(var), n, count,
                    [&](int j, auto s) { score[j] = f.toLog(f.score(g[j], s)); });
    *dst = f.fromLog(logSumMix(score.data(), count));
    return kelOk;
  });
}

// Mixture_Select: pointers, then the sizes, then the one step shared by x, means and weights.
template <class T>
KelsStatus checkSelect(const T* x, const T* mean, const T* var, int step, int n, const T* g,
                       const Kels8u* table, int count, const T* dst, int frames) {
  return ArgCheck{}
      .ptrs(x, mean, var, g, table, dst)
      .size(n)
      .size(count)
      .size(frames)
      .step(RowsD2<const T>{x, step}, n);
}

// Frame t scores Gaussian j when bit 7 - j % 8 of byte j / 8 of its table row is set. Gaussians
// in the outer loop and frames in the inner one fix the order of the log-additions per frame; the
// first selected score is written unchanged, a frame with none gets the default score.
template <class T>
KelsStatus logGaussMixtureSelect(const T* x, const T* mean, const T* var, int step, int n,
                                 const T* g, const Kels8u* table, int count, T* dst, int frames,
                                 T defaultScore) {
  if (KelsStatus st = checkSelect(x, mean, var, step, n, g, table, count, dst, frames); st != kelOk)
    return st;
  Owned<std::uint16_t> scored(static_cast<std::uint16_t*>(allocSize(std::size_t(frames) * 2)));
  if (!scored) return kelErrMemAlloc;
  std::fill_n(scored.get(), frames, std::uint16_t(0));
  const RealForm<T, T, true> f;
  const std::size_t rowBytes = (std::size_t(count) + 7) / 8;
  const RowsD2<const T> rows{x, step}, means{mean, step}, vars{var, step};
  for (int j = 0; j < count; ++j) {
    const Kels8u bit = Kels8u(0x80u >> (j % 8));
    for (int t = 0; t < frames; ++t) {
      if (!(table[std::size_t(t) * rowBytes + std::size_t(j / 8)] & bit)) continue;
      T s;
      f.dist(fixedRow(rows[t]), fixedRow(means[j]), fixedRow(vars[j]), n, 1, &s);
      const T r = f.score(g[j], s);
      dst[t] = scored.get()[t] ? logAddMix(dst[t], r) : r;
      scored.get()[t] = 1;  // a flag: a 16-bit count could wrap back to 0
    }
  }
  for (int t = 0; t < frames; ++t)
    if (!scored.get()[t]) dst[t] = defaultScore;
  return kelOk;
}

}  // namespace kels::model
