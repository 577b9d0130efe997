#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the fuzz targets and runs each for a bounded time.
#   fuzz/run.sh [seconds-per-target]   (default 60)
# CC and CXX pick the compiler (default clang-14); any other compiler gets a
# build folder of its own, since CMake cannot switch compilers in place.
# Exits non-zero when any target finds a crash, leak, timeout or sanitizer report.
# TALLYWICK_FUZZ_KEEP_GOING=1 runs libFuzzer's fork mode, which records each
# finding and fuzzes on instead of stopping at the first one.
set -euo pipefail

seconds="${1:-60}"
if ! [[ "$seconds" =~ ^[1-9][0-9]*$ ]]; then
  echo "usage: $0 [seconds-per-target]" >&2
  exit 2
fi

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$(dirname "$here")"
export CC="${CC:-clang-14}" CXX="${CXX:-clang++-14}"
build="$root/build-fuzz"
[[ "$CXX" == clang++-14 ]] || build="$root/build-fuzz-${CXX##*/}"

cmake -S "$root" -B "$build" -G Ninja -DTALLYWICK_BUILD_FUZZ=ON -DTALLYWICK_BUILD_TESTS=OFF \
  -DTALLYWICK_CORE_ONLY=OFF -DTALLYWICK_SANITIZE=address,undefined >/dev/null
cmake --build "$build" --target fuzz_control_request fuzz_control_response fuzz_control_event fuzz_frame_scan fuzz_ledger_csv fuzz_json_indent

# Findings outlive the run (the build folder is ignored by git); the working
# corpus does not, so the checked-in seeds stay small. The seeds are kept even
# when they add no coverage: the edge values among them are the point.
artifacts="$build/fuzz-artifacts"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
extra=()
[[ "${TALLYWICK_FUZZ_KEEP_GOING:-0}" == 1 ]] &&
  extra=(-fork=1 -ignore_crashes=1 -ignore_timeouts=1 -ignore_ooms=1)

failed=()
for target in fuzz_control_request fuzz_control_response fuzz_control_event fuzz_frame_scan fuzz_ledger_csv fuzz_json_indent; do
  mkdir -p "$artifacts/$target" "$scratch/$target"
  cp "$here/corpus/$target"/* "$scratch/$target"/
  log="$artifacts/$target/last-run.log"
  touch "$scratch/$target.start"
  echo "== $target for ${seconds}s (log: $log)"
  status=0
  "$build/fuzz/$target" "$scratch/$target" -dict="$here/json.dict" -max_total_time="$seconds" \
    -max_len=65536 -timeout=10 -rss_limit_mb=2048 -keep_seed=1 -print_final_stats=1 \
    -artifact_prefix="$artifacts/$target/" "${extra[@]}" >"$log" 2>&1 || status=$?
  # Fork mode exits cleanly after ignored findings, so the files written count too.
  found="$(find "$artifacts/$target" -type f \( -name 'crash-*' -o -name 'leak-*' -o -name 'timeout-*' \
    -o -name 'oom-*' -o -name 'slow-unit-*' \) -newer "$scratch/$target.start")"
  grep -E '^#[0-9]+[[:space:]]+DONE|^#[0-9]+: cov|stat::average_exec_per_sec' "$log" | tail -n 2 || true
  if ((status != 0)) || [[ -n "$found" ]]; then
    echo "!! $target found a problem (exit $status):"
    grep -E 'ERROR:|SUMMARY:|tallywick fuzz:' "$log" | sed -E 's/^==[0-9]+== //' | sort | uniq -c | head -n 20 || true
    # Replay each input once so the broken property or sanitizer report is named.
    while IFS= read -r input; do
      [[ -n "$input" ]] || continue
      echo "  $input"
      "$build/fuzz/$target" -timeout=10 "$input" 2>&1 | grep -E 'tallywick fuzz:|SUMMARY:' | sed 's/^/    /' || true
    done <<<"$found"
    failed+=("$target")
  fi
done

if ((${#failed[@]})); then
  echo "Findings in: ${failed[*]} (inputs under $artifacts)" >&2
  exit 1
fi
echo "No findings."
