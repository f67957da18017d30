#!/usr/bin/env bash
# tools/fetch_sqlite.sh FOLDER: makes sqlite3.c and sqlite3.h in FOLDER from the source package of the system, for builds
# that are not for it. apt checks the package's signature; it works in a folder of its own and needs no root.
set -euo pipefail
folder=$(realpath -m -- "${1:?usage: tools/fetch_sqlite.sh FOLDER}")
if [[ -f $folder/sqlite3.c && -f $folder/sqlite3.h ]]; then exit 0; fi
command -v tclsh >/dev/null || { echo "tools/fetch_sqlite.sh needs tclsh (tools/setup.sh all)"; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir -p lists/partial archives/partial sources.d tree
# Most systems list what is built only.
for file in /etc/apt/sources.list /etc/apt/sources.list.d/{debian,ubuntu}.{list,sources}; do
  if [[ -f $file ]]; then sed 's/^Types:.*/Types: deb-src/; s/^deb /deb-src /' "$file" >"sources.d/${file##*/}"; fi
done
apt=(apt-get -q -o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$work/sources.d" -o Dir::State::Lists="$work/lists"
  -o Dir::Cache="$work" -o APT::Sandbox::User=root -o Acquire::Retries=3)
"${apt[@]}" update
"${apt[@]}" source --download-only sqlite3
tar -xf sqlite3_*.orig.tar.* -C tree --strip-components=1
cd tree
{ ./configure --disable-shared && make sqlite3.c; } >log 2>&1 || { tail -n 20 log; exit 1; }
mkdir -p "$folder"
cp sqlite3.c sqlite3.h "$folder"
