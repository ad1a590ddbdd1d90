// The library's own memory: 32-byte aligned blocks carved out of a larger heap block, with the
// heap address kept in the pointer-sized slot just before the returned address, and row tables
// (row pointers followed by rows padded to 8 elements, one release frees all).
#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>

#include <kelsr.h>

namespace kels {

// n bytes, 32-byte aligned; null for n < 1 (the heap is not asked) or when the heap refuses.
void* allocBytes(int n);
// n 32-bit elements; null for n < 1 or when the heap refuses.
void* alloc32(int n);
// The same for an unsigned byte count, for scratch whose size is formed in size_t.
void* allocSize(std::size_t n);
// Sets n 32-bit words to zero: kelErrNullPtr for null, kelErrSize for n < 1.
KelsStatus zero32(void* p, int n);
// Returns a block from any of the above to the heap; null is ignored.
void release(void* p);
// One block: `rows` row pointers, then rows of `cols` elements of `elemSize` bytes, each row
// padded to a multiple of 8 elements, the first on the first 32-byte boundary after the
// pointers. Returns the pointer array (release it to free everything) or null.
void** allocRowTable(int rows, int cols, int elemSize);

template <class T>
T** allocRows(int rows, int cols) {
  return reinterpret_cast<T**>(allocRowTable(rows, cols, int(sizeof(T))));
}

struct Release {
  void operator()(void* p) const { release(p); }
};
template <class T>
using Owned = std::unique_ptr<T, Release>;

// Working storage for one call: on the stack (32-byte aligned) up to N elements, from the
// allocator beyond.
// Check it before use: a refused allocation leaves it empty.
template <class T, int N>
class Scratch {
  static_assert(std::is_trivial_v<T>, "scratch holds plain numbers");

 public:
  explicit Scratch(int n)
      : heap_(n > N ? static_cast<T*>(allocSize(std::size_t(n) * sizeof(T))) : nullptr),
        data_(n > N ? heap_ : local_) {}
  ~Scratch() { release(heap_); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  explicit operator bool() const { return data_ != nullptr; }
  T* data() { return data_; }
  T& operator[](int i) { return data_[i]; }

 private:
  alignas(32) T local_[N];
  T* heap_;
  T* data_;
};

namespace testing {
// Makes the n-th allocation from now fail (1: the next one); 0 switches the hook off. Only the
// one allocation fails; the hook is off again afterwards.
void failNthAllocation(int n);
// Allocations asked of the heap so far (requests that reached it, refused or not).
long allocationCount();
}  // namespace testing

}  // namespace kels
