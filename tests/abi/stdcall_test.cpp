// On 32-bit x86 every exported function removes its own arguments from the stack. Each call
// below pushes its arguments by hand, calls through a plain address and measures how many bytes
// the callee left behind: none, if it cleans up after itself.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <cstdint>
#include <vector>

namespace {

#if defined(__i386__)
struct Measured {
  int leftBytes;
  std::uint32_t eax;
};

// Pushes args[n-1] .. args[0] onto a 16-byte aligned stack, calls fn, and reports the bytes
// still on the stack after the return (esp restored in any case).
Measured callMeasured(const void* fn, const std::uint32_t* args, int n) {
  int count = n;
  const void* f = fn;
  const std::uint32_t* a = args;
  asm volatile(
      "movl %%esp, %%edi\n\t"
      "leal (,%%ecx,4), %%esi\n\t"
      "subl %%esi, %%esp\n\t"
      "andl $-16, %%esp\n\t"
      "addl %%esi, %%esp\n\t"
      "movl %%esp, %%esi\n\t"
      "1:\n\t"
      "testl %%ecx, %%ecx\n\t"
      "jz 2f\n\t"
      "decl %%ecx\n\t"
      "pushl (%%edx,%%ecx,4)\n\t"
      "jmp 1b\n\t"
      "2:\n\t"
      "call *%%eax\n\t"
      "movl %%esi, %%ecx\n\t"
      "subl %%esp, %%ecx\n\t"
      "movl %%edi, %%esp\n\t"
      : "+c"(count), "+a"(f), "+d"(a)
      :
      : "esi", "edi", "memory", "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6",
        "xmm7");
  return {count, std::uint32_t(reinterpret_cast<std::uintptr_t>(f))};
}

extern "C" int __attribute__((cdecl, noinline)) callerCleans(int a, int b) { return a + b; }
extern "C" int __attribute__((stdcall, noinline)) calleeCleans(int a, int b) { return a - b; }

std::uint32_t word(const void* p) { return std::uint32_t(reinterpret_cast<std::uintptr_t>(p)); }
std::uint32_t word(float v) {
  std::uint32_t w;
  __builtin_memcpy(&w, &v, 4);
  return w;
}
// A double argument takes two stack words, the low half at the lower address.
void pushDouble(std::vector<std::uint32_t>& args, double v) {
  std::uint32_t w[2];
  __builtin_memcpy(w, &v, 8);
  args.push_back(w[0]);
  args.push_back(w[1]);
}
#endif

TEST(StdcallAbi, CalleeRemovesItsArguments) {
#if !defined(__i386__)
  GTEST_SKIP() << "callee-cleans applies to 32-bit x86 only";
#else
  // The measurement itself: a caller-cleans function leaves its 8 bytes, a stdcall one none.
  const std::uint32_t two[] = {7, 5};
  EXPECT_EQ(callMeasured(reinterpret_cast<const void*>(&callerCleans), two, 2).leftBytes, 8);
  const Measured control = callMeasured(reinterpret_cast<const void*>(&calleeCleans), two, 2);
  EXPECT_EQ(control.leftBytes, 0);
  EXPECT_EQ(control.eax, 2u);

  const Measured version = callMeasured(reinterpret_cast<const void*>(&kelsrGetLibVersion), nullptr, 0);
  EXPECT_EQ(version.leftBytes, 0);
  EXPECT_EQ(version.eax, word(kelsrGetLibVersion()));

  // Functions of several shapes: pointers and ints, float scalars, double scalars.
  const float src[4] = {-1.0f, 0.5f, 1.5f, 3.0f};
  float dst[4] = {};
  const std::uint32_t curve[] = {word(src), word(dst), 4};
  const Measured c = callMeasured(reinterpret_cast<const void*>(&kelsUnitCurve_32f), curve, 3);
  EXPECT_EQ(c.leftBytes, 0);
  EXPECT_EQ(c.eax, std::uint32_t(kelOk));
  EXPECT_EQ(dst[2], 1.75f);

  const std::uint32_t range[] = {word(src), word(dst), 4, word(0.0f), word(1.0f), word(2.0f)};
  const Measured r = callMeasured(reinterpret_cast<const void*>(&kelsNormalizeInRange_32f), range, 6);
  EXPECT_EQ(r.leftBytes, 0);
  EXPECT_EQ(r.eax, std::uint32_t(kelOk));
  EXPECT_EQ(dst[3], 2.0f);

  const double mean[2] = {1, 2}, var[2] = {1, 1};
  double first[2], second[2];
  std::vector<std::uint32_t> acc = {word(mean), word(var), word(first), word(second), 2};
  pushDouble(acc, 3.0);
  const Measured a = callMeasured(reinterpret_cast<const void*>(&kelsDcsClustLAccumulate_DirectVar_64f),
                                  acc.data(), int(acc.size()));
  EXPECT_EQ(a.leftBytes, 0);
  EXPECT_EQ(a.eax, std::uint32_t(kelOk));
  EXPECT_EQ(second[1], 15.0);

  const Measured bad = callMeasured(reinterpret_cast<const void*>(&kelsNthMaxElement_32f),
                                    std::vector<std::uint32_t>{word(src), 0, 0, word(dst)}.data(), 4);
  EXPECT_EQ(bad.leftBytes, 0);
  EXPECT_EQ(bad.eax, std::uint32_t(std::int32_t(kelErrSize)));
#endif
}

}  // namespace
