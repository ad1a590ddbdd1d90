// The aligned allocator: alignment whatever the heap returns, the slot before the block,
// refusals, row tables, the failure hook.
#include "core/alloc.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace kels {
namespace {

bool aligned32(const void* p) { return (reinterpret_cast<std::uintptr_t>(p) & 31u) == 0; }

TEST(Alloc, EveryBlockIs32ByteAlignedAndWritable) {
  std::vector<void*> blocks;
  for (int n = 1; n <= 300; ++n) {  // many sizes interleaved, so the heap hands out varied addresses
    void* p = allocBytes(n);
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(aligned32(p)) << n;
    std::memset(p, 0x5A, std::size_t(n));
    blocks.push_back(p);
    void* q = alloc32(n);
    ASSERT_NE(q, nullptr);
    EXPECT_TRUE(aligned32(q)) << n;
    std::memset(q, 0x5A, std::size_t(n) * 4);
    blocks.push_back(q);
  }
  for (void* p : blocks) release(p);
}

TEST(Alloc, SlotBeforeBlockHoldsHeapAddressWithinReach) {
  void* p = allocBytes(100);
  void* raw;
  std::memcpy(&raw, static_cast<char*>(p) - sizeof(void*), sizeof(void*));
  const auto gap = reinterpret_cast<std::uintptr_t>(p) - reinterpret_cast<std::uintptr_t>(raw);
  EXPECT_GE(gap, sizeof(void*));
  EXPECT_LT(gap, 32 + sizeof(void*));
  release(p);
}

TEST(Alloc, NonPositiveRequestsGiveNullWithoutAskingTheHeap) {
  const long before = testing::allocationCount();
  EXPECT_EQ(allocBytes(0), nullptr);
  EXPECT_EQ(allocBytes(-5), nullptr);
  EXPECT_EQ(alloc32(0), nullptr);
  EXPECT_EQ(alloc32(-1), nullptr);
  EXPECT_EQ(allocRowTable(0, 4, 4), nullptr);
  EXPECT_EQ(allocRowTable(3, 0, 4), nullptr);
  EXPECT_EQ(testing::allocationCount(), before);
  release(nullptr);  // ignored
}

TEST(Alloc, HugeRequestsAreRefusedNotWrapped) {
  const long before = testing::allocationCount();
  EXPECT_EQ(allocRowTable(INT32_MAX, INT32_MAX, 8), nullptr);  // the size would wrap
  if (sizeof(void*) == 4) {
    EXPECT_EQ(alloc32(0x40000001), nullptr);  // 4 * n wraps to 4 bytes
  }
  EXPECT_EQ(testing::allocationCount(), before);
}

TEST(Alloc, Zero32) {
  std::uint32_t words[5] = {1, 2, 3, 4, 5};
  EXPECT_EQ(zero32(nullptr, 4), kelErrNullPtr);
  EXPECT_EQ(zero32(nullptr, 0), kelErrNullPtr);  // the pointer is checked first
  EXPECT_EQ(zero32(words, 0), kelErrSize);
  EXPECT_EQ(zero32(words, -1), kelErrSize);
  EXPECT_EQ(words[0], 1u);
  EXPECT_EQ(zero32(words, 4), kelOk);
  EXPECT_EQ(words[3], 0u);
  EXPECT_EQ(words[4], 5u);
}

TEST(Alloc, RowTableLayout) {
  for (int cols : {1, 7, 8, 9, 23}) {
    const int rows = 5;
    float** t = allocRows<float>(rows, cols);
    ASSERT_NE(t, nullptr);
    const std::size_t padded = std::size_t((cols + 7) / 8 * 8);
    EXPECT_TRUE(aligned32(t[0]));
    EXPECT_GE(reinterpret_cast<std::uintptr_t>(t[0]), reinterpret_cast<std::uintptr_t>(t + rows));
    EXPECT_LT(reinterpret_cast<std::uintptr_t>(t[0]), reinterpret_cast<std::uintptr_t>(t + rows) + 32);
    for (int r = 0; r < rows; ++r) {
      EXPECT_EQ(t[r], t[0] + r * padded) << cols;
      for (int c = 0; c < cols; ++c) t[r][c] = float(r * 100 + c);
    }
    EXPECT_EQ(t[rows - 1][cols - 1], float((rows - 1) * 100 + cols - 1));
    release(t);
  }
}

TEST(Alloc, FailureHookRefusesExactlyTheNthAllocation) {
  testing::failNthAllocation(2);
  void* a = allocBytes(8);
  void* b = allocBytes(8);
  void* c = allocBytes(8);
  EXPECT_NE(a, nullptr);
  EXPECT_EQ(b, nullptr);
  EXPECT_NE(c, nullptr);
  release(a);
  release(c);
  testing::failNthAllocation(1);
  testing::failNthAllocation(0);  // switched off before it fired
  void* d = alloc32(4);
  EXPECT_NE(d, nullptr);
  release(d);
}

TEST(Scratch, StackUpToNAllocatedBeyond) {
  const long before = testing::allocationCount();
  { Scratch<float, 100> s(100); ASSERT_TRUE(s); s[99] = 1.0f; EXPECT_TRUE(aligned32(s.data())); }
  EXPECT_EQ(testing::allocationCount(), before);
  { Scratch<float, 100> s(101); ASSERT_TRUE(s); s[100] = 1.0f; EXPECT_TRUE(aligned32(s.data())); }
  EXPECT_EQ(testing::allocationCount(), before + 1);
  testing::failNthAllocation(1);
  Scratch<float, 100> refused(101);
  EXPECT_FALSE(refused);
}

}  // namespace
}  // namespace kels
