#!/usr/bin/env bash
# Installs what the tests need, builds, and runs them. --all adds the build with sanitizers, fuzzing, the benchmarks, Wine and the packages.
# The last line is "N passed, N failed", counted in steps; the exit code is 0 when none failed.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")" || exit 1

# Builds of one tree share objects, wherever the tree is.
export CCACHE_BASEDIR=$PWD

all=no
for argument in "$@"; do
  case $argument in
    --all) all=yes ;;
    *) echo "usage: ./test.sh [--all]" >&2; exit 2 ;;
  esac
done

passed=0
failed=()
skipped=()
if [[ -t 1 ]]; then bold=$'\e[1m' red=$'\e[31m' green=$'\e[32m' plain=$'\e[0m'; else bold='' red='' green='' plain=''; fi

# step NAME COMMAND...: runs one step and counts how it ended.
step() {
  local name=$1 begin=$SECONDS
  shift
  printf '%s== %s%s\n' "$bold" "$name" "$plain"
  if "$@" </dev/null; then
    passed=$((passed + 1))
    printf '%sok%s      %s (%d s)\n' "$green" "$plain" "$name" $((SECONDS - begin))
  else
    failed+=("$name")
    printf '%sFAILED%s  %s (%d s)\n' "$red" "$plain" "$name" $((SECONDS - begin))
    return 1
  fi
}

skip() { skipped+=("$1"); printf '%s== %s%s\nskipped: %s\n' "$bold" "$1" "$plain" "$2"; }

# build PRESET [CMAKE-ARGUMENT...]
build() {
  cmake --preset "$@" && cmake --build --preset "$1"
}

run_tests() { ctest --preset "$1" -j 2; }

end_to_end() {
  local long=()
  if [[ $all == yes ]]; then long=(KVX_E2E_LONG=1); fi
  env "${long[@]}" python3 tests/e2e/run.py "$PWD/build/dev/kvx"
}

# A day of station time; everyday's run is an hour.
soak() {
  local memory=()
  if [[ -d /dev/shm ]]; then memory=(TMPDIR=/dev/shm); fi  # it writes settings all day, and each waits for the disk
  env "${memory[@]}" KVX_SOAK_HOURS=24 build/dev/tests/soak/soak_test
}

no_qt() {
  local found
  found=$(grep -oim 1 'libQt6[a-z]*\|/qt6/[a-z]*' build/asan/build.ninja)
  if [[ -n $found ]]; then
    echo "build/asan/build.ninja names $found: the engine has come to need Qt"
    return 1
  fi
}

# Built beside the program; a millisecond each shows that they run, not how fast.
benchmarks() {
  cmake --preset release -DKVX_BENCH=ON && cmake --build --preset release --target kvx_bench || return 1
  local program
  program=$(find build/release -name kvx_bench -type f -perm -u+x | head -n 1)
  [[ -n $program ]] && "$program" --benchmark_min_time=0.001 --benchmark_filter=-Jitter &&
    "$program" --benchmark_filter=KeyJitter/wpm:60/busy:0  # ten seconds for each setting
}

# What keeps the engine from being built for Windows and tried here; nothing when nothing does.
no_windows() {
  local program
  for program in x86_64-w64-mingw32-g++-posix tclsh; do
    command -v "$program" >/dev/null || { echo "$program is not installed"; return; }
  done
  [[ -d /usr/src/googletest ]] || { echo "the sources of GoogleTest are not installed"; return; }
  (cd tests/wine && python3 -c 'import wine; print("" if wine.loader() else "Wine is not installed")')
}

engine_for_windows() { tools/fetch_sqlite.sh build/sqlite && build mingw && run_tests mingw; }

groups=(build test)
if [[ $all == yes ]]; then groups+=(all package); fi
step "packages" tools/setup.sh "${groups[@]}"

step "checks" tools/check.sh
if step "build" build dev; then
  step "tests" run_tests dev
  if [[ -f tests/e2e/run.py ]]; then
    step "end-to-end tests" end_to_end
  else
    skip "end-to-end tests" "there is no tests/e2e/run.py"
  fi
  if reason=$(python3 tests/gui/run.py --check); then
    step "windows under Xvfb" python3 tests/gui/run.py "$PWD/build/dev/kvx"
  else
    skip "windows under Xvfb" "$reason"
  fi
  step "manual" python3 tests/manual/run.py "$PWD/build/dev/kvx"
fi

if [[ $all == yes ]]; then
  if [[ -x build/dev/tests/soak/soak_test ]]; then
    step "soak: a day of station time" soak
  else
    skip "soak: a day of station time" "it has not been built"
  fi
  # One build shows both: the engine is clean under the sanitizers, and it needs no Qt.
  if step "sanitizer build" build asan -DCMAKE_DISABLE_FIND_PACKAGE_Qt6=ON; then
    step "engine without Qt" no_qt
    step "sanitizer tests" run_tests asan
    step "fuzzing, 15 s a target" tools/fuzz.sh 15
  fi
  if [[ -f bench/CMakeLists.txt ]]; then
    step "benchmarks" benchmarks
  else
    skip "benchmarks" "there is no bench/CMakeLists.txt"
  fi
  reason=$(no_windows)
  if [[ -z $reason ]]; then
    step "Windows: the engine's tests under Wine" engine_for_windows
  else
    skip "Windows: the engine's tests under Wine" "$reason"
  fi
  step "source tarball" tools/try_source.sh
  if step "package" tools/package.sh deb; then
    reason=$(tools/try_package.sh --check)
    if [[ -z $reason ]]; then
      step "package in a new system" tools/try_package.sh
    else
      skip "package in a new system" "$reason"
    fi
  fi
  if reason=$(python3 tests/wine/run.py --check "$PWD/build/dev/kvx"); then
    step "programs under Wine" python3 tests/wine/run.py "$PWD/build/dev/kvx"
  else
    skip "programs under Wine" "$reason"
  fi
fi

if [[ ${#skipped[@]} -gt 0 ]]; then printf 'skipped: %s\n' "${skipped[@]}"; fi
if [[ ${#failed[@]} -gt 0 ]]; then printf 'failed: %s\n' "${failed[@]}"; fi
echo "$passed passed, ${#failed[@]} failed"
[[ ${#failed[@]} == 0 ]]
