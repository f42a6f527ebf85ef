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
# the reliability tests. The TPM 2.0 binding: the tpm2-tss headers (its
# build), the tpm2-tss libraries it loads at run time with their device and
# swtpm transports, swtpm as the tests' TPM and tpm2-tools to check on it.
# For the Debian packages: dpkg-dev (dpkg-shlibdeps), file (CPack sorts the
# files with it), lintian, and the i386 C and C++ runtime, whose shlibs and
# symbols files give the i386 packages their dependencies (the biarch lib32
# copies would give wrong ones). The openssl command checks the key check
# values.
packages_all=("${packages_example[@]}" googletest nlohmann-json3-dev g++-multilib
  qemu-user libssl-dev libbenchmark-dev clang libclang-rt-dev strace python3
  util-linux libtss2-dev libtss2-esys-3.0.2-0 libtss2-tctildr0 libtss2-sys1
  libtss2-tcti-device0 libtss2-tcti-swtpm0 swtpm swtpm-tools tpm2-tools
  dpkg-dev file lintian libc6:i386 libgcc-s1:i386 libstdc++6:i386
  openssl)

case "${1:-all}" in
  example) wanted=("${packages_example[@]}") ;;
  all) wanted=("${packages_all[@]}") ;;
  *) echo "usage: $0 [example|all]" >&2; exit 2 ;;
esac

# fetch_i386_libcrypto: the bound 32-bit tests (preset i386-binding) load
# Debian's i386 libcrypto at run time, from I386_LIBCRYPTO_DIR. It is
# unpacked there, not installed: dpkg installs an i386 libssl3 beside the
# amd64 one only at exactly the same version, which the mirror does not
# always offer. apt fetches it with lists of its own, leaving the system's
# architectures and lists alone.
I386_LIBCRYPTO_DIR=/var/cache/zel_secure_store/i386-libcrypto
fetch_i386_libcrypto() {
  [ -e "${I386_LIBCRYPTO_DIR}/libcrypto.so.3" ] && return 0
  echo "Fetching Debian's i386 libcrypto into ${I386_LIBCRYPTO_DIR}"
  local work
  work=$(mktemp -d)
  chmod 755 "$work"  # apt downloads as its own user
  local apt=(apt-get -q -o APT::Sandbox::User=root -o APT::Architecture=i386 -o APT::Architectures::=i386
             -o Dir::State::status=/dev/null -o Dir::State::Lists="$work/lists"
             -o Dir::Cache="$work/cache")
  mkdir -p "$work/lists/partial" "$work/cache/archives/partial"
  # An index that fails to download (a mirror being synced) is not fatal
  # while another one holds the package.
  "${apt[@]}" update >"$work/update.log" 2>&1 || cat "$work/update.log" >&2
  (cd "$work" && "${apt[@]}" download libssl3 >/dev/null)
  dpkg-deb -x "$work"/libssl3_*_i386.deb "$work/root"
  mkdir -p "${I386_LIBCRYPTO_DIR}"
  cp "$work"/root/usr/lib/i386-linux-gnu/libcrypto.so.3 "${I386_LIBCRYPTO_DIR}/"
  rm -rf "$work"
}

missing=()
for package in "${wanted[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$package")
  fi
done
if [ "${#missing[@]}" -eq 0 ]; then
  if [ "${1:-all}" = all ]; then fetch_i386_libcrypto; fi
  exit 0
fi

echo "Installing: ${missing[*]}"
if [ "$(id -u)" -ne 0 ]; then
  echo "Missing packages and not root: run as root, or install them: ${missing[*]}" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
for package in "${missing[@]}"; do
  case $package in
    *:i386)
      if ! dpkg --print-foreign-architectures | grep -qx i386 \
          && [ "$(dpkg --print-architecture)" != i386 ]; then
        dpkg --add-architecture i386
      fi ;;
  esac
done
# A mirror that is half synchronised fails one index now and then; the
# install below still fails if something it needs cannot be had.
apt-get update -qq || echo "install-deps: apt-get update reported errors; installing anyway" >&2
apt-get install -y -qq --no-install-recommends "${missing[@]}"
if [ "${1:-all}" = all ]; then fetch_i386_libcrypto; fi
