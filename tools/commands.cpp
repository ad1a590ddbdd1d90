// kels: argument parsing and the four subcommands. Options follow Kaldi's names where Kaldi has
// the same option, so that `--preset kaldi` and a Kaldi config read alike.
#include "commands.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <type_traits>

#include "error.h"
#include "frontend.h"
#include "gmm.h"
#include "jobs.h"
#include "matrix_io.h"
#include "wav.h"

namespace kels::tool {

namespace {

struct UsageError : Error {
  using Error::Error;
};

// Prints a message on its own line, clearing a progress bar that may be on the terminal.
void note(const std::string& msg) {
  std::fprintf(stderr, "%skels: %s\n", stderrIsTerminal() ? "\r\033[K" : "", msg.c_str());
}

struct Option {
  std::string names;  // "-o, --output" or "--num-ceps"
  std::string meta;   // value name; empty for a boolean switch
  std::string help;
  std::function<void(const std::string&)> set;
};

bool matches(const std::string& names, const std::string& arg) {
  std::istringstream s(names);
  std::string n;
  while (std::getline(s, n, ',')) {
    const auto b = n.find_first_not_of(' ');
    if (b != std::string::npos && n.substr(b) == arg) return true;
  }
  return false;
}

bool parseBool(const std::string& name, const std::string& v) {
  if (v == "true" || v == "1" || v == "yes") return true;
  if (v == "false" || v == "0" || v == "no") return false;
  throw UsageError(name + " takes true or false, not '" + v + "'");
}

template <class T>
std::function<void(const std::string&)> number(const std::string& name, T* out, double lo, double hi) {
  return [=](const std::string& v) {
    char* end = nullptr;
    const double d = std::strtod(v.c_str(), &end);
    if (v.empty() || *end != '\0' || !std::isfinite(d) || d < lo || d > hi)
    {
      char range[64];
      std::snprintf(range, sizeof range, "%g .. %g", lo, hi);
      throw UsageError(name + " takes a number in " + range + ", not '" + v + "'");
    }
    if constexpr (std::is_integral_v<T>) {
      if (d != std::floor(d)) throw UsageError(name + " takes a whole number, not '" + v + "'");
    }
    *out = T(d);
  };
}
std::function<void(const std::string&)> flag(const std::string& name, bool* out) {
  return [=](const std::string& v) { *out = parseBool(name, v); };
}

// Returns the positional arguments; sets *help when --help was given.
std::vector<std::string> parseArgs(const std::vector<std::string>& args, std::vector<Option>& opts,
                                   bool* help) {
  std::vector<std::string> pos;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "-h" || a == "--help") {
      *help = true;
      continue;
    }
    if (a == "--") {
      pos.insert(pos.end(), args.begin() + long(i) + 1, args.end());
      break;
    }
    if (a.size() < 2 || a[0] != '-') {
      pos.push_back(a);
      continue;
    }
    auto find = [&](const std::string& key) -> Option* {
      for (auto& c : opts)
        if (matches(c.names, key)) return &c;
      return nullptr;
    };
    // Short options take their value attached as well: -j4.
    if (a[1] != '-' && a.size() > 2) {
      Option* o = find(a.substr(0, 2));
      if (o && !o->meta.empty()) {
        o->set(a.substr(2));
        continue;
      }
    }
    const auto eq = a.find('=');
    const std::string key = a.substr(0, eq);
    Option* o = find(key);
    if (!o) throw UsageError("unknown option " + key);
    if (o->meta.empty()) {
      o->set(eq == std::string::npos ? "true" : a.substr(eq + 1));
    } else if (eq != std::string::npos) {
      o->set(a.substr(eq + 1));
    } else {
      if (i + 1 >= args.size()) throw UsageError(key + " needs a value (" + o->meta + ")");
      o->set(args[++i]);
    }
  }
  return pos;
}

void printOptions(std::FILE* f, const std::vector<Option>& opts) {
  for (const auto& o : opts) {
    std::string left = "  " + o.names + (o.meta.empty() ? "" : " " + o.meta);
    if (left.size() < 30) left.resize(30, ' ');
    else left += "\n" + std::string(30, ' ');
    std::fprintf(f, "%s%s\n", left.c_str(), o.help.c_str());
  }
  std::fprintf(f, "  -h, --help                  this text\n");
}

