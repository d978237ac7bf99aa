#!/bin/bash
# The ratios the matching engine is judged by, all from one run on one generated log.
#
#   bench/engine_ratios.sh BUILD_DIR [LINES] [OLD_BUILD_DIR]
#
# BUILD_DIR is a Release build configured with -DMSGFILTER_BUILD_BENCH=ON. Generates LINES
# lines (default 1000000) with bench/generate_tool_log, then measures on that file:
#   - FindBestMatchRule on the 20-rule engine of bench_rules: the engine's one-pass scan
#     against the walk over all rules on QRegExp, patterns compiled once and per call;
#   - msgfilter classify --format text, on one thread and on two, against `rg -c -f` over
#     the default rule patterns (look-ahead removed, which rg does not take);
#   - classify --format jsonl against --format text;
#   - classify --format text with patterns on QRegExp alone against the automaton;
#   - msgfilter run feeding the file as one engine's output, in chunks of 64 KB and 8 MB,
#     in lines per second; with OLD_BUILD_DIR (a build of an earlier tree, tools/msgfilter
#     only) also that tree's run in 64 KB chunks, and the ratio of the two (its 8 MB run is
#     left out: an old tree may take minutes on it);
#   - classify's peak resident memory on about 10 MB and about 1 GB of log;
#   - bench_store: resident bytes per stored message at a million messages, and save and
#     load of that log against a bare stream writer and reader pass. Those four passes
#     run REPEATS times each in a random order; a ratio is that of the two medians.
# The timed commands run in REPEATS rounds (default 5), one after the other in each; a ratio
# is the median over the rounds of the ratio within a round. Wall-clock and CPU (user +
# system) time are both printed; on a busy machine the CPU figure is the steadier one.
set -euo pipefail
build=${1:?usage: engine_ratios.sh BUILD_DIR [LINES] [OLD_BUILD_DIR]}
lines=${2:-1000000}
old_build=${3:-}
repeats=${REPEATS:-5}
source_dir=$(cd "$(dirname "$0")/.." && pwd)
tool="$build/tools/msgfilter"
work=$(mktemp -d "${TMPDIR:-/tmp}/msgfilter-ratios.XXXXXX")
trap 'rm -rf "$work"' EXIT

"$build/bench/generate_tool_log" "$lines" > "$work/log"
echo "log: $lines lines, $(wc -c < "$work/log") bytes"

# The rule patterns as rg reads them: XML entities resolved, look-ahead groups (one level
# of nested parentheses at most in the default rules) taken out.
perl -0777 -ne 'while (/<FilterRule\b[^>]*\breg_patten="([^"]*)"/g) {
    my $p = $1;
    $p =~ s/&lt;/</g; $p =~ s/&gt;/>/g; $p =~ s/&quot;/"/g; $p =~ s/&apos;/\x27/g; $p =~ s/&amp;/&/g;
    $p =~ s/\(\?[=!](?:[^()]|\([^()]*\))*\)//g;
    print "$p\n";
}' "$source_dir/data/enginemsg.xml" > "$work/patterns"
echo "rule patterns for rg: $(wc -l < "$work/patterns")"

# time_once NAME COMMAND...: runs the command once, output discarded, and adds its wall and
# CPU (user + system) seconds to walls_NAME and cpus_NAME.
time_once() {
    local name=$1
    shift
    local real user system
    TIMEFORMAT='%R %U %S'
    { time "$@" > /dev/null 2>&1; } 2> "$work/time"
    read -r real user system < "$work/time"
    eval "walls_$name+=($real)"
    eval "cpus_$name+=($(awk -v u="$user" -v s="$system" 'BEGIN { printf "%.3f", u + s }'))"
}
median() { printf '%s\n' "$@" | sort -g | sed -n "$((($# + 1) / 2))p"; }
# ratio KIND A B: the median over the rounds of A's time over B's time in the same round
# (KIND walls or cpus). The commands of a round run one after the other, so a machine that
# slows down for a while slows both sides of a ratio alike.
ratio() {
    local -n first="$1_$2" second="$1_$3"
    local quotients=() round
    for round in "${!first[@]}"; do
        quotients+=("$(awk -v a="${first[round]}" -v b="${second[round]}" 'BEGIN { printf "%.4f", a / b }')")
    done
    median "${quotients[@]}"
}
report() {
    local -n walls="walls_$1" cpus="cpus_$1"
    printf '%-24s wall %7.3f s   cpu %7.3f s   (medians of %d; walls %s)\n' "$1" \
        "$(median "${walls[@]}")" "$(median "${cpus[@]}")" "${#walls[@]}" "${walls[*]}"
}

