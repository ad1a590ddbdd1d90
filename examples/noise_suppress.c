/* Noise suppression with the library's noise estimator and Wiener gains.
 *
 * A speech-like signal at 8 kHz is mixed with stationary noise. Frames of 256 samples advance
 * by 128 (sine window for analysis and synthesis, the library's FFT). Per frame the noise
 * power spectrum is tracked by minima-controlled recursive averaging
 * (kelsUpdateNoisePSDMCRA_32s_I), the a-priori signal-to-noise ratio is estimated by the
 * decision-directed rule, and kelsFilterUpdateWiener_32s turns it into a gain per bin. The
 * program prints the segmental SNR of the noisy and of the processed signal.
 *
 * usage: example_noise_suppress [--check]   (--check: exit status 1 unless the processed
 * signal's segmental SNR is at least 1 dB above the noisy one's at every input SNR) */
#include <kelsr.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define FS 8000
#define N 256
#define ORDER 8
#define HOP (N / 2)
#define BINS (N / 2 + 1)
#define SECONDS 6
#define POWER_SHIFT 14     /* |Y|^2 is passed to the estimator as |Y|^2 >> 14 */
#define DD_WEIGHT 0.9      /* decision-directed smoothing of the a-priori SNR (16 ms hops) */
#define GAIN_FLOOR 0.1     /* -20 dB: keeps residual noise from turning into tones */

static const double kPi = 3.14159265358979323846;

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

/* Voiced syllables: a pulse train through three formant resonators that change vowel per
 * syllable, with a fast attack and a slower release, and gaps and pauses between. */
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
      const double env = t >= len ? 0.0 : t < attack ? (double)t / attack
                         : t > len - release ? (double)(len - t) / release : 1.0;
      double x;
      phase += pitch / FS;
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

static double clampSample(double v) { return v > 32767 ? 32767 : v < -32768 ? -32768 : floor(v + 0.5); }

static Kels32s toFixed(double v) {
  const double r = floor(v + 0.5);
  return (Kels32s)(r > 2147483647.0 ? 2147483647.0 : r < 0 ? 0 : r);
}

/* Mean over 256-sample segments of 10 log10(clean energy / error energy), each clamped to
 * -10..35 dB as is usual; segments where the clean signal is silent are left out. */
static double segmentalSnr(const double* clean, const double* test, int n) {
  double sum = 0;
  int count = 0, s, i;
  for (s = 0; s + N <= n; s += N) {
    double ec = 0, ee = 0, snr;
    for (i = s; i < s + N; ++i) {
      ec += clean[i] * clean[i];
      ee += (clean[i] - test[i]) * (clean[i] - test[i]);
    }
    if (ec < N * 100.0 * 100.0) continue;  /* below about -50 dBFS: silence */
    snr = 10 * log10(ec / (ee + 1e-9));
    sum += snr < -10 ? -10 : snr > 35 ? 35 : snr;
    ++count;
  }
  return sum / count;
}

