// The subband echo canceller against speexdsp's echo canceller, on the same audio: 16 kHz
// speech-like far end through a 64 ms synthetic room, microphone = echo + low noise.
//   BM_KelsCore   one frame (256 points, 128-sample hop) through controller, filter, step size
//                 and coefficient update: 8 taps x 129 subbands, spectra precomputed;
//   BM_KelsFull   the whole canceller per hop, analysis and synthesis FFTs included;
//   BM_Speex/128  speex_echo_cancellation, 128-sample frames, 1024-tap (64 ms) filter;
//   BM_Speex/160  the same with 10 ms frames.
// Every benchmark reports audio seconds per CPU second ("realtime", the real-time factor) and
// its ERLE over 2-3 s and over the last second (far end only), measured once outside timing.
// The summary after the table gives the CPU ratios of this run.
#include <benchmark/benchmark.h>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <kelsr.h>
#include <speex/speex_echo.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kFs = 16000, kN = 256, kOrder = 8, kHop = kN / 2, kBins = kN / 2 + 1, kTaps = 8;
constexpr int kIrLen = 1024, kCoefSf = 24, kEnergyShift = 16, kEnergyFloor = 1000;
constexpr int kSeconds = 6;
constexpr double kPi = 3.14159265358979323846;

struct Audio {
  std::vector<short> far, mic;
};

// Voiced syllables through moving formants, fast attack, gaps and pauses: enough like speech
// to exercise double-talk logic and non-stationary adaptation.
std::vector<double> speech(int n, double f0, unsigned seed) {
  static const double vowels[6][3] = {{730, 1090, 2440}, {270, 2290, 3010}, {530, 1840, 2480},
                                      {570, 840, 2410},  {300, 870, 2240},  {660, 1720, 2410}};
  static const double bw[3] = {90, 110, 140};
  std::mt19937 g(seed);
  std::uniform_real_distribution<double> u(0, 1);
  std::normal_distribution<double> gauss;
  std::vector<double> out(std::size_t(n), 0.0);
  double st[3][2] = {}, phase = 0, peak = 0;
  for (int i = 0; i < n;) {
    const int len = int((0.12 + 0.18 * u(g)) * kFs);
    const int gap = int((u(g) < 0.15 ? 0.3 : 0.04 + 0.08 * u(g)) * kFs);
    const double* f = vowels[int(u(g) * 6) % 6];
    const double pitch = f0 * (0.85 + 0.3 * u(g));
    const int attack = kFs / 80, release = kFs / 25;
    double a1[3], a2[3];
    for (int k = 0; k < 3; ++k) {
      const double r = std::exp(-kPi * bw[k] / kFs);
      a1[k] = 2 * r * std::cos(2 * kPi * f[k] / kFs);
      a2[k] = -r * r;
    }
    for (int t = 0; t < len + gap && i < n; ++t, ++i) {
      const double env = t >= len ? 0.0 : t < attack ? double(t) / attack
                         : t > len - release ? double(len - t) / release : 1.0;
      phase += pitch / kFs;
      double x = phase >= 1 ? 1.0 : 0.0;
      if (phase >= 1) phase -= 1;
      x = env * (x + 0.05 * gauss(g));
      for (int k = 0; k < 3; ++k) {
        const double y = x + a1[k] * st[k][0] + a2[k] * st[k][1];
        st[k][1] = st[k][0];
        st[k][0] = y;
        x = y * (1 - a1[k] - a2[k]) * 0.5;
      }
      out[std::size_t(i)] = x;
      peak = std::max(peak, std::fabs(x));
    }
  }
  for (auto& v : out) v /= peak;
  return out;
}


int toFixedShort(double v) {
  const double r = std::min(32767.0, std::max(-32768.0, v + 0.5));
  const int t = int(r);
  return double(t) > r ? t - 1 : t;
}

short toSample(double v) { return short(toFixedShort(v)); }

const Audio& audio() {
  static const Audio a = [] {
    const int n = kSeconds * kFs;
    Audio r;
    const std::vector<double> s = speech(n, 120, 1);
    std::mt19937 g(2);
    std::normal_distribution<double> gauss;
    std::vector<double> room(kIrLen, 0.0);
    double norm = 0;
    for (int i = 16; i < kIrLen; ++i) {
      room[std::size_t(i)] = gauss(g) * std::exp(-6.9 * i / kIrLen);  // 60 dB down at 64 ms
      norm += room[std::size_t(i)] * room[std::size_t(i)];
    }
    for (auto& h : room) h *= std::sqrt(0.1 / norm);  // echo about 10 dB below the far end
    r.far.resize(std::size_t(n));
    r.mic.resize(std::size_t(n));
    for (int i = 0; i < n; ++i) r.far[std::size_t(i)] = toSample(13000 * s[std::size_t(i)] + (i & 1 ? 1.5 : -1.5));
    for (int i = 0; i < n; ++i) {
      double e = 0;
      for (int k = 0; k < kIrLen && k <= i; ++k) e += room[std::size_t(k)] * r.far[std::size_t(i - k)];
      r.mic[std::size_t(i)] = toSample(e + 0.6 * gauss(g));
    }
    return r;
  }();
  return a;
}