# One implementation whose single engine prints the whole log, fed in chunks of $1 bytes.
run_session() {
    printf '%s\n' "open-project bench" "add-implementation impl out" "project loaded" \
        "task started impl" "process started impl Synthesize Synthesize" \
        "engine started impl Synthesize synth" "feed impl log $1" \
        "engine finished impl Synthesize synth" "process updated impl Synthesize Synthesize" \
        "task finished impl" > "$work/run-$1.session"
    echo "$work/run-$1.session"
}
# Both trees read this tree's default rules: the rules an older tree ships may differ.
rules="$source_dir/data/enginemsg.xml"
session_64k=$(run_session 65536)
session_8m=$(run_session 8388608)

names=(rg classify_text classify_text_jobs2 classify_jsonl classify_text_qregexp run_64k run_8m)
[[ -n $old_build ]] && names+=(run_64k_old)
for name in "${names[@]}"; do
    declare -a "walls_$name=()" "cpus_$name=()"
done
for ((round = 0; round < repeats; ++round)); do
    time_once rg rg -c -f "$work/patterns" "$work/log"
    time_once classify_text "$tool" classify --jobs 1 --format text --color never "$work/log"
    time_once classify_text_jobs2 "$tool" classify --jobs 2 --format text --color never "$work/log"
    time_once classify_jsonl "$tool" classify --jobs 1 --format jsonl --color never "$work/log"
    time_once classify_text_qregexp env MSGFILTER_REGEX_ENGINE=reference \
        "$tool" classify --jobs 1 --format text --color never "$work/log"
    time_once run_64k "$tool" run --rules "$rules" "$session_64k"
    time_once run_8m "$tool" run --rules "$rules" "$session_8m"
    if [[ -n $old_build ]]; then
        time_once run_64k_old "$old_build/tools/msgfilter" run --rules "$rules" "$session_64k"
    fi
done
for name in "${names[@]}"; do
    report "$name"
done

# classify's peak resident memory on about 10 MB and about 1 GB of the same kind of log,
# streamed through standard input (the generator's own memory is small and counts too).
peak_rss_kb() {
    python3 -c 'import resource, subprocess, sys
subprocess.run(sys.argv[1], shell=True, check=True)
print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)' \
        "\"$build/bench/generate_tool_log\" $1 | \"$tool\" classify --format text --color never - > /dev/null"
}
rss_small=$(peak_rss_kb 180000)
rss_large=$(peak_rss_kb 18000000)
echo "classify peak resident memory: $rss_small KiB on 180k lines (~10 MB), $rss_large KiB on 18M lines (~1 GB)"

# bench_store's benchmarks carry different counters, which its csv output refuses. One
# pass of a million messages on the store is a few seconds, and a single one of them
# was seen 1.35x and 1.53x its bare pass in two runs on the same tree.
"$build/bench/bench_store" --benchmark_filter='^BM_PostMessages' --benchmark_format=json \
    2> /dev/null > "$work/store_post.json"
"$build/bench/bench_store" --benchmark_filter='Log|BareStream' --benchmark_format=json \
    --benchmark_repetitions="$repeats" --benchmark_enable_random_interleaving=true \
    2> /dev/null > "$work/store_passes.json"
