/* A subband acoustic echo canceller built from the library's pieces.
 *
 * A speech-like far-end signal plays through a synthetic room (exponentially decaying noise,
 * 64 ms at 16 kHz) into the microphone, with low noise, and with near-end speech during a
 * double-talk segment. Frames of 256 samples advance by 128 (sine window for analysis and
 * synthesis); in each of the 129 subbands an 8-tap NLMS filter on the far-end spectra
 * (kelsFilterAECNLMS_32sc_Sfs, kelsStepSizeUpdateAECNLMS_32s, kelsCoefUpdateAECNLMS_32sc_I)
 * predicts the echo, and the controller (kelsControllerUpdateAEC_32s) sets the step from the
 * energies of microphone, far end and residual. ERLE, the echo return loss enhancement, is the
 * ratio of the echo to the echo left in the output, measured per 0.2 s over the hops that
 * carry echo.
 *
 * For comparison the program also fits, per subband, the least-squares 8-tap filter over the
 * far-end-only segment: the best this filter bank and filter length can do on this signal.
 *
 * usage: example_echo_cancel [--check] [--near PEAK]
 * --near sets the near-end talker's peak level (default 13000, about 10 dB above the echo).
 * --check: exit status 1 unless the ERLE over 2-3 s of
 * far-end speech exceeds 15 dB, no 0.2 s block of the double talk falls below 10 dB, and the
 * ERLE over the last second, far end only again, exceeds 15 dB. */
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
#define SECONDS_FAR 3.0        /* far end alone */
#define SECONDS_DT 1.6         /* then near-end speech too */
#define SECONDS_AFTER 1.4      /* then the far end alone again */
#define BLOCK_HOPS 25          /* ERLE per 0.2 s */
#define MAX_BLOCKS 64

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
    const int attack = FS / 80, release = FS / 25;
    double a1[3], a2[3];
    int t;
    for (k = 0; k < 3; ++k) {
      const double r = exp(-kPi * bandwidth[k] / FS);
      a1[k] = 2 * r * cos(2 * kPi * formant[k] / FS);
      a2[k] = -r * r;
    }
    for (t = 0; t < len + gap && i < n; ++t, ++i) {
      /* A fast attack and a slower release, as syllables have. */
      const double env = t >= len ? 0.0 : t < attack ? (double)t / attack
                         : t > len - release ? (double)(len - t) / release : 1.0;
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
    double complex t;
    for (k = i + 1; k < TAPS; ++k)
      if (cabs(a[k][i]) > cabs(a[p][i])) p = k;
    for (k = 0; k < TAPS; ++k) {
      t = a[i][k];
      a[i][k] = a[p][k];
      a[p][k] = t;
    }
    t = b[i];
    b[i] = b[p];
    b[p] = t;
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

/* Per subband, the taps w minimising the sum over frames [from, to) of |D_m - sum_j w_j X_{m-j}|^2. */
static void fitLeastSquares(const double complex* farSpec, const double complex* echoSpec, int from, int to,
                            double complex w[BINS][TAPS]) {
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
}

/* ---- ERLE bookkeeping: echo and residual echo per hop, summed per block where echo is ---- */

typedef struct {
  double echo[MAX_BLOCKS], residual[MAX_BLOCKS];
} Erle;

static void account(Erle* e, int m, const double* echoHop, const double* residualHop) {
  double he = 0, hr = 0;
  int i;
  for (i = 0; i < HOP; ++i) {
    he += echoHop[i] * echoHop[i];
    hr += residualHop[i] * residualHop[i];
  }
  /* Hops with echo above -50 dB of a full-scale sine count; the first two only fill the overlap. */
  if (m >= 2 && he > HOP * 0.5 * 32768.0 * 32768.0 * 1e-5) {
    e->echo[m / BLOCK_HOPS] += he;
    e->residual[m / BLOCK_HOPS] += hr;
  }
}

/* ERLE in dB over blocks [from, to), or a large negative value if no hop there carried echo. */
static double erleOver(const Erle* e, int from, int to) {
  double he = 0, hr = 0;
  int b;
  for (b = from; b < to; ++b) {
    he += e->echo[b];
    hr += e->residual[b];
  }
  return he > 0 ? 10 * log10(he / hr) : -999;
}

int main(int argc, char** argv) {
  int check = 0;
  double nearLevel = 13000;
  const int total = (int)((SECONDS_FAR + SECONDS_DT + SECONDS_AFTER) * FS);
  const int dtFrom = (int)(SECONDS_FAR * FS), dtTo = (int)((SECONDS_FAR + SECONDS_DT) * FS);
  const int frames = total / HOP, blocks = frames / BLOCK_HOPS;
  const int dtBlock0 = dtFrom / HOP / BLOCK_HOPS, dtBlock1 = dtTo / HOP / BLOCK_HOPS;
  const int at2s = 2 * FS / HOP / BLOCK_HOPS;
  double *far = malloc(sizeof(double) * total), *near = malloc(sizeof(double) * total);
  double *echo = malloc(sizeof(double) * total), *mic = malloc(sizeof(double) * total);
  double complex* farSpec = malloc(sizeof(double complex) * (size_t)frames * BINS);
  double complex* echoSpec = malloc(sizeof(double complex) * (size_t)frames * BINS);
  static double complex best[BINS][TAPS];
  static Erle adaptive, limit;
  double adaptSum[MAX_BLOCKS] = {0};
  double room[IR_LEN], norm = 0, minDt = 1e9;
  int i, k, j, m, b, fftSize = 0, ok;

  for (i = 1; i < argc; ++i) {
    if (strcmp(argv[i], "--check") == 0) check = 1;
    else if (strcmp(argv[i], "--near") == 0 && i + 1 < argc) nearLevel = atof(argv[++i]);
  }
  if (blocks > MAX_BLOCKS) return 2;
  /* Signals: far end at about -8 dBFS peak; the echo about 10 dB below it; microphone noise
   * about 66 dB below full scale; near-end speech during the double talk. */
  speech(far, total, 120, 0x9E3779B97F4A7C15ull);
  speech(near, total, 210, 0xD1B54A32D192ED03ull);
  for (i = 0; i < total; ++i) {
    far[i] = toSample(13000 * far[i] + (i & 1 ? 1.5 : -1.5));  /* never an exact zero */
    near[i] = i >= dtFrom && i < dtTo ? nearLevel * near[i] : 0;
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
    /* The canceller: controller, a ring of the last TAPS far-end spectra, coefficients. */
    KelsAECParams_32s prm;
    KelsAECControllerState_32s* ctl;
    int ctlSize = 0, newest = 0;
    static Kels32sc history[TAPS][BINS], coef[TAPS][BINS];
    const Kels32sc* hist[TAPS];
    Kels32sc* coefRows[TAPS];
    Kels32sc micBins[BINS], estimate[BINS], error[BINS];
    Kels32s energy[BINS], adapt, gain1, gain2;
    Kels64f step[BINS];
    short ctlFar[N], ctlMic[N], resFrame[N];
    double frame[N], olaOut[N] = {0}, olaEcho[N] = {0}, olaRef[N] = {0}, outHop[HOP], echoHop[HOP], refHop[HOP];
    double complex farB[BINS], micB[BINS], echoB[BINS], resB[BINS], resEchoB[BINS];

    memset(&prm, 0, sizeof prm);
    memset(resFrame, 0, sizeof resFrame);
    /* The controller reads the second half of signals 0 and 1 and the first half of signal 2.
     * The output completed by a frame is the first half of that frame's input, so microphone
     * and loudspeaker go to the controller one hop late: all three energies then cover the
     * same samples. */
    prm.pSignal0 = ctlMic;        /* microphone */
    prm.pSignal1 = ctlFar;        /* loudspeaker */
    prm.pSignal2 = resFrame;      /* residual: the newest output in the first half */
    prm.outputScale = 2147483647; /* NLMS step 1 at full adaptation, 1/2 at the usual half */
    prm.frameLen = N;
    prm.sampleRate = FS;
    kelsControllerGetSizeAEC_32s(&ctlSize);
    ctl = malloc((size_t)ctlSize);
    if (kelsControllerInitAEC_32s(&prm, ctl) != kelOk) return 2;

    for (m = 0; m < frames; ++m) {
      const int start = (m + 1) * HOP - N; /* the frame ends with this hop */
      for (i = 0; i < N; ++i) {
        const int t = start + i;
        ctlFar[i] = (short)(t - HOP >= 0 ? far[t - HOP] : 1);
        ctlMic[i] = (short)(t - HOP >= 0 ? mic[t - HOP] : 1);
      }
      for (i = 0; i < N; ++i) frame[i] = start + i >= 0 ? far[start + i] : 0;
      analyse(frame, farB);
      for (i = 0; i < N; ++i) frame[i] = start + i >= 0 ? mic[start + i] : 0;
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

      /* Echo estimate, error, output. */
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
      account(&adaptive, m, refHop, echoHop);

      /* Control, step sizes normalised by the far-end energy over the taps, update. */
      for (i = 0; i < HOP; ++i) resFrame[i] = toSample(outHop[i]);
      kelsControllerUpdateAEC_32s(&prm, ctl, &adapt, &gain1, &gain2);
      adaptSum[m / BLOCK_HOPS] += adapt / 2147483648.0 / BLOCK_HOPS;
      for (k = 0; k < BINS; ++k) {
        double e = 0;
        for (j = 0; j < TAPS; ++j)
          e += (double)hist[j][k].re * hist[j][k].re + (double)hist[j][k].im * hist[j][k].im;
        e = ldexp(e, -ENERGY_SHIFT);
        energy[k] = e > 2147483647.0 ? 2147483647 : (Kels32s)e;
      }
      kelsStepSizeUpdateAECNLMS_32s(energy, adapt, 1.0, ENERGY_FLOOR, step, BINS, ENERGY_SHIFT);
      kelsCoefUpdateAECNLMS_32sc_I(step, hist, error, coefRows, TAPS, BINS, COEF_SF);
    }
    free(ctl);
  }

  {
    /* The least-squares filter fitted on the whole far-end-only segment, run over everything. */
    double olaEcho[N] = {0}, olaRef[N] = {0}, echoHop[HOP], refHop[HOP];
    double complex res[BINS];
    fitLeastSquares(farSpec, echoSpec, TAPS, dtFrom / HOP, best);
    for (m = 0; m < frames; ++m) {
      for (k = 0; k < BINS; ++k) {
        double complex y = 0;
        for (j = 0; j < TAPS && j <= m; ++j) y += best[k][j] * farSpec[(m - j) * BINS + k];
        res[k] = echoSpec[m * BINS + k] - y;
      }
      synthesise(res, olaEcho, echoHop);
      synthesise(echoSpec + (size_t)m * BINS, olaRef, refHop);
      account(&limit, m, refHop, echoHop);
    }
  }

  printf("ERLE per 0.2 s: the adaptive canceller, and the least-squares 8-tap filter in the same\n"
         "subbands (fitted on the far-end-only segment: the limit of this structure)\n\n");
  printf("  to s  segment      adaptive dB  limit dB  mean adaptation factor\n");
  for (b = 0; b < blocks; ++b) {
    const int dt = b >= dtBlock0 && b < dtBlock1;
    const double e = erleOver(&adaptive, b, b + 1), l = erleOver(&limit, b, b + 1);
    printf("%6.1f  %-11s ", (double)(b + 1) * BLOCK_HOPS * HOP / FS, dt ? "double talk" : "far end");
    if (e < -900)
      printf("      pause     pause");
    else
      printf("%11.1f %9.1f", e, l);
    printf("  %8.3f\n", adaptSum[b]);
    if (dt && e > -900 && e < minDt) minDt = e;
  }
  {
    const double early = erleOver(&adaptive, at2s, dtBlock0), earlyLimit = erleOver(&limit, at2s, dtBlock0);
    const int lastSecond = blocks - FS / HOP / BLOCK_HOPS;
    const double after = erleOver(&adaptive, lastSecond, blocks), afterLimit = erleOver(&limit, lastSecond, blocks);
    printf("\nfar end only, %.1f-%.1f s: ERLE %.1f dB (limit %.1f dB)\n", 2.0, SECONDS_FAR, early, earlyLimit);
    printf("double talk, %.1f-%.1f s: lowest 0.2 s ERLE %.1f dB, overall %.1f dB\n", SECONDS_FAR,
           SECONDS_FAR + SECONDS_DT, minDt, erleOver(&adaptive, dtBlock0, dtBlock1));
    printf("far end only, last second: ERLE %.1f dB (limit %.1f dB)\n", after, afterLimit);
    ok = early > 15 && minDt > 10 && after > 15;
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