Kels32s saturatedDifference(Kels32s a, Kels32s b) {
  const std::int64_t d = std::int64_t(a) - b;
  return Kels32s(std::min<std::int64_t>(INT32_MAX, std::max<std::int64_t>(INT32_MIN, d)));
}

// The subband canceller of examples/echo_cancel.c, one 128-sample hop per call.
class KelsCanceller {
 public:
  KelsCanceller() {
    int size = 0;
    kelsFFTGetSize_R_32f(kOrder, &size);
    fftMem_.resize(std::size_t(size) / 4 + 1);
    kelsFFTInit_R_32f(kOrder, fft());
    kelsControllerGetSizeAEC_32s(&size);
    ctlMem_.resize(std::size_t(size) / 4);
    for (int k = 0; k < kN; ++k) window_[k] = float(std::sin(kPi * (k + 0.5) / kN));
    prm_.pSignal0 = ctlMic_;
    prm_.pSignal1 = ctlFar_;
    prm_.pSignal2 = resFrame_;
    prm_.outputScale = 2147483647;
    prm_.frameLen = kN;
    prm_.sampleRate = kFs;
    kelsControllerInitAEC_32s(&prm_, ctl());
  }

  // far, mic: the newest hop; out: the hop completed by this frame (the previous input hop).
  void process(const short* far, const short* mic, short* out) {
    shiftIn(farFrame_, far);
    shiftIn(micFrame_, mic);
    std::memcpy(ctlFar_, ctlFar_ + kHop, sizeof(short) * kHop);
    std::memcpy(ctlFar_ + kHop, farFrame_, sizeof(short) * kHop);
    std::memcpy(ctlMic_, ctlMic_ + kHop, sizeof(short) * kHop);
    std::memcpy(ctlMic_ + kHop, micFrame_, sizeof(short) * kHop);
    newest_ = (newest_ + kTaps - 1) % kTaps;
    analyse(farFrame_, history_[newest_]);
    analyse(micFrame_, micBins_);
    adapt(out);
  }

  // The core alone: the newest spectra are given; the controller's signals are what they are.
  void core(const Kels32sc* farBins, const Kels32sc* micBins) {
    newest_ = (newest_ + kTaps - 1) % kTaps;
    std::memcpy(history_[newest_], farBins, sizeof(Kels32sc) * kBins);
    std::memcpy(micBins_, micBins, sizeof(Kels32sc) * kBins);
    filterAndControl();
    update();
  }

  static void spectrum(KelsCanceller& c, const short* frame, Kels32sc* bins) { c.analyse(frame, bins); }

 private:
  KelsFFTSpec_R_32f* fft() { return reinterpret_cast<KelsFFTSpec_R_32f*>(fftMem_.data()); }
  KelsAECControllerState_32s* ctl() { return reinterpret_cast<KelsAECControllerState_32s*>(ctlMem_.data()); }

