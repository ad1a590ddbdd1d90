/* kelsr: Mahalanobis distances. Included by kelsr.h. */
#ifndef KELSR_MAHDIST_H
#define KELSR_MAHDIST_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_MAHDIST_H */
