#!/usr/bin/env bash
# Counts matching lines of the same 10 MB English-and-numbers file with `zevutil grep -c`
# and GNU `grep -E -c` (byte locale), pattern by pattern: prints each one's MB/s (CPU time
# of the process, best of three, so that a busy machine disturbs it less), the ratio
# (ours / GNU) and whether the counts agree. Exit status 1 when a count differs.
#   bench/grep_vs_gnu.sh [path/to/zevutil] [megabytes]
set -euo pipefail
zev=${1:-build/default/tools/zevutil/zevutil}
mb=${2:-10}
[ -x "$zev" ] || { echo "no zevutil at $zev (build the default preset first)" >&2; exit 2; }
command -v grep >/dev/null || { echo "GNU grep not found" >&2; exit 2; }
exec python3 - "$zev" "$mb" <<'EOF'
import os, random, resource, subprocess, sys, tempfile

zev, mb = sys.argv[1], int(sys.argv[2])
words = ("the of and a to in is was for on with as by at from base called trace peak signal quality "
         "capillary run sample dye mobility spectral calibration matrix noise baseline height width "
         "spacing analysis sequence fragment size standard ladder allele marker panel instrument voltage "
         "current temperature injection polymer array channel scan data raw processed mixed edited "
         "trimmed clear range low high start stop read length score value result project plate well").split()
rng = random.Random(11)
weights = [0.92 ** i for i in range(len(words))]
out, line = [], []
size = 0
while size < mb * 1000 * 1000:
    roll = rng.randrange(100)
    if roll < 6:
        w = str(rng.randrange(5000)) + ("." + str(rng.randrange(100)) if roll < 2 else "")
    else:
        w = rng.choices(words, weights)[0]
        if roll == 99:
            w = w.capitalize()
    p = rng.randrange(20)
    w += "," if p == 0 else "." if p == 1 else ""
    line.append(w)
    if sum(len(x) + 1 for x in line) > 60 + rng.randrange(20):
        text = " ".join(line) + "\n"
        out.append(text)
        size += len(text)
        line = []
data = "".join(out).encode()

patterns = [
    ("capillary", False), (".*spectral", False), ("[0-9]+", False), ("[a-z]+ing", False),
    ("ladder|allele|marker", False), ("([a-z]+) (of|in|at) ([a-z]+)", False),
    ("[a-z]+ed (data|scan|trace)", False), ("^the", False), ("^[a-z]+ [0-9]+", False),
    ("[a-z][a-z0-9]*:", False), ("[0-9]+\\.[0-9]+", False), ("CAPILLARY|matrix", True),
]

def run(cmd):
    """Best CPU time of three runs, and the count printed."""
    best, count = None, None
    for _ in range(3):
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        r = subprocess.run(cmd, stdout=subprocess.PIPE, env=dict(os.environ, LC_ALL="C"))
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        if r.returncode not in (0, 1):
            sys.exit("failed: " + " ".join(cmd))
        t = (after.ru_utime - before.ru_utime) + (after.ru_stime - before.ru_stime)
        best = t if best is None else min(best, t)
        count = int(r.stdout.split()[-1])
    return max(best, 1e-4), count

with tempfile.NamedTemporaryFile(suffix=".txt") as f:
    f.write(data)
    f.flush()
    megabytes = len(data) / 1e6
    print(f"{'pattern':<34} {'zevutil MB/s':>12} {'GNU MB/s':>10} {'ratio':>7}  lines")
    status, worst = 0, None
    for pattern, fold in patterns:
        flags = ["-i"] if fold else []
        ours, n1 = run([zev, "grep", "-c", *flags, pattern, f.name])
        gnu, n2 = run(["grep", "-E", "-c", *flags, pattern, f.name])
        ratio = gnu / ours
        worst = ratio if worst is None else min(worst, ratio)
        shown = pattern + (" (-i)" if fold else "")
        note = "" if n1 == n2 else f"  COUNTS DIFFER (GNU {n2})"
        status |= n1 != n2
        print(f"{shown:<34} {megabytes / ours:12.1f} {megabytes / gnu:10.1f} {ratio:6.2f}x  {n1}{note}")
    print(f"worst ratio (zevutil / GNU grep): {worst:.2f}x")
    sys.exit(status)
EOF
