#!/usr/bin/env bash
# tools/package.sh [deb|source]: makes the packages of a release in build/packages; both when nothing is said.
#   deb      kvx_VERSION-1_ARCH.deb, for the system that it is made on
#   source   kvx-VERSION.tar.gz: what is committed or, without git, this folder. The same content gives the same bytes.
# DEBFULLNAME and DEBEMAIL name the maintainer, as for Debian's own tools.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
version=$(sed -n 's/^project(kvx VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
released=$(sed -n "s/^## ${version//./\\.}, \([0-9-]*\)$/\1/p" CHANGELOG.md)
[[ -n $released ]] || { echo "CHANGELOG.md has no \"## $version, DATE\""; exit 1; }
SOURCE_DATE_EPOCH=$(date -ud "$released" +%s)
export SOURCE_DATE_EPOCH

deb() {
  tools/setup.sh build package
  # Objects that another build of this tree has made serve here too.
  export CCACHE_BASEDIR=$PWD
  local maintainer=()
  if [[ -n ${DEBEMAIL-} ]]; then maintainer=("-DKVX_MAINTAINER=${DEBFULLNAME:-The KVX authors} <$DEBEMAIL>"); fi
  cmake --preset package "${maintainer[@]}"
  cmake --build --preset package
  rm -f build/packages/*.deb
  (umask 022 && cpack --config build/package/CPackConfig.cmake)
  rm -rf build/packages/_CPack_Packages
  [[ -f build/package/kvx-dde.exe ]] || echo "Without the DDE gateway for Wine: there is no x86_64-w64-mingw32-g++"
}

source_tarball() {
  local stage
  stage=$(mktemp -d)
  # shellcheck disable=SC2064
  trap "rm -rf '$stage'" EXIT
  local tree=$stage/kvx-$version
  mkdir "$tree"
  if [[ -e .git ]]; then
    git archive HEAD | tar -xf - -C "$tree"
  else
    tar -cf - --exclude=./build --exclude=./.cache --exclude=__pycache__ . | tar -xf - -C "$tree"
  fi
  mkdir -p build/packages
  tar --sort=name --format=gnu --owner=0 --group=0 --numeric-owner --mtime="@$SOURCE_DATE_EPOCH" --mode='u=rwX,go=rX' \
    -C "$stage" -cf - "kvx-$version" | gzip -9n >"$stage/tarball"
  mv "$stage/tarball" "build/packages/kvx-$version.tar.gz"
}

case ${1-all} in
  deb) deb ;;
  source) source_tarball ;;
  all) deb && source_tarball ;;
  *) echo "usage: tools/package.sh [deb|source]" >&2; exit 2 ;;
esac
ls -l build/packages
