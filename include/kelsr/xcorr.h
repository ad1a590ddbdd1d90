/* kelsr: normalised cross-correlation coefficients. Included by kelsr.h. */
#ifndef KELSR_XCORR_H
#define KELSR_XCORR_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_XCORR_H */