  static void shiftIn(short* frame, const short* hop) {
    std::memmove(frame, frame + kHop, sizeof(short) * kHop);
    std::memcpy(frame + kHop, hop, sizeof(short) * kHop);
  }
  // The packed spectrum has the subbands' layout except for bins 0 and N/2, whose real parts
  // share element 0: convert all N values at once, then move Re X(N/2) to its place.
  void analyse(const short* frame, Kels32sc* bins) {
    float buf[kN];
    for (int k = 0; k < kN; ++k) buf[k] = frame[k] * window_[k];
    kelsFFTFwd_RToPack_32f(buf, buf, fft());
    roundToInt(buf, &bins[0].re, kN);
    bins[kN / 2] = {bins[0].im, 0};
    bins[0].im = 0;
  }
  // Nearest integers (ties to even) of values well inside the 32-bit range.
  static void roundToInt(const float* v, Kels32s* out, int n) {
    int k = 0;
#if defined(__SSE2__)
    for (; k + 4 <= n; k += 4)
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + k), _mm_cvtps_epi32(_mm_loadu_ps(v + k)));
#endif
    for (; k < n; ++k) out[k] = Kels32s(std::nearbyint(v[k]));
  }
  void filterAndControl() {
    for (int j = 0; j < kTaps; ++j) {
      hist_[j] = history_[(newest_ + j) % kTaps];
      coefRows_[j] = coef_[j];
    }
    kelsFilterAECNLMS_32sc_Sfs(hist_, const_cast<const Kels32sc**>(coefRows_), estimate_, kTaps, kBins, kCoefSf);
    for (int k = 0; k < kBins; ++k) {
      error_[k].re = saturatedDifference(micBins_[k].re, estimate_[k].re);
      error_[k].im = saturatedDifference(micBins_[k].im, estimate_[k].im);
    }
  }
  void update() {
    kelsControllerUpdateAEC_32s(&prm_, ctl(), &adapt_, &gain1_, &gain2_);
    for (int k = 0; k < kBins; ++k) {
      double e = 0;
      for (int j = 0; j < kTaps; ++j) e += double(hist_[j][k].re) * hist_[j][k].re + double(hist_[j][k].im) * hist_[j][k].im;
      e *= 1.0 / (1 << kEnergyShift);
      energy_[k] = e > 2147483647.0 ? 2147483647 : Kels32s(e);
    }
    kelsStepSizeUpdateAECNLMS_32s(energy_, adapt_, 1.0, kEnergyFloor, step_, kBins, kEnergyShift);
    kelsCoefUpdateAECNLMS_32sc_I(step_, hist_, error_, coefRows_, kTaps, kBins, kCoefSf);
  }
  void adapt(short* out) {
    filterAndControl();
    float buf[kN];
    const Kels32s* e = &error_[0].re;
    for (int k = 0; k < kN; ++k) buf[k] = float(e[k]);
    buf[1] = float(error_[kN / 2].re);
    kelsFFTInv_PackToR_32f(buf, buf, fft());
    for (int k = 0; k < kN; ++k) ola_[k] += buf[k] * window_[k] * (1.0f / kN);
    Kels32s rounded[kHop];
    roundToInt(ola_, rounded, kHop);
    for (int k = 0; k < kHop; ++k)
      out[k] = resFrame_[k] = short(std::min<Kels32s>(32767, std::max<Kels32s>(-32768, rounded[k])));
    std::memmove(ola_, ola_ + kHop, sizeof(float) * kHop);
    std::memset(ola_ + kHop, 0, sizeof(float) * kHop);
    update();
  }

  std::vector<float> fftMem_;
  std::vector<std::int32_t> ctlMem_;
  KelsAECParams_32s prm_{};
  float window_[kN], ola_[kN] = {};
  short farFrame_[kN] = {}, micFrame_[kN] = {}, ctlFar_[kN] = {}, ctlMic_[kN] = {}, resFrame_[kN] = {};
  Kels32sc history_[kTaps][kBins] = {}, coef_[kTaps][kBins] = {};
  const Kels32sc* hist_[kTaps];
  Kels32sc* coefRows_[kTaps];
  Kels32sc micBins_[kBins], estimate_[kBins], error_[kBins];
  Kels32s energy_[kBins], adapt_ = 0, gain1_ = 0, gain2_ = 0;
  Kels64f step_[kBins];
  int newest_ = 0;
};

// ERLE = microphone energy / output energy over [from, to) seconds, output aligned to input.
double erle(const std::vector<short>& mic, const std::vector<short>& out, double from, double to) {
  double em = 0, eo = 0;
  for (int i = int(from * kFs); i < int(to * kFs); ++i) {
    em += double(mic[std::size_t(i)]) * mic[std::size_t(i)];
    eo += double(out[std::size_t(i)]) * out[std::size_t(i)];
  }
  return 10 * std::log10(em / eo);
}

struct Erle {
  double early, late;
};

Erle kelsErle() {
  static const Erle e = [] {
    const Audio& a = audio();
    auto c = std::make_unique<KelsCanceller>();
    std::vector<short> out(a.mic.size(), 0);
    short hop[kHop];
    for (std::size_t t = 0; t + kHop <= a.mic.size(); t += kHop) {
      c->process(&a.far[t], &a.mic[t], hop);
      if (t >= kHop) std::memcpy(&out[t - kHop], hop, sizeof hop);  // the completed hop is the previous one
    }
    return Erle{erle(a.mic, out, 2, 3), erle(a.mic, out, kSeconds - 1.2, kSeconds - 0.2)};
  }();
  return e;
}

