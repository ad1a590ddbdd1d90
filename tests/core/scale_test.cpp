// Conversions at their boundaries: ties, saturation edges, the 2^31 quirk, scale-factor clamps.
#include "core/scale.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>

#include "support/reference.h"

namespace kels {
namespace {

TEST(Pow2, TableIsExactAndClamped) {
  EXPECT_EQ(pow2NegF(0), 1.0f);
  EXPECT_EQ(pow2NegF(-1), 2.0f);
  EXPECT_EQ(pow2NegF(1), 0.5f);
  EXPECT_EQ(pow2NegF(126), FLT_MIN);
  EXPECT_EQ(pow2NegF(149), std::numeric_limits<float>::denorm_min());
  EXPECT_EQ(pow2NegF(150), 0.0f);
  EXPECT_EQ(pow2NegF(1000), 0.0f);  // beyond 150 behaves like 150
  EXPECT_EQ(pow2NegF(-127), std::ldexp(1.0f, 127));
  EXPECT_TRUE(std::isinf(pow2NegF(-128)));
  EXPECT_TRUE(std::isinf(pow2NegF(-100000)));
  for (int sf = -127; sf <= 149; ++sf) EXPECT_EQ(pow2NegF(sf), std::ldexp(1.0f, -sf)) << sf;
}

TEST(Pow2, IntegerFormAgreesWithTable) {
  const float values[] = {1.0f, -3.75f, 123456.7f, 1e-30f, 3e38f};
  for (float r : values)
    for (int sf = -140; sf <= 160; ++sf) {
      const float a = scaleByIntPow2(r, sf), b = r * pow2NegF(sf);
      EXPECT_TRUE(a == b || (std::isnan(a) && std::isnan(b))) << r << " sf " << sf;
    }
}

TEST(RoundSat, TiesGoToEven) {
  EXPECT_EQ(roundSat<Kels32s>(0.5f), 0);
  EXPECT_EQ(roundSat<Kels32s>(1.5f), 2);
  EXPECT_EQ(roundSat<Kels32s>(2.5f), 2);
  EXPECT_EQ(roundSat<Kels32s>(-2.5f), -2);
  EXPECT_EQ(roundSat<Kels32s>(-3.5f), -4);
  EXPECT_EQ(roundSat<Kels16s>(2.5), 2);
  EXPECT_EQ(roundSat<Kels16s>(-0.5), 0);
  EXPECT_EQ(roundSat<Kels32s>(2.5), 2);
  EXPECT_EQ(roundSat<Kels8u>(254.5f), 254);
}

TEST(RoundSat, SinglePrecision32BitQuirkAtTwoToThe31) {
  EXPECT_EQ(roundSat<Kels32s>(2147483648.0f), INT32_MIN);   // exactly 2^31
  EXPECT_EQ(roundSat<Kels32s>(1e20f), INT32_MIN);           // clamped to 2^31 first
  EXPECT_EQ(roundSat<Kels32s>(INFINITY), INT32_MIN);
  EXPECT_EQ(roundSat<Kels32s>(2147483520.0f), 2147483520);  // largest float below 2^31
  EXPECT_EQ(roundSat<Kels32s>(-2147483648.0f), INT32_MIN);
  EXPECT_EQ(roundSat<Kels32s>(-1e20f), INT32_MIN);
  EXPECT_EQ(roundSat<Kels32s>(NAN), INT32_MIN);
}

TEST(RoundSat, DoubleAnd16BitSaturate) {
  EXPECT_EQ(roundSat<Kels32s>(2147483647.4), INT32_MAX);
  EXPECT_EQ(roundSat<Kels32s>(2147483647.5), INT32_MAX);
  EXPECT_EQ(roundSat<Kels32s>(1e300), INT32_MAX);
  EXPECT_EQ(roundSat<Kels32s>(-1e300), INT32_MIN);
  EXPECT_EQ(roundSat<Kels16s>(32767.49f), 32767);
  EXPECT_EQ(roundSat<Kels16s>(32767.5f), 32767);
  EXPECT_EQ(roundSat<Kels16s>(32766.5f), 32766);
  EXPECT_EQ(roundSat<Kels16s>(-32768.5f), -32768);
  EXPECT_EQ(roundSat<Kels16s>(-1e9f), -32768);
  EXPECT_EQ(roundSat<Kels16s>(INFINITY), 32767);
  EXPECT_EQ(roundSat<Kels8u>(-0.6f), 0);
  EXPECT_EQ(roundSat<Kels8u>(300.0f), 255);
}

TEST(ScaleSat, AppliesScaleFactorThenRoundsThenSaturates) {
  EXPECT_EQ(ScaleSat<Kels16s>{0}(3.5f), 4);
  EXPECT_EQ(ScaleSat<Kels16s>{-1}(3.25f), 6);   // doubles, then rounds 6.5 -> 6
  EXPECT_EQ(ScaleSat<Kels16s>{1}(5.0f), 2);     // 2.5 -> 2
  EXPECT_EQ(ScaleSat<Kels16s>{1}(7.0f), 4);     // 3.5 -> 4
  EXPECT_EQ(ScaleSat<Kels16s>{-1}(20000.0f), 32767);
  EXPECT_EQ(ScaleSat<Kels32s>{150}(1e38f), 0);          // 2^-150 is 0
  EXPECT_EQ(ScaleSat<Kels32s>{-128}(1.0f), INT32_MIN);  // 2^128 is +inf, then the quirk
  EXPECT_EQ(ScaleSat<Kels32s>{-128}(-1.0f), INT32_MIN);
  EXPECT_EQ(ScaleSat<Kels32s>{-1000}(0.5f), ScaleSat<Kels32s>{-128}(0.5f));
  EXPECT_EQ(ScaleSat<Kels32s>{1000}(1e38f), ScaleSat<Kels32s>{150}(1e38f));
  EXPECT_EQ(ScaleSat<Kels32s>{-1}(1073741824.0f), INT32_MIN);  // 2^31 after scaling
  EXPECT_EQ(ScaleSat<Kels32s>{-1}(1073741824.0), INT32_MAX);   // computed in double
}

TEST(ScaleRoundEven, MatchesReferenceAcrossShifts) {
  const std::int64_t values[] = {0, 1, -1, 2, 3, -3, 5, -5, 6, 7, 1024 + 512, -(1024 + 512),
                                 INT32_MAX, INT32_MIN, INT64_MAX, INT64_MIN, INT64_MIN + 1,
                                 (std::int64_t(1) << 62), -(std::int64_t(1) << 62)};
  for (std::int64_t v : values)
    for (int sf = -70; sf <= 70; ++sf) {
      const test::Ref exact = std::ldexp(test::Ref(v), -sf);
      const test::Ref lim = 9223372036854775807.0L;
      std::int64_t want;
      if (exact >= lim) want = INT64_MAX;
      else if (exact <= -lim - 1) want = INT64_MIN;
      else want = std::int64_t(test::refRoundEven(exact));
      EXPECT_EQ(scaleRoundEven(v, sf), want) << v << " sf " << sf;
    }
}

TEST(Saturate, IntegerEdges) {
  EXPECT_EQ(sat16(32767), 32767);
  EXPECT_EQ(sat16(32768), 32767);
  EXPECT_EQ(sat16(-32769), -32768);
  EXPECT_EQ(sat32(std::int64_t(INT32_MAX) + 1), INT32_MAX);
  EXPECT_EQ(sat32(std::int64_t(INT32_MIN) - 1), INT32_MIN);
  EXPECT_EQ(sat8u(-1), 0);
  EXPECT_EQ(sat8u(256), 255);
}

}  // namespace
}  // namespace kels
