// Mixture scores: the log-sum of the component scores, over all or selected Gaussians.
#include <kelsr.h>

#include "core/export.h"
#include "core/rows.h"
#include "model/mix_family.h"

using namespace kels;
using namespace kels::model;

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_32f_D2(const Kels32f* pSrc,
    const Kels32f* pMean, const Kels32f* pVar, int height, int step, int width, const Kels32f* pVal,
    Kels32f* pResult) {
  return logGaussMixture(pSrc, RowsD2<const Kels32f>{pMean, step}, RowsD2<const Kels32f>{pVar,
      step}, height, width, pVal, pResult, Form32f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_32f_D2L(const Kels32f* pSrc,
    const Kels32f** ppMean, const Kels32f** ppVar, int height, int width, const Kels32f* pVal,
    Kels32f* pResult) {
  return logGaussMixture(pSrc, RowsD2L<const Kels32f>{ppMean}, RowsD2L<const Kels32f>{ppVar},
      height, width, pVal, pResult, Form32f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_32f_D2(const Kels32f* pSrc,
    const Kels32f* pMean, int height, int step, int width, const Kels32f* pVal, Kels32f* pResult) {
  return logGaussMixture(pSrc, RowsD2<const Kels32f>{pMean, step}, RowsD2<const Kels32f>{nullptr,
      step}, height, width, pVal, pResult, Form32f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_32f_D2L(const Kels32f* pSrc,
    const Kels32f** ppMean, int height, int width, const Kels32f* pVal, Kels32f* pResult) {
  return logGaussMixture(pSrc, RowsD2L<const Kels32f>{ppMean}, RowsD2L<const Kels32f>{nullptr},
      height, width, pVal, pResult, Form32f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_64f_D2(const Kels64f* pSrc,
    const Kels64f* pMean, const Kels64f* pVar, int height, int step, int width, const Kels64f* pVal,
    Kels64f* pResult) {
  return logGaussMixture(pSrc, RowsD2<const Kels64f>{pMean, step}, RowsD2<const Kels64f>{pVar,
      step}, height, width, pVal, pResult, Form64f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_64f_D2L(const Kels64f* pSrc,
    const Kels64f** ppMean, const Kels64f** ppVar, int height, int width, const Kels64f* pVal,
    Kels64f* pResult) {
  return logGaussMixture(pSrc, RowsD2L<const Kels64f>{ppMean}, RowsD2L<const Kels64f>{ppVar},
      height, width, pVal, pResult, Form64f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_64f_D2(const Kels64f* pSrc,
    const Kels64f* pMean, int height, int step, int width, const Kels64f* pVal, Kels64f* pResult) {
  return logGaussMixture(pSrc, RowsD2<const Kels64f>{pMean, step}, RowsD2<const Kels64f>{nullptr,
      step}, height, width, pVal, pResult, Form64f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_64f_D2L(const Kels64f* pSrc,
    const Kels64f** ppMean, int height, int width, const Kels64f* pVal, Kels64f* pResult) {
  return logGaussMixture(pSrc, RowsD2L<const Kels64f>{ppMean}, RowsD2L<const Kels64f>{nullptr},
      height, width, pVal, pResult, Form64f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int height, int step, int width, const Kels32f* pVal,
    Kels32f* pResult) {
  return logGaussMixture(pSrc, RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar,
      step}, height, width, pVal, pResult, FormScaled16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, const Kels16s** ppVar, int height, int width, const Kels32f* pVal,
    Kels32f* pResult) {
  return logGaussMixture(pSrc, RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar},
      height, width, pVal, pResult, FormScaled16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Scaled_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int height, int step, int width, const Kels32f* pVal,
    Kels32f* pResult, int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar,
      step}, height, width, pVal, pResult, FormScaled16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Scaled_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, const Kels16s** ppVar, int height, int width, const Kels32f* pVal,
    Kels32f* pResult, int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar},
      height, width, pVal, pResult, FormScaled16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, int height, int step, int width, const Kels32f* pVal, Kels32f* pResult) {
  return logGaussMixture(pSrc, RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr,
      step}, height, width, pVal, pResult, FormScaled16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, int height, int width, const Kels32f* pVal, Kels32f* pResult) {
  return logGaussMixture(pSrc, RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr},
      height, width, pVal, pResult, FormScaled16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarScaled_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, int height, int step, int width, const Kels32f* pVal, Kels32f* pResult,
    int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr,
      step}, height, width, pVal, pResult, FormScaled16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarScaled_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, int height, int width, const Kels32f* pVal, Kels32f* pResult,
    int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr},
      height, width, pVal, pResult, FormScaled16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Low_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int height, int step, int width, const Kels32f* pVal,
    Kels32f* pResult) {
  return logGaussMixture(pSrc, RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar,
      step}, height, width, pVal, pResult, FormLow16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Low_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, const Kels16s** ppVar, int height, int width, const Kels32f* pVal,
    Kels32f* pResult) {
  return logGaussMixture(pSrc, RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar},
      height, width, pVal, pResult, FormLow16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_LowScaled_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int height, int step, int width, const Kels32f* pVal,
    Kels32f* pResult, int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar,
      step}, height, width, pVal, pResult, FormLow16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_LowScaled_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, const Kels16s** ppVar, int height, int width, const Kels32f* pVal,
    Kels32f* pResult, int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar},
      height, width, pVal, pResult, FormLow16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarLow_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, int height, int step, int width, const Kels32f* pVal, Kels32f* pResult) {
  return logGaussMixture(pSrc, RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr,
      step}, height, width, pVal, pResult, FormLow16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarLow_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, int height, int width, const Kels32f* pVal, Kels32f* pResult) {
  return logGaussMixture(pSrc, RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr},
      height, width, pVal, pResult, FormLow16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarLowScaled_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, int height, int step, int width, const Kels32f* pVal, Kels32f* pResult,
    int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr,
      step}, height, width, pVal, pResult, FormLow16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarLowScaled_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, int height, int width, const Kels32f* pVal, Kels32f* pResult,
    int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr},
      height, width, pVal, pResult, FormLow16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_16s32s_D2Sfs(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int height, int step, int width, const Kels32s* pVal,
    Kels32s* pResult, int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar,
      step}, height, width, pVal, pResult, FormInt16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_16s32s_D2LSfs(const Kels16s* pSrc,
    const Kels16s** ppMean, const Kels16s** ppVar, int height, int width, const Kels32s* pVal,
    Kels32s* pResult, int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar},
      height, width, pVal, pResult, FormInt16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_16s32s_D2Sfs(const Kels16s* pSrc,
    const Kels16s* pMean, int height, int step, int width, const Kels32s* pVal, Kels32s* pResult,
    int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr,
      step}, height, width, pVal, pResult, FormInt16s32s<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_16s32s_D2LSfs(const Kels16s* pSrc,
    const Kels16s** ppMean, int height, int width, const Kels32s* pVal, Kels32s* pResult,
    int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr},
      height, width, pVal, pResult, FormInt16s32s<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Low_16s32s_D2Sfs(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int height, int step, int width, const Kels32s* pVal,
    Kels32s* pResult, int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar,
      step}, height, width, pVal, pResult, FormLow16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Low_16s32s_D2LSfs(const Kels16s* pSrc,
    const Kels16s** ppMean, const Kels16s** ppVar, int height, int width, const Kels32s* pVal,
    Kels32s* pResult, int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar},
      height, width, pVal, pResult, FormLow16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarLow_16s32s_D2Sfs(const Kels16s* pSrc,
    const Kels16s* pMean, int height, int step, int width, const Kels32s* pVal, Kels32s* pResult,
    int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr,
      step}, height, width, pVal, pResult, FormLow16s32s<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarLow_16s32s_D2LSfs(const Kels16s* pSrc,
    const Kels16s** ppMean, int height, int width, const Kels32s* pVal, Kels32s* pResult,
    int scaleFactor) {
  return logGaussMixture(pSrc, RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr},
      height, width, pVal, pResult, FormLow16s32s<false>{scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Select_32f_D2(const Kels32f* pSrc,
    const Kels32f* pMean, const Kels32f* pVar, int step, int width, const Kels32f* pVal,
    const Kels8u* pSelect, int height, Kels32f* pDst, int frames, Kels32f defaultVal) {
  return logGaussMixtureSelect(pSrc, pMean, pVar, step, width, pVal, pSelect, height, pDst, frames,
      defaultVal);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Select_64f_D2(const Kels64f* pSrc,
    const Kels64f* pMean, const Kels64f* pVar, int step, int width, const Kels64f* pVal,
    const Kels8u* pSelect, int height, Kels64f* pDst, int frames, Kels64f defaultVal) {
  return logGaussMixtureSelect(pSrc, pMean, pVar, step, width, pVal, pSelect, height, pDst, frames,
      defaultVal);
}
