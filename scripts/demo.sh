#!/usr/bin/env bash
# The main job on the bundled sample: MFCC features with deltas from three spoken sentences,
# an 8-component Gaussian mixture trained on them, and every utterance scored under it.
# Builds only the library and the kels program (installing CMake, Ninja and g++ from Debian if
# they are missing). KELSR_BUILD_DIR picks the build directory; results go to out/demo/.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${KELSR_BUILD_DIR:-build}

need=()
command -v cmake >/dev/null || need+=(cmake)
command -v ninja >/dev/null || need+=(ninja-build)
command -v g++ >/dev/null || need+=(g++)
if [ ${#need[@]} -gt 0 ]; then
  apt-get update -q && DEBIAN_FRONTEND=noninteractive apt-get install -y -q "${need[@]}"
fi

# An existing build directory keeps its settings; a fresh one needs no test or benchmark deps.
if [ ! -f "$dir/CMakeCache.txt" ]; then
  cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DKELSR_TESTS=OFF -DKELSR_BENCH=OFF >/dev/null
fi
cmake --build "$dir" --target kels
kels=$dir/tools/kels
out=out/demo
mkdir -p "$out"

echo
echo "== features: MFCC (Kaldi defaults) + deltas + delta-deltas"
"$kels" mfcc --preset kaldi --deltas 2 data/sample/*.wav -o "$out/feats.ark" 2>&1
echo
echo "== training: EM, growing 1 -> 8 Gaussians by splitting"
"$kels" gmm-train --components 8 "$out/feats.ark" -o "$out/model.gmm" 2>&1
echo
echo "== scoring: log-likelihood per utterance (frames, total, average per frame)"
"$kels" gmm-score "$out/model.gmm" "$out/feats.ark" -o "$out/scores.txt" 2>&1
column -t "$out/scores.txt" 2>/dev/null || cat "$out/scores.txt"
echo
echo "features: $out/feats.ark   model: $out/model.gmm   scores: $out/scores.txt"