/* Runs the suppressor over `noisy` into `out`; returns 0 on success. */
static int suppress(const double* noisy, double* out, int n) {
  static float window[N];
  KelsFFTSpec_R_32f* fft;
  KelsMCRAState_32s* mcra;
  int fftSize = 0, mcraSize = 0, m, k, i;
  double ola[N] = {0}, prevGain2[BINS], prevGamma[BINS];
  Kels32s power[BINS], noise[BINS], xi[BINS], gain[BINS];

  for (k = 0; k < N; ++k) window[k] = (float)sin(kPi * (k + 0.5) / N);
  kelsFFTGetSize_R_32f(ORDER, &fftSize);
  kelsGetSizeMCRA_32s(N, &mcraSize);
  fft = malloc((size_t)fftSize);
  mcra = malloc((size_t)mcraSize);
  if (kelsFFTInit_R_32f(ORDER, fft) != kelOk || kelsInitMCRA_32s(FS, N, mcra) != kelOk) return 1;
  for (k = 0; k < BINS; ++k) prevGain2[k] = prevGamma[k] = 1;

  memset(out, 0, sizeof(double) * (size_t)n);
  for (m = 0; (m + 1) * HOP <= n; ++m) {
    const int start = (m + 1) * HOP - N;
    float buf[N], pw[BINS];
    for (i = 0; i < N; ++i) buf[i] = (float)((start + i >= 0 ? noisy[start + i] : 0) * window[i]);
    kelsFFTFwd_RToPack_32f(buf, buf, fft);
    kelsPowerSpectrum_Pack_32f(buf, pw, N);
    for (k = 0; k < BINS; ++k) power[k] = toFixed(ldexp(pw[k], -POWER_SHIFT));
    kelsUpdateNoisePSDMCRA_32s_I(power, mcra, noise);

    /* Decision-directed a-priori SNR, in Q15 for the gain table. */
    for (k = 0; k < BINS; ++k) {
      const double lambda = noise[k] > 0 ? noise[k] : 1;
      const double gamma = power[k] / lambda;
      double x = DD_WEIGHT * prevGain2[k] * prevGamma[k] + (1 - DD_WEIGHT) * (gamma > 1 ? gamma - 1 : 0);
      prevGamma[k] = gamma;
      x *= 32768;
      xi[k] = x > 2147483647.0 ? 2147483647 : (Kels32s)x;
    }
    kelsFilterUpdateWiener_32s(xi, gain, BINS);

    /* Apply the gains (with a floor) to the packed spectrum, synthesise, overlap-add. */
    for (k = 0; k < BINS; ++k) {
      double g = gain[k] / 2147483648.0;
      prevGain2[k] = g * g;
      if (g < GAIN_FLOOR) g = GAIN_FLOOR;
      if (k == 0) buf[0] *= (float)g;
      else if (k == N / 2) buf[1] *= (float)g;
      else {
        buf[2 * k] *= (float)g;
        buf[2 * k + 1] *= (float)g;
      }
    }
    kelsFFTInv_PackToR_32f(buf, buf, fft);
    for (i = 0; i < N; ++i) ola[i] += buf[i] * window[i] / N;
    /* The first half of the overlap is complete: it is the first half of this frame. */
    for (i = 0; i < HOP; ++i)
      if (start + i >= 0) out[start + i] = clampSample(ola[i]);
    memmove(ola, ola + HOP, HOP * sizeof *ola);
    memset(ola + HOP, 0, HOP * sizeof *ola);
  }
  free(fft);
  free(mcra);
  return 0;
}

int main(int argc, char** argv) {
  const int check = argc > 1 && strcmp(argv[1], "--check") == 0;
  const int n = SECONDS * FS;
  static const double snrs[] = {0, 5, 10};
  double *clean = malloc(sizeof(double) * n), *noise = malloc(sizeof(double) * n);
  double *noisy = malloc(sizeof(double) * n), *out = malloc(sizeof(double) * n);
  double cleanPower = 0, noisePower = 0;
  int i, s, ok = 1;

  speech(clean, n, 140, 0x2545F4914F6CDD1Dull);
  rngState = 777;
  for (i = 0; i < n; ++i) {
    clean[i] = clampSample(16000 * clean[i]);
    noise[i] = gaussian();
  }
  /* Noise shaped by a gentle low-pass, as room and fan noise are. */
  for (i = n - 1; i > 0; --i) noise[i] = noise[i] + 0.7 * noise[i - 1];
  for (i = 0; i < n; ++i) {
    cleanPower += clean[i] * clean[i];
    noisePower += noise[i] * noise[i];
  }

  printf("input SNR  segmental SNR noisy  processed  gain\n");
  for (s = 0; s < (int)(sizeof snrs / sizeof snrs[0]); ++s) {
    const double scale = sqrt(cleanPower / noisePower / pow(10, snrs[s] / 10));
    double before, after;
    for (i = 0; i < n; ++i) noisy[i] = clampSample(clean[i] + scale * noise[i]);
    if (suppress(noisy, out, n) != 0) return 2;
    before = segmentalSnr(clean, noisy, n);
    after = segmentalSnr(clean, out, n);
    printf("%6.0f dB  %15.1f dB  %6.1f dB  %+5.1f dB\n", snrs[s], before, after, after - before);
    if (after - before < 1) ok = 0;
  }
  free(clean);
  free(noise);
  free(noisy);
  free(out);
  return check && !ok ? 1 : 0;
}
