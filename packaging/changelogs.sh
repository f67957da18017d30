#!/usr/bin/env bash
# packaging/changelogs.sh MAINTAINER CHANGELOG.md FOLDER: makes changelog.gz there and, from the same text, changelog.Debian.gz.
# A release is "## VERSION, YYYY-MM-DD" with a list under it.
set -euo pipefail
[[ $# == 3 ]] || { echo "usage: packaging/changelogs.sh MAINTAINER CHANGELOG.md FOLDER" >&2; exit 2; }
maintainer=$1 changes=$2 folder=$3

date=
finish() { if [[ -n $date ]]; then printf '\n -- %s  %s\n\n' "$maintainer" "$(LC_ALL=C date -uR -d "$date")"; fi; }

debian() {
  while IFS= read -r line; do
    if [[ $line =~ ^'## '([0-9][0-9.]*)', '([0-9]{4}-[0-9]{2}-[0-9]{2})$ ]]; then
      finish
      date=${BASH_REMATCH[2]}
      printf 'kvx (%s-1) unstable; urgency=medium\n\n' "${BASH_REMATCH[1]}"
    elif [[ -n $date && $line == '- '* ]]; then
      printf '  * %s\n' "${line#- }"
    elif [[ -n $date && $line == '  '* ]]; then
      printf '    %s\n' "${line#  }"
    fi
  done <"$changes"
  finish
}

mkdir -p "$folder"
gzip -9nc "$changes" >"$folder/changelog.gz"
debian | gzip -9nc >"$folder/changelog.Debian.gz"
