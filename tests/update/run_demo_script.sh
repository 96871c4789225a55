#!/usr/bin/env bash
# The example add-on in the real kfhost program against the real kfupdateserver program, with the
# demo script: the way `./kf run` shows the update check.
# usage: run_demo_script.sh KFHOST KFUPDATESERVER BUNDLE DEMO_ROOT SCRIPT
set -euo pipefail
kfhost=$1 server=$2 bundle=$3 root=$4 script=$5
work=$(mktemp -d)
server_pid=
cleanup() {
  if [ -n "$server_pid" ]; then kill "$server_pid" 2>/dev/null || true; wait "$server_pid" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap cleanup EXIT

"$server" --root "$root" --port 0 > "$work/port" 2> "$work/server.log" &
server_pid=$!
# It prints its port once it listens: wait for that as long as a slow machine could need.
for _ in $(seq 1200); do [ -s "$work/port" ] && break; sleep 0.05; done
port=$(head -n1 "$work/port")
[ -n "$port" ] || { echo "kfupdateserver did not start"; cat "$work/server.log"; exit 1; }

"$kfhost" --addon "$bundle" --framework-folder "$work/framework" \
  --update-server "http://127.0.0.1:$port" --strict --script "$script"
