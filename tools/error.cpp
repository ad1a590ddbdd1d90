// kels: library statuses turned into errors.
#include "error.h"

namespace kels::tool {

void check(KelsStatus st, const char* call) {
  if (st < 0) throw Error(std::string(call) + " failed with status " + std::to_string(int(st)));
}

}  // namespace kels::tool
