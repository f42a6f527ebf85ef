#!/usr/bin/env bash
# install-deps.sh: installs the Debian packages that building and testing
# need, when they are missing. Run as root on Debian 12.
#   scripts/install-deps.sh [example|all]
set -euo pipefail

packages_example=(cmake make g++ pkg-config)
# Tests: GoogleTest and GoogleMock sources (built per target), nlohmann-json
# for the vector files, the 32-bit toolchain and qemu-user (runs the i386
# tests where the kernel cannot run 32-bit programs), OpenSSL for the
# benchmarks' baseline, Google Benchmark, clang for the fuzz target, strace
# and python3 for the crash-consistency driver, util-linux for the mounts of
# the reliability tests, the openssl command for the key check values.
packages_all=("${packages_example[@]}" googletest nlohmann-json3-dev g++-multilib
  qemu-user libssl-dev libbenchmark-dev clang libclang-rt-dev strace python3
  util-linux openssl)

case "${1:-all}" in
  example) wanted=("${packages_example[@]}") ;;
  all) wanted=("${packages_all[@]}") ;;
  *) echo "usage: $0 [example|all]" >&2; exit 2 ;;
esac

missing=()
for package in "${wanted[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$package")
  fi
done
if [ "${#missing[@]}" -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}"
if [ "$(id -u)" -ne 0 ]; then
  echo "Missing packages and not root: run as root, or install them: ${missing[*]}" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}"
