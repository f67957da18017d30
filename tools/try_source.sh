#!/usr/bin/env bash
# tools/try_source.sh: makes the source tarball, unpacks it away from any repository, and builds and runs it there without git.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
tools/package.sh source
tarball=$(ls -t "$PWD"/build/packages/kvx-*.tar.gz | head -n 1)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tar -xf "$tarball" -C "$work"
cd "$work"/kvx-*

fail() { echo "error: $*" >&2; exit 1; }
mkdir "$work/bin"
printf '#!/bin/sh\necho "git $*" >>"%s"\nexit 1\n' "$work/git" >"$work/bin/git"
chmod +x "$work/bin/git"
export PATH=$work/bin:$PATH XDG_DATA_HOME=$work/data CCACHE_BASEDIR=$PWD

tools/check.sh
said=$(printf 'freq 14030\nquit\n' | ./run.sh --headless --demo)
[[ $'\n'$said == *$'\nok freq 14030.00\n'* ]] || fail "the program says: $said"
tools/package.sh source >/dev/null
cmp build/packages/kvx-*.tar.gz "$tarball" || fail "the tarball made of the tarball is another one"
[[ ! -e $work/git ]] || fail "git was called: $(cat "$work/git")"
echo "ok: $(basename "$tarball") builds and runs without git, and makes itself again"
