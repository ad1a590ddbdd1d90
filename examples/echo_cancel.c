/* A subband acoustic echo canceller built from the library's pieces.
 *
 * A speech-like far-end signal plays through a synthetic room (exponentially decaying noise,
 * 64 ms at 16 kHz) into the microphone, with low noise, and with near-end speech during a
 * double-talk segment. Frames of 256 samples advance by 128 (sine window for analysis and
 * synthesis); in each of the 129 subbands an 8-tap NLMS filter on the far-end spectra
 * (kelsFilterAECNLMS_32sc_Sfs, kelsStepSizeUpdateAECNLMS_32s, kelsCoefUpdateAECNLMS_32sc_I)
 * predicts the echo, and the controller (kelsControllerUpdateAEC_32s) sets the step from the
 * energies of microphone, far end and residual. ERLE, the echo return loss enhancement, is the
 * ratio of the echo to the echo left in the output, per half second.
 *
 * For comparison the program also fits, per subband, the least-squares 8-tap filter over the
 * far-end-only segment: the best this filter bank and filter length can do on this signal.
 *
 * usage: example_echo_cancel [--check]   (--check: exit status 1 unless ERLE exceeds 15 dB
 * after 2 s of far-end speech and stays above 10 dB through the double talk) */
#include <kelsr.h>

#include <complex.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define FS 16000
#define N 256
#define ORDER 8
#define HOP (N / 2)
#define BINS (N / 2 + 1)
#define TAPS 8
#define IR_LEN 1024            /* 64 ms */
#define COEF_SF 24             /* coefficients in Q24 */
#define ENERGY_SHIFT 16        /* subband energies are passed as sum |X|^2 >> 16 */
#define ENERGY_FLOOR 1000      /* below this (about -48 dB from full scale) a subband rests */
#define SECONDS_FAR 2.5        /* far end alone */
#define SECONDS_DT 1.5         /* then near-end speech too */
#define SECONDS_AFTER 1.5      /* then the far end alone again */
#define BLOCK (FS / 2)         /* ERLE per half second */

static const double kPi = 3.14159265358979323846;

/* ---- test signals ---- */

static unsigned long long rngState;
static double uniform(void) {
  rngState ^= rngState << 13;
  rngState ^= rngState >> 7;
  rngState ^= rngState << 17;
  return (double)(rngState >> 11) / 9007199254740992.0;
}
static double gaussian(void) {
  double u = uniform(), v = uniform();
  if (u < 1e-300) u = 1e-300;
  return sqrt(-2.0 * log(u)) * cos(2.0 * kPi * v);
}

/* Voiced syllables: a pulse train with a wandering pitch through three formant resonators that
 * change vowel per syllable, under a rise-and-fall envelope, with gaps and pauses between. */
static void speech(double* out, int n, double f0, unsigned long long seed) {
  static const double vowels[6][3] = {{730, 1090, 2440}, {270, 2290, 3010}, {530, 1840, 2480},
                                      {570, 840, 2410},  {300, 870, 2240},  {660, 1720, 2410}};
  static const double bandwidth[3] = {90, 110, 140};
  double state[3][2] = {{0, 0}, {0, 0}, {0, 0}}, phase = 0, peak = 0;
  int i = 0, k;
  rngState = seed;
  while (i < n) {
    const int len = (int)((0.12 + 0.18 * uniform()) * FS);
    const int gap = (int)((uniform() < 0.15 ? 0.3 : 0.04 + 0.08 * uniform()) * FS);
    const double* formant = vowels[(int)(uniform() * 6) % 6];
    const double pitch = f0 * (0.85 + 0.3 * uniform());
    double a1[3], a2[3];
    int t;
    for (k = 0; k < 3; ++k) {
      const double r = exp(-kPi * bandwidth[k] / FS);
      a1[k] = 2 * r * cos(2 * kPi * formant[k] / FS);
      a2[k] = -r * r;
    }
    for (t = 0; t < len + gap && i < n; ++t, ++i) {
      const double env = t < len ? pow(sin(kPi * t / len), 2) : 0.0;
      double x;
      phase += pitch * (1 + 0.05 * sin(2 * kPi * 3 * i / FS)) / FS;
      x = phase >= 1 ? 1.0 : 0.0;
      if (phase >= 1) phase -= 1;
      x = env * (x + 0.05 * gaussian());
      for (k = 0; k < 3; ++k) {
        const double y = x + a1[k] * state[k][0] + a2[k] * state[k][1];
        state[k][1] = state[k][0];
        state[k][0] = y;
        x = y * (1 - a1[k] - a2[k]) * 0.5;
      }
      out[i] = x;
      if (fabs(x) > peak) peak = fabs(x);
    }
  }
  for (i = 0; i < n; ++i) out[i] /= peak;
}

