/* kelsr: mixture log-likelihoods: maxima, log-additions, multi-mixture and selected scores. Included by kelsr.h. */
#ifndef KELSR_MIXTURE_H
#define KELSR_MIXTURE_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_MIXTURE_H */
