/* kelsr: delta and delta-delta features. Included by kelsr.h. */
#ifndef KELSR_DELTA_H
#define KELSR_DELTA_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_DELTA_H */
