// Max families: a new score replaces the old one only when strictly greater.
#include <kelsr.h>

#include "core/export.h"
#include "core/rows.h"
#include "model/mix_family.h"

using namespace kels;
using namespace kels::model;

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_32f_D2(const Kels32f* pSrc, int step,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val) {
  return logGaussMax(RowsD2<const Kels32f>{pSrc, step}, pMean, pVar, width, pSrcDst, height, val,
      Form32f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_32f_D2L(const Kels32f** ppSrc,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val) {
  return logGaussMax(RowsD2L<const Kels32f>{ppSrc}, pMean, pVar, width, pSrcDst, height, val,
      Form32f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_32f_D2(const Kels32f* pSrc, int step,
    const Kels32f* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val) {
  return logGaussMax(RowsD2<const Kels32f>{pSrc, step}, pMean, nullptr, width, pSrcDst, height, val,
      Form32f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_32f_D2L(const Kels32f** ppSrc,
    const Kels32f* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val) {
  return logGaussMax(RowsD2L<const Kels32f>{ppSrc}, pMean, nullptr, width, pSrcDst, height, val,
      Form32f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_64f_D2(const Kels64f* pSrc, int step,
    const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pSrcDst, int height,
    Kels64f val) {
  return logGaussMax(RowsD2<const Kels64f>{pSrc, step}, pMean, pVar, width, pSrcDst, height, val,
      Form64f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_64f_D2L(const Kels64f** ppSrc,
    const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pSrcDst, int height,
    Kels64f val) {
  return logGaussMax(RowsD2L<const Kels64f>{ppSrc}, pMean, pVar, width, pSrcDst, height, val,
      Form64f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_64f_D2(const Kels64f* pSrc, int step,
    const Kels64f* pMean, int width, Kels64f* pSrcDst, int height, Kels64f val) {
  return logGaussMax(RowsD2<const Kels64f>{pSrc, step}, pMean, nullptr, width, pSrcDst, height, val,
      Form64f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_64f_D2L(const Kels64f** ppSrc,
    const Kels64f* pMean, int width, Kels64f* pSrcDst, int height, Kels64f val) {
  return logGaussMax(RowsD2L<const Kels64f>{ppSrc}, pMean, nullptr, width, pSrcDst, height, val,
      Form64f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val) {
  return logGaussMax(RowsD2<const Kels16s>{pSrc, step}, pMean, pVar, width, pSrcDst, height, val,
      FormScaled16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val) {
  return logGaussMax(RowsD2L<const Kels16s>{ppSrc}, pMean, pVar, width, pSrcDst, height, val,
      FormScaled16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_Scaled_16s32f_D2(const Kels16s* pSrc,
    int step, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val, int scaleFactor) {
  return logGaussMax(RowsD2<const Kels16s>{pSrc, step}, pMean, pVar, width, pSrcDst, height, val,
      FormScaled16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_Scaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height, Kels32f val,
    int scaleFactor) {
  return logGaussMax(RowsD2L<const Kels16s>{ppSrc}, pMean, pVar, width, pSrcDst, height, val,
      FormScaled16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_16s32f_D2(const Kels16s* pSrc,
    int step, const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val) {
  return logGaussMax(RowsD2<const Kels16s>{pSrc, step}, pMean, nullptr, width, pSrcDst, height, val,
      FormScaled16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val) {
  return logGaussMax(RowsD2L<const Kels16s>{ppSrc}, pMean, nullptr, width, pSrcDst, height, val,
      FormScaled16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarScaled_16s32f_D2(const Kels16s* pSrc,
    int step, const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val,
    int scaleFactor) {
  return logGaussMax(RowsD2<const Kels16s>{pSrc, step}, pMean, nullptr, width, pSrcDst, height, val,
      FormScaled16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarScaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val, int scaleFactor) {
  return logGaussMax(RowsD2L<const Kels16s>{ppSrc}, pMean, nullptr, width, pSrcDst, height, val,
      FormScaled16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_Low_16s32f_D2(const Kels16s* pSrc,
    int step, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val) {
  return logGaussMax(RowsD2<const Kels16s>{pSrc, step}, pMean, pVar, width, pSrcDst, height, val,
      FormLow16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_Low_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val) {
  return logGaussMax(RowsD2L<const Kels16s>{ppSrc}, pMean, pVar, width, pSrcDst, height, val,
      FormLow16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_LowScaled_16s32f_D2(const Kels16s* pSrc,
    int step, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val, int scaleFactor) {
  return logGaussMax(RowsD2<const Kels16s>{pSrc, step}, pMean, pVar, width, pSrcDst, height, val,
      FormLow16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_LowScaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height, Kels32f val,
    int scaleFactor) {
  return logGaussMax(RowsD2L<const Kels16s>{ppSrc}, pMean, pVar, width, pSrcDst, height, val,
      FormLow16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarLow_16s32f_D2(const Kels16s* pSrc,
    int step, const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val) {
  return logGaussMax(RowsD2<const Kels16s>{pSrc, step}, pMean, nullptr, width, pSrcDst, height, val,
      FormLow16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarLow_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val) {
  return logGaussMax(RowsD2L<const Kels16s>{ppSrc}, pMean, nullptr, width, pSrcDst, height, val,
      FormLow16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarLowScaled_16s32f_D2(const Kels16s* pSrc,
    int step, const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val,
    int scaleFactor) {
  return logGaussMax(RowsD2<const Kels16s>{pSrc, step}, pMean, nullptr, width, pSrcDst, height, val,
      FormLow16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarLowScaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val, int scaleFactor) {
  return logGaussMax(RowsD2L<const Kels16s>{ppSrc}, pMean, nullptr, width, pSrcDst, height, val,
      FormLow16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_16s32s_D2Sfs(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pSrcDst, int height, Kels32s val,
    int scaleFactor) {
  return logGaussMax(RowsD2<const Kels16s>{pSrc, step}, pMean, pVar, width, pSrcDst, height, val,
      FormInt16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pSrcDst, int height, Kels32s val,
    int scaleFactor) {
  return logGaussMax(RowsD2L<const Kels16s>{ppSrc}, pMean, pVar, width, pSrcDst, height, val,
      FormInt16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_16s32s_D2Sfs(const Kels16s* pSrc,
    int step, const Kels16s* pMean, int width, Kels32s* pSrcDst, int height, Kels32s val,
    int scaleFactor) {
  return logGaussMax(RowsD2<const Kels16s>{pSrc, step}, pMean, nullptr, width, pSrcDst, height, val,
      FormInt16s32s<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32s* pSrcDst, int height, Kels32s val, int scaleFactor) {
  return logGaussMax(RowsD2L<const Kels16s>{ppSrc}, pMean, nullptr, width, pSrcDst, height, val,
      FormInt16s32s<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_Low_16s32s_D2Sfs(const Kels16s* pSrc,
    int step, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pSrcDst, int height,
    Kels32s val, int scaleFactor) {
  return logGaussMax(RowsD2<const Kels16s>{pSrc, step}, pMean, pVar, width, pSrcDst, height, val,
      FormLow16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_Low_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pSrcDst, int height, Kels32s val,
    int scaleFactor) {
  return logGaussMax(RowsD2L<const Kels16s>{ppSrc}, pMean, pVar, width, pSrcDst, height, val,
      FormLow16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarLow_16s32s_D2Sfs(const Kels16s* pSrc,
    int step, const Kels16s* pMean, int width, Kels32s* pSrcDst, int height, Kels32s val,
    int scaleFactor) {
  return logGaussMax(RowsD2<const Kels16s>{pSrc, step}, pMean, nullptr, width, pSrcDst, height, val,
      FormLow16s32s<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarLow_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32s* pSrcDst, int height, Kels32s val, int scaleFactor) {
  return logGaussMax(RowsD2L<const Kels16s>{ppSrc}, pMean, nullptr, width, pSrcDst, height, val,
      FormLow16s32s<false>{scaleFactor});
}
KELS_ALIAS(kelsLogGaussMax1_32f_D2, kelsLogGaussMax_32f_D2);

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_32f_D2(const Kels32f* pMean,
    const Kels32f* pVar, int step, const Kels32f* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height) {
  return logGaussMaxMultiMix(RowsD2<const Kels32f>{pMean, step}, RowsD2<const Kels32f>{pVar, step},
      pSrc, width, pVal, pSrcDst, height, Form32f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_32f_D2L(const Kels32f** ppMean,
    const Kels32f** ppVar, const Kels32f* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height) {
  return logGaussMaxMultiMix(RowsD2L<const Kels32f>{ppMean}, RowsD2L<const Kels32f>{ppVar}, pSrc,
      width, pVal, pSrcDst, height, Form32f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_32f_D2(const Kels32f* pMean,
    int step, const Kels32f* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height) {
  return logGaussMaxMultiMix(RowsD2<const Kels32f>{pMean, step}, RowsD2<const Kels32f>{nullptr,
      step}, pSrc, width, pVal, pSrcDst, height, Form32f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_32f_D2L(const Kels32f** ppMean,
    const Kels32f* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height) {
  return logGaussMaxMultiMix(RowsD2L<const Kels32f>{ppMean}, RowsD2L<const Kels32f>{nullptr}, pSrc,
      width, pVal, pSrcDst, height, Form32f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_64f_D2(const Kels64f* pMean,
    const Kels64f* pVar, int step, const Kels64f* pSrc, int width, const Kels64f* pVal,
    Kels64f* pSrcDst, int height) {
  return logGaussMaxMultiMix(RowsD2<const Kels64f>{pMean, step}, RowsD2<const Kels64f>{pVar, step},
      pSrc, width, pVal, pSrcDst, height, Form64f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_64f_D2L(const Kels64f** ppMean,
    const Kels64f** ppVar, const Kels64f* pSrc, int width, const Kels64f* pVal, Kels64f* pSrcDst,
    int height) {
  return logGaussMaxMultiMix(RowsD2L<const Kels64f>{ppMean}, RowsD2L<const Kels64f>{ppVar}, pSrc,
      width, pVal, pSrcDst, height, Form64f<true>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_64f_D2(const Kels64f* pMean,
    int step, const Kels64f* pSrc, int width, const Kels64f* pVal, Kels64f* pSrcDst, int height) {
  return logGaussMaxMultiMix(RowsD2<const Kels64f>{pMean, step}, RowsD2<const Kels64f>{nullptr,
      step}, pSrc, width, pVal, pSrcDst, height, Form64f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_64f_D2L(const Kels64f** ppMean,
    const Kels64f* pSrc, int width, const Kels64f* pVal, Kels64f* pSrcDst, int height) {
  return logGaussMaxMultiMix(RowsD2L<const Kels64f>{ppMean}, RowsD2L<const Kels64f>{nullptr}, pSrc,
      width, pVal, pSrcDst, height, Form64f<false>{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height) {
  return logGaussMaxMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar, step},
      pSrc, width, pVal, pSrcDst, height, FormScaled16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height) {
  return logGaussMaxMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar}, pSrc,
      width, pVal, pSrcDst, height, FormScaled16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_Scaled_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height, int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar, step},
      pSrc, width, pVal, pSrcDst, height, FormScaled16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_Scaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height, int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar}, pSrc,
      width, pVal, pSrcDst, height, FormScaled16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height) {
  return logGaussMaxMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr,
      step}, pSrc, width, pVal, pSrcDst, height, FormScaled16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height) {
  return logGaussMaxMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr}, pSrc,
      width, pVal, pSrcDst, height, FormScaled16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarScaled_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr,
      step}, pSrc, width, pVal, pSrcDst, height, FormScaled16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr}, pSrc,
      width, pVal, pSrcDst, height, FormScaled16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_Low_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height) {
  return logGaussMaxMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar, step},
      pSrc, width, pVal, pSrcDst, height, FormLow16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_Low_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height) {
  return logGaussMaxMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar}, pSrc,
      width, pVal, pSrcDst, height, FormLow16s32f<true>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_LowScaled_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height, int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar, step},
      pSrc, width, pVal, pSrcDst, height, FormLow16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_LowScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height, int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar}, pSrc,
      width, pVal, pSrcDst, height, FormLow16s32f<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarLow_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height) {
  return logGaussMaxMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr,
      step}, pSrc, width, pVal, pSrcDst, height, FormLow16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarLow_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height) {
  return logGaussMaxMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr}, pSrc,
      width, pVal, pSrcDst, height, FormLow16s32f<false>{0});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarLowScaled_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr,
      step}, pSrc, width, pVal, pSrcDst, height, FormLow16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarLowScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr}, pSrc,
      width, pVal, pSrcDst, height, FormLow16s32f<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_16s32s_D2Sfs(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32s* pVal,
    Kels32s* pSrcDst, int height, int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar, step},
      pSrc, width, pVal, pSrcDst, height, FormInt16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst,
    int height, int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar}, pSrc,
      width, pVal, pSrcDst, height, FormInt16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_16s32s_D2Sfs(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr,
      step}, pSrc, width, pVal, pSrcDst, height, FormInt16s32s<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr}, pSrc,
      width, pVal, pSrcDst, height, FormInt16s32s<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_Low_16s32s_D2Sfs(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32s* pVal,
    Kels32s* pSrcDst, int height, int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{pVar, step},
      pSrc, width, pVal, pSrcDst, height, FormLow16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_Low_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst,
    int height, int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{ppVar}, pSrc,
      width, pVal, pSrcDst, height, FormLow16s32s<true>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarLow_16s32s_D2Sfs(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2<const Kels16s>{pMean, step}, RowsD2<const Kels16s>{nullptr,
      step}, pSrc, width, pVal, pSrcDst, height, FormLow16s32s<false>{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarLow_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst, int height,
    int scaleFactor) {
  return logGaussMaxMultiMix(RowsD2L<const Kels16s>{ppMean}, RowsD2L<const Kels16s>{nullptr}, pSrc,
      width, pVal, pSrcDst, height, FormLow16s32s<false>{scaleFactor});
}