static short toSample(double v) {
  const double r = floor(v + 0.5);
  return (short)(r > 32767 ? 32767 : r < -32768 ? -32768 : r);
}

/* ---- the filter bank: sine window, library FFT, packed spectra <-> complex subbands ---- */

static float window[N];
static KelsFFTSpec_R_32f* fft;

static void analyse(const double* frame, double complex* bins) {
  float buf[N];
  int k;
  for (k = 0; k < N; ++k) buf[k] = (float)(frame[k] * window[k]);
  kelsFFTFwd_RToPack_32f(buf, buf, fft);
  bins[0] = buf[0];
  bins[N / 2] = buf[1];
  for (k = 1; k < N / 2; ++k) bins[k] = buf[2 * k] + I * buf[2 * k + 1];
}

/* Windowed inverse of one frame, overlap-added into ola[N]; the first HOP samples are then
 * complete and are moved to out. */
static void synthesise(const double complex* bins, double* ola, double* out) {
  float buf[N];
  int k;
  buf[0] = (float)creal(bins[0]);
  buf[1] = (float)creal(bins[N / 2]);
  for (k = 1; k < N / 2; ++k) {
    buf[2 * k] = (float)creal(bins[k]);
    buf[2 * k + 1] = (float)cimag(bins[k]);
  }
  kelsFFTInv_PackToR_32f(buf, buf, fft);
  for (k = 0; k < N; ++k) ola[k] += buf[k] * window[k] / N;
  memcpy(out, ola, HOP * sizeof *out);
  memmove(ola, ola + HOP, HOP * sizeof *ola);
  memset(ola + HOP, 0, HOP * sizeof *ola);
}

static Kels32s toFixed(double v) {
  const double r = floor(v + 0.5);
  return (Kels32s)(r > 2147483647.0 ? 2147483647.0 : r < -2147483648.0 ? -2147483648.0 : r);
}

/* ---- the least-squares subband filter: the bank's own limit ---- */

/* Solves the T x T complex system a x = b in place (Gaussian elimination, partial pivoting). */
static void solve(double complex a[TAPS][TAPS], double complex* b) {
  int i, j, k;
  for (i = 0; i < TAPS; ++i) {
    int p = i;
    for (k = i + 1; k < TAPS; ++k)
      if (cabs(a[k][i]) > cabs(a[p][i])) p = k;
    for (k = 0; k < TAPS; ++k) {
      const double complex t = a[i][k];
      a[i][k] = a[p][k];
      a[p][k] = t;
    }
    {
      const double complex t = b[i];
      b[i] = b[p];
      b[p] = t;
    }
    for (j = i + 1; j < TAPS; ++j) {
      const double complex f = a[j][i] / a[i][i];
      for (k = i; k < TAPS; ++k) a[j][k] -= f * a[i][k];
      b[j] -= f * b[i];
    }
  }
  for (i = TAPS - 1; i >= 0; --i) {
    for (k = i + 1; k < TAPS; ++k) b[i] -= a[i][k] * b[k];
    b[i] /= a[i][i];
  }
}

