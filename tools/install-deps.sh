#!/usr/bin/env bash
# Installs the Debian packages that the named kf commands need (see packages.txt); with no
# command named, every package. Does nothing, and needs no network, when all are installed.
set -euo pipefail

list="$(dirname "${BASH_SOURCE[0]}")/packages.txt"
want=("$@")

needed=()
while read -r pkg users; do
  [[ -z "$pkg" || "$pkg" == \#* ]] && continue
  take=0
  if ((${#want[@]} == 0)); then
    take=1
  else
    for u in $users; do
      [[ "$u" == all ]] && take=1
      for w in "${want[@]}"; do [[ "$u" == "$w" ]] && take=1; done
    done
  fi
  ((take)) && needed+=("$pkg")
done <"$list"

missing=()
for pkg in "${needed[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Abbrev}' "$pkg" 2>/dev/null || true)
  [[ "$status" == ii* ]] || missing+=("$pkg")
done
((${#missing[@]} == 0)) && exit 0

echo "kf: installing missing Debian packages: ${missing[*]}" >&2
if ((EUID == 0)); then
  sudo=()
elif command -v sudo >/dev/null; then
  sudo=(sudo)
else
  echo "kf: not root and sudo is not installed; as root run: apt-get install ${missing[*]}" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
apt_opts=(-y -q -o DPkg::Lock::Timeout=600)
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get "${apt_opts[@]}" update
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get "${apt_opts[@]}" install "${missing[@]}" </dev/null
