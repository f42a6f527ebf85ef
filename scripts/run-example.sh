#!/usr/bin/env bash
# run-example.sh: builds the library and the example, and runs the example
# (a keychain stored, listed, loaded back, checked and erased). Installs the
# Debian packages it needs first.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh example
cmake --preset example >/dev/null
cmake --build --preset example --target keychain_demo
./build/example/examples/keychain_demo
