// MultiMix: one vector scored against many Gaussians, the constants loaded into the output.
#include <kelsr.h>

#include "core/export.h"
#include "core/rows.h"
#include "model/mix_family.h"

using namespace kels;
using namespace kels::model;

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_32f_D2(const Kels32f* pMean,
    const Kels32f* pVar, int step, const Kels32f* pSrc, int width, Kels32f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2<const Kels32f>{pMean, step}, RowsD2<const Kels32f>{pVar, step},
      pSrc, width, pSrcDst, height, Form32f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_32f_D2L(const Kels32f** ppMean,
    const Kels32f** ppVar, const Kels32f* pSrc, int width, Kels32f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2L<const Kels32f>{ppMean}, RowsD2L<const Kels32f>{ppVar}, pSrc,
      width, pSrcDst, height, Form32f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_32f_D2(const Kels32f* pMean,
    int step, const Kels32f* pSrc, int width, Kels32f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2<const Kels32f>{pMean, step}, RowsD2<const Kels32f>{nullptr, step},
      pSrc, width, pSrcDst, height, Form32f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_32f_D2L(const Kels32f** ppMean,
    const Kels32f* pSrc, int width, Kels32f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2L<const Kels32f>{ppMean}, RowsD2L<const Kels32f>{nullptr}, pSrc,
      width, pSrcDst, height, Form32f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_64f_D2(const Kels64f* pMean,
    const Kels64f* pVar, int step, const Kels64f* pSrc, int width, Kels64f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2<const Kels64f>{pMean, step}, RowsD2<const Kels64f>{pVar, step},
      pSrc, width, pSrcDst, height, Form64f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_64f_D2L(const Kels64f** ppMean,
    const Kels64f** ppVar, const Kels64f* pSrc, int width, Kels64f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2L<const Kels64f>{ppMean}, RowsD2L<const Kels64f>{ppVar}, pSrc,
      width, pSrcDst, height, Form64f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_64f_D2(const Kels64f* pMean,
    int step, const Kels64f* pSrc, int width, Kels64f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2<const Kels64f>{pMean, step}, RowsD2<const Kels64f>{nullptr, step},
      pSrc, width, pSrcDst, height, Form64f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_64f_D2L(const Kels64f** ppMean,
    const Kels64f* pSrc, int width, Kels64f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2L<const Kels64f>{ppMean}, RowsD2L<const Kels64f>{nullptr}, pSrc,
      width, pSrcDst, height, Form64f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar, step},
      pSrc, width, pSrcDst, height, FormScaled16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar}, pSrc,
      width, pSrcDst, height, FormScaled16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_Scaled_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar, step},
      pSrc, width, pSrcDst, height, FormScaled16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_Scaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar}, pSrc,
      width, pSrcDst, height, FormScaled16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr, step},
      pSrc, width, pSrcDst, height, FormScaled16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr}, pSrc,
      width, pSrcDst, height, FormScaled16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarScaled_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height, int scaleFactor) {
  return logGaussMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr, step},
      pSrc, width, pSrcDst, height, FormScaled16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height, int scaleFactor) {
  return logGaussMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr}, pSrc,
      width, pSrcDst, height, FormScaled16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_Low_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar, step},
      pSrc, width, pSrcDst, height, FormLow16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_Low_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar}, pSrc,
      width, pSrcDst, height, FormLow16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_LowScaled_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar, step},
      pSrc, width, pSrcDst, height, FormLow16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_LowScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar}, pSrc,
      width, pSrcDst, height, FormLow16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarLow_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr, step},
      pSrc, width, pSrcDst, height, FormLow16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarLow_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height) {
  return logGaussMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr}, pSrc,
      width, pSrcDst, height, FormLow16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarLowScaled_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height, int scaleFactor) {
  return logGaussMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr, step},
      pSrc, width, pSrcDst, height, FormLow16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarLowScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height, int scaleFactor) {
  return logGaussMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr}, pSrc,
      width, pSrcDst, height, FormLow16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_16s32s_D2Sfs(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar, step},
      pSrc, width, pSrcDst, height, FormInt16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar}, pSrc,
      width, pSrcDst, height, FormInt16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_16s32s_D2Sfs(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height, int scaleFactor) {
  return logGaussMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr, step},
      pSrc, width, pSrcDst, height, FormInt16s32s<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height, int scaleFactor) {
  return logGaussMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr}, pSrc,
      width, pSrcDst, height, FormInt16s32s<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_Low_16s32s_D2Sfs(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar, step},
      pSrc, width, pSrcDst, height, FormLow16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_Low_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar}, pSrc,
      width, pSrcDst, height, FormLow16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarLow_16s32s_D2Sfs(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height, int scaleFactor) {
  return logGaussMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr, step},
      pSrc, width, pSrcDst, height, FormLow16s32s<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarLow_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height, int scaleFactor) {
  return logGaussMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr}, pSrc,
      width, pSrcDst, height, FormLow16s32s<false>{scaleFactor});
}
KELS_ALIAS(kelsLogGauss2_32f_D2, kelsLogGaussMultiMix_32f_D2);
KELS_ALIAS(kelsLogGauss2_32f_D2L, kelsLogGaussMultiMix_32f_D2L);
KELS_ALIAS(kelsLogGauss2_64f_D2, kelsLogGaussMultiMix_64f_D2);
KELS_ALIAS(kelsLogGauss2_64f_D2L, kelsLogGaussMultiMix_64f_D2L);
