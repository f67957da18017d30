#!/usr/bin/env bash
# tools/try_package.sh [DEB]: installs the package (by default the one in build/packages) into a new tree of this system's
# release and nothing more, works with it there as a plain user, removes it and looks for what it has left behind.
# As root, with debootstrap; packages come from where this system's apt gets its own and stay in build/try/debs.
# tools/try_package.sh --check prints what is missing for that, and nothing when nothing is.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# shellcheck source=/dev/null
release=$(. /etc/os-release && echo "${VERSION_CODENAME-}")
sources() {
  apt-get indextargets --format '$(ORIGIN) $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
    awk '$1 == "Debian" || $1 == "Ubuntu" { print "deb", $2, $3, $4 }'
}
mirror=$(sources 2>/dev/null | awk -v release="$release" '$3 == release { print $2; exit }') || true

reachable() {
  local folder answer=0
  folder=$(mktemp -d)
  /usr/lib/apt/apt-helper download-file "${mirror%/}/dists/$release/InRelease" "$folder/InRelease" >/dev/null 2>&1 || answer=1
  rm -rf "$folder"
  return "$answer"
}

missing() {
  if [[ $(id -u) != 0 ]]; then
    echo "it takes root"
  elif ! command -v debootstrap >/dev/null; then
    echo "debootstrap is not installed"
  elif [[ -z $mirror ]]; then
    echo "apt has no package source of this release"
  elif ! unshare --mount --pid --fork true 2>/dev/null; then
    echo "no namespaces may be made here"
  elif [[ $(df --output=avail -BM . | tail -n 1 | tr -dc 0-9) -lt 3000 ]]; then
    echo "less than 3 GB of the disk are free"
  elif [[ -z ${KVX_TRY_INSIDE-} ]] && ! reachable; then
    echo "$mirror cannot be reached"
  fi
}
if [[ ${1-} == --check ]]; then missing; exit 0; fi
reason=$(missing)
if [[ -n $reason ]]; then echo "tools/try_package.sh: $reason" >&2; exit 1; fi

# In a namespace of its own, so that no mount and no process outlives the script.
if [[ -z ${KVX_TRY_INSIDE-} ]]; then
  KVX_TRY_INSIDE=1 exec unshare --mount --pid --fork --kill-child "$0" "$@"
fi

deb=${1-}
if [[ -z $deb ]]; then deb=$(ls -t build/packages/kvx_*.deb | head -n 1); fi
debs=$PWD/build/try/debs
mkdir -p "$debs/partial"
work=$(mktemp -d "$PWD/build/try/XXXXXX")
tree=$work/tree
cgroups=()
clean_up() {
  local mount top
  for mount in run sys dev/pts proc var/cache/apt/archives; do umount --lazy --recursive "$tree/$mount" 2>/dev/null || true; done
  rm -rf --one-file-system "$work"
  for top in "${cgroups[@]}"; do
    if [[ -e $top/cgroup.kill ]]; then echo 1 >"$top/cgroup.kill"; fi
  done
  for top in "${cgroups[@]}"; do
    for _ in {1..30}; do  # what was killed takes a moment to go
      find "$top" -depth -type d -exec rmdir {} \; 2>/dev/null || true
      if [[ ! -e $top ]]; then break; fi
      sleep 0.1
    done
  done
}
trap clean_up EXIT

fail() { echo "error: $*" >&2; exit 1; }
ok() { echo "ok: $*"; }
# quietly LOG COMMAND...: its output only where it fails.
quietly() {
  local log=$work/$1
  shift
  "$@" >"$log" 2>&1 </dev/null || { tail -n 30 "$log" >&2; fail "$*"; }
}
environment=(HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive)
inside() { chroot "$tree" env -i "${environment[@]}" "$@"; }
as_user() { chroot --userspec=station "$tree" env -i "${environment[@]}" HOME=/home/station "$@"; }

