#!/usr/bin/env bash
# mutant-check.sh: breaks the library on purpose, one line at a time, and
# tells which breakages the test suite notices.
#
#   scripts/mutant-check.sh [build-dir] [ctest arguments...]
#
# Each line of scripts/mutants.tsv is "id<TAB>path<TAB>perl substitution".
# For each mutant the file is saved, the substitution is applied with
# `perl -0pi -e`, the dedicated build directory (default build/mutants,
# white-box core, warnings not fatal) is rebuilt incrementally and ctest
# runs (by default everything but the "audit" label; pass other
# ctest arguments to choose). The file is restored after each mutant and on
# any exit. Prints one line per mutant: killed, killed (build), SURVIVED or
# "did not apply". Exits non-zero when a mutant survived.
#
# The device binding has mutants of its own, run in a bound build:
#   ZEL_MUTANTS=scripts/mutants-binding.tsv \
#   ZEL_MUTANT_CMAKE_ARGS=-DZEL_DEVICE_BINDING=host \
#   scripts/mutant-check.sh build/mutants-binding -L binding
# and so have the TPM source (scripts/mutants-tpm2.tsv) and the white-box
# audit (scripts/mutants-audit.tsv); each file's first lines say how to run
# it.
#
# A developer tool: slow (one rebuild and test run per mutant), not run in
# CI.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${1:-build/mutants}
shift || true
ctest_args=("$@")
if [ "${#ctest_args[@]}" -eq 0 ]; then ctest_args=(-LE audit); fi

if [ ! -f "$build/CMakeCache.txt" ]; then
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DZEL_WARNINGS_AS_ERRORS=OFF -DZEL_BUILD_EXAMPLES=OFF ${ZEL_MUTANT_CMAKE_ARGS:-} >/dev/null
fi
cmake --build "$build" -j2 >/dev/null

saved=$(mktemp)
current=""
restore() {
  if [ -n "$current" ]; then cp "$saved" "$current"; current=""; fi
}
trap 'restore; rm -f "$saved"' EXIT INT TERM

survived=0
printf '%-34s %s\n' mutant result
while IFS=$'\t' read -r id path substitution; do
  [ -z "$id" ] && continue
  case "$id" in \#*) continue ;; esac
  cp "$path" "$saved"
  current=$path
  perl -0pi -e "$substitution" "$path"
  if cmp -s "$path" "$saved"; then
    result="did not apply"
  elif ! cmake --build "$build" -j2 >"$build/mutant-$id.log" 2>&1; then
    result="killed (build)"
  elif (cd "$build" && ctest -j2 --stop-on-failure "${ctest_args[@]}") \
      >>"$build/mutant-$id.log" 2>&1; then
    result="SURVIVED"
    survived=$((survived + 1))
  else
    result="killed"
  fi
  restore
  printf '%-34s %s\n' "$id" "$result"
done < "${ZEL_MUTANTS:-scripts/mutants.tsv}"

# Leave the build directory matching the unchanged sources.
cmake --build "$build" -j2 >/dev/null
[ "$survived" -eq 0 ]
