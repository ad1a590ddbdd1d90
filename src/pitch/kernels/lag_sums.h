// Lag sums of the decimated correlation series, one lag per lane: each lane adds its own products
// in increasing order, exactly as a scalar loop over that lag would, so every width gives the
// same bits. Included by every target file.
#pragma once

#include "core/float_lanes.h"

namespace kels::pitch {
namespace {

using namespace kels::lanes;

// Lags i .. i + kBlocks*W - 1 in kBlocks registers: the independent chains hide the add latency.
// Lane l of block b is lag i + b W + l, whose terms run to j = a + i + b W + l; all lanes share
// j <= a + i, each block goes on to its first lane's end, and the lanes finish one by one.
template <class L, int kBlocks>
void lagBlock(const float* xr, const float* yd, int a, int i, float* c) {
  constexpr int W = L::kWidth;
  typename L::V acc[kBlocks];
  for (auto& v : acc) v = L::splat(0.0f);
  const float* x = xr + a + i;
  const int common = a + i;
  for (int j = 0; j <= common; ++j) {
    const auto yj = L::splat(yd[j]);
    for (int b = 0; b < kBlocks; ++b) acc[b] = L::add(acc[b], L::mul(L::load(x + b * W - j), yj));
  }
  for (int b = 0; b < kBlocks; ++b) {
    const int first = common + b * W;  // the last term of the block's first lane
    for (int j = common + 1; j <= first; ++j)
      acc[b] = L::add(acc[b], L::mul(L::load(x + b * W - j), L::splat(yd[j])));
    float lane[W];
    L::store(lane, acc[b]);
    for (int l = 1; l < W; ++l)
      for (int j = first + 1; j <= first + l; ++j) lane[l] += x[b * W + l - j] * yd[j];
    for (int l = 0; l < W; ++l) c[i + b * W + l] = lane[l];
  }
}

template <class L>
void lagSums(const float* xr, const float* yd, int a, int lags, float* c) {
  constexpr int kBlocks = 4, W = L::kWidth;
  int i = 0;
  for (; lags - i >= kBlocks * W; i += kBlocks * W) lagBlock<L, kBlocks>(xr, yd, a, i, c);
  for (; lags - i >= W; i += W) lagBlock<L, 1>(xr, yd, a, i, c);
  for (; i < lags; ++i) lagBlock<ScalarLanes, 1>(xr, yd, a, i, c);
}

}  // namespace
}  // namespace kels::pitch
