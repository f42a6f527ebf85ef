#!/usr/bin/env bash
# check-install.sh BUILD_DIR: installs the build into a staging prefix and
# builds and runs a tiny consumer against it twice: through the CMake package
# and through pkg-config. Neither run sets LD_LIBRARY_PATH: the consumer finds
# the library through its own rpath, and the library its dependencies
# through theirs ($ORIGIN).
set -euo pipefail
build_dir=$(realpath "$1")
source_dir=$(realpath "$(dirname "$0")/..")
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT

echo "=== install and consumer check"
cmake --install "$build_dir" --prefix "$stage/prefix" >/dev/null

cmake -S "$source_dir/tests/consumer" -B "$stage/consumer" \
  -DCMAKE_PREFIX_PATH="$stage/prefix" >/dev/null
cmake --build "$stage/consumer" >/dev/null
pcdir=$(find "$stage/prefix" -name zel_secure_store.pc -printf '%h\n')
libdir=$(dirname "$pcdir")
env -u LD_LIBRARY_PATH "$stage/consumer/consumer"

export PKG_CONFIG_PATH="$pcdir"
# With --as-needed the program does not need the logging library itself,
# so that library must be found through the store library's RUNPATH.
# shellcheck disable=SC2046
g++ -std=c++17 "$source_dir/tests/consumer/consumer.cpp" -o "$stage/consumer-pc" \
  -Wl,--as-needed $(pkg-config --cflags --libs zel_secure_store) \
  -Wl,-rpath,"$libdir"
env -u LD_LIBRARY_PATH "$stage/consumer-pc"
