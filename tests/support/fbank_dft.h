// Plain O(N^2) DFT of a real frame in long double, for the FFT and filter-bank tests: bins
// 0..N/2, angles from a table indexed by (k t) mod N.
#pragma once

#include <cmath>
#include <complex>
#include <vector>

namespace kels::test {

template <class T>
std::vector<std::complex<long double>> refDft(const std::vector<T>& x) {
  const std::size_t n = x.size();
  std::vector<std::complex<long double>> w(n), out(n / 2 + 1);
  for (std::size_t j = 0; j < n; ++j) w[j] = std::polar(1.0L, -2 * 3.14159265358979323846264338327950288L * j / n);
  for (std::size_t k = 0; k <= n / 2; ++k)
    for (std::size_t t = 0; t < n; ++t) out[k] += (long double)x[t] * w[(k * t) % n];
  return out;
}

}  // namespace kels::test
