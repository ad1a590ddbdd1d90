// The log-domain operations the mixture families merge with: log(e^a + e^b) element by element
// and log(sum e^v) over a vector, in single and double precision, with the thresholds and
// log-zero floors of the exported LogAdd / LogSum functions.
#pragma once

namespace kels::model {

constexpr float kLogZero32f = -4.5e6f;   // smallest single-precision log-likelihood we write
constexpr double kLogZero64f = -1e10;    // the same in double precision

// hint 1: single-precision correction; any other value: double-precision correction.
float mixLogAdd32f(float a, float b, int hint);
double mixLogAdd64f(double a, double b);
// log(sum e^v[i]) over n >= 1 values, to working precision.
float mixLogSum32f(const float* v, int n);
double mixLogSum64f(const double* v, int n);

}  // namespace kels::model
