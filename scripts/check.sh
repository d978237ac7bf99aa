#!/bin/sh
# The whole quality gate: formatting, a release build with warnings as errors and its
# tests, the same suite under AddressSanitizer, UndefinedBehaviorSanitizer and
# LeakSanitizer, and a short run of every fuzz target. Build trees go to build-check/.
set -eu
cd "$(dirname "$0")/.."
out=build-check
fuzz_seconds=${MSGFILTER_FUZZ_SECONDS:-20}

step() { printf '\n== %s\n' "$*"; }

step "formatting"
git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror

step "release build, warnings as errors"
cmake -S . -B "$out/release" -G Ninja -DCMAKE_BUILD_TYPE=Release -DMSGFILTER_WERROR=ON \
      -DMSGFILTER_BUILD_BENCH=ON
cmake --build "$out/release"
ctest --test-dir "$out/release" --output-on-failure -j2

step "sanitizer build (address, undefined, leak)"
cmake -S . -B "$out/sanitize" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMSGFILTER_WERROR=ON \
      -DMSGFILTER_SANITIZE=ON
cmake --build "$out/sanitize"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir "$out/sanitize" --output-on-failure -j2

step "fuzz targets, ${fuzz_seconds}s each"
cmake -S . -B "$out/fuzz" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
      -DMSGFILTER_BUILD_FUZZ=ON -DMSGFILTER_BUILD_TESTS=OFF -DMSGFILTER_BUILD_TOOLS=OFF
cmake --build "$out/fuzz"
for corpus in fuzz/corpus/*/; do
  name=$(basename "$corpus")
  work="$out/fuzz/corpus-$name"
  rm -rf "$work" && mkdir -p "$work"
  dictionary=""
  [ -f "fuzz/$name.dict" ] && dictionary="-dict=fuzz/$name.dict"
  echo "-- $name"
  # shellcheck disable=SC2086
  "$out/fuzz/fuzz/$name" -max_total_time="$fuzz_seconds" -print_final_stats=1 $dictionary \
    "$work" "$corpus"
done

step "all checks passed"
