/* kelsr: normalisation of columns and ranges. Included by kelsr.h. */
#ifndef KELSR_NORMALIZE_H
#define KELSR_NORMALIZE_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_NORMALIZE_H */
