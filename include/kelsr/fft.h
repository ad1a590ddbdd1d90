/* kelsr: the library's real FFT, packed spectra and power spectra. Included by kelsr.h. */
#ifndef KELSR_FFT_H
#define KELSR_FFT_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_FFT_H */
