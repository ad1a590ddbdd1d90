// Single-Gaussian log-likelihoods: every kelsLogGauss* member is a one-line wrapper over the
// family template of log_gauss.h with its row layout and score form.
#include "model/log_gauss.h"

#include "core/export.h"

namespace kels {
namespace {
template <class T>
constexpr const T* NoVar = nullptr;  // IdVar forms have no weights
}  // namespace
}  // namespace kels

using namespace kels;

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_32f(const Kels32f* pSrc, const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pResult, Kels32f gConst) {
  return logGauss(RowOne<const Kels32f>{pSrc}, pMean, pVar, width, pResult, 1,
                  FloatScore<Var::kInv, Kels32f, Kels32f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_32f_D2(const Kels32f* pSrc, int step, const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pDst, int height, Kels32f gConst) {
  return logGauss(RowsD2<const Kels32f>{pSrc, step}, pMean, pVar, width, pDst, height,
                  FloatScore<Var::kInv, Kels32f, Kels32f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_32f_D2L(const Kels32f** ppSrc, const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pDst, int height, Kels32f gConst) {
  return logGauss(RowsD2L<const Kels32f>{ppSrc}, pMean, pVar, width, pDst, height,
                  FloatScore<Var::kInv, Kels32f, Kels32f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_64f(const Kels64f* pSrc, const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pResult, Kels64f gConst) {
  return logGauss(RowOne<const Kels64f>{pSrc}, pMean, pVar, width, pResult, 1,
                  FloatScore<Var::kInv, Kels64f, Kels64f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_64f_D2(const Kels64f* pSrc, int step, const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pDst, int height, Kels64f gConst) {
  return logGauss(RowsD2<const Kels64f>{pSrc, step}, pMean, pVar, width, pDst, height,
                  FloatScore<Var::kInv, Kels64f, Kels64f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_64f_D2L(const Kels64f** ppSrc, const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pDst, int height, Kels64f gConst) {
  return logGauss(RowsD2L<const Kels64f>{ppSrc}, pMean, pVar, width, pDst, height,
                  FloatScore<Var::kInv, Kels64f, Kels64f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_32f64f(const Kels32f* pSrc, const Kels32f* pMean, const Kels32f* pVar, int width, Kels64f* pResult, Kels64f gConst) {
  return logGauss(RowOne<const Kels32f>{pSrc}, pMean, pVar, width, pResult, 1,
                  FloatScore<Var::kInv, Kels32f, Kels64f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVar_32f(const Kels32f* pSrc, const Kels32f* pMean, int width, Kels32f* pResult, Kels32f gConst) {
  return logGauss(RowOne<const Kels32f>{pSrc}, pMean, NoVar<Kels32f>, width, pResult, 1,
                  FloatScore<Var::kId, Kels32f, Kels32f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_32f_D2(const Kels32f* pSrc, int step, const Kels32f* pMean, int width, Kels32f* pDst, int height, Kels32f gConst) {
  return logGauss(RowsD2<const Kels32f>{pSrc, step}, pMean, NoVar<Kels32f>, width, pDst, height,
                  FloatScore<Var::kId, Kels32f, Kels32f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_32f_D2L(const Kels32f** ppSrc, const Kels32f* pMean, int width, Kels32f* pDst, int height, Kels32f gConst) {
  return logGauss(RowsD2L<const Kels32f>{ppSrc}, pMean, NoVar<Kels32f>, width, pDst, height,
                  FloatScore<Var::kId, Kels32f, Kels32f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVar_64f(const Kels64f* pSrc, const Kels64f* pMean, int width, Kels64f* pResult, Kels64f gConst) {
  return logGauss(RowOne<const Kels64f>{pSrc}, pMean, NoVar<Kels64f>, width, pResult, 1,
                  FloatScore<Var::kId, Kels64f, Kels64f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_64f_D2(const Kels64f* pSrc, int step, const Kels64f* pMean, int width, Kels64f* pDst, int height, Kels64f gConst) {
  return logGauss(RowsD2<const Kels64f>{pSrc, step}, pMean, NoVar<Kels64f>, width, pDst, height,
                  FloatScore<Var::kId, Kels64f, Kels64f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_64f_D2L(const Kels64f** ppSrc, const Kels64f* pMean, int width, Kels64f* pDst, int height, Kels64f gConst) {
  return logGauss(RowsD2L<const Kels64f>{ppSrc}, pMean, NoVar<Kels64f>, width, pDst, height,
                  FloatScore<Var::kId, Kels64f, Kels64f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVar_32f64f(const Kels32f* pSrc, const Kels32f* pMean, int width, Kels64f* pResult, Kels64f gConst) {
  return logGauss(RowOne<const Kels32f>{pSrc}, pMean, NoVar<Kels32f>, width, pResult, 1,
                  FloatScore<Var::kId, Kels32f, Kels64f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_DirectVar_32f(const Kels32f* pSrc, const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pResult, Kels32f gConst) {
  return logGauss(RowOne<const Kels32f>{pSrc}, pMean, pVar, width, pResult, 1,
                  FloatScore<Var::kDirect, Kels32f, Kels32f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_DirectVar_64f(const Kels64f* pSrc, const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pResult, Kels64f gConst) {
  return logGauss(RowOne<const Kels64f>{pSrc}, pMean, pVar, width, pResult, 1,
                  FloatScore<Var::kDirect, Kels64f, Kels64f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_DirectVar_32f64f(const Kels32f* pSrc, const Kels32f* pMean, const Kels32f* pVar, int width, Kels64f* pResult, Kels64f gConst) {
  return logGauss(RowOne<const Kels32f>{pSrc}, pMean, pVar, width, pResult, 1,
                  FloatScore<Var::kDirect, Kels32f, Kels64f>{distKernels(), gConst});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_DirectVar_16s32f(const Kels16s* pSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pResult, Kels32f gConst) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, pVar, width, pResult, 1,
                  ScaledScore<Var::kDirect>{distKernels(), gConst, 0});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_DirectVar_16s32s_Sfs(const Kels16s* pSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pResult, Kels32s gConst, int scaleFactor) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, pVar, width, pResult, 1,
                  IntScore<Var::kDirect>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_DirectVarScaled_16s32f(const Kels16s* pSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pResult, Kels32f gConst, int scaleFactor) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, pVar, width, pResult, 1,
                  ScaledScore<Var::kDirect>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_16s32f(const Kels16s* pSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pResult, Kels32f gConst) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, pVar, width, pResult, 1,
                  ScaledScore<Var::kInv>{distKernels(), gConst, 0});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_16s32f_D2(const Kels16s* pSrc, int step, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height, Kels32f gConst) {
  return logGauss(RowsD2<const Kels16s>{pSrc, step}, pMean, pVar, width, pDst, height,
                  ScaledScore<Var::kInv>{distKernels(), gConst, 0});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_16s32f_D2L(const Kels16s** ppSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height, Kels32f gConst) {
  return logGauss(RowsD2L<const Kels16s>{ppSrc}, pMean, pVar, width, pDst, height,
                  ScaledScore<Var::kInv>{distKernels(), gConst, 0});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_Scaled_16s32f(const Kels16s* pSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pResult, Kels32f gConst, int scaleFactor) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, pVar, width, pResult, 1,
                  ScaledScore<Var::kInv>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_Scaled_16s32f_D2(const Kels16s* pSrc, int step, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height, Kels32f gConst, int scaleFactor) {
  return logGauss(RowsD2<const Kels16s>{pSrc, step}, pMean, pVar, width, pDst, height,
                  ScaledScore<Var::kInv>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_Scaled_16s32f_D2L(const Kels16s** ppSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height, Kels32f gConst, int scaleFactor) {
  return logGauss(RowsD2L<const Kels16s>{ppSrc}, pMean, pVar, width, pDst, height,
                  ScaledScore<Var::kInv>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVar_16s32f(const Kels16s* pSrc, const Kels16s* pMean, int width, Kels32f* pResult, Kels32f gConst) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, NoVar<Kels16s>, width, pResult, 1,
                  ScaledScore<Var::kId>{distKernels(), gConst, 0});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_16s32f_D2(const Kels16s* pSrc, int step, const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst) {
  return logGauss(RowsD2<const Kels16s>{pSrc, step}, pMean, NoVar<Kels16s>, width, pDst, height,
                  ScaledScore<Var::kId>{distKernels(), gConst, 0});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_16s32f_D2L(const Kels16s** ppSrc, const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst) {
  return logGauss(RowsD2L<const Kels16s>{ppSrc}, pMean, NoVar<Kels16s>, width, pDst, height,
                  ScaledScore<Var::kId>{distKernels(), gConst, 0});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVarScaled_16s32f(const Kels16s* pSrc, const Kels16s* pMean, int width, Kels32f* pResult, Kels32f gConst, int scaleFactor) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, NoVar<Kels16s>, width, pResult, 1,
                  ScaledScore<Var::kId>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarScaled_16s32f_D2(const Kels16s* pSrc, int step, const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst, int scaleFactor) {
  return logGauss(RowsD2<const Kels16s>{pSrc, step}, pMean, NoVar<Kels16s>, width, pDst, height,
                  ScaledScore<Var::kId>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarScaled_16s32f_D2L(const Kels16s** ppSrc, const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst, int scaleFactor) {
  return logGauss(RowsD2L<const Kels16s>{ppSrc}, pMean, NoVar<Kels16s>, width, pDst, height,
                  ScaledScore<Var::kId>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_16s32s_Sfs(const Kels16s* pSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pResult, Kels32s gConst, int scaleFactor) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, pVar, width, pResult, 1,
                  IntScore<Var::kInv>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_16s32s_D2Sfs(const Kels16s* pSrc, int step, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pDst, int height, Kels32s gConst, int scaleFactor) {
  return logGauss(RowsD2<const Kels16s>{pSrc, step}, pMean, pVar, width, pDst, height,
                  IntScore<Var::kInv>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_16s32s_D2LSfs(const Kels16s** ppSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pDst, int height, Kels32s gConst, int scaleFactor) {
  return logGauss(RowsD2L<const Kels16s>{ppSrc}, pMean, pVar, width, pDst, height,
                  IntScore<Var::kInv>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVar_16s32s_Sfs(const Kels16s* pSrc, const Kels16s* pMean, int width, Kels32s* pResult, Kels32s gConst, int scaleFactor) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, NoVar<Kels16s>, width, pResult, 1,
                  IntScore<Var::kId>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_16s32s_D2Sfs(const Kels16s* pSrc, int step, const Kels16s* pMean, int width, Kels32s* pDst, int height, Kels32s gConst, int scaleFactor) {
  return logGauss(RowsD2<const Kels16s>{pSrc, step}, pMean, NoVar<Kels16s>, width, pDst, height,
                  IntScore<Var::kId>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_16s32s_D2LSfs(const Kels16s** ppSrc, const Kels16s* pMean, int width, Kels32s* pDst, int height, Kels32s gConst, int scaleFactor) {
  return logGauss(RowsD2L<const Kels16s>{ppSrc}, pMean, NoVar<Kels16s>, width, pDst, height,
                  IntScore<Var::kId>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_Low_16s32s_Sfs(const Kels16s* pSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pResult, Kels32s gConst, int scaleFactor) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, pVar, width, pResult, 1,
                  LowIntScore<Var::kInv>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_Low_16s32s_D2Sfs(const Kels16s* pSrc, int step, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pDst, int height, Kels32s gConst, int scaleFactor) {
  return logGauss(RowsD2<const Kels16s>{pSrc, step}, pMean, pVar, width, pDst, height,
                  LowIntScore<Var::kInv>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_Low_16s32s_D2LSfs(const Kels16s** ppSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pDst, int height, Kels32s gConst, int scaleFactor) {
  return logGauss(RowsD2L<const Kels16s>{ppSrc}, pMean, pVar, width, pDst, height,
                  LowIntScore<Var::kInv>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVarLow_16s32s_Sfs(const Kels16s* pSrc, const Kels16s* pMean, int width, Kels32s* pResult, Kels32s gConst, int scaleFactor) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, NoVar<Kels16s>, width, pResult, 1,
                  LowIntScore<Var::kId>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarLow_16s32s_D2Sfs(const Kels16s* pSrc, int step, const Kels16s* pMean, int width, Kels32s* pDst, int height, Kels32s gConst, int scaleFactor) {
  return logGauss(RowsD2<const Kels16s>{pSrc, step}, pMean, NoVar<Kels16s>, width, pDst, height,
                  LowIntScore<Var::kId>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarLow_16s32s_D2LSfs(const Kels16s** ppSrc, const Kels16s* pMean, int width, Kels32s* pDst, int height, Kels32s gConst, int scaleFactor) {
  return logGauss(RowsD2L<const Kels16s>{ppSrc}, pMean, NoVar<Kels16s>, width, pDst, height,
                  LowIntScore<Var::kId>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_LowScaled_16s32f(const Kels16s* pSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pResult, Kels32f gConst, int scaleFactor) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, pVar, width, pResult, 1,
                  LowFloatScore<Var::kInv>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_LowScaled_16s32f_D2(const Kels16s* pSrc, int step, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height, Kels32f gConst, int scaleFactor) {
  return logGauss(RowsD2<const Kels16s>{pSrc, step}, pMean, pVar, width, pDst, height,
                  LowFloatScore<Var::kInv>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_LowScaled_16s32f_D2L(const Kels16s** ppSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height, Kels32f gConst, int scaleFactor) {
  return logGauss(RowsD2L<const Kels16s>{ppSrc}, pMean, pVar, width, pDst, height,
                  LowFloatScore<Var::kInv>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVarLowScaled_16s32f(const Kels16s* pSrc, const Kels16s* pMean, int width, Kels32f* pResult, Kels32f gConst, int scaleFactor) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, NoVar<Kels16s>, width, pResult, 1,
                  LowFloatScore<Var::kId>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarLowScaled_16s32f_D2(const Kels16s* pSrc, int step, const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst, int scaleFactor) {
  return logGauss(RowsD2<const Kels16s>{pSrc, step}, pMean, NoVar<Kels16s>, width, pDst, height,
                  LowFloatScore<Var::kId>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarLowScaled_16s32f_D2L(const Kels16s** ppSrc, const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst, int scaleFactor) {
  return logGauss(RowsD2L<const Kels16s>{ppSrc}, pMean, NoVar<Kels16s>, width, pDst, height,
                  LowFloatScore<Var::kId>{distKernels(), gConst, scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_Low_16s32f(const Kels16s* pSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pResult, Kels32f gConst) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, pVar, width, pResult, 1,
                  LowFloatScore<Var::kInv>{distKernels(), gConst, 0});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_Low_16s32f_D2(const Kels16s* pSrc, int step, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height, Kels32f gConst) {
  return logGauss(RowsD2<const Kels16s>{pSrc, step}, pMean, pVar, width, pDst, height,
                  LowFloatScore<Var::kInv>{distKernels(), gConst, 0});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_Low_16s32f_D2L(const Kels16s** ppSrc, const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height, Kels32f gConst) {
  return logGauss(RowsD2L<const Kels16s>{ppSrc}, pMean, pVar, width, pDst, height,
                  LowFloatScore<Var::kInv>{distKernels(), gConst, 0});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVarLow_16s32f(const Kels16s* pSrc, const Kels16s* pMean, int width, Kels32f* pResult, Kels32f gConst) {
  return logGauss(RowOne<const Kels16s>{pSrc}, pMean, NoVar<Kels16s>, width, pResult, 1,
                  LowFloatScore<Var::kId>{distKernels(), gConst, 0});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarLow_16s32f_D2(const Kels16s* pSrc, int step, const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst) {
  return logGauss(RowsD2<const Kels16s>{pSrc, step}, pMean, NoVar<Kels16s>, width, pDst, height,
                  LowFloatScore<Var::kId>{distKernels(), gConst, 0});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarLow_16s32f_D2L(const Kels16s** ppSrc, const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst) {
  return logGauss(RowsD2L<const Kels16s>{ppSrc}, pMean, NoVar<Kels16s>, width, pDst, height,
                  LowFloatScore<Var::kId>{distKernels(), gConst, 0});
}

KELS_ALIAS(kelsLogGauss1_32f_D2, kelsLogGauss_32f_D2);

KELS_ALIAS(kelsLogGauss1_32f_D2L, kelsLogGauss_32f_D2L);

KELS_ALIAS(kelsLogGauss1_64f_D2, kelsLogGauss_64f_D2);

KELS_ALIAS(kelsLogGauss1_64f_D2L, kelsLogGauss_64f_D2L);
