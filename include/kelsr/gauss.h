/* kelsr: single-Gaussian log-likelihoods. Included by kelsr.h. */
#ifndef KELSR_GAUSS_H
#define KELSR_GAUSS_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_GAUSS_H */
