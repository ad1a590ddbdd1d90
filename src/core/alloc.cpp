// The aligned allocator. The heap block is n + 32 + (pointer size) bytes: on 32-bit builds the
// documented n + 36, with the address (raw + 35) rounded down to 32; 64-bit builds keep a
// pointer-sized slot, so the block grows by four bytes.
#include "core/alloc.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace kels {
namespace {

constexpr std::size_t kSlot = sizeof(void*);
constexpr std::size_t kAlign = 32;

std::atomic<long> gFailIn{0};
std::atomic<long> gCount{0};

bool hookRefuses() {
  gCount.fetch_add(1, std::memory_order_relaxed);
  long n = gFailIn.load(std::memory_order_relaxed);
  while (n > 0) {
    if (gFailIn.compare_exchange_weak(n, n - 1, std::memory_order_relaxed)) return n == 1;
  }
  return false;
}

}  // namespace

void* allocSize(std::size_t n) {
  if (n == 0 || n > std::numeric_limits<std::size_t>::max() - kAlign - kSlot) return nullptr;
  if (hookRefuses()) return nullptr;
  void* raw = std::malloc(n + kAlign + kSlot);
  if (raw == nullptr) return nullptr;
  const std::uintptr_t at = (reinterpret_cast<std::uintptr_t>(raw) + kAlign - 1 + kSlot) & ~(kAlign - 1);
  char* p = reinterpret_cast<char*>(at);
  std::memcpy(p - kSlot, &raw, kSlot);
  return p;
}

void* allocBytes(int n) { return n < 1 ? nullptr : allocSize(std::size_t(n)); }

void* alloc32(int n) {
  if (n < 1 || std::size_t(n) > std::numeric_limits<std::size_t>::max() / 4) return nullptr;
  return allocSize(std::size_t(n) * 4);
}

KelsStatus zero32(void* p, int n) {
  if (p == nullptr) return kelErrNullPtr;
  if (n < 1) return kelErrSize;
  std::memset(p, 0, std::size_t(n) * 4);
  return kelOk;
}

void release(void* p) {
  if (p == nullptr) return;
  void* raw;
  std::memcpy(&raw, static_cast<char*>(p) - kSlot, kSlot);
  std::free(raw);
}

void** allocRowTable(int rows, int cols, int elemSize) {
  if (rows < 1 || cols < 1 || elemSize < 1) return nullptr;
  const std::size_t padded = (std::size_t(cols) + 7) & ~std::size_t(7);
  const std::size_t rowBytes = padded * std::size_t(elemSize);
  const std::size_t maxBytes = std::numeric_limits<std::size_t>::max() / 2;
  if (rowBytes / std::size_t(elemSize) != padded || rowBytes > maxBytes / std::size_t(rows)) return nullptr;
  const std::size_t ptrBytes = std::size_t(rows) * sizeof(void*);
  void** table = static_cast<void**>(allocSize(ptrBytes + std::size_t(rows) * rowBytes + 28));
  if (table == nullptr) return nullptr;
  const std::uintptr_t first =
      (reinterpret_cast<std::uintptr_t>(table) + ptrBytes + kAlign - 1) & ~(kAlign - 1);
  for (int i = 0; i < rows; ++i) table[i] = reinterpret_cast<char*>(first) + std::size_t(i) * rowBytes;
  return table;
}

namespace testing {
void failNthAllocation(int n) { gFailIn.store(n > 0 ? n : 0, std::memory_order_relaxed); }
long allocationCount() { return gCount.load(std::memory_order_relaxed); }
}  // namespace testing

}  // namespace kels
