#!/usr/bin/env bash
# fuzz-short.sh: builds the item-file reader's fuzz target with clang and
# libFuzzer and runs it for a short while (60 seconds unless told
# otherwise), then prints how many inputs it ran:
#
#   scripts/fuzz-short.sh [SECONDS]
#
# The build lies in build/fuzz, apart from the presets' builds; the library
# is built with AddressSanitizer, UndefinedBehaviorSanitizer and coverage
# for the fuzzer. The seeds are the golden item files (tests/data/golden)
# and the inputs kept in tests/fuzz/corpus, only read; new inputs go to
# build/fuzz/corpus. A crash leaves its input as build/fuzz/crash-*: add it
# to tests/fuzz/corpus once fixed, and every test run replays it.
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
  cmake --build "${build}" --target zel_decrypt_fuzzer -j2

mkdir -p "${build}/corpus"
cd "${build}"
# Inputs of up to 128 bytes (8 blocks): every length-dependent step of the
# reader (size checks, the chain, the last block's padding, the blob's size)
# is reached well within that, and each block costs the same; longer
# inputs would only cut the executions per second.
LD_PRELOAD="${runtime}" \
  ./tests/fuzz/zel_decrypt_fuzzer -max_total_time="${seconds}" -max_len=128 \
  -print_final_stats=1 corpus ../../tests/fuzz/corpus ../../tests/data/golden 2>&1 |
  tee fuzz.log | grep -vE '^#[0-9]+\s+(NEW|REDUCE|pulse)'
executions=$(sed -n 's/^stat::number_of_executed_units: *//p' fuzz.log)
echo "=== fuzz: ${executions:-no} executions in ${seconds} s"
