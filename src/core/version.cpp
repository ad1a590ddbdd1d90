// The constant version record: one static object, so every call returns the same address.
#include <kelsr.h>

namespace {
constexpr KelsLibVersion kVersion = {4, 0, 19, 1, {'t', '2', '\0', '\0'}, "kelsrt2.dll", "v4.0",
                                     "Oct 17 2003"};
}  // namespace

extern "C" KELS_API const KelsLibVersion* KELS_CALL kelsrGetLibVersion(void) { return &kVersion; }
