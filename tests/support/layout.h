// 2-D test data in both layouts: a _D2 block with any step and misalignment, and a _D2L row
// table that points either into the block or at rows scattered with their own misalignments.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace kels::test {

// A buffer of n elements starting `misalignBytes` past a 32-byte boundary.
template <class T>
class Buffer {
 public:
  explicit Buffer(std::size_t n, std::size_t misalignBytes = 0)
      : raw_(n * sizeof(T) + 32 + misalignBytes + sizeof(T)) {
    const auto p = reinterpret_cast<std::uintptr_t>(raw_.data());
    data_ = reinterpret_cast<T*>(((p + 31) & ~std::uintptr_t(31)) + misalignBytes);
    n_ = n;
  }
  Buffer(const std::vector<T>& v, std::size_t misalignBytes = 0) : Buffer(v.size(), misalignBytes) {
    if (!v.empty()) std::memcpy(data_, v.data(), v.size() * sizeof(T));
  }
  T* data() { return data_; }
  const T* data() const { return data_; }
  std::size_t size() const { return n_; }
  T& operator[](std::size_t i) { return data_[i]; }

 private:
  std::vector<unsigned char> raw_;
  T* data_;
  std::size_t n_;
};

template <class T>
class Matrix2D {
 public:
  // rows x width values, laid out with `step` elements per row (step >= width).
  Matrix2D(int rows, int width, int step, std::size_t misalignBytes = 0)
      : rows_(rows), width_(width), step_(step),
        block_(std::size_t(rows) * std::size_t(step) + 1, misalignBytes) {
    for (int r = 0; r < rows; ++r) ptrs_.push_back(block_.data() + std::size_t(r) * step);
    cptrs_.assign(ptrs_.begin(), ptrs_.end());
  }
  int rows() const { return rows_; }
  int width() const { return width_; }
  int step() const { return step_; }
  T& at(int r, int c) { return ptrs_[r][c]; }
  T at(int r, int c) const { return ptrs_[r][c]; }
  T* base() { return block_.data(); }
  T** rowTable() { return ptrs_.data(); }
  const T** constRowTable() { return cptrs_.data(); }
  std::vector<T> row(int r) const { return std::vector<T>(ptrs_[r], ptrs_[r] + width_); }

  // Moves every row into its own buffer, row r misaligned by misalign[r % size] bytes; the row
  // table then points there (the _D2 block keeps the old values).
  void scatter(const std::vector<std::size_t>& misalign) {
    for (int r = 0; r < rows_; ++r) {
      scattered_.push_back(std::make_unique<Buffer<T>>(std::size_t(width_), misalign[r % misalign.size()]));
      std::memcpy(scattered_.back()->data(), ptrs_[r], std::size_t(width_) * sizeof(T));
      ptrs_[r] = scattered_.back()->data();
    }
    cptrs_.assign(ptrs_.begin(), ptrs_.end());
  }

 private:
  int rows_, width_, step_;
  Buffer<T> block_;
  std::vector<T*> ptrs_;
  std::vector<const T*> cptrs_;
  std::vector<std::unique_ptr<Buffer<T>>> scattered_;
};

}  // namespace kels::test
