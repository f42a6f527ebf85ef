#!/usr/bin/env bash
# The migration command of a bound build, end to end: an unbound build
# stores a keychain; the bound zel-keychain migrates its four files; the
# bound build then loads them, the unbound one no longer can, and a second
# migration finds them bound already.
#   migrate_command_test.sh UNBOUND_TOOL BOUND_TOOL ZEL_KEYCHAIN [EMULATOR...]
set -euo pipefail
unbound=$1 bound=$2 command=$3
shift 3
run=("$@")  # the build's emulator, if any
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export ZEL_HOST_SECRET=$work/secret/host.secret
storage=$work/storage
expect() {  # expect WHAT WANTED GOT
  if [ "$2" != "$3" ]; then printf 'FAIL %s:\n want: %s\n got:  %s\n' "$1" "$2" "$3"; exit 1; fi
}
all_old=$'.ca.crt.enc old\n.crt.enc old\n.key.enc old\n.pem.enc old'

expect "unbound store" "returned 1" "$("${run[@]}" "$unbound" "$storage" store old)"
expect "bound load before migrating" \
  $'.ca.crt.enc missing\n.crt.enc missing\n.key.enc missing\n.pem.enc missing' \
  "$("${run[@]}" "$bound" "$storage" load 2>/dev/null)"
expect "migrate" "migrated 4 item files to the binding host; 0 were bound already, 0 failed" \
  "$("${run[@]}" "$command" --storage "$storage" migrate)"
expect "bound load" "$all_old" "$("${run[@]}" "$bound" "$storage" load)"
expect "unbound load" $'.ca.crt.enc other\n.crt.enc other\n.key.enc other\n.pem.enc other' \
  "$("${run[@]}" "$unbound" "$storage" load 2>/dev/null)"
expect "migrate again" "migrated 0 item files to the binding host; 4 were bound already, 0 failed" \
  "$("${run[@]}" "$command" --storage "$storage" migrate)"
echo "migration command: ok"
