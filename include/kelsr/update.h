/* kelsr: model update: means, variances, weights, Gaussian constants. Included by kelsr.h. */
#ifndef KELSR_UPDATE_H
#define KELSR_UPDATE_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_UPDATE_H */
