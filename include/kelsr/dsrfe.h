/* kelsr: distributed-speech-recognition front end. Included by kelsr.h. */
#ifndef KELSR_DSRFE_H
#define KELSR_DSRFE_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* KELSR_DSRFE_H */
