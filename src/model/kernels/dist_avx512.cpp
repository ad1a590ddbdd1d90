// AVX-512 row-distance kernels (bit-identical to dist.h). Single rows are too short to gain from
// 512-bit registers: they run the 256-bit code with mask-register tails (many rows at once are
// in mix_dist_avx512.cpp).
#define KELS_YMM_KMASK 1
#include "model/kernels/dist_ymm.h"

namespace kels {
namespace {

float wsd32f(const float* x, const float* mu, const float* w, int n) { return ymmSum32f<Wsd>(x, mu, w, n); }
float sd32f(const float* x, const float* mu, int n) { return ymmSum32f<Sd>(x, mu, nullptr, n); }
float dvd32f(const float* x, const float* mu, const float* v, int n) { return ymmSum32f<Dvd>(x, mu, v, n); }
double wsd64f(const double* x, const double* mu, const double* w, int n) { return ymmSum64f<Wsd, Load64f>(x, mu, w, n); }
double sd64f(const double* x, const double* mu, int n) { return ymmSum64f<Sd, Load64f>(x, mu, nullptr, n); }
double dvd64f(const double* x, const double* mu, const double* v, int n) { return ymmSum64f<Dvd, Load64f>(x, mu, v, n); }
double wsd32f64f(const float* x, const float* mu, const float* w, int n) { return ymmSum64f<Wsd, Load32f64f>(x, mu, w, n); }
double sd32f64f(const float* x, const float* mu, int n) { return ymmSum64f<Sd, Load32f64f>(x, mu, nullptr, n); }
double dvd32f64f(const float* x, const float* mu, const float* v, int n) { return ymmSum64f<Dvd, Load32f64f>(x, mu, v, n); }
float wsd16s(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n) {
  return ymmSum16s<Wsd>(x, mu, w, n, WsdTerm16s{x, mu, w});
}
float sd16s(const std::int16_t* x, const std::int16_t* mu, int n) {
  return ymmSum16s<Sd>(x, mu, nullptr, n, SdTerm16s{x, mu});
}
float dvd16s(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* v, int n) {
  return ymmSum16s<Dvd>(x, mu, v, n, DvdTerm16s{x, mu, v});
}
std::int64_t lowWsd16s(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n, int sf) {
  return ymmLow16s(x, mu, w, n, sf);
}
std::int64_t lowSd16s(const std::int16_t* x, const std::int16_t* mu, int n, int sf) {
  return ymmLow16s(x, mu, nullptr, n, sf);
}

}  // namespace

extern const DistKernels kDistAvx512{wsd32f,    sd32f,     dvd32f, wsd64f, sd64f,     dvd64f,   wsd32f64f, sd32f64f,
                                 dvd32f64f, wsd16s,    sd16s,  dvd16s, lowWsd16s, lowSd16s};

}  // namespace kels
