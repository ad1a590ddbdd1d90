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
#endif
}

}  // namespace
