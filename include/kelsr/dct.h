/* kelsr: DCT with cepstral lifter. Included by kelsr.h. */
#ifndef KELSR_DCT_H
#define KELSR_DCT_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_DCT_H */
