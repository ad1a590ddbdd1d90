// Second names of a function: one entry point, two exported names. Both are declared in the
// public header; the alias must sit in the same file as its target's definition.
#pragma once

#include <kelsr.h>

#if defined(_WIN32)
// PE has no ELF-style alias of a decorated stdcall name: the module-definition file exports the
// second name as a forward to the first.
#define KELS_ALIAS(name, target) static_assert(sizeof(&target) != 0, #name)
#else
#define KELS_ALIAS(name, target) \
  extern "C" KELS_API decltype(target) name __attribute__((alias(#target), copy(target)))
#endif
