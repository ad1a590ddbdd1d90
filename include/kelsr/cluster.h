/* kelsr: Gaussian splitting, merging and clustering. Included by kelsr.h. */
#ifndef KELSR_CLUSTER_H
#define KELSR_CLUSTER_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_CLUSTER_H */
