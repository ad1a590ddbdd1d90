/* kelsr: mel and linear filter banks. Included by kelsr.h. */
#ifndef KELSR_FBANK_H
#define KELSR_FBANK_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_FBANK_H */
