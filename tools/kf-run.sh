#!/usr/bin/env bash
# The main job of `./kf run`: build the dev preset, start the demo update server on loopback and
# run Orvella Forge in the stand-in host. With a display it opens real windows (when the host
# offers them); without one it plays a scripted run and prints its transcript.
#
# Usage: tools/kf-run.sh [--fresh] [--no-build] [-- KFHOST-ARGS...]
#   --fresh     forget the stored language (and everything else the add-on wrote) first
#   --no-build  use the build as it is (for callers that have just built it)
#
# The host's framework folder is .kf/run/framework, kept between runs: the first run asks for
# the language, later runs remember it.
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD="$ROOT/build/dev"
HOST="$BUILD/host/kfhost"
BUNDLE="$BUILD/addons/OrvellaForge.bundle"
SERVER="$BUILD/tools/kfupdateserver"
SERVER_ROOT="$ROOT/tools/update-demo"
STATE="$ROOT/.kf/run"
FRAMEWORK="$STATE/framework"
DEMO="$ROOT/addon/demo"
JOBS=${KF_JOBS:-$(nproc 2>/dev/null || echo 2)}

say() { printf 'kf run: %s\n' "$*" >&2; }
die() { say "$*"; exit 1; }

fresh=0 build=1 host_args=()
while (($#)); do
  case $1 in
    --fresh) fresh=1; shift ;;
    --no-build) build=0; shift ;;
    --) shift; host_args=("$@"); break ;;
    -h|--help) sed -n '2,12p' "${BASH_SOURCE[0]}" | sed 's/^# \{0,1\}//'; exit 0 ;;
    *) die "unknown argument '$1' (--fresh, --no-build, -- KFHOST-ARGS)" ;;
  esac
done

if ((build)); then
  mkdir -p "$ROOT/build"
  (cd "$ROOT" && cmake --preset dev) >"$ROOT/build/.configure-dev.log" 2>&1 || {
    cat "$ROOT/build/.configure-dev.log" >&2
    die "configuring the dev preset failed"
  }
  (cd "$ROOT" && cmake --build --preset dev --parallel "$JOBS") || die "building the dev preset failed"
fi
[[ -x "$HOST" ]] || die "the host is not built ($HOST is missing)"
[[ -d "$BUNDLE" ]] || die "the add-on is not built ($BUNDLE is missing)"

if ((fresh)); then
  rm -rf "$FRAMEWORK"
  say "starting over with an empty framework folder"
fi
mkdir -p "$FRAMEWORK"

# The demo update server, on a free loopback port; stopped when this script ends.
server_pid=
stop_server() { [[ -n "$server_pid" ]] && kill "$server_pid" 2>/dev/null && wait "$server_pid" 2>/dev/null; true; }
trap stop_server EXIT
update_args=()
if [[ -x "$SERVER" && -d "$SERVER_ROOT" ]]; then
  port_file="$STATE/update-server.port"
  : >"$port_file"
  "$SERVER" --root "$SERVER_ROOT" --host 127.0.0.1 --port 0 >"$port_file" 2>"$STATE/update-server.log" &
  server_pid=$!
  port=
  for _ in $(seq 50); do
    port=$(head -n 1 "$port_file")
    [[ -n "$port" ]] && break
    kill -0 "$server_pid" 2>/dev/null || break
    sleep 0.1
  done
  if [[ "$port" =~ ^[0-9]+$ ]]; then
    update_args=(--update-server "127.0.0.1:$port")
    say "update server at http://127.0.0.1:$port/ (serving ${SERVER_ROOT#"$ROOT/"})"
  else
    say "the update server did not start (see ${STATE#"$ROOT/"}/update-server.log); going on without it"
    stop_server
    server_pid=
  fi
else
  say "no update server built; going on without it"
fi

common=(--addon "$BUNDLE" --framework-folder "$FRAMEWORK" "${update_args[@]}" "${host_args[@]}")

# Whether this kfhost has windows: one built without Qt or its window module says so at once.
has_windows() {
  "$HOST" --help 2>/dev/null | grep -q -- '--gui' || return 1
  ! "$HOST" --gui --screenshot "$STATE/no-such-folder" 2>&1 | grep -q 'no windows'
}

if [[ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]] && has_windows; then
  say "opening Orvella Forge in the host's windows (framework folder ${FRAMEWORK#"$ROOT/"})"
  set +e
  "$HOST" --gui "${common[@]}"
  status=$?
  set -e
  exit "$status"
fi

# Headless: the first run (no settings yet) shows the language question; later runs remember.
if [[ -e "$FRAMEWORK/Quadrelle.cfg" ]]; then
  script="$DEMO/next-run.kfs"
  say "no display: playing ${script#"$ROOT/"} (a language is stored; --fresh starts over)"
else
  script="$DEMO/first-run.kfs"
  say "no display: playing ${script#"$ROOT/"} (first run: no language stored yet)"
fi
say "the language list shows flags, rows 1 to 7: Italian, English, French, German, Spanish, Japanese, Russian"
set +e
"$HOST" "${common[@]}" --strict --script "$script"
status=$?
set -e
if ((status == 0)); then
  say "done; the add-on's files are in ${FRAMEWORK#"$ROOT/"}"
else
  say "the scripted run failed (exit $status)"
fi
exit "$status"
