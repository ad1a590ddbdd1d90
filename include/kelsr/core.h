/* kelsr: element types, status codes, opaque state objects and the version record.
 * Included by kelsr.h; compiles as C99 and as C++. */
#ifndef KELSR_CORE_H
#define KELSR_CORE_H

#include <stdint.h>

#if defined(_WIN32)
#  if defined(KELSR_BUILD)
#    define KELS_API __declspec(dllexport)
#  else
#    define KELS_API __declspec(dllimport)
#  endif
#else
#  define KELS_API __attribute__((visibility("default")))
#endif

/* 32-bit x86: every function removes its own arguments from the stack. */
#if defined(__i386__) || defined(_M_IX86)
#  if defined(_MSC_VER)
#    define KELS_CALL __stdcall
#  else
#    define KELS_CALL __attribute__((stdcall))
#  endif
#else
#  define KELS_CALL
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef uint8_t Kels8u;
typedef int16_t Kels16s;
typedef int32_t Kels32s;
typedef float Kels32f;
typedef double Kels64f;
typedef struct Kels32sc {
  Kels32s re;
  Kels32s im;
} Kels32sc;

/* Every function returns one of these: 0 success, negative error (nothing written unless the
 * function says otherwise), positive warning (the result has been written). */
typedef enum KelsStatus {
  kelErrBadObject = -9999,   /* a state object whose kind is none of its known values */
  kelErrLengthRange = -119,  /* a length beyond a fixed limit of the function */
  kelErrNotPosDef = -117,    /* prediction-error energy not above its threshold */
  kelErrLspOrder = -115,     /* LSP values not strictly increasing */
  kelErrNoRoot = -114,       /* fewer LSP roots than the order */
  kelErrFBankFreq = -71,     /* filter-bank frequency bounds invalid */
  kelErrFBankFlag = -70,     /* filter-bank option flags not an allowed combination */
  kelErrFBankNotSet = -69,   /* filter-bank object has no coefficients yet */
  kelErrNegArg = -67,        /* an occupation count or weight is negative (or NaN) */
  kelErrCdbkMode = -66,      /* codebook construction mode not supported */
  kelErrNoConvergence = -65, /* iteration limit reached */
  kelErrStep = -37,          /* a _D2 row step smaller than the row */
  kelErrMemAlloc = -9,       /* an allocation made by the library failed */
  kelErrNullPtr = -8,        /* a required pointer is null */
  kelErrRange = -7,          /* a value outside the domain of the function */
  kelErrSize = -6,           /* a length, count or dimension below its minimum */
  kelErrBadArg = -5,         /* a parameter outside its allowed set */
  kelErrNested = -2,         /* an inner call of another exported function failed */
  kelOk = 0,
  kelWarnDivByZero = 4,      /* a division by zero met; affected outputs have a fixed value */
  kelWarnZeroWeightSum = 6,  /* a sum that serves as a divisor is 0 */
  kelWarnInfResult = 7,      /* the result is +infinity */
  kelWarnNaNResult = 8,      /* the result is not a number */
  kelWarnAllFloored = 11,    /* every output element was replaced by its floor */
  kelWarnZeroDivisor = 16    /* a divisor is 0 or subnormal; nothing computed */
} KelsStatus;

/* Opaque state objects. InitAlloc builders hand out a pointer; GetSize/Init objects live in
 * caller memory of the reported size and may be copied byte for byte. */
typedef struct KelsMelFBank_32f KelsMelFBank_32f;
typedef struct KelsMelFBank_16s KelsMelFBank_16s;
typedef struct KelsMelFBank_32s KelsMelFBank_32s;
typedef struct KelsDCTLifter_32f KelsDCTLifter_32f;
typedef struct KelsDCTLifter_16s KelsDCTLifter_16s;
typedef struct KelsMCRAState_32s KelsMCRAState_32s;
typedef struct KelsAECControllerState_32s KelsAECControllerState_32s;
typedef struct KelsFFTSpec_R_32f KelsFFTSpec_R_32f;
typedef struct KelsBlockDMatrix_16s KelsBlockDMatrix_16s;
typedef struct KelsBlockDMatrix_32f KelsBlockDMatrix_32f;
typedef struct KelsBlockDMatrix_64f KelsBlockDMatrix_64f;

/* The constant record returned by kelsrGetLibVersion; never changed, never freed. */
typedef struct KelsLibVersion {
  int32_t major;       /* 4 */
  int32_t minor;       /* 0 */
  int32_t majorBuild;  /* 19 */
  int32_t build;       /* 1 */
  char targetCpu[4];   /* two ASCII characters and two zero bytes: "t2" */
  const char* name;    /* library file name */
  const char* version; /* version text */
  const char* buildDate; /* "Mmm dd yyyy" */
} KelsLibVersion;

KELS_API const KelsLibVersion* KELS_CALL kelsrGetLibVersion(void);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_CORE_H */