Erle speexErle(int frame) {
  static std::map<int, Erle> cache;
  if (auto it = cache.find(frame); it != cache.end()) return it->second;
  const Audio& a = audio();
  SpeexEchoState* st = speex_echo_state_init(frame, kIrLen);
  int rate = kFs;
  speex_echo_ctl(st, SPEEX_ECHO_SET_SAMPLING_RATE, &rate);
  std::vector<short> out(a.mic.size(), 0);
  for (std::size_t t = 0; t + std::size_t(frame) <= a.mic.size(); t += std::size_t(frame))
    speex_echo_cancellation(st, &a.mic[t], &a.far[t], &out[t]);
  speex_echo_state_destroy(st);
  return cache[frame] = Erle{erle(a.mic, out, 2, 3), erle(a.mic, out, kSeconds - 1.2, kSeconds - 0.2)};
}

void report(benchmark::State& st, long samples, Erle e) {
  st.SetItemsProcessed(samples);
  st.counters["realtime"] = benchmark::Counter(double(samples) / kFs, benchmark::Counter::kIsRate);
  st.counters["ERLE_2_3s_dB"] = e.early;
  st.counters["ERLE_end_dB"] = e.late;
}

void BM_KelsCore(benchmark::State& st) {
  const Audio& a = audio();
  auto c = std::make_unique<KelsCanceller>();
  const int frames = int(a.mic.size()) / kHop - 1;
  std::vector<Kels32sc> far(std::size_t(frames) * kBins), mic(far.size());
  for (int m = 0; m < frames; ++m) {
    KelsCanceller::spectrum(*c, &a.far[std::size_t(m) * kHop], &far[std::size_t(m) * kBins]);
    KelsCanceller::spectrum(*c, &a.mic[std::size_t(m) * kHop], &mic[std::size_t(m) * kBins]);
  }
  long samples = 0;
  int m = 0;
  for (auto _ : st) {
    c->core(&far[std::size_t(m) * kBins], &mic[std::size_t(m) * kBins]);
    m = m + 1 < frames ? m + 1 : 0;
    samples += kHop;
  }
  report(st, samples, kelsErle());
}

void BM_KelsFull(benchmark::State& st) {
  const Audio& a = audio();
  auto c = std::make_unique<KelsCanceller>();
  short out[kHop];
  long samples = 0;
  std::size_t t = 0;
  for (auto _ : st) {
    c->process(&a.far[t], &a.mic[t], out);
    benchmark::DoNotOptimize(out);
    t = t + 2 * kHop <= a.mic.size() ? t + kHop : 0;
    samples += kHop;
  }
  report(st, samples, kelsErle());
}

void BM_Speex(benchmark::State& st) {
  const int frame = int(st.range(0));
  const Audio& a = audio();
  SpeexEchoState* s = speex_echo_state_init(frame, kIrLen);
  int rate = kFs;
  speex_echo_ctl(s, SPEEX_ECHO_SET_SAMPLING_RATE, &rate);
  std::vector<short> out(static_cast<std::size_t>(frame));
  long samples = 0;
  std::size_t t = 0;
  for (auto _ : st) {
    speex_echo_cancellation(s, &a.mic[t], &a.far[t], out.data());
    benchmark::DoNotOptimize(out.data());
    t = t + 2 * std::size_t(frame) <= a.mic.size() ? t + std::size_t(frame) : 0;
    samples += frame;
  }
  speex_echo_state_destroy(s);
  report(st, samples, speexErle(frame));
}

BENCHMARK(BM_KelsCore);
BENCHMARK(BM_KelsFull);
BENCHMARK(BM_Speex)->Arg(128)->Arg(160);

// Collects CPU seconds per audio second of each benchmark for the closing summary.
class Summary : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs) {
      const auto it = r.counters.find("realtime");
      if (it != r.counters.end() && it->second.value > 0) perAudioSecond[r.benchmark_name()] = 1.0 / it->second.value;
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> perAudioSecond;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  Summary summary;
  benchmark::RunSpecifiedBenchmarks(&summary);
  const auto& c = summary.perAudioSecond;
  const auto get = [&](const char* name) { auto it = c.find(name); return it == c.end() ? 0.0 : it->second; };
  const double core = get("BM_KelsCore"), full = get("BM_KelsFull"), speex = get("BM_Speex/128");
  if (core > 0 && full > 0 && speex > 0) {
    std::printf("\nCPU per audio second: kels core %.2f ms, kels full %.2f ms, speex (128) %.2f ms\n", core * 1e3,
                full * 1e3, speex * 1e3);
    std::printf("speex / kels: %.1fx (core), %.1fx (full canceller with FFTs)\n", speex / core, speex / full);
    const Erle k = kelsErle(), s = speexErle(128);
    std::printf("ERLE 2-3 s: kels %.1f dB, speex %.1f dB; last second: kels %.1f dB, speex %.1f dB\n", k.early,
                s.early, k.late, s.late);
  }
  benchmark::Shutdown();
  return 0;
}
