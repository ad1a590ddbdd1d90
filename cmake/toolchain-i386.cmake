# 32-bit x86 on an x86-64 Linux host (g++-multilib): same compiler, -m32, SSE2 arithmetic.
set(CMAKE_C_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-m32")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-m32")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-m32")
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
# The host's 64-bit GoogleTest cannot link here: build it from Debian's source package.
set(KELSR_GTEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest sources to build with the tests")
