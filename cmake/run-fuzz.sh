#!/usr/bin/env bash
# Runs every fuzz target: first over its corpus in the repository (the seeds
# and the regression inputs of faults found before), then fuzzing for a fixed
# time, new inputs going to a scratch corpus in the build folder.
#   run-fuzz.sh BUILD SECONDS   (SECONDS per target)
# Exits non-zero on the first finding; its input is kept in BUILD/fuzz-findings.
set -euo pipefail
build=$1
seconds=$2
src=$(cd "$(dirname "$0")/.." && pwd)
corpus=$src/tests/fuzz/corpus
findings=$build/fuzz-findings
mkdir -p "$findings"

# target, corpus folder, libFuzzer options of its own. The media target
# runs tessen in-process, and tessen takes SIGALRM (libFuzzer's timer) as a
# stop signal: its hangs are left to the outer time limit.
targets=(
  "fuzz_host_legal host_legal -timeout=60 -max_len=512"
  "fuzz_host_hostile host_hostile -timeout=60 -max_len=512"
  "fuzz_media_input media -timeout=0"
)

for entry in "${targets[@]}"; do
  read -r name folder options <<<"$entry"
  bin=$build/tests/fuzz/$name
  # Sanitizer reports into files of their own: the media target captures
  # stderr while tessen runs.
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:log_path=$findings/$name-sanitizer
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1:log_path=$findings/$name-sanitizer
  rm -f "$findings/$name"-sanitizer.*
  echo "== $name: corpus $folder"
  # shellcheck disable=SC2086
  timeout 300 "$bin" $options -rss_limit_mb=4096 -artifact_prefix="$findings/$name-" "$corpus/$folder"/* \
    2> "$findings/$name-corpus.log" || { tail -n 40 "$findings/$name-corpus.log" "$findings/$name"-sanitizer.* 2>/dev/null; exit 1; }
  echo "== $name: fuzzing for $seconds s"
  work=$build/fuzz-corpus/$name
  mkdir -p "$work"
  # shellcheck disable=SC2086
  timeout $((seconds + 120)) "$bin" $options -rss_limit_mb=4096 -max_total_time="$seconds" -print_final_stats=1 \
    -artifact_prefix="$findings/$name-" "$work" "$corpus/$folder" 2> "$findings/$name.log" \
    || { tail -n 40 "$findings/$name.log" "$findings/$name"-sanitizer.* 2>/dev/null; exit 1; }
  grep -E '^stat::number_of_executed_units|^Done' "$findings/$name.log" || true
done
