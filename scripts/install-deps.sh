#!/usr/bin/env bash
# Installs what building and testing need on a fresh Debian machine; does nothing when all of
# it is there already. With "example" it leaves out GoogleTest; with "consumer" it adds
# pkg-config; with "charts" what the pictures of docs/ are drawn with; with "fuzz" clang and
# its libFuzzer runtime; with "bench" it also installs what the benchmark compares against.
set -euo pipefail
need=()
have() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'ok installed'; }
for p in cmake g++ make binutils; do have "$p" || need+=("$p"); done
if [ "${1:-}" != example ]; then
  for p in googletest libgtest-dev libmpfr-dev; do have "$p" || need+=("$p"); done
fi
if [ "${1:-}" = consumer ]; then
  have pkg-config || have pkgconf || need+=(pkg-config)
fi
if [ "${1:-}" = charts ]; then
  for p in python3-matplotlib python3-numpy python3-pywt; do have "$p" || need+=("$p"); done
fi
if [ "${1:-}" = bench ]; then
  for p in libbenchmark-dev libfftw3-dev python3-pywt python3-numpy libopenblas-dev libopenblas0-pthread liblapack-dev; do have "$p" || need+=("$p"); done
fi
if [ "${1:-}" = fuzz ]; then
  for p in clang libclang-rt-14-dev; do have "$p" || need+=("$p"); done
fi
if [ ${#need[@]} -gt 0 ]; then
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${need[@]}"
fi
