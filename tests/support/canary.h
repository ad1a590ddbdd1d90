// Output buffers between guard zones, filled with a pattern no call produces, at a chosen
// misalignment from a 32-byte boundary: a failed call must leave everything untouched, a
// successful one must write only its payload.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace kels::test {

template <class T>
class Canary {
 public:
  static constexpr std::size_t kGuard = 64;  // bytes on each side
  static constexpr unsigned char kPattern = 0xA5;

  explicit Canary(std::size_t n, std::size_t misalignBytes = 0)
      : n_(n), storage_(2 * kGuard + n * sizeof(T) + 64 + misalignBytes) {
    const auto base = reinterpret_cast<std::uintptr_t>(storage_.data()) + kGuard;
    const std::uintptr_t aligned = (base + 31) & ~std::uintptr_t(31);
    offset_ = std::size_t(aligned - reinterpret_cast<std::uintptr_t>(storage_.data())) + misalignBytes;
    std::memset(storage_.data(), kPattern, storage_.size());
    snapshot_ = storage_;
  }

  T* data() { return reinterpret_cast<T*>(storage_.data() + offset_); }
  const T* data() const { return reinterpret_cast<const T*>(storage_.data() + offset_); }
  std::size_t size() const { return n_; }
  T& operator[](std::size_t i) { return data()[i]; }
  std::vector<T> values() const { return std::vector<T>(data(), data() + n_); }

  // In-out buffers: set the payload and take it as the new "untouched" state.
  void assign(const std::vector<T>& v) {
    std::memcpy(data(), v.data(), std::min(v.size(), n_) * sizeof(T));
    snapshot_ = storage_;
  }
  bool guardsIntact() const {
    const std::size_t end = offset_ + n_ * sizeof(T);
    return std::memcmp(storage_.data(), snapshot_.data(), offset_) == 0 &&
           std::memcmp(storage_.data() + end, snapshot_.data() + end, storage_.size() - end) == 0;
  }
  bool untouched() const { return storage_ == snapshot_; }

 private:
  std::size_t n_;
  std::vector<unsigned char> storage_;
  std::vector<unsigned char> snapshot_;
  std::size_t offset_ = 0;
};

}  // namespace kels::test
