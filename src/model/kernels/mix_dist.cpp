// The portable row distances (they define every result bit) and the per-target table.
#include "model/kernels/mix_dist.h"

#include <algorithm>

namespace kels::model {

namespace {

template <class Form, class T>
void dist32(RowSrc<T> x, RowSrc<T> m, RowSrc<T> w, int n, int count, float* s) {
  for (int j = 0; j < count; ++j) s[j] = rowDist32<Form>(x[j], m[j], w[j], n);
}
template <class Form>
void dist64(RowSrc<Kels64f> x, RowSrc<Kels64f> m, RowSrc<Kels64f> w, int n, int count, double* s) {
  for (int j = 0; j < count; ++j) s[j] = rowDist64<Form>(x[j], m[j], w[j], n);
}

// Right shift that rounds towards minus infinity, written without shifting a negative value.
std::int64_t floorShift(std::int64_t v, int s) { return v >= 0 ? v >> s : ~(~v >> s); }

}  // namespace

const MixDistKernels kMixDistScalar = {
    dist32<Weighted, Kels32f>, dist32<Identity, Kels32f>, dist64<Weighted>, dist64<Identity>,
    dist32<Weighted, Kels16s>, dist32<Identity, Kels16s>,
};
#if defined(KELSR_X86)
extern const MixDistKernels kMixDistSse2;
extern const MixDistKernels kMixDistAvx2;
#endif

const MixDistKernels& mixDistKernels(Target t) {
#if defined(KELSR_X86)
  switch (t) {
    case Target::kScalar: return kMixDistScalar;
    case Target::kSse2: return kMixDistSse2;
    case Target::kAvx2:
    case Target::kAvx512: return kMixDistAvx2;  // 8 float lanes fill one 256-bit register
  }
#endif
  (void)t;
  return kMixDistScalar;
}

void lowDist16s(RowSrc<Kels16s> x, RowSrc<Kels16s> m, RowSrc<Kels16s> w, int n, int count,
                int sf, std::int64_t* s) {
  const bool identity = w.base == nullptr && w.rows == nullptr;
  const std::int64_t up = std::int64_t(1) << (15 - sf);
  for (int j = 0; j < count; ++j) {
    const Kels16s* xr = x[j];
    const Kels16s* mr = m[j];
    const Kels16s* wr = identity ? nullptr : w[j];
    std::int64_t acc = 0;
    for (int i = 0; i < n; ++i) {
      const std::int32_t d = std::clamp(std::int32_t(xr[i]) - mr[i], -32768, 32767);
      const std::uint32_t sq = std::uint32_t(d * d);  // at most 2^30
      const std::int32_t hi = std::int32_t(sq >> 16);
      const std::int32_t lo = std::int32_t((sq & 0xFFFFu) >> 1);
      const std::int32_t wi = identity ? 1 : wr[i];
      acc += std::int64_t(hi * wi) * up + floorShift(std::int64_t(lo * wi), sf);
    }
    s[j] = acc;
  }
}

}  // namespace kels::model
