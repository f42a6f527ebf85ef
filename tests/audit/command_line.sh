#!/bin/sh
# command_line.sh DESIGN_MD AUDIT...: zel-wb-audit's command line as Debian
# expects it (--help on stdout, exit 0; a wrong option: the usage on
# stderr, nothing on stdout, exit 2; --accept of anything but a known
# limit: exit 2), and its known limits are the ones DESIGN_MD
# (whitebox/runtime/DESIGN.md) lists under "Known limits", both ways.
design=$1
shift  # the rest: the command, with an emulator in front where there is one
fail() { echo "FAIL: $*"; exit 1; }
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

"$@" --help >"$tmp/out" 2>"$tmp/err" || fail "--help exits $?"
grep -q '^usage: zel-wb-audit' "$tmp/out" && [ ! -s "$tmp/err" ] ||
  fail "--help prints no usage on stdout"
for args in "--bogus" "--traces" "--traces 0" "--accept dca" \
            "--accept nosuch" "--accept collision,dfa" "--attacks nosuch" \
            "--direction up" "--controls --target plain"; do
  # A cheap run in front, should the refusal be broken.
  # shellcheck disable=SC2086
  "$@" --attacks keyform --key-size 128 --direction enc $args \
    >"$tmp/out" 2>"$tmp/err"
  status=$?
  [ "$status" -eq 2 ] || fail "$args exits $status"
  [ ! -s "$tmp/out" ] && grep -q '^usage: zel-wb-audit' "$tmp/err" ||
    fail "$args: no usage on stderr alone"
done

"$@" --list-known-limits >"$tmp/limits" || fail "--list-known-limits"
cut -d' ' -f1 "$tmp/limits" | sort >"$tmp/tool"
# DESIGN.md: "## Known limits", then lines "- `name`: ..." up to the next
# heading.
sed -n '/^## Known limits/,/^## /s/^- `\([a-z0-9]*\)`.*/\1/p' "$design" |
  sort >"$tmp/design"
[ -s "$tmp/tool" ] || fail "no known limits listed"
diff "$tmp/tool" "$tmp/design" ||
  fail "zel-wb-audit --list-known-limits (<) and $design (>) differ"
echo "command line and known limits: ok"
