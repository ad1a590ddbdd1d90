/* kelsr: echo canceller controller and subband NLMS filter. Included by kelsr.h. */
#ifndef KELSR_AEC_H
#define KELSR_AEC_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_AEC_H */
