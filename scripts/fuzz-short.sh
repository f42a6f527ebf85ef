#!/usr/bin/env bash
# fuzz-short.sh: builds the item-file fuzz target with clang and libFuzzer
# and runs it for a short while (60 seconds unless told otherwise):
#
#   scripts/fuzz-short.sh [SECONDS]
#
# The build lies in build/fuzz, apart from the presets' builds; the library
# is built with AddressSanitizer, UndefinedBehaviorSanitizer and coverage
# for the fuzzer. New inputs go to build/fuzz/corpus; the committed seeds in
# tests/fuzz/corpus are only read. A crash leaves its input as
# build/fuzz/crash-*: add it to tests/fuzz/corpus once fixed, and every test
# run replays it.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
build=build/fuzz

# The libraries are shared and linked with --no-undefined, so the
# sanitizers' runtime must be a shared library too; it is preloaded, as it
# has to come first among the libraries.
sanitize="-fsanitize=address,undefined -fno-sanitize-recover=all -shared-libasan"
CC=clang CXX=clang++ cmake -S . -B "${build}" \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DZEL_BUILD_FUZZER=ON -DZEL_BUILD_EXAMPLES=OFF -DZEL_WARNINGS_AS_ERRORS=ON \
  -DCMAKE_C_FLAGS="${sanitize} -fsanitize=fuzzer-no-link" \
  -DCMAKE_CXX_FLAGS="${sanitize} -fsanitize=fuzzer-no-link" \
  -DCMAKE_EXE_LINKER_FLAGS="${sanitize}" \
  -DCMAKE_SHARED_LINKER_FLAGS="${sanitize}" >/dev/null
runtime=$(clang -print-file-name=libclang_rt.asan-x86_64.so)
# The build runs a tool of its own (the white-box table generator), built
# with the same flags: it needs the shared sanitizer runtime too.
LD_LIBRARY_PATH="$(dirname "${runtime}")${LD_LIBRARY_PATH:+:${LD_LIBRARY_PATH}}" \
  cmake --build "${build}" --target zel_load_fuzzer -j2

mkdir -p "${build}/corpus"
cd "${build}"
LD_PRELOAD="${runtime}" \
  ./tests/fuzz/zel_load_fuzzer -max_total_time="${seconds}" -print_final_stats=1 \
  corpus ../../tests/fuzz/corpus
