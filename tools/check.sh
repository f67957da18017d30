#!/usr/bin/env bash
# The rules of this source tree that a program can judge: format, and what tools/check.py lists. Takes seconds, builds nothing.
# tools/check.sh --format rewrites the files instead of complaining about their format.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

# Other versions of clang-format break lines elsewhere.
formatter=$(command -v clang-format-14) || { echo "tools/check.sh needs clang-format-14 (tools/setup.sh test)"; exit 1; }
mapfile -t sources < <(find src tests bench -name '*.cpp' -o -name '*.h' | sort)

if [[ ${1-} == --format ]]; then exec "$formatter" -i "${sources[@]}"; fi

failed=0
unformatted=$("$formatter" --dry-run "${sources[@]}" 2>&1 | sed -n 's/:[0-9]*: warning: .*//p' | sort -t: -k1,1 -u)
if [[ -n $unformatted ]]; then
  printf '%s: not formatted (tools/check.sh --format)\n' $unformatted
  failed=1
fi
python3 tools/check.py . || failed=1
exit "$failed"
