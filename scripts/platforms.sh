#!/usr/bin/env bash
# The other targets CI checks: the whole suite on 32-bit x86, the Windows DLL's undecorated
# exports, and downstream use of the installed package (pkg-config and CMake).
# usage: scripts/platforms.sh [i386|dll|install]...   (all three by default)
set -euo pipefail
cd "$(dirname "$0")/.."

need=()
dpkg -s g++-multilib >/dev/null 2>&1 || need+=(g++-multilib)
dpkg -s g++-mingw-w64-i686 >/dev/null 2>&1 || need+=(g++-mingw-w64-i686)
dpkg -s googletest >/dev/null 2>&1 || need+=(googletest)
command -v pkg-config >/dev/null || need+=(pkg-config)
command -v ninja >/dev/null || need+=(ninja-build)
if [ ${#need[@]} -gt 0 ]; then
  apt-get update -q && DEBIAN_FRONTEND=noninteractive apt-get install -y -q "${need[@]}"
fi

i386() {
  cmake -S . -B build-i386 -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-i386.cmake \
        -DKELSR_BENCH=OFF
  cmake --build build-i386
  ctest --test-dir build-i386 --output-on-failure -j2
}

dll() {
  cmake -S . -B build-mingw -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-mingw-i686.cmake \
        -DKELSR_TESTS=OFF -DKELSR_BENCH=OFF -DKELSR_TOOLS=OFF
  cmake --build build-mingw --target kelsr
  sh tests/c_api/exports_match_header.sh build-mingw/kelsrt2.dll include cc i686-w64-mingw32-objdump
}

install_and_consume() {
  local prefix out
  prefix=$(mktemp -d) out=$(mktemp -d)
  cmake -S . -B build-install -G Ninja -DCMAKE_BUILD_TYPE=Release -DKELSR_TESTS=OFF \
        -DKELSR_BENCH=OFF -DKELSR_TOOLS=OFF -DCMAKE_INSTALL_PREFIX="$prefix"
  cmake --build build-install --target kelsr
  cmake --install build-install
  ls -l "$prefix"/lib*/libkelsr.so* 
  # pkg-config
  PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name kelsr.pc)") && export PKG_CONFIG_PATH
  cc -std=c99 -pedantic -Wall -Werror examples/version.c -o "$out/version-pc" \
     $(pkg-config --cflags --libs kelsr) -Wl,-rpath,"$(pkg-config --variable=libdir kelsr)"
  "$out/version-pc"
  # CMake package
  cmake -S examples/consumer -B "$out/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix"
  cmake --build "$out/cmake"
  "$out/cmake/version"
  rm -rf "$prefix" "$out"
}

steps=("$@")
[ ${#steps[@]} -gt 0 ] || steps=(i386 dll install)
for step in "${steps[@]}"; do
  echo "== $step"
  case $step in
    i386) i386 ;;
    dll) dll ;;
    install) install_and_consume ;;
    *) echo "unknown step $step"; exit 2 ;;
  esac
done