quietly debootstrap debootstrap --variant=minbase --cache-dir="$debs" "$release" "$tree" "$mirror"
mount -t proc proc "$tree/proc"
mount -t devpts -o newinstance,ptmxmode=0666 devpts "$tree/dev/pts"
mount --bind "$debs" "$tree/var/cache/apt/archives"
sources >"$tree/etc/apt/sources.list"
echo force-unsafe-io >"$tree/etc/dpkg/dpkg.cfg.d/tried"
echo 'Binary::apt-get::APT::Keep-Downloaded-Packages "true";' >"$tree/etc/apt/apt.conf.d/tried"
apt=(inside apt-get -q -y --no-install-recommends -o Acquire::Retries=3 -o Dpkg::Use-Pty=0)
quietly update "${apt[@]}" update
ok "a new tree of $release"

cp "$deb" "$tree/kvx.deb"
quietly install "${apt[@]}" install /kvx.deb
ok "$(basename "$deb") installed with its dependencies, $(inside dpkg-query -W -f='${Installed-Size}' kvx) kB"
quietly others "${apt[@]}" install libhamlib-utils man-db systemd
quietly station inside useradd --create-home station

unresolved=$(as_user ldd /usr/bin/kvx /usr/lib/kvx/kvx-windows | grep 'not found' || true)
[[ -z $unresolved ]] || fail "libraries that the dependencies lack: $unresolved"
version=$(as_user kvx --version)
[[ $version == "kvx $(inside dpkg-query -W -f='${source:Upstream-Version}' kvx)" ]] || fail "kvx --version says $version"
as_user man kvx >"$work/man" 2>&1 || fail "man kvx: $(cat "$work/man")"
grep -q 'EXIT STATUS' "$work/man" || fail "man kvx: $(cat "$work/man")"
ok "$version, its libraries and its manual page"

findings=$(as_user timeout 60 kvx doctor) || [[ $? == 1 ]] || fail "kvx doctor did not end as it should"
[[ $findings == *$'\nIn all: '* ]] || fail "kvx doctor says $findings"

# The demonstration, spoken to through a pipe that never ends, as the service is.
mkfifo "$work/commands"
touch "$work/said"
exec 3<>"$work/commands"
as_user kvx --headless --demo <"$work/commands" >"$work/said" 2>&1 &
console=$!
# ask COMMAND PATTERN: the answer has to match.
ask() {
  local before answer='' tries=0
  before=$(wc -l <"$work/said")
  echo "$1" >&3
  until answer=$(tail -n +$((before + 1)) "$work/said" | grep -m 1 -E '^(ok|error:|\{)'); do
    [[ $((tries++)) -lt 150 ]] || fail "no answer to $1: $(tail -n 3 "$work/said")"
    sleep 0.1
  done
  # shellcheck disable=SC2053
  [[ $answer == $2 ]] || fail "the answer to $1 is $answer"
}
ask status '*"rig":"TS-2000"*'
ask 'freq 14030' 'ok freq 14030.00'
ask 'rigs' 'ok *TS-990S*'
port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
ask "setting NETPORT=$port" 'ok *'
ask 'link net on' 'ok link net on *'
read_back=$(as_user rigctl -m 2 -r "127.0.0.1:$port" f) || fail "rigctl: $read_back"
[[ $read_back == 14030000 ]] || fail "rigctl reads $read_back"
as_user rigctl -m 2 -r "127.0.0.1:$port" F 7012500
ask status '*"freq":"7012.50"*'
if [[ -e $tree/usr/lib/kvx/kvx-dde.exe ]]; then ask 'link dde on' '*Wine is not installed'; fi
ask quit 'ok quit'
wait "$console" || fail "kvx --headless ended with $?"
ok "the demonstration without a window, and rigctl reads and sets its frequency"

