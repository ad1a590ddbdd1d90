// The two 2-D layouts behind one row accessor, so each kernel is written once: _D2 is one buffer
// with a step in elements, _D2L an array of row pointers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace kels {

inline bool isAligned16(const void* p) { return (reinterpret_cast<std::uintptr_t>(p) & 15u) == 0; }
inline bool isAligned32(const void* p) { return (reinterpret_cast<std::uintptr_t>(p) & 31u) == 0; }

template <class T>
struct RowsD2 {
  static constexpr bool kHasStep = true;
  T* base;
  int step;
  T* operator[](int i) const { return base + std::ptrdiff_t(i) * step; }  // i*step can pass INT_MAX
  const void* ptr() const { return base; }
  bool aligned16(int) const {
    return isAligned16(base) && std::size_t(step) * sizeof(T) % 16 == 0;
  }
};

template <class T>
struct RowsD2L {
  static constexpr bool kHasStep = false;
  T* const* rows;
  T* operator[](int i) const { return rows[i]; }
  const void* ptr() const { return rows; }
  // Stops at the first row that is not aligned.
  bool aligned16(int h) const {
    return std::all_of(rows, rows + h, [](const T* r) { return isAligned16(r); });
  }
  // Row pointers may themselves be null; families that care check them as data.
  bool rowsNonNull(int h) const {
    return std::all_of(rows, rows + h, [](const T* r) { return r != nullptr; });
  }
};

}  // namespace kels