const char* kUsage =
    "kels: speech features and Gaussian mixture models on libkelsr\n"
    "\n"
    "usage: kels COMMAND [options] [files]\n"
    "\n"
    "commands:\n"
    "  mfcc        mel-frequency cepstral coefficients from WAV files\n"
    "  fbank       log mel filter-bank energies from WAV files\n"
    "  gmm-train   train a diagonal-covariance Gaussian mixture on feature files\n"
    "  gmm-score   per-frame and per-utterance log-likelihoods under a mixture\n"
    "  help CMD    the options of one command (same as kels CMD --help)\n"
    "\n"
    "WAV input: 16-bit PCM or 32-bit float, 8-48 kHz, first channel. Features are written as\n"
    "Kaldi text or binary archives, HTK parameter files or NumPy .npy files, and read back\n"
    "in any of these. Many files run on all cores (-j N to choose).\n"
    "\n"
    "The main job, on the bundled sample:\n"
    "  kels mfcc --deltas 2 data/sample/*.wav -o feats.ark\n"
    "  kels gmm-train --components 8 feats.ark -o model.gmm\n"
    "  kels gmm-score model.gmm feats.ark\n";

std::string checkedFormat(const std::string& v) {
  try {
    parseFormat(v);
  } catch (const Error& e) {
    throw UsageError(e.what());
  }
  return v;
}

struct Input {
  std::string id, path;
};

// Positional paths plus the lines of --list files ("path" or "utt-id path" per line).
std::vector<Input> gatherInputs(const std::vector<std::string>& pos,
                                const std::vector<std::string>& lists) {
  std::vector<Input> in;
  for (const auto& p : pos) in.push_back({baseName(p), p});
  for (const auto& l : lists) {
    std::ifstream f(l);
    if (!f) throw UsageError("cannot open list " + l);
    std::string line;
    int n = 0;
    while (std::getline(f, line)) {
      ++n;
      std::istringstream s(line);
      std::string a, b, extra;
      if (!(s >> a) || a[0] == '#') continue;
      if (!(s >> b)) in.push_back({baseName(a), a});
      else if (s >> extra) throw UsageError(l + ":" + std::to_string(n) + ": expected 'path' or 'utt-id path'");
      else in.push_back({a, b});
    }
  }
  return in;
}

