#!/usr/bin/env bash
# tools/setup.sh GROUP...: installs what is missing of those groups of tools/packages.txt. When nothing is missing, apt is not
# called. Everything it says goes to standard error, and it leaves standard input alone.
set -euo pipefail
exec </dev/null >&2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

is_installed() { [[ $(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]; }

as_root() {
  if [[ $(id -u) == 0 ]]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    echo "These packages have to be installed by root: ${missing[*]}"
    exit 1
  fi
}

if ! command -v dpkg-query >/dev/null; then
  echo "This is no Debian or Ubuntu: install by hand what tools/packages.txt lists for: $*"
  exit 0
fi

missing=()
for group in "$@"; do
  while read -r package; do
    is_installed "$package" || missing+=("$package")
  done < <(awk -v group="$group" '$1 == group { print $2 }' "$here/packages.txt")
done
[[ ${#missing[@]} -gt 0 ]] || exit 0

echo "Installing ${missing[*]}"
apt=(env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=300 -o Acquire::Retries=3 -o Dpkg::Use-Pty=0)
as_root "${apt[@]}" update
as_root "${apt[@]}" install --no-install-recommends "${missing[@]}"
