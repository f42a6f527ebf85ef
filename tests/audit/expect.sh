#!/bin/sh
# expect.sh STATUS [ERE]... -- COMMAND [ARG]...: runs COMMAND, shows its
# output, and passes when it exits with STATUS and its output (stdout and
# stderr) matches every ERE.
status=$1
shift
patterns=""
while [ "$1" != "--" ]; do
  patterns="$patterns
$1"
  shift
done
shift
out=$("$@" 2>&1)
got=$?
printf '%s\n' "$out"
[ "$got" -eq "$status" ] || { echo "FAIL: exit status $got, expected $status"; exit 1; }
printf '%s\n' "$patterns" | while IFS= read -r ere; do
  [ -z "$ere" ] && continue
  printf '%s\n' "$out" | grep -Eq -- "$ere" || { echo "FAIL: no line matches: $ere"; exit 1; }
done
