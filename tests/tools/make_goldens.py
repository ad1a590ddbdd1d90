#!/usr/bin/python3
"""Golden references for the kels tests, from independent implementations.

Features come from torchaudio.compliance.kaldi, run in double precision, (Kaldi's compute-mfcc-feats / compute-fbank-feats
defaults, dither 0, energy floor 0) on the bundled sample; mixture scores come from
scikit-learn's GaussianMixture fitted to those features. Everything is written to golden/ as
float32 .npy files plus one model in the kels text format, so the tests need neither torch nor
scikit-learn. Run with Debian's Python: /usr/bin/python3 tests/tools/make_goldens.py
"""
import math
import os
import sys

import numpy as np
import torch
import torchaudio
from sklearn.mixture import GaussianMixture

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, "..", ".."))
SAMPLE = os.path.join(ROOT, "data", "sample")
OUT = os.path.join(HERE, "golden")
UTTS = ["utt1", "utt2", "utt3"]
LOG_2PI = 1.8378770664093  # the library's value of ln(2*pi)

KALDI = dict(dither=0.0, energy_floor=0.0, preemphasis_coefficient=0.97,
             remove_dc_offset=True, round_to_power_of_two=True, snip_edges=True,
             window_type="povey", frame_length=25.0, frame_shift=10.0,
             low_freq=20.0, high_freq=0.0, num_mel_bins=23, raw_energy=True)


def load(name):
    # Kaldi works on 16-bit sample values, not on [-1, 1]. The reference runs in double
    # precision: a float32 run carries its own FFT rounding noise, which shows in mel bands far
    # below the frame energy (up to 2.4e-3 in c1..c12 on this sample).
    wav, rate = torchaudio.load(os.path.join(SAMPLE, name + ".wav"), normalize=False)
    assert wav.dtype == torch.int16, wav.dtype
    return wav[:1].to(torch.float64), rate


def save(name, mat):
    np.save(os.path.join(OUT, name + ".npy"), np.ascontiguousarray(mat, dtype=np.float32))


def write_model(path, gmm):
    weights, means, variances = gmm.weights_, gmm.means_, gmm.covariances_
    k, d = means.shape
    with open(path, "w") as f:
        f.write("kels-gmm diag\ndim %d\ncomponents %d\n" % (d, k))
        for j in range(k):
            gconst = d * LOG_2PI + float(np.sum(np.log(variances[j])))
            f.write("component %d\n" % j)
            f.write("weight %.9g\n" % weights[j])
            f.write("mean " + " ".join("%.9g" % v for v in means[j]) + "\n")
            f.write("var " + " ".join("%.9g" % v for v in variances[j]) + "\n")
            f.write("gconst %.9g\n" % gconst)


def main():
    torch.set_num_threads(1)
    os.makedirs(OUT, exist_ok=True)
    feats = []
    for utt in UTTS:
        wav, rate = load(utt)
        mfcc = torchaudio.compliance.kaldi.mfcc(wav, sample_frequency=rate, num_ceps=13,
                                                cepstral_lifter=22.0, use_energy=True, **KALDI)
        plain = torchaudio.compliance.kaldi.mfcc(wav, sample_frequency=rate, num_ceps=13,
                                                 cepstral_lifter=22.0, use_energy=False, **KALDI)
        fbank = torchaudio.compliance.kaldi.fbank(wav, sample_frequency=rate, use_energy=False,
                                                  use_power=True, use_log_fbank=True, **KALDI)
        magnitude = torchaudio.compliance.kaldi.fbank(wav, sample_frequency=rate, use_energy=True,
                                                      use_power=False, use_log_fbank=True, **KALDI)
        save("fbank_mag_" + utt, magnitude.numpy())
        save("mfcc_" + utt, mfcc.numpy())
        save("mfcc_c0_" + utt, plain.numpy())
        save("fbank_" + utt, fbank.numpy())
        feats.append(mfcc.numpy().astype(np.float64))

    # The model is fitted on the golden features; kels scores them with it and must agree with
    # scikit-learn's per-frame log-likelihoods.
    gmm = GaussianMixture(n_components=4, covariance_type="diag", random_state=0,
                          reg_covar=1e-3, max_iter=50).fit(np.concatenate(feats))
    write_model(os.path.join(OUT, "model.gmm"), gmm)
    for utt, x in zip(UTTS, feats):
        save("score_" + utt, gmm.score_samples(x)[:, None])
    print("goldens written to", OUT, file=sys.stderr)


if __name__ == "__main__":
    main()
