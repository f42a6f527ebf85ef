#!/usr/bin/env bash
# check-install.sh BUILD_DIR: installs the build into a staging prefix and
# builds and runs a tiny consumer against it twice: through the CMake package
# and through pkg-config. Neither run sets LD_LIBRARY_PATH: the consumer finds
# the library through its own run path (CMake's, or the one the .pc of a
# prefix install adds), and the library its dependencies through theirs
# ($ORIGIN).
set -euo pipefail
build_dir=$(realpath "$1")
source_dir=$(realpath "$(dirname "$0")/..")
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT

echo "=== install and consumer check"
cmake --install "$build_dir" --prefix "$stage/prefix" >/dev/null

# Outside Debug builds the installed library names nothing of the
# white-box core: no static symbol table, no section that marks the
# tables, no internal name among the dynamic symbols.
lib=$(find "$stage/prefix" -name 'libzel_secure_store.so*' -type f | head -1)
build_type=$(sed -n 's/^CMAKE_BUILD_TYPE:[A-Z]*=//p' "$build_dir/CMakeCache.txt")
if [ "$build_type" != Debug ]; then
  if readelf -S --wide "$lib" | grep -E '\.symtab|zel_wb_tables'; then
    echo "FAIL: $lib keeps a symbol table or names its tables" >&2; exit 1
  fi
  if nm -D --defined-only "$lib" | c++filt | grep -E 'zel_whitebox|zel_wb::'; then
    echo "FAIL: $lib exports white-box internals" >&2; exit 1
  fi
fi
# In every build the library exports its public classes and the key
# material's symbols only (source/zel_secure_store.map).
public='^(TZel|PKIWB_|(typeinfo (name )?|vtable )for (TZel|HevoContainer::)|_binary_)'
if nm -D --defined-only "$lib" | c++filt | sed -E 's/^[0-9a-f]* *[A-Za-z] //' |
   grep -vE "$public"; then
  echo "FAIL: $lib exports the names above, which are not its public API" >&2; exit 1
fi

cmake -S "$source_dir/tests/consumer" -B "$stage/consumer" \
  -DCMAKE_PREFIX_PATH="$stage/prefix" >/dev/null
cmake --build "$stage/consumer" >/dev/null
pcdir=$(find "$stage/prefix" -name zel_secure_store.pc -printf '%h\n')
libdir=$(dirname "$pcdir")
env -u LD_LIBRARY_PATH "$stage/consumer/consumer"

export PKG_CONFIG_PATH="$pcdir"
# With --as-needed the program does not need the logging library itself,
# so that library must be found through the store library's RUNPATH. The
# program's own run path comes from the .pc alone.
# shellcheck disable=SC2046
g++ -std=c++17 "$source_dir/tests/consumer/consumer.cpp" -o "$stage/consumer-pc" \
  -Wl,--as-needed $(pkg-config --cflags --libs zel_secure_store)
env -u LD_LIBRARY_PATH ldd "$stage/consumer-pc" | grep 'libzel_secure_store\.so' | grep -qF "$stage/" \
  || { echo "FAIL: the .pc of a prefix install gives no run path to $libdir" >&2; exit 1; }
env -u LD_LIBRARY_PATH "$stage/consumer-pc"
