// Deterministic random data: every test seeds its own generator, so failures reproduce.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace kels::test {

class Rng {
 public:
  explicit Rng(std::uint32_t seed = 12345) : gen_(seed) {}
  double uniform(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(gen_); }
  double normal(double mean = 0.0, double sd = 1.0) { return std::normal_distribution<double>(mean, sd)(gen_); }
  int integer(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(gen_); }

  template <class T>
  std::vector<T> uniformVec(std::size_t n, double lo, double hi) {
    std::vector<T> v(n);
    for (auto& x : v) {
      if constexpr (std::is_integral_v<T>) x = T(integer(int(lo), int(hi)));
      else x = T(uniform(lo, hi));
    }
    return v;
  }
  std::mt19937& engine() { return gen_; }

 private:
  std::mt19937 gen_;
};

}  // namespace kels::test
