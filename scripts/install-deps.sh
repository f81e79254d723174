#!/usr/bin/env bash
# Installs what building and testing need on a fresh Debian machine; does nothing when all of
# it is there already. With "bench" it also installs what the benchmark compares against,
# with "fuzz" clang and its libFuzzer runtime.
set -euo pipefail
need=()
have() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'ok installed'; }
for p in cmake g++ make googletest libgtest-dev binutils; do have "$p" || need+=("$p"); done
if [ "${1:-}" = bench ]; then
  for p in libbenchmark-dev libfftw3-dev python3-pywt python3-numpy; do have "$p" || need+=("$p"); done
fi
if [ "${1:-}" = fuzz ]; then
  for p in clang libclang-rt-14-dev; do have "$p" || need+=("$p"); done
fi
if [ ${#need[@]} -gt 0 ]; then
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${need[@]}"
fi