quietly grab as_user kvx --demo --grab /home/station/pictures
pictures=("$tree"/home/station/pictures/*.png)
[[ ${#pictures[@]} -ge 10 && $(stat -c %s "$tree/home/station/pictures/console.png") -gt 20000 ]] ||
  fail "kvx --grab made ${#pictures[@]} pictures: $(cat "$work/grab")"
ok "${#pictures[@]} pictures of the windows"
if [[ -n ${KVX_TRY_PICTURES-} ]]; then cp -r "$tree/home/station/pictures" "$KVX_TRY_PICTURES"; fi

# The service, under the user's own systemd. Where no journal is, what the program says goes to a file.
service() {
  local runtime=/run/user/1 said=$tree/home/station/said top pid manager
  local user=(as_user XDG_RUNTIME_DIR=$runtime)
  mount -t tmpfs -o mode=755 tmpfs "$tree/run"
  mkdir -p "$tree$runtime" "$tree/run/systemd/system" "$tree/home/station/.config/systemd/user/kvx.service.d"
  printf '[Service]\nStandardOutput=append:/home/station/said\n' >"$tree/home/station/.config/systemd/user/kvx.service.d/said.conf"
  echo 'KVX_OPTIONS=--demo' >"$tree/home/station/.config/kvx.conf"
  inside chown -R station: "$runtime" /home/station/.config
  inside chmod 700 "$runtime"
  mount --rbind --make-slave /sys "$tree/sys"
  "${user[@]}" systemd-analyze verify --user kvx.service kvx.socket >"$work/verify" 2>&1 || true
  [[ ! -s $work/verify ]] || fail "systemd-analyze: $(cat "$work/verify")"
  for top in "${cgroups[@]}"; do inside chown -R station "$top"; done
  (
    for top in "${cgroups[@]}"; do echo 0 >"$top/cgroup.procs"; done
    exec chroot --userspec=station "$tree" env -i "${environment[@]}" HOME=/home/station XDG_RUNTIME_DIR=$runtime \
      SYSTEMD_LOG_TARGET=console /lib/systemd/systemd --user
  ) >"$work/manager" 2>&1 &
  manager=$!
  # waits PATTERN TIMES: until the program has said it so often.
  waits() {
    local tries=0
    until [[ $(grep -cx -e "$1" "$said" 2>/dev/null) == "$2" ]]; do
      [[ $((tries++)) -lt 200 ]] || fail "the service has not said $1 $2 times: $(tail -n 5 "$said" "$work/manager")"
      sleep 0.1
    done
  }
  for _ in {1..50}; do
    if "${user[@]}" systemctl --user start kvx 2>"$work/start"; then break; fi
    sleep 0.2
  done
  waits ready 1
  echo 'freq 14030' >"$tree$runtime/kvx.commands"
  waits 'ok freq 14030.00' 1
  pid=$("${user[@]}" systemctl --user show -P MainPID kvx)
  kill -SEGV "$pid"
  waits ready 2
  echo 'freq 14040' >"$tree$runtime/kvx.commands"
  waits 'ok freq 14040.00' 1
  "${user[@]}" systemctl --user stop kvx
  [[ $("${user[@]}" systemctl --user show -P Result kvx) == success ]] || fail "the service did not end well"
  [[ ! -e $tree$runtime/kvx.commands ]] || fail "the pipe of the service is still there"
  kill "$manager"
  wait "$manager" || true
}
for top in /sys/fs/cgroup{/systemd,/unified,}; do
  if [[ -e $top/cgroup.procs ]] && top=$(mktemp -d "$top/kvx-XXXXXX" 2>/dev/null); then cgroups+=("$top"); fi
done
if [[ ${#cgroups[@]} -gt 0 ]]; then
  service
  ok "the service starts, takes commands, comes back after a crash and stops"
else
  echo "skipped: the service: no control groups may be made here"
fi

inside dpkg -L kvx >"$work/files"
quietly remove "${apt[@]}" purge kvx
left=$(while read -r path; do
  if [[ ! -d $tree$path || -L $tree$path ]] && [[ -e $tree$path ]]; then echo "$path"; fi
done <"$work/files")
left+=$(cd "$tree" && find . -xdev -iname '*kvx*' -not -path './home/*' -not -path './proc/*' -not -path ./kvx.deb -not -path './var/log/*')
[[ -z $left ]] || fail "left behind: $left"
ok "nothing is left of it once it is removed"
