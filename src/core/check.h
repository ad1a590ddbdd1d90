// Argument checks: each family writes its check order once, top to bottom, and the first failure
// wins. Data checks (those that read memory) run only when every argument check has passed.
#pragma once

#include <kelsr.h>

namespace kels {

class ArgCheck {
 public:
  ArgCheck& ptr(const void* p) { return fail(p == nullptr, kelErrNullPtr); }
  template <class... P>
  ArgCheck& ptrs(const P*... p) { (ptr(p), ...); return *this; }
  ArgCheck& size(int n) { return fail(n < 1, kelErrSize); }
  ArgCheck& size(int n, int minimum) { return fail(n < minimum, kelErrSize); }
  ArgCheck& index(int i) { return fail(i < 0, kelErrSize); }  // an offset may be 0
  // Only _D2 has a step; the comparison is literal, so it holds for non-positive values too.
  template <class R>
  ArgCheck& step(const R& r, int width) {
    if constexpr (R::kHasStep) fail(r.step < width, kelErrStep);
    return *this;
  }
  ArgCheck& arg(bool ok, KelsStatus code) { return fail(!ok, code); }
  template <class Pred>
  ArgCheck& data(Pred ok, KelsStatus code) {
    return st_ != kelOk ? *this : fail(!ok(), code);
  }
  bool passed() const { return st_ == kelOk; }
  operator KelsStatus() const { return st_; }

 private:
  ArgCheck& fail(bool bad, KelsStatus code) {
    if (st_ == kelOk && bad) st_ = code;
    return *this;
  }
  KelsStatus st_ = kelOk;
};

}  // namespace kels