bool isDirectory(const std::string& p) {
  struct stat st{};
  return stat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::string fmtSeconds(double s) {
  char b[32];
  std::snprintf(b, sizeof b, s < 10 ? "%.3f" : "%.1f", s);
  return b;
}

// Where features go: one archive (file or stdout), or one file per utterance.
struct Sink {
  Format format = Format::kArk;
  std::string path = "-";
  bool perFile = false;  // htk/npy: path is a file when single, else a directory
  std::ofstream file;
  std::ostream* archive = nullptr;
  double framePeriod = 0.01;
  std::uint16_t htkKind = kHtkUser;

  void open(const std::string& out, const std::string& format, std::size_t count) {
    path = out.empty() ? "-" : out;
    if (!format.empty()) this->format = parseFormat(format);
    else if (!formatFromExtension(path, &this->format)) this->format = path == "-" ? Format::kText : Format::kArk;
    if (isArchive(this->format)) {
      if (path == "-") {
        if (this->format == Format::kArk && isatty(STDOUT_FILENO))
          throw UsageError("not writing a binary archive to a terminal; use -o FILE or --format text");
        archive = &std::cout;
      } else {
        file.open(path, std::ios::binary);
        if (!file) throw Error("cannot write " + path);
        archive = &file;
      }
      return;
    }
    if (path == "-") throw UsageError("htk and npy output needs -o FILE or -o DIRECTORY");
    perFile = count > 1 || path.back() == '/' || isDirectory(path);
    if (perFile && !isDirectory(path) && mkdir(path.c_str(), 0777) != 0)
      throw Error("cannot create directory " + path);
  }
  void write(const Utterance& u) {
    if (archive) {
      if (format == Format::kText) writeKaldiText(*archive, u);
      else writeKaldiBinary(*archive, u);
      if (!*archive) throw Error("write error on " + path);
      return;
    }
    const std::string file = perFile ? path + (path.back() == '/' ? "" : "/") + u.id + extensionOf(format) : path;
    if (format == Format::kHtk) writeHtk(file, u.feats, framePeriod, htkKind);
    else writeNpy(file, u.feats);
  }
  void close() {
    if (archive) archive->flush();
    if (file.is_open()) {
      file.close();
      if (!file) throw Error("write error on " + path);
    }
  }
};

int runFeatures(const std::string& cmd, const std::vector<std::string>& args) {
  const FeatureKind kind = cmd == "mfcc" ? FeatureKind::kMfcc : FeatureKind::kFbank;
  FeatureOptions o = FeatureOptions::kaldi(kind);
  std::string out, format;
  std::vector<std::string> lists;
  int threads = defaultThreads();
  bool quiet = false, help = false;
  std::vector<Option> opts = {
      {"-o, --output", "PATH", "archive file, or file/directory for htk and npy (default: stdout)",
       [&](const std::string& v) { out = v; }},
      {"--format", "FMT", "text, ark, htk or npy (default: from the extension; ark, or text on stdout)",
       [&](const std::string& v) { format = checkedFormat(v); }},
      {"--list", "FILE", "read inputs from FILE: 'path' or 'utt-id path' per line",
       [&](const std::string& v) { lists.push_back(v); }},
      {"-j, --threads", "N", "worker threads (default: all cores)", number("--threads", &threads, 1, 1024)},
      {"-q, --quiet", "", "no progress bar and no summary", flag("--quiet", &quiet)},
      {"--preset", "NAME", "kaldi: Kaldi's defaults with dither 0 (the default settings)",
       [&](const std::string& v) {
         if (v != "kaldi") throw UsageError("unknown preset '" + v + "' (kaldi)");
         o = FeatureOptions::kaldi(kind);
       }},
      {"--frame-length", "MS", "frame length in milliseconds (25)", number("--frame-length", &o.frameLengthMs, 1, 1000)},
      {"--frame-shift", "MS", "frame shift in milliseconds (10)", number("--frame-shift", &o.frameShiftMs, 0.1, 1000)},
      {"--preemphasis-coefficient", "X", "pre-emphasis (0.97)", number("--preemphasis-coefficient", &o.preemph, 0, 1)},
      {"--remove-dc-offset", "", "subtract each frame's mean (true)", flag("--remove-dc-offset", &o.removeDc)},
      {"--window-type", "NAME", "povey, hamming, hanning, blackman or rectangular (povey)",
       [&](const std::string& v) { o.window = v; }},
      {"--round-to-power-of-two", "", "FFT length: next power of two (true)", flag("--round-to-power-of-two", &o.roundToPow2)},
      {"--num-mel-bins", "N", "mel filters (23)", number("--num-mel-bins", &o.numBins, 1, 1024)},
      {"--low-freq", "HZ", "lowest mel filter edge (20)", number("--low-freq", &o.lowFreq, 0, 1e6)},
      {"--high-freq", "HZ", "highest edge; <= 0 is an offset from Nyquist (0)", number("--high-freq", &o.highFreq, -1e6, 1e6)},
      {"--use-power", "", "power spectrum; false: magnitude (true)", flag("--use-power", &o.usePower)},
      {"--use-energy", "", kind == FeatureKind::kMfcc ? "log energy in place of c0 (true)" : "log energy as a first column (false)",
       flag("--use-energy", &o.useEnergy)},
      {"--deltas", "N", "append deltas (1) or deltas and delta-deltas (2) by regression over +-W frames; within W frames of an end, the end frame stands in for every term on that side (0)", number("--deltas", &o.deltaOrder, 0, 2)},
      {"--delta-window", "N", "delta regression half-width in frames (2)", number("--delta-window", &o.deltaWindow, 1, 100)},
      {"--cmvn", "", "per-utterance mean and variance normalisation (false)", flag("--cmvn", &o.cmvn)},
  };
  if (kind == FeatureKind::kMfcc) {
    opts.push_back({"--num-ceps", "N", "cepstra, c0 included (13)", number("--num-ceps", &o.numCeps, 2, 1024)});
    opts.push_back({"--cepstral-lifter", "L", "sine lifter parameter, 0 for none (22)", number("--cepstral-lifter", &o.lifter, 0, 10000)});
  }
  const auto pos = parseArgs(args, opts, &help);
  if (help) {
    std::printf("usage: kels %s [options] WAV... [-o OUT]\n\n%s from 16-bit or float WAV files, "
                "one utterance per file (utt-id: the file name without extension).\n\noptions:\n",
                cmd.c_str(), kind == FeatureKind::kMfcc ? "MFCC features" : "Log mel filter-bank energies");
    printOptions(stdout, opts);
    return 0;
  }
  const auto inputs = gatherInputs(pos, lists);
  if (inputs.empty()) throw UsageError("no input files (kels " + cmd + " --help)");
  { Frontend probe(o, 16000); }  // bad option combinations fail here, once, as usage errors

  Sink sink;
  sink.open(out, format, inputs.size());
  sink.framePeriod = o.frameShiftMs * 0.001;
  sink.htkKind = o.htkKind();

  struct Result {
    Matrix feats;
    std::string error;
    double seconds = 0.0;
  };
  std::vector<Result> results(inputs.size());
  std::vector<std::map<int, std::unique_ptr<Frontend>>> frontends{std::size_t(threads)};
  long frames = 0;
  double audio = 0.0;
  int failed = 0;
  const Stopwatch clock;
  runOrdered(
      inputs.size(), threads,
      [&](std::size_t i, int worker) {
        Result& r = results[i];
        try {
          const Audio a = readWav(inputs[i].path);
          auto& fe = frontends[std::size_t(worker)][a.sampleRate];
          if (!fe) fe = std::make_unique<Frontend>(o, a.sampleRate);
          r.seconds = double(a.samples.size()) / a.sampleRate;
          r.feats = fe->compute(a.samples.data(), a.samples.size());
          if (r.feats.rows == 0) r.error = "audio shorter than one frame";
        } catch (const std::exception& e) {
          r.error = e.what();
        }
      },
      [&](std::size_t i) {
        Result& r = results[i];
        if (!r.error.empty()) {
          note(inputs[i].path + ": " + r.error);
          ++failed;
        } else {
          frames += r.feats.rows;
          audio += r.seconds;
          sink.write({inputs[i].id, std::move(r.feats)});
        }
        r = Result{};
      },
      !quiet && stderrIsTerminal());
  sink.close();
  const double wall = clock.wall(), cpu = clock.cpu();
  if (!quiet) {
    std::fprintf(stderr,
                 "kels %s: %zu files%s, %ld frames, %.2f s of audio in %s s wall (%s s CPU, %d "
                 "threads), real-time factor %.4f\n",
                 cmd.c_str(), inputs.size() - std::size_t(failed),
                 failed ? (" (" + std::to_string(failed) + " failed)").c_str() : "", frames, audio, fmtSeconds(wall).c_str(), fmtSeconds(cpu).c_str(),
                 std::min<int>(threads, int(inputs.size())), audio > 0 ? wall / audio : 0.0);
  }
  return failed ? 1 : 0;
}

// Reads every utterance of the inputs, in order; unreadable files are reported and counted.
std::vector<Utterance> readAll(const std::vector<Input>& inputs, int threads, bool progress,
                               int* failed) {
  std::vector<std::vector<Utterance>> parts(inputs.size());
  std::vector<std::string> errors(inputs.size());
  runOrdered(
      inputs.size(), threads,
      [&](std::size_t i, int) {
        try {
          parts[i] = readFeatures(inputs[i].path, inputs[i].id);
        } catch (const std::exception& e) {
          errors[i] = e.what();
        }
      },
      [&](std::size_t i) {
        if (!errors[i].empty()) {
          note(errors[i]);
          ++*failed;
        }
      },
      progress);
  std::vector<Utterance> all;
  for (auto& p : parts)
    for (auto& u : p) all.push_back(std::move(u));
  return all;
}

int runGmmTrain(const std::vector<std::string>& args) {
  TrainOptions t;
  t.threads = defaultThreads();
  std::string out;
  std::vector<std::string> lists;
  bool quiet = false, help = false;
  std::vector<Option> opts = {
      {"-o, --output", "MODEL", "where to write the model (required)", [&](const std::string& v) { out = v; }},
      {"--list", "FILE", "read feature files from FILE: 'path' or 'utt-id path' per line",
       [&](const std::string& v) { lists.push_back(v); }},
      {"--components", "N", "final number of Gaussians (8)", number("--components", &t.components, 1, 65536)},
      {"--iterations", "N", "EM passes per growth step and at the end (8)", number("--iterations", &t.iterations, 1, 1000)},
      {"--split-factor", "X", "split new means to mean +- X sigma (0.2)", number("--split-factor", &t.splitFactor, 1e-6, 10)},
      {"--var-floor", "X", "variance floor as a fraction of the data variance (0.01)", number("--var-floor", &t.varFloor, 0, 1)},
      {"-j, --threads", "N", "worker threads (default: all cores)", number("--threads", &t.threads, 1, 1024)},
      {"-q, --quiet", "", "no progress and no summary", flag("--quiet", &quiet)},
  };
  const auto pos = parseArgs(args, opts, &help);
  if (help) {
    std::printf("usage: kels gmm-train [options] FEATS... -o MODEL\n\nTrains a diagonal-covariance "
                "Gaussian mixture on the frames of all feature files by EM, growing it from one\n"
                "Gaussian by splitting up to --components. The model is a text file (weights, "
                "means, variances, Gaussian constants).\n\noptions:\n");
    printOptions(stdout, opts);
    return 0;
  }
  const auto inputs = gatherInputs(pos, lists);
  if (inputs.empty()) throw UsageError("no feature files (kels gmm-train --help)");
  if (out.empty()) throw UsageError("gmm-train needs -o MODEL");
  const Stopwatch clock;
  int failed = 0;
  const auto utts = readAll(inputs, t.threads, !quiet && stderrIsTerminal(), &failed);
  if (failed) return 1;
  std::vector<const Matrix*> data;
  for (const auto& u : utts)
    if (u.feats.rows > 0) data.push_back(&u.feats);
  TrainReport rep;
  const Gmm g = trainGmm(data, t, &rep, quiet ? nullptr : &std::cerr);
  writeGmm(out, g);
  if (!quiet)
    std::fprintf(stderr,
                 "kels gmm-train: %zu files, %zu utterances, %ld frames of %d dims -> %d "
                 "components, average log-likelihood %.4f per frame, %s s wall (%s s CPU)\n",
                 inputs.size(), utts.size(), rep.frames, g.dim, g.comps,
                 rep.avgLogLik.empty() ? 0.0 : rep.avgLogLik.back(),
                 fmtSeconds(clock.wall()).c_str(), fmtSeconds(clock.cpu()).c_str());
  return 0;
}

int runGmmScore(const std::vector<std::string>& args) {
  std::string out, perFrame, format;
  std::vector<std::string> lists;
  int threads = defaultThreads();
  bool quiet = false, help = false;
  std::vector<Option> opts = {
      {"-o, --output", "FILE", "per-utterance table 'utt-id frames total average' (default: stdout)",
       [&](const std::string& v) { out = v; }},
      {"--per-frame", "PATH", "also write per-frame log-likelihoods, one column per utterance (archive file, or a directory for htk/npy)",
       [&](const std::string& v) { perFrame = v; }},
      {"--format", "FMT", "format of --per-frame: text, ark, htk or npy (default: from the extension)",
       [&](const std::string& v) { format = checkedFormat(v); }},
      {"--list", "FILE", "read feature files from FILE: 'path' or 'utt-id path' per line",
       [&](const std::string& v) { lists.push_back(v); }},
      {"-j, --threads", "N", "worker threads (default: all cores)", number("--threads", &threads, 1, 1024)},
      {"-q, --quiet", "", "no progress bar and no summary", flag("--quiet", &quiet)},
  };
  auto pos = parseArgs(args, opts, &help);
  if (help) {
    std::printf("usage: kels gmm-score [options] MODEL FEATS...\n\nLog-likelihoods of every frame "
                "under the mixture (natural log), summed and averaged per utterance.\n\noptions:\n");
    printOptions(stdout, opts);
    return 0;
  }
  if (pos.empty()) throw UsageError("gmm-score needs a model and feature files (kels gmm-score --help)");
  const std::string modelPath = pos.front();
  pos.erase(pos.begin());
  const auto inputs = gatherInputs(pos, lists);
  if (inputs.empty()) throw UsageError("no feature files to score");
  const Gmm g = readGmm(modelPath);

  std::ofstream tableFile;
  std::ostream* table = &std::cout;
  if (!out.empty() && out != "-") {
    tableFile.open(out);
    if (!tableFile) throw Error("cannot write " + out);
    table = &tableFile;
  }
  std::unique_ptr<Sink> frames;
  if (!perFrame.empty()) {
    frames = std::make_unique<Sink>();
    frames->open(perFrame, format, 2);  // several utterances may share a file: directory for htk/npy
  }

  struct Result {
    std::vector<Utterance> utts;
    std::vector<std::vector<float>> scores;
    std::string error;
  };
  std::vector<Result> results(inputs.size());
  long total = 0;
  double sum = 0.0;
  int failed = 0, utts = 0;
  const Stopwatch clock;
  runOrdered(
      inputs.size(), threads,
      [&](std::size_t i, int) {
        Result& r = results[i];
        try {
          r.utts = readFeatures(inputs[i].path, inputs[i].id);  // its errors name the file
        } catch (const std::exception& e) {
          r.error = e.what();
          return;
        }
        try {
          for (const auto& u : r.utts) r.scores.push_back(scoreFrames(g, u.feats));
        } catch (const std::exception& e) {
          r.error = inputs[i].path + ": " + e.what();
        }
      },
      [&](std::size_t i) {
        Result& r = results[i];
        if (!r.error.empty()) {
          note(r.error);
          ++failed;
          return;
        }
        for (std::size_t k = 0; k < r.utts.size(); ++k) {
          double s = 0.0;
          for (float v : r.scores[k]) s += v;
          const std::size_t n = r.scores[k].size();
          char line[64];
          std::snprintf(line, sizeof line, " %zu %.4f %.4f\n", n, s, n ? s / double(n) : 0.0);
          *table << r.utts[k].id << line;
          total += long(n);
          sum += s;
          ++utts;
          if (frames) {
            Matrix m(int(n), 1);
            std::copy(r.scores[k].begin(), r.scores[k].end(), m.data.begin());
            frames->write({r.utts[k].id, std::move(m)});
          }
        }
        r = Result{};
      },
      !quiet && stderrIsTerminal());
  table->flush();
  if (frames) frames->close();
  if (!quiet)
    std::fprintf(stderr,
                 "kels gmm-score: %zu files%s, %d utterances, %ld frames, average log-likelihood "
                 "%.4f per frame, %s s wall (%s s CPU)\n",
                 inputs.size() - std::size_t(failed),
                 failed ? (" (" + std::to_string(failed) + " failed)").c_str() : "", utts, total,
                 total ? sum / double(total) : 0.0, fmtSeconds(clock.wall()).c_str(),
                 fmtSeconds(clock.cpu()).c_str());
  return failed ? 1 : 0;
}

}  // namespace

