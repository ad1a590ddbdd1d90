/* kelsr: noise estimation and suppression filters. Included by kelsr.h. */
#ifndef KELSR_MCRA_H
#define KELSR_MCRA_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_MCRA_H */