/* Per subband, the taps w minimising the sum over frames [from, to) of |D - sum_j w_j X_{m-j}|^2;
 * the ERLE they reach over frames [evalFrom, evalTo), after synthesis. */
static double bestErle(const double complex* farSpec, const double complex* echoSpec, int from, int to,
                       int evalFrom, int evalTo) {
  static double complex w[BINS][TAPS];
  double complex bins[BINS], ref[BINS];
  double ola[N] = {0}, olaRef[N] = {0}, hop[HOP], hopRef[HOP], eRes = 0, eEcho = 0;
  int k, m, i, j;
  for (k = 0; k < BINS; ++k) {
    double complex r[TAPS][TAPS], p[TAPS];
    double load = 0;
    memset(r, 0, sizeof r);
    memset(p, 0, sizeof p);
    for (m = from; m < to; ++m)
      for (i = 0; i < TAPS; ++i) {
        const double complex xi = farSpec[(m - i) * BINS + k];
        p[i] += conj(xi) * echoSpec[m * BINS + k];
        for (j = 0; j < TAPS; ++j) r[i][j] += conj(xi) * farSpec[(m - j) * BINS + k];
      }
    for (i = 0; i < TAPS; ++i) load += creal(r[i][i]);
    for (i = 0; i < TAPS; ++i) r[i][i] += 1e-9 * load / TAPS + 1e-12;
    solve(r, p);
    for (i = 0; i < TAPS; ++i) w[k][i] = p[i];
  }
  for (m = evalFrom - 2; m < evalTo; ++m) {
    for (k = 0; k < BINS; ++k) {
      double complex y = 0;
      for (i = 0; i < TAPS; ++i) y += w[k][i] * farSpec[(m - i) * BINS + k];
      bins[k] = echoSpec[m * BINS + k] - y;
      ref[k] = echoSpec[m * BINS + k];
    }
    synthesise(bins, ola, hop);
    synthesise(ref, olaRef, hopRef);
    if (m < evalFrom) continue;  /* the first two frames only fill the overlap */
    for (i = 0; i < HOP; ++i) {
      eRes += hop[i] * hop[i];
      eEcho += hopRef[i] * hopRef[i];
    }
  }
  return 10 * log10(eEcho / eRes);
}

