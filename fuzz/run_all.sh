#!/usr/bin/env bash
# Runs every built fuzzer for the given seconds on a scratch copy of its seed corpus.
set -euo pipefail
build=${1:-build/fuzz}
secs=${2:-60}
here=$(cd "$(dirname "$0")" && pwd)
status=0
for f in "$build"/fuzz/*_fuzzer; do
  [ -x "$f" ] || continue
  name=$(basename "$f" _fuzzer)
  work=$(mktemp -d)
  [ -d "$here/corpus/$name" ] && cp -r "$here/corpus/$name/." "$work/"
  dict=()
  [ -f "$here/$name.dict" ] && dict=(-dict="$here/$name.dict")
  echo "== $name: ${secs}s"
  if ! "$f" "$work" "${dict[@]}" -max_total_time="$secs" -rss_limit_mb=2048 -print_final_stats=1 \
       -artifact_prefix="$build/crash-$name-" 2>"$build/$name.log"; then
    echo "FINDING in $name: see $build/$name.log"; status=1
  fi
  grep -E "stat::number_of_executed_units|Done" "$build/$name.log" | tail -2 || true
  rm -rf "$work"
done
exit $status
