#!/usr/bin/env bash
# key_material_test.sh ZEL_EGSK SOURCE_DIR WORK_DIR: the check values of
# zel-egsk and the key-material checks of configure.
#   - the committed check values of keys/ are the key check values that
#     OpenSSL computes from the raw development keys;
#   - new and wrap write a check value that check accepts under their seed
#     and refuses under another; make-check remakes it for a key without
#     one; nothing is overwritten;
#   - configure refuses mixed key material, development material in a
#     product build, a key in the other core's form, a product key without
#     check value, and a wrong IV length, each with its message (configure
#     only, in one reused throwaway tree); a key set of its own configures;
#   - the build's check step refuses a key set whose check value belongs to
#     another seed (a product key with another product's seed and IV), and
#     the library depends on it (CMake's dependency graph).
set -euo pipefail
egsk=$1 src=$2 work=$3
rm -rf "$work"
mkdir -p "$work"
cd "$work"
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }

# expect STATUS PATTERN COMMAND...: COMMAND exits with STATUS and its
# output matches the extended regular expression PATTERN.
expect() {
  local status=$1 pattern=$2 got=0
  shift 2
  "$@" >out.txt 2>&1 || got=$?
  if [ "$got" -ne "$status" ] ||
     { [ -n "$pattern" ] && ! tr -s '\n ' '  ' <out.txt | grep -Eq -- "$pattern"; }; then
    fail "$* exited $got, expected $status and /$pattern/:"
    sed 's/^/    /' out.txt | tail -15 >&2
  fi
}

kcv() {  # the key check value of a raw key file, by OpenSSL
  head -c 16 /dev/zero |
    openssl enc -aes-$(($(stat -c %s "$1") * 8))-ecb -nopad \
      -K "$(od -An -v -tx1 "$1" | tr -d ' \n')" | od -An -tx1 | tr -d ' \n' | cut -c1-16
}

# Check values against OpenSSL.
for pair in egsk.bin:egsk-raw.bin:128 egsk256.bin:egsk256-raw.bin:256; do
  IFS=: read -r protected raw bits <<<"$pair"
  [ "$(cat "$src/keys/$protected.check")" = "zel-egsk-check aes$bits $(kcv "$src/keys/$raw")" ] ||
    fail "keys/$protected.check is not the check value of keys/$raw"
done

