#!/usr/bin/env bash
# Synthesises the bundled speech sample: three short utterances from espeak-ng, resampled to
# 16 kHz 16-bit mono with sox. The WAV files are committed; run this only to remake them.
set -euo pipefail
cd "$(dirname "$0")/sample"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

say() {  # say ID VOICE TEXT
  espeak-ng -v "$2" -s 150 -w "$tmp/$1.wav" "$3"
  sox "$tmp/$1.wav" -r 16000 -b 16 -c 1 "$1.wav"
}
say utt1 en-us "The quick brown fox jumps over the lazy dog, and then it runs away."
say utt2 en "Seven large fish swam under the old stone bridge early this morning."
say utt3 en-us+f3 "Speech recognition turns sound into words, one frame at a time."
