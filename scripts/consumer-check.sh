#!/usr/bin/env bash
# Checks libhw as its users meet it: installs it into a temporary prefix, then builds and runs
# the C99 engine example (examples/engines.c, -std=c99 -Wall -Wextra -pedantic -Werror)
# against the installed copy through find_package(libhw CONFIG) and through pkg-config, and
# once more with the source tree taken in by add_subdirectory.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
bash scripts/install-deps.sh consumer
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix
cc=${CC:-cc}

echo "== install into $prefix =="
cmake -S . -B "$scratch/build" -DCMAKE_BUILD_TYPE=Release -DHW_BUILD_TESTS=OFF -DHW_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$scratch/build" -j "$(nproc)" >/dev/null
cmake --install "$scratch/build" --prefix "$prefix" >/dev/null
(cd "$prefix" && find . -type f -o -type l | sort)
soname=$(objdump -p "$prefix"/lib*/libhw.so | awk '$1 == "SONAME" { print $2 }')
[ "$soname" = libhw.so.0 ] || { echo "unexpected soname: $soname"; exit 1; }

echo "== find_package(libhw CONFIG) =="
cmake -S scripts/consumer -B "$scratch/cmake" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/cmake" >/dev/null
"$scratch/cmake/engines" | tail -1

echo "== pkg-config =="
export PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name libhw.pc)")
echo "libhw $(pkg-config --modversion libhw): $(pkg-config --cflags --libs libhw)"
# shellcheck disable=SC2046  # pkg-config prints several words on purpose
"$cc" -std=c99 -Wall -Wextra -pedantic -Werror $(pkg-config --cflags libhw) examples/engines.c \
  -o "$scratch/engines-pc" $(pkg-config --libs libhw) -lm -Wl,-rpath,"$(pkg-config --variable=libdir libhw)"
"$scratch/engines-pc" | tail -1

echo "== add_subdirectory =="
cmake -S scripts/consumer -B "$scratch/sub" -DLIBHW_SOURCE_DIR="$root" >/dev/null
cmake --build "$scratch/sub" -j "$(nproc)" >/dev/null
"$scratch/sub/engines" | tail -1
echo "consumer check passed"
