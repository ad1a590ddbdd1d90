/* kelsr: numerical primitives for automatic speech recognition.
 *
 * Every function validates its arguments in a fixed order, computes into caller-owned memory and
 * returns a KelsStatus; nothing prints, logs or throws. A failed check writes nothing. Lengths,
 * counts, steps and scale factors are int; _D2 steps count elements of the buffer's own type.
 * Integer results of Sfs members are the real result times 2^-scaleFactor, rounded half to even
 * and saturated. Compiles as C99 and as C++. */
#ifndef KELSR_H
#define KELSR_H

#include "kelsr/core.h"
#include "kelsr/gauss.h"
#include "kelsr/logarith.h"
#include "kelsr/mixture.h"
#include "kelsr/mahdist.h"
#include "kelsr/fft.h"
#include "kelsr/fbank.h"
#include "kelsr/dct.h"
#include "kelsr/delta.h"
#include "kelsr/stats.h"
#include "kelsr/update.h"
#include "kelsr/cluster.h"
#include "kelsr/normalize.h"
#include "kelsr/dsrfe.h"
#include "kelsr/mcra.h"
#include "kelsr/aec.h"
#include "kelsr/xcorr.h"

#endif /* KELSR_H */
