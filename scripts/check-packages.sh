#!/usr/bin/env bash
# check-packages.sh BUILD_DIR...: makes the Debian packages of each built
# tree with `cpack -G DEB` and checks them as a device maker's machine sees
# them:
#   - lintian reports no error in any package (its warnings are printed);
#   - every file of the install is in a package;
#   - the control data: the target's architecture, dependencies on the
#     target's own libc and libstdc++ (never the biarch lib32 ones), the
#     runtime package's shlibs file and ldconfig trigger, the development
#     package's dependency on the runtime package of the same version;
#   - the runtime and development packages unpacked into a directory: the
#     consumer (tests/consumer) builds against them through the CMake
#     package and through pkg-config, and runs;
#   - for a tree of this machine's architecture, as root: the packages
#     installed with dpkg, the consumer built against /usr and run without
#     any library path, the packages purged, nothing of them left;
#   - packaging the first tree a second time gives byte-identical .debs.
set -euo pipefail
source_dir=$(realpath "$(dirname "$0")/..")
work=$(mktemp -d)
installed=()
cleanup() {
  if [ "${#installed[@]}" -gt 0 ]; then dpkg --purge "${installed[@]}" >/dev/null || true; fi
  rm -rf "$work"
}
trap cleanup EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

runtime_name=libzel-secure-store1
dev_name=libzel-secure-store-dev

# make_packages BUILD_DIR OUT: the .debs of BUILD_DIR in OUT.
make_packages() {
  mkdir -p "$2"
  if ! (cd "$1" && cpack -G DEB -B "$2") >"$2.log" 2>&1; then
    cat "$2.log" >&2; fail "cpack in $1"
  fi
  rm -rf "$2/_CPack_Packages"
}

# check_control OUT ARCH: the control data of the packages in OUT.
check_control() {
  local out=$1 arch=$2 deb version depends shlibs
  for deb in "$out"/*.deb; do
    [ "$(dpkg-deb -f "$deb" Architecture)" = "$arch" ] || fail "$deb is not $arch"
    depends=$(dpkg-deb -f "$deb" Depends)
    if grep -qE 'lib32|libc6-i386|libc6-amd64' <<<"$depends"; then
      fail "$deb depends on a biarch library: $depends"
    fi
    if dpkg-deb -c "$deb" | awk '{print $6}' | grep -vE '^\./(usr/.*)?$'; then
      fail "$deb installs outside /usr"
    fi
  done
  deb=$(echo "$out/${runtime_name}_"*.deb)
  version=$(dpkg-deb -f "$deb" Version)
  depends=$(dpkg-deb -f "$deb" Depends)
  grep -qE '(^|, )libc6 \(>= ' <<<"$depends" || fail "$deb: no libc6 dependency: $depends"
  grep -qE '(^|, )libstdc\+\+6 \(>= ' <<<"$depends" || fail "$deb: no libstdc++6 dependency: $depends"
  shlibs=$(dpkg-deb --ctrl-tarfile "$deb" | tar -xOf - ./shlibs 2>/dev/null || true)
  for lib in libzel_secure_store libhevo_base libzel_logging; do
    grep -qxF "$lib 1 $runtime_name (>= $version)" <<<"$shlibs" \
      || fail "$deb: shlibs has no line for $lib: '$shlibs'"
  done
  dpkg-deb --ctrl-tarfile "$deb" | tar -xOf - ./triggers 2>/dev/null \
    | grep -qx 'activate-noawait ldconfig' || fail "$deb: no ldconfig trigger"
  deb=$(echo "$out/${dev_name}_"*.deb)
  dpkg-deb -f "$deb" Depends | grep -qF "$runtime_name (= $version)" \
    || fail "$deb does not depend on $runtime_name (= $version)"
}

# build_consumer PREFIX DIR ARCH EMULATOR [CMAKE ARGS...]: builds and runs
# the consumer against PREFIX through the CMake package and through
# pkg-config (with LD_LIBRARY_PATH where PREFIX is not /usr: the .pc of the
# packages carries no run path).
build_consumer() {
  local prefix=$1 dir=$2 arch=$3 run=() cxxflags=
  if [ -n "$4" ]; then run=("$4"); fi
  shift 4
  cmake -S "$source_dir/tests/consumer" -B "$dir" -DCMAKE_PREFIX_PATH="$prefix" "$@" >/dev/null
  cmake --build "$dir" >/dev/null
  env -u LD_LIBRARY_PATH "${run[@]}" "$dir/consumer"
  local pc
  pc=$(find "$prefix/lib" -maxdepth 3 -path '*/pkgconfig/zel_secure_store.pc')
  [ -n "$pc" ] || fail "no zel_secure_store.pc under $prefix/lib"
  if grep -n rpath "$pc"; then fail "$pc: the packaged .pc carries a run path"; fi
  if [ "$arch" = i386 ]; then cxxflags=-m32; fi
  local pc_path=
  if [ "$prefix" != /usr ]; then pc_path=$(dirname "$pc"); fi
  # shellcheck disable=SC2046
  g++ -std=c++17 $cxxflags "$source_dir/tests/consumer/consumer.cpp" -o "$dir/consumer-pc" \
    $(PKG_CONFIG_PATH=$pc_path pkg-config --cflags --libs zel_secure_store)
  if [ "$prefix" = /usr ]; then
    env -u LD_LIBRARY_PATH "${run[@]}" "$dir/consumer-pc"
  else
    env LD_LIBRARY_PATH="$(dirname "$(dirname "$pc")")" "${run[@]}" "$dir/consumer-pc"
  fi
}

