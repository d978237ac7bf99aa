#!/bin/bash
# Lines per second of `msgfilter classify` on a generated log.
#
#   bench/tool_throughput.sh BUILD_DIR [LINES]
#
# BUILD_DIR is a build configured with -DMSGFILTER_BUILD_BENCH=ON (a Release build for
# figures worth quoting). Generates LINES lines (default 1000000), then times classify
# in both output formats with the default rules, output thrown away. Prints wall-clock
# and CPU (user + system) time: on a busy machine the CPU figure is the steadier one.
set -euo pipefail
build=${1:?usage: tool_throughput.sh BUILD_DIR [LINES]}
lines=${2:-1000000}
tool="$build/tools/msgfilter"
generator="$build/bench/generate_tool_log"
log=$(mktemp "${TMPDIR:-/tmp}/msgfilter-bench.XXXXXX")
timing=$(mktemp "${TMPDIR:-/tmp}/msgfilter-time.XXXXXX")
trap 'rm -f "$log" "$timing"' EXIT

"$generator" "$lines" > "$log"
echo "log: $lines lines, $(wc -c < "$log") bytes"
TIMEFORMAT='%R %U %S'
for format in jsonl text; do
    { time "$tool" classify --format "$format" --color never "$log" > /dev/null 2>&1; } 2> "$timing"
    read -r real user system < "$timing"
    awk -v r="$real" -v u="$user" -v s="$system" -v n="$lines" -v f="$format" 'BEGIN {
        c = u + s
        printf "classify --format %-5s wall %6.2f s %9.0f lines/s   cpu %6.2f s %9.0f lines/s\n",
               f, r, n / r, c, n / c }'
done
