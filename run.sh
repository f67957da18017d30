#!/usr/bin/env bash
# Installs what the program needs, builds it, and runs it on the simulated station. Arguments are handed on:
#   ./run.sh                  the console window; without a display, headless
#   ./run.sh --headless       commands on standard input, answers and events on standard output
#   ./run.sh --station DIR    your own station
#   ./run.sh rigsim ft857     a simulated rig on a pseudo-terminal
# Standard input and output belong to the program: what set-up and build have to say goes to standard error.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

needs_demo=yes
needs_display=yes
for argument in "$@"; do
  case $argument in
    --station | --demo) needs_demo=no ;;
    --headless | --grab) needs_display=no ;;
    --help | -h | --version | --man) needs_demo=no needs_display=no ;;
  esac
done
if [[ ${1-} == rigsim || ${1-} == doctor ]]; then needs_demo=no needs_display=no; fi

groups=(build)
if [[ -n ${WAYLAND_DISPLAY-} && -z ${DISPLAY-} && $needs_display == yes ]]; then groups+=(wayland); fi

build() {
  "$root/tools/setup.sh" "${groups[@]}"
  cd "$root"
  if [[ ! -f build/release/build.ninja ]]; then cmake --preset release -DKVX_BENCH=OFF; fi
  cmake --build --preset release --target kvx
}
(build) </dev/null >&2

options=()
if [[ $needs_demo == yes ]]; then options+=(--demo); fi
if [[ $needs_display == yes && -z ${DISPLAY-}${WAYLAND_DISPLAY-}${QT_QPA_PLATFORM-} ]]; then
  echo "There is no display: running headless (type help for the commands, quit to end)" >&2
  options+=(--headless)
fi
exec "$root/build/release/kvx" "$@" "${options[@]}"
