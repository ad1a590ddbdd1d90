#!/usr/bin/env bash
# Configure, build and run every test. KELSR_BUILD_DIR and KELSR_SANITIZE pick the variant.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${KELSR_BUILD_DIR:-build}
san=${KELSR_SANITIZE:-}

need=()
command -v cmake >/dev/null || need+=(cmake)
command -v ninja >/dev/null || need+=(ninja-build)
command -v g++ >/dev/null || need+=(g++)
[ -f /usr/include/gtest/gtest.h ] || need+=(libgtest-dev)
[ -f /usr/include/gmock/gmock.h ] || need+=(libgmock-dev)
if [ ${#need[@]} -gt 0 ]; then
  apt-get update -q && DEBIAN_FRONTEND=noninteractive apt-get install -y -q "${need[@]}"
fi

cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DKELSR_SANITIZE="$san" -DKELSR_BENCH=OFF
cmake --build "$dir"
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1} UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
ctest --test-dir "$dir" --output-on-failure -j2
