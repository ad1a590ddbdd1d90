// Log-domain addition and summation shared by the log-arithmetic and mixture families. Values
// are natural logarithms; log zero is the smallest log-likelihood the library writes.
//   logAdd32f(a, b)      log(e^a + e^b) in float, the correction log(1 + e^d), d = min - max,
//                        from double-precision polynomials (the accurate path, hint != 1);
//                        d < -15.319588 drops the correction and floors the result at
//                        kLogZero32f; otherwise no floor. NaN in, NaN out; two equal
//                        infinities give that infinity.
//   logAdd32fFast(a, b)  the same with single-precision polynomials (hint 1).
//   logAdd64f(a, b)      in double: drop below d = -23.0258509299405 (floor kLogZero64f),
//                        else max + log1p(exp(d)).
//   logAddRow32f(a, b, n, hint)  b[i] = logAdd32f(a[i], b[i]) (logAdd32fFast for hint 1), SIMD
//                        on the active target, the same bits as the element functions.
//   logSum32f(x, n, hint)  log(sum e^x_i), n >= 1: x_0 itself for n = 1; otherwise the maximum
//                        M plus the log of sum e^(x_i - M) (own double-precision exp, 8 double
//                        partial sums in the fixed lane layout), floored at kLogZero32f. The
//                        same bits on every target; the hint does not change the result.
//   logSum64f(x, n)      the same in double (std::exp, one running sum), floored at kLogZero64f.
// The signatures are stable: new functions are added, these are not changed.
#pragma once

namespace kels {

inline constexpr float kLogZero32f = -4.5e6f;   // smallest single-precision log-likelihood
inline constexpr double kLogZero64f = -1e10;    // smallest double-precision log-likelihood

float logAdd32f(float a, float b);
float logAdd32fFast(float a, float b);
double logAdd64f(double a, double b);

void logAddRow32f(const float* a, float* b, int n, int hint);
float logSum32f(const float* x, int n, int hint);
double logSum64f(const double* x, int n);

// Per-target tables behind logAddRow32f and logSum32f.
struct LogKernels {
  void (*addRow32f)(const float* a, float* b, int n);      // accurate path
  void (*addRow32fFast)(const float* a, float* b, int n);  // hint 1
  float (*sum32f)(const float* x, int n);                  // n >= 2
};
const LogKernels& logKernelsScalar();
const LogKernels& logKernelsSse2();
const LogKernels& logKernelsAvx2();
const LogKernels& logKernelsAvx512();

}  // namespace kels