# new, wrap, check, make-check.
mkdir -m 700 a b
expect 0 '' "$egsk" new --out-dir a
expect 0 '' "$egsk" new --out-dir b --key-bits 256
[ "$(stat -c %a a/wb_seed.bin a/egsk.bin)" = "600
600" ] || fail "new: the seed and the key are not mode 0600"
expect 0 '' "$egsk" check --seed a/wb_seed.bin --in a/egsk.bin
expect 1 'a/egsk.bin does not belong to the seed b/wb_seed.bin' \
  "$egsk" check --seed b/wb_seed.bin --in a/egsk.bin
expect 1 'does not belong to the seed' \
  "$egsk" check --seed a/wb_seed.bin --in a/egsk.bin --check b/egsk.bin.check
cp a/egsk.bin bare.bin
expect 1 'no check value for bare.bin .*make-check' \
  "$egsk" check --seed a/wb_seed.bin --in bare.bin
expect 0 "^$(cat a/egsk.bin.check)" "$egsk" make-check --seed a/wb_seed.bin --in bare.bin
cmp -s bare.bin.check a/egsk.bin.check || fail "make-check wrote another check value than new"
expect 1 'cannot create bare.bin.check' "$egsk" make-check --seed a/wb_seed.bin --in bare.bin
expect 1 'cannot create a/wb_seed.bin: File exists' "$egsk" new --out-dir a
head -c 32 /dev/urandom >raw.bin
expect 0 '' "$egsk" wrap --seed b/wb_seed.bin --in raw.bin --out w.bin
[ "$(cat w.bin.check)" = "zel-egsk-check aes256 $(kcv raw.bin)" ] ||
  fail "wrap: w.bin.check is not the check value of the raw key"
expect 0 '' "$egsk" check --seed b/wb_seed.bin --in w.bin
touch taken.bin.check
expect 1 'cannot create taken.bin.check' \
  "$egsk" wrap --seed b/wb_seed.bin --in raw.bin --out taken.bin
[ ! -e taken.bin ] || fail "wrap left a key without its check value"
expect 0 '^usage: zel-egsk' "$egsk" --help
expect 2 '^usage: zel-egsk' "$egsk" check --seed a/wb_seed.bin
expect 2 '--key-bits is 128 or 256' "$egsk" new --out-dir a --key-bits 192

# Configure checks, one throwaway tree, every key option given each time.
dev=$src/keys
configure() {  # configure CORE SEED EGSK UID PRODUCT_BUILD
  cmake -G "Unix Makefiles" -S "$src" -B tree -DZEL_BUILD_TESTS=OFF -DZEL_BUILD_EXAMPLES=OFF \
    -DZEL_WB_CORE="$1" -DZEL_WB_SEED_FILE="$2" -DZEL_EGSK_FILE="$3" \
    -DZEL_UID_FILE="$4" -DZEL_PRODUCT_BUILD="$5"
}
expect 1 'ZEL_EGSK_FILE \(.*/a/egsk.bin\) is a product store key and ZEL_UID_FILE .* is a product IV, but ZEL_WB_SEED_FILE \(.*/keys/wb_seed.bin\) is the development seed.*pass -DZEL_WB_SEED_FILE=.*/a/wb_seed.bin' \
  configure whitebox "$dev/wb_seed.bin" a/egsk.bin a/uid.bin OFF
expect 1 'ZEL_WB_SEED_FILE .* is a product seed, but ZEL_EGSK_FILE .* is the development store key and ZEL_UID_FILE .* is the development IV.*pass -DZEL_EGSK_FILE=.*/a/egsk.bin -DZEL_UID_FILE=.*/a/uid.bin' \
  configure whitebox a/wb_seed.bin "$dev/egsk.bin" "$dev/uid.bin" OFF
expect 1 'ZEL_UID_FILE .* is the development IV' \
  configure whitebox a/wb_seed.bin a/egsk.bin "$dev/uid.bin" OFF
expect 1 'ZEL_PRODUCT_BUILD=ON refuses the development key material.*ZEL_WB_SEED_FILE .* is the development seed and ZEL_EGSK_FILE' \
  configure whitebox "$dev/wb_seed.bin" "$dev/egsk.bin" "$dev/uid.bin" ON
expect 1 'ZEL_PRODUCT_BUILD=ON refuses.*ZEL_EGSK_FILE .* is the development store key and ZEL_UID_FILE' \
  configure reference "$dev/wb_seed.bin" "$dev/egsk-raw.bin" "$dev/uid.bin" ON
cp a/egsk.bin bare2.bin
expect 1 'bare2.bin\) has no check value .*zel-egsk make-check' \
  configure whitebox a/wb_seed.bin bare2.bin a/uid.bin OFF
expect 1 'is a protected key .*zel-egsk unwrap' \
  configure reference a/wb_seed.bin a/egsk.bin a/uid.bin OFF
expect 1 'development store key in the white-box core.s protected form' \
  configure reference "$dev/wb_seed.bin" "$dev/egsk.bin" "$dev/uid.bin" OFF
expect 1 'is the raw development store key' \
  configure whitebox "$dev/wb_seed.bin" "$dev/egsk-raw.bin" "$dev/uid.bin" OFF
head -c 15 a/uid.bin >short-uid.bin
expect 1 'holds 15 bytes; the IV has 16' \
  configure whitebox a/wb_seed.bin a/egsk.bin short-uid.bin ON
head -c 24 raw.bin >raw24.bin
expect 1 'holds 24 bytes; the store key has 16 \(AES-128\) or 32' \
  configure reference a/wb_seed.bin raw24.bin a/uid.bin ON
expect 1 'no such file' configure whitebox a/wb_seed.bin missing.bin a/uid.bin ON

# A mixed set of two products passes configure; the build's check refuses it.
expect 0 'Key material: product.*store key +[0-9a-f]{8} ' \
  configure whitebox b/wb_seed.bin a/egsk.bin b/uid.bin ON
expect 2 'a/egsk.bin does not belong to the seed .*b/wb_seed.bin' \
  cmake --build tree --target zel_key_material_check -j2
echo 'set(GRAPHVIZ_CUSTOM_TARGETS TRUE)' >tree/CMakeGraphVizOptions.cmake
mkdir graph
expect 0 '' cmake --graphviz=graph/deps.dot tree
grep -q '// zel_secure_store -> zel_key_material_check' graph/deps.dot.zel_secure_store ||
  fail "the library does not depend on the key check"

[ "$failures" -eq 0 ] || { echo "$failures failures" >&2; exit 1; }
echo "key material checks passed"