int runKels(const std::vector<std::string>& args) {
  if (args.empty()) {
    // A terminal gets the usage as help; a script that forgot its arguments gets an error.
    const bool tty = isatty(STDOUT_FILENO) == 1;
    std::fputs(kUsage, tty ? stdout : stderr);
    return tty ? 0 : 2;
  }
  std::vector<std::string> rest(args.begin() + 1, args.end());
  std::string cmd = args[0];
  if (cmd == "help" || cmd == "-h" || cmd == "--help") {
    if (rest.empty()) {
      std::fputs(kUsage, stdout);
      return 0;
    }
    cmd = rest[0];
    rest = {"--help"};
  }
  try {
    if (cmd == "mfcc" || cmd == "fbank") return runFeatures(cmd, rest);
    if (cmd == "gmm-train") return runGmmTrain(rest);
    if (cmd == "gmm-score") return runGmmScore(rest);
    if (cmd == "--version") {
      const KelsLibVersion* v = kelsrGetLibVersion();
      std::printf("kels with %s %s\n", v->name, v->version);
      return 0;
    }
    throw UsageError("unknown command '" + cmd + "'");
  } catch (const UsageError& e) {
    note(std::string(e.what()) + "\n(kels --help for usage)");
    return 2;
  } catch (const std::exception& e) {
    note(e.what());
    return 1;
  }
}

}  // namespace kels::tool
