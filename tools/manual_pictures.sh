#!/usr/bin/env bash
# tools/manual_pictures.sh BINARY: makes the pictures of docs/ anew, docs/images and docs/manual/images, from the windows of the
# program on an X server without a screen. Needs xvfb, imagemagick, rigctl, Wine, and kvx-dde.exe beside the program. Two
# minutes; look at them afterwards.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
binary=$(realpath "${1:?usage: tools/manual_pictures.sh BINARY}")
[[ -e ${binary%/*}/kvx-dde.exe ]] || { echo "there is no kvx-dde.exe beside $binary" >&2; exit 1; }

fresh=(docs/images/console docs/images/console-light docs/manual/images/console-contrast)
reference=(antennas debug functions memories rig-editor setup-appearance setup-port tuner)
manual=(key-screen links setup-announcements setup-keyer setup-links setup-net setup-rig)

home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
export HOME=$home XDG_RUNTIME_DIR=$home LC_ALL=C.UTF-8
unset DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM XDG_DATA_HOME

# grab STATION FOLDER: a picture of every window.
grab() { xvfb-run -a -s "-screen 0 1600x1000x24" "$binary" --demo --station "$home/$1" --grab "$home/$2" 2>/dev/null; }
grab fresh first

# What somebody has set up who uses it: an own call, a logger's port, the network.
"$binary" --demo --headless --station "$home/station" >/dev/null <<'COMMANDS'
cwset mycall DL9KVX
cwset call OH2ABC
device 7 pty:/tmp/logger
setting CWSKIMMER 7
link logger on
link net on
save
quit
COMMANDS

# Other programs use it meanwhile.
others() {
  while sleep 0.3; do
    rigctl -m 2 -r localhost:4532 f m || true
    rigctl -m 2014 -r /tmp/logger -s 19200 f || true
  done
}
others >/dev/null 2>&1 &
trap 'kill %1; rm -rf "$home"' EXIT

grab station used

# put NAME FILE: 256 colours are enough for windows.
put() {
  convert "$home/$1.png" -strip +dither -colors 256 -define png:compression-level=9 "png8:$2"
  printf '%7d %s\n' "$(stat -c %s "$2")" "$2"
}
mkdir -p docs/manual/images
for picture in "${fresh[@]}"; do put "first/${picture##*/}" "$picture.png"; done
for name in "${reference[@]}"; do put "used/$name" "docs/images/$name.png"; done
put used/audio-decoding docs/images/audio.png
for name in "${manual[@]}"; do put "used/$name" "docs/manual/images/$name.png"; done