# check_complete BUILD_DIR OUT: every file that `cmake --install` puts
# under /usr is in one of the packages (manual pages gzipped there).
check_complete() {
  local stage="$work/complete" missing
  rm -rf "$stage"
  DESTDIR="$stage" cmake --install "$1" --prefix /usr >/dev/null
  missing=$(comm -23 \
    <(cd "$stage" && find . ! -type d | sed -E 's#^\.##; s#(/share/man/.*[^z])$#\1.gz#' | sort) \
    <(for deb in "$2"/*.deb; do dpkg-deb -c "$deb"; done | awk '$1 !~ /^d/ {print substr($6, 2)}' | sort -u))
  [ -z "$missing" ] || fail "installed files that no package holds: $missing"
  rm -rf "$stage"
}

# install_for_real OUT: dpkg -i, the consumer against /usr, dpkg --purge.
install_for_real() {
  local out=$1 deb names=() name
  for deb in "$out"/*.deb; do names+=("$(dpkg-deb -f "$deb" Package)"); done
  for name in "${names[@]}"; do
    if dpkg-query -W -f='${Status}' "$name" 2>/dev/null | grep -q installed; then
      fail "$name is already installed on this machine: purge it first"
    fi
  done
  echo "--- dpkg -i ${names[*]}"
  installed=("${names[@]}")
  dpkg -i "$out"/*.deb >/dev/null
  # grep reads the whole cache: with -q it would stop at the match and
  # ldconfig, still writing, would die of SIGPIPE and fail the pipeline.
  ldconfig -p | grep 'libzel_secure_store\.so\.1 ' >/dev/null || fail "ldconfig does not know the library"
  build_consumer /usr "$work/system-consumer" "$(dpkg --print-architecture)" ""
  dpkg --purge "${names[@]}" >/dev/null
  installed=()
  local file
  for deb in "$out"/*.deb; do
    while read -r file; do
      if [ -e "$file" ] || [ -L "$file" ]; then fail "$file is left after the purge"; fi
    done < <(dpkg-deb -c "$deb" | awk '$1 !~ /^d/ {print substr($6, 2)}')
  done
}

first=
for build_dir in "$@"; do
  build_dir=$(realpath "$build_dir")
  name=$(basename "$build_dir")
  out="$work/$name/debs"
  echo "=== Debian packages of $name"
  make_packages "$build_dir" "$out"
  first=${first:-$build_dir}
  (cd "$out" && for deb in *.deb; do printf '  %-60s %8s bytes\n' "$deb" "$(stat -c %s "$deb")"; done)

  lib=$(find "$build_dir/source" -maxdepth 1 -name 'libzel_secure_store.so.*.*' | head -1)
  case $(file -b "$lib") in
    *"ELF 32-bit"*"Intel 80386"*) arch=i386 ;;
    *"ELF 64-bit"*"x86-64"*) arch=amd64 ;;
    *) fail "unknown architecture of $lib" ;;
  esac
  check_control "$out" "$arch"
  check_complete "$build_dir" "$out"

  echo "--- lintian (errors fail, warnings are listed)"
  lintian_ok=yes
  lintian --fail-on error --tag-display-limit 0 "$out"/*.deb >"$out.lintian" 2>&1 || lintian_ok=no
  grep -v 'running with root privileges' "$out.lintian" || true
  [ "$lintian_ok" = yes ] || fail "lintian reports errors in $name's packages"

  echo "--- consumer against the unpacked packages"
  root="$work/$name/root"
  for deb in "$out/${runtime_name}_"*.deb "$out/${dev_name}_"*.deb; do dpkg-deb -x "$deb" "$root"; done
  toolchain=$(sed -n 's/^CMAKE_TOOLCHAIN_FILE:[A-Z]*=//p' "$build_dir/CMakeCache.txt")
  emulator=$(sed -n 's/^ZEL_QEMU_USER:[A-Z]*=//p' "$build_dir/CMakeCache.txt")
  build_consumer "$root/usr" "$work/$name/consumer" "$arch" "$emulator" \
    ${toolchain:+-DCMAKE_TOOLCHAIN_FILE="$toolchain"}

  if [ "$arch" = "$(dpkg --print-architecture)" ] && [ "$(id -u)" -eq 0 ]; then
    install_for_real "$out"
  fi
done

if [ -n "$first" ]; then
  echo "=== packaging $(basename "$first") again gives the same bytes"
  make_packages "$first" "$work/again"
  for deb in "$work/$(basename "$first")/debs"/*.deb; do
    cmp "$deb" "$work/again/$(basename "$deb")" || fail "$(basename "$deb") differs between two runs"
  done
fi
echo "=== packages checked"