# store_column FILE NAME FIELD: a field of a benchmark's result, by the benchmark's name.
store_column() {
    python3 -c 'import json, sys
for run in json.load(open(sys.argv[1]))["benchmarks"]:
    if run["name"] == sys.argv[2]:
        print(run[sys.argv[3]])' "$work/$1" "$2" "$3"
}
store_bytes=$(store_column store_post.json BM_PostMessages/iterations:1 resident_B_per_msg)
# store_median NAME: the median cpu time of a pass over its repetitions.
store_median() {
    local times
    mapfile -t times < <(store_column store_passes.json "$1" cpu_time)
    median "${times[@]}"
}

"$build/bench/bench_rules" --benchmark_filter='BM_FindBestMatchRule_.*/threads:1$' \
    --benchmark_format=csv 2> /dev/null > "$work/rules.csv"
# csv columns: name,iterations,real_time,cpu_time,time_unit,...
per_line() { awk -F, -v n="\"$1/real_time/threads:1\"" '$1 == n { print $4 }' "$work/rules.csv"; }
fast=$(per_line BM_FindBestMatchRule_Cached)
cached=$(per_line BM_FindBestMatchRule_CachedQRegExp)
per_call=$(per_line BM_FindBestMatchRule_CompilePerCall)
printf 'FindBestMatchRule cpu ns/line: scan %.0f, QRegExp cached %.0f, QRegExp per call %.0f\n' \
    "$fast" "$cached" "$per_call"

echo "ratios (each the median over the rounds of the ratio within a round):"
awk -v f="$fast" -v c="$cached" -v p="$per_call" 'BEGIN {
    printf "  FindBestMatchRule: %.1fx the compiled-per-call path (target >= 10), %.1fx the cached path (target >= 6)\n", p / f, c / f }'
printf '  classify --format text / rg -c -f: %.1fx wall, %.1fx cpu (target <= 5)\n' \
    "$(ratio walls classify_text rg)" "$(ratio cpus classify_text rg)"
printf '  classify --format text --jobs 2 / rg -c -f: %.1fx wall (target <= 3)\n' \
    "$(ratio walls classify_text_jobs2 rg)"
printf '  classify --format text, QRegExp alone / automaton: %.2fx cpu\n' \
    "$(ratio cpus classify_text_qregexp classify_text)"
printf '  classify --format jsonl / text: %.2fx wall, %.2fx cpu (target <= 1.3)\n' \
    "$(ratio walls classify_jsonl classify_text)" "$(ratio cpus classify_jsonl classify_text)"
printf '  run, 8 MB / 64 KB chunks: %.2fx wall, %.2fx cpu (target <= 1.2); 64 KB chunks: %.0f lines/s wall\n' \
    "$(ratio walls run_8m run_64k)" "$(ratio cpus run_8m run_64k)" \
    "$(awk -v l="$lines" -v s="$(median "${walls_run_64k[@]}")" 'BEGIN { print l / s }')"
if [[ -n $old_build ]]; then
    printf '  run, 64 KB chunks, lines per second against the old tree: %.2fx wall, %.2fx cpu (target >= 4)\n' \
        "$(ratio walls run_64k_old run_64k)" "$(ratio cpus run_64k_old run_64k)"
fi
awk -v s="$rss_small" -v l="$rss_large" 'BEGIN {
    printf "  classify peak resident memory, ~1 GB / ~10 MB input: %.2fx (target: the same)\n", l / s }'
awk -v b="$store_bytes" 'BEGIN { printf "  store: %.0f resident bytes per message at 1M messages (target <= 300)\n", b }'
for pass in Save:Write Load:Read; do
    ours=$(store_median "BM_${pass%%:*}Log/iterations:3")
    bare=$(store_median "BM_BareStream${pass##*:}/iterations:3")
    awk -v o="$ours" -v b="$bare" -v p="${pass%%:*}" -v n="$repeats" 'BEGIN {
        printf "  store: %s / bare stream pass: %.2fx cpu, medians of %d (target <= 1.5)\n", p, o / b, n }'
done
