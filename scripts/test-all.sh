#!/usr/bin/env bash
# test-all.sh: builds the library and runs every test, as CI does:
#   - x86_64, warnings as errors, with the white-box core and with the
#     reference core
#   - x86_64 as a product builds it: a product key set made by zel-egsk
#     (fresh in a clean tree) in build/product/keys, ZEL_PRODUCT_BUILD=ON;
#     the tests tied to the development keys skip
#   - i386, the device's target, as a cross build: its build-time programs
#     are built for this host, and its tests run natively or, where this
#     host cannot run 32-bit programs, through qemu-user
#   - x86_64 with AddressSanitizer and UndefinedBehaviorSanitizer
#   - the device binding (ZEL_DEVICE_BINDING), x86_64 and i386: the bound
#     libraries of every mode and the binding's tests
#   - a consumer built against the installed tree (CMake package and
#     pkg-config)
#   - the Debian packages of the x86_64 and i386 trees: lintian, the
#     consumer against the unpacked development package, and the amd64
#     packages installed and purged
#   - a libFuzzer run of 60 s over the item-file reader
# Installs the Debian packages it needs first. Exits non-zero on any failure.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh all

run_preset() {
  local preset=$1
  echo "=== ${preset}: configure, build, test"
  cmake --preset "${preset}" >/dev/null
  cmake --build --preset "${preset}"
  ctest --preset "${preset}"
}

run_preset default
run_preset reference
if [ ! -f build/product/keys/uid.bin ]; then  # new writes uid.bin last
  rm -rf build/product/keys
  mkdir -p build/product
  mkdir -m 700 build/product/keys
  build/default/tools/zel-egsk/zel-egsk new --out-dir build/product/keys
fi
run_preset product
run_preset i386
run_preset asan
run_preset binding
run_preset i386-binding
bash scripts/check-install.sh build/default
bash scripts/check-packages.sh build/default build/i386
bash scripts/fuzz-short.sh 60
echo "=== benchmarks: build only (run them with the bench preset)"
cmake --preset bench >/dev/null
cmake --build --preset bench

echo "=== all tests passed"
