/* kelsr: column statistics over frames. Included by kelsr.h. */
#ifndef KELSR_STATS_H
#define KELSR_STATS_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_STATS_H */
