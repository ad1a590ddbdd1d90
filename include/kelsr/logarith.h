/* kelsr: log-domain arithmetic: log-add, log-subtract, log-sum, exp(-x^2). Included by kelsr.h. */
#ifndef KELSR_LOGARITH_H
#define KELSR_LOGARITH_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_LOGARITH_H */