int main(int argc, char** argv) {
  const int check = argc > 1 && strcmp(argv[1], "--check") == 0;
  const int total = (int)((SECONDS_FAR + SECONDS_DT + SECONDS_AFTER) * FS);
  const int dtFrom = (int)(SECONDS_FAR * FS), dtTo = (int)((SECONDS_FAR + SECONDS_DT) * FS);
  const int frames = total / HOP;
  double *far = malloc(sizeof(double) * total), *near = malloc(sizeof(double) * total);
  double *echo = malloc(sizeof(double) * total), *mic = malloc(sizeof(double) * total);
  double complex* farSpec = malloc(sizeof(double complex) * (size_t)frames * BINS);
  double complex* echoSpec = malloc(sizeof(double complex) * (size_t)frames * BINS);
  double room[IR_LEN], norm = 0;
  int i, k, j, m, fftSize = 0, ok = 1;

  /* Signals: far end at about -8 dBFS peak; echo about 10 dB below it; near-end speech as loud
   * as the echo during the double talk; microphone noise about 66 dB below full scale. */
  speech(far, total, 120, 0x9E3779B97F4A7C15ull);
  speech(near, total, 210, 0xD1B54A32D192ED03ull);
  for (i = 0; i < total; ++i) {
    far[i] = toSample(13000 * far[i] + (i & 1 ? 1.5 : -1.5));  /* never an exact zero */
    near[i] = i >= dtFrom && i < dtTo ? 5000 * near[i] : 0;
  }
  rngState = 12345;
  for (i = 0; i < IR_LEN; ++i) {
    room[i] = i < 16 ? 0 : gaussian() * exp(-6.9 * i / IR_LEN);  /* 60 dB down at 64 ms */
    norm += room[i] * room[i];
  }
  for (i = 0; i < IR_LEN; ++i) room[i] *= sqrt(0.1 / norm);
  for (i = 0; i < total; ++i) {
    double e = 0;
    for (k = 0; k < IR_LEN && k <= i; ++k) e += room[k] * far[i - k];
    echo[i] = e;
    mic[i] = toSample(e + near[i] + 0.6 * gaussian());
  }

  for (k = 0; k < N; ++k) window[k] = (float)sin(kPi * (k + 0.5) / N);
  kelsFFTGetSize_R_32f(ORDER, &fftSize);
  fft = malloc((size_t)fftSize);
  if (kelsFFTInit_R_32f(ORDER, fft) != kelOk) return 2;

  {
    /* Canceller state: controller, subband history ring and coefficients. */
    KelsAECParams_32s prm;
    KelsAECControllerState_32s* ctl;
    int ctlSize = 0;
    static Kels32sc history[TAPS][BINS], coef[TAPS][BINS];
    const Kels32sc* hist[TAPS];
    Kels32sc* coefRows[TAPS];
    Kels32sc micBins[BINS], estimate[BINS], error[BINS];
    Kels32s energy[BINS], adapt, gain1, gain2;
    Kels64f step[BINS];
    short farFrame[N], micFrame[N], resFrame[N];
    double frame[N], olaOut[N] = {0}, olaEcho[N] = {0}, olaRef[N] = {0}, outHop[HOP], echoHop[HOP], refHop[HOP];
    double complex farB[BINS], micB[BINS], echoB[BINS], resB[BINS], resEchoB[BINS];
    double blockEcho = 0, blockRes = 0, blockAdapt = 0, minDt = 1e9, at2s = 0, last = 0, best;
    int newest = 0, blockFrames = 0;

    memset(&prm, 0, sizeof prm);
    memset(history, 0, sizeof history);
    memset(coef, 0, sizeof coef);
    memset(resFrame, 0, sizeof resFrame);
    prm.pSignal0 = micFrame;   /* microphone */
    prm.pSignal1 = farFrame;   /* loudspeaker */
    prm.pSignal2 = resFrame;   /* residual: the newest output in the first half */
    prm.outputScale = 1 << 30; /* NLMS step 0.5 at full adaptation */
    prm.frameLen = N;
    prm.sampleRate = FS;
    kelsControllerGetSizeAEC_32s(&ctlSize);
    ctl = malloc((size_t)ctlSize);
    if (kelsControllerInitAEC_32s(&prm, ctl) != kelOk) return 2;

    printf("time s  segment      ERLE dB  mean adaptation\n");
    for (m = 0; m < frames; ++m) {
      const int start = (m + 1) * HOP - N; /* the frame ends with this hop */
      for (i = 0; i < N; ++i) {
        const int t = start + i;
        farFrame[i] = (short)(t >= 0 ? far[t] : 1);
        micFrame[i] = (short)(t >= 0 ? mic[t] : 0);
      }
      for (i = 0; i < N; ++i) frame[i] = farFrame[i];
      analyse(frame, farB);
      for (i = 0; i < N; ++i) frame[i] = micFrame[i];
      analyse(frame, micB);
      for (i = 0; i < N; ++i) frame[i] = start + i >= 0 ? echo[start + i] : 0;
      analyse(frame, echoB);
      memcpy(farSpec + (size_t)m * BINS, farB, sizeof farB);
      memcpy(echoSpec + (size_t)m * BINS, echoB, sizeof echoB);

      /* The newest far-end spectrum goes in the ring; tap j is the spectrum j frames back. */
      newest = (newest + TAPS - 1) % TAPS;
      for (k = 0; k < BINS; ++k) {
        history[newest][k].re = toFixed(creal(farB[k]));
        history[newest][k].im = toFixed(cimag(farB[k]));
        micBins[k].re = toFixed(creal(micB[k]));
        micBins[k].im = toFixed(cimag(micB[k]));
      }
      for (j = 0; j < TAPS; ++j) {
        hist[j] = history[(newest + j) % TAPS];
        coefRows[j] = coef[j];
      }

      kelsFilterAECNLMS_32sc_Sfs(hist, (const Kels32sc**)coefRows, estimate, TAPS, BINS, COEF_SF);
      for (k = 0; k < BINS; ++k) {
        error[k].re = toFixed((double)micBins[k].re - estimate[k].re);
        error[k].im = toFixed((double)micBins[k].im - estimate[k].im);
        resB[k] = error[k].re + I * error[k].im;
        resEchoB[k] = echoB[k] - (estimate[k].re + I * estimate[k].im);
      }
      synthesise(resB, olaOut, outHop);
      synthesise(resEchoB, olaEcho, echoHop);
      synthesise(echoB, olaRef, refHop);

      for (i = 0; i < HOP; ++i) resFrame[i] = toSample(outHop[i]);
      kelsControllerUpdateAEC_32s(&prm, ctl, &adapt, &gain1, &gain2);

      for (k = 0; k < BINS; ++k) {
        double e = 0;
        for (j = 0; j < TAPS; ++j) e += (double)hist[j][k].re * hist[j][k].re + (double)hist[j][k].im * hist[j][k].im;
        e = ldexp(e, -ENERGY_SHIFT);
        energy[k] = e > 2147483647.0 ? 2147483647 : (Kels32s)e;
      }
      kelsStepSizeUpdateAECNLMS_32s(energy, adapt, 1.0, ENERGY_FLOOR, step, BINS, ENERGY_SHIFT);
      kelsCoefUpdateAECNLMS_32sc_I(step, hist, error, coefRows, TAPS, BINS, COEF_SF);

      if (m >= 2) { /* the first two hops only fill the overlap */
        for (i = 0; i < HOP; ++i) {
          blockEcho += refHop[i] * refHop[i];
          blockRes += echoHop[i] * echoHop[i];
        }
      }
      blockAdapt += adapt / 2147483648.0;
      ++blockFrames;
      if (((m + 1) * HOP) % BLOCK == 0) {
        const double t = (double)(m + 1) * HOP / FS;
        const int inDt = (m + 1) * HOP > dtFrom && (m + 1) * HOP <= dtTo;
        const double erle = 10 * log10(blockEcho / blockRes);
        printf("%6.1f  %-11s %8.1f  %8.3f\n", t, inDt ? "double talk" : "far end", erle, blockAdapt / blockFrames);
        if (inDt && erle < minDt) minDt = erle;
        if (fabs(t - SECONDS_FAR) < 1e-9) at2s = erle;
        last = erle;
        blockEcho = blockRes = blockAdapt = 0;
        blockFrames = 0;
      }
    }
    (void)gain1;
    (void)gain2;

    best = bestErle(farSpec, echoSpec, TAPS, dtFrom / HOP, dtFrom / HOP - BLOCK / HOP, dtFrom / HOP);
    printf("\nERLE over %.1f-%.1f s (far end only): adaptive %.1f dB; least-squares 8-tap subband filter %.1f dB\n",
           SECONDS_FAR - 0.5, SECONDS_FAR, at2s, best);
    printf("double talk: lowest ERLE %.1f dB; last block after it %.1f dB\n", minDt, last);
    ok = at2s > 15 && minDt > 10 && last > 15;
    free(ctl);
  }
  free(fft);
  free(far);
  free(near);
  free(echo);
  free(mic);
  free(farSpec);
  free(echoSpec);
  return check && !ok ? 1 : 0;
}
