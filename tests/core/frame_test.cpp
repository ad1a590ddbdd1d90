// Version record, CPU targets and the argument-check helper.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <cstring>

#include "core/check.h"
#include "core/cpu.h"
#include "core/rows.h"
#include "support/targets.h"

namespace kels {
namespace {

TEST(Version, ConstantRecordAtOneAddress) {
  const KelsLibVersion* v = kelsrGetLibVersion();
  ASSERT_EQ(v, kelsrGetLibVersion());
  EXPECT_EQ(v->major, 4);
  EXPECT_EQ(v->minor, 0);
  EXPECT_EQ(v->majorBuild, 19);
  EXPECT_EQ(v->build, 1);
  EXPECT_EQ(std::memcmp(v->targetCpu, "t2\0\0", 4), 0);
  EXPECT_STREQ(v->name, "kelsrt2.dll");
  EXPECT_STREQ(v->version, "v4.0");
  EXPECT_STREQ(v->buildDate, "Oct 17 2003");
  EXPECT_EQ(offsetof(KelsLibVersion, name) % sizeof(void*), 0u);
}

TEST(Cpu, PinningFollowsWhatTheProcessorHas) {
  const Target best = bestTarget();
  EXPECT_EQ(activeTarget(), best);
  EXPECT_TRUE(targetAvailable(Target::kScalar));
  for (Target t : test::availableTargets()) {
    ASSERT_TRUE(kels::testing::pinTarget(t));
    EXPECT_EQ(activeTarget(), t) << targetName(t);
  }
  if (best != Target::kAvx512) {
    EXPECT_FALSE(kels::testing::pinTarget(Target::kAvx512));
  }
  kels::testing::unpinTarget();
  EXPECT_EQ(activeTarget(), best);
}

TEST(ArgCheck, FirstFailureWinsAndDataChecksNeedAPass) {
  float x = 0;
  int reads = 0;
  auto probe = [&] { ++reads; return false; };
  KelsStatus st = ArgCheck{}.ptr(&x).size(0).ptr(nullptr).data(probe, kelErrRange);
  EXPECT_EQ(st, kelErrSize);
  EXPECT_EQ(reads, 0);
  st = ArgCheck{}.ptr(&x).size(1).data(probe, kelErrRange);
  EXPECT_EQ(st, kelErrRange);
  EXPECT_EQ(reads, 1);
  RowsD2<const float> d2{&x, 3};
  RowsD2L<const float> d2l{nullptr};
  EXPECT_EQ(KelsStatus(ArgCheck{}.step(d2, 4).ptr(nullptr)), kelErrStep);
  EXPECT_EQ(KelsStatus(ArgCheck{}.step(d2l, 4)), kelOk);  // _D2L has no step
  EXPECT_EQ(KelsStatus(ArgCheck{}.index(0).index(-1)), kelErrSize);
}

}  // namespace
}  // namespace kels
