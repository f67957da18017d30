#!/usr/bin/env bash
# Tries every parser of outside bytes with inputs that nobody has thought of: tools/fuzz.sh SECONDS [TARGET...]
# Each target runs for so long, beginning with what tests/fuzz/inputs keeps for it; as many at once as there are processors. An input that
# does harm lies in build/fuzz afterwards: mend the fault and keep the input in tests/fuzz/inputs/TARGET.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

seconds=${1-}
if [[ ! $seconds =~ ^[0-9]+$ ]]; then echo "usage: tools/fuzz.sh SECONDS [TARGET...]" >&2; exit 2; fi
shift
targets=("$@")
if [[ ${#targets[@]} == 0 ]]; then
  for source in tests/fuzz/*_fuzz.cpp; do targets+=("$(basename "$source" _fuzz.cpp)"); done
fi

cmake --preset asan >/dev/null && cmake --build --preset asan --target "${targets[@]/%/_fuzz}" || exit 1
found=build/fuzz/inputs
export seconds found

try() {
  local name=$1
  mkdir -p "$found/$name"
  if build/asan/tests/fuzz/"$name"_fuzz -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -detect_leaks=1 \
    -print_final_stats=1 -artifact_prefix="build/fuzz/$name-" "$found/$name" "tests/fuzz/inputs/$name" >"build/fuzz/$name.log" 2>&1; then
    printf 'ok      %s: %s inputs tried\n' "$name" "$(sed -n 's/^stat::number_of_executed_units: *//p' "build/fuzz/$name.log")"
  else
    printf 'FAILED  %s\n' "$name"
    tail -n 40 "build/fuzz/$name.log"
    return 1
  fi
}
export -f try

printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -c 'try {}'
