#!/usr/bin/env bash
# The main job: runs the zevutil program on the bundled sample data and says where the results are.
set -euo pipefail
build=${1:-build/default}
zev="$build/tools/zevutil/zevutil"
here=$(cd "$(dirname "$0")" && pwd)
out="$build/demo"
mkdir -p "$out"
echo "== zevutil --version"
"$zev" --version
for step in "$here"/demo.d/*.sh; do
  [ -f "$step" ] || continue
  # shellcheck source=/dev/null
  source "$step"
done
echo
echo "Demo results are in $out"
