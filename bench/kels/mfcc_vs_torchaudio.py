#!/usr/bin/python3
"""kels mfcc --preset kaldi against torchaudio.compliance.kaldi.mfcc, one thread each.

Both run on the same audio (the bundled sample repeated) with the same options. torchaudio is
timed in this process with time.process_time() around the mfcc calls only (audio already in
memory); kels reports the CPU seconds of its own processing (after start-up, including reading
the WAV files and writing the features to /dev/null). The figure compared is audio seconds
processed per CPU second. A second kels run on all cores gives the multi-file throughput.

usage: /usr/bin/python3 bench/kels/mfcc_vs_torchaudio.py [--kels build/tools/kels] [--copies 200]
"""
import argparse
import os
import re
import subprocess
import sys
import tempfile
import time

import torch
import torchaudio

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
UTTS = [os.path.join(ROOT, "data", "sample", u + ".wav") for u in ("utt1", "utt2", "utt3")]
SUMMARY = re.compile(r"([\d.]+) s of audio in ([\d.]+) s wall \(([\d.]+) s CPU, (\d+) threads\)")


def run_kels(kels, listing, threads):
    out = subprocess.run([kels, "mfcc", "--preset", "kaldi", "-j", str(threads), "--list", listing,
                          "--format", "ark", "-o", "/dev/null"],
                         check=True, capture_output=True, text=True).stderr
    m = SUMMARY.search(out)
    if not m:
        sys.exit("no summary from kels: " + out)
    return float(m.group(1)), float(m.group(2)), float(m.group(3)), int(m.group(4))


def run_torchaudio(copies):
    torch.set_num_threads(1)
    waves = []
    for path in UTTS:
        wav, rate = torchaudio.load(path, normalize=False)
        waves.append((wav[:1].to(torch.float32), rate))
    audio, cpu = 0.0, 0.0
    for i in range(copies):
        wav, rate = waves[i % len(waves)]
        start = time.process_time()
        torchaudio.compliance.kaldi.mfcc(wav, sample_frequency=rate, dither=0.0, energy_floor=0.0,
                                         use_energy=True, num_ceps=13, num_mel_bins=23,
                                         cepstral_lifter=22.0)
        cpu += time.process_time() - start
        audio += wav.shape[1] / rate
    return audio, cpu


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--kels", default=os.path.join(ROOT, "build", "tools", "kels"))
    ap.add_argument("--copies", type=int, default=200, help="files processed by each side")
    ap.add_argument("--repeats", type=int, default=3, help="best of this many runs")
    args = ap.parse_args()

    with tempfile.NamedTemporaryFile("w", suffix=".list", delete=False) as f:
        for i in range(args.copies):
            f.write("u%d %s\n" % (i, UTTS[i % len(UTTS)]))
        listing = f.name
    try:
        run_torchaudio(3)  # warm-up: first calls build windows and banks
        ta = min((run_torchaudio(args.copies) for _ in range(args.repeats)), key=lambda r: r[1])
        k1 = min((run_kels(args.kels, listing, 1) for _ in range(args.repeats)), key=lambda r: r[2])
        kn = min((run_kels(args.kels, listing, os.cpu_count() or 1) for _ in range(args.repeats)),
                 key=lambda r: r[1])
    finally:
        os.unlink(listing)

    ta_rate = ta[0] / ta[1]
    k_rate = k1[0] / k1[2]
    print("audio: %.1f s in %d files" % (ta[0], args.copies))
    print("torchaudio, 1 thread : %8.0f audio s per CPU s  (%.2f us per 10 ms of audio)"
          % (ta_rate, 1e6 * ta[1] / (ta[0] * 100)))
    print("kels,       1 thread : %8.0f audio s per CPU s  (%.2f us per 10 ms of audio)"
          % (k_rate, 1e6 * k1[2] / (k1[0] * 100)))
    print("ratio kels / torchaudio (CPU, 1 thread): %.2fx" % (k_rate / ta_rate))
    print("kels, %d threads      : %8.0f audio s per wall s (%.3f s wall, %.3f s CPU)"
          % (kn[3], kn[0] / kn[1], kn[1], kn[2]))


if __name__ == "__main__":
    main()
