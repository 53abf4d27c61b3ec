#!/usr/bin/env bash
# Runs one GUI test in a world of its own: a private Xvfb and a private session bus, with
# HOME, XDG_* and a 0700 XDG_RUNTIME_DIR set before the bus starts (services it starts
# inherit them). Usage: session.sh <test-binary> [args…]
set -euo pipefail
world=$(mktemp -d /tmp/qmw-XXXXXX)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$world"' EXIT
mkdir -p "$world/home" "$world/config" "$world/data" "$world/cache" "$world/runtime"
chmod 700 "$world/runtime"
export HOME="$world/home" XDG_CONFIG_HOME="$world/config" XDG_DATA_HOME="$world/data" \
       XDG_CACHE_HOME="$world/cache" XDG_RUNTIME_DIR="$world/runtime"
# The server picks its own free display and tells us which (-displayfd): choosing a number
# first and starting the server after would race with GUI tests starting in parallel.
mkfifo "$world/displayfd"
Xvfb -displayfd 3 -screen 0 1440x900x24 -noreset -nolisten tcp 3>"$world/displayfd" >"$world/xvfb.log" 2>&1 &
if ! read -r -t 60 n <"$world/displayfd" || [ -z "$n" ]; then
  echo "session.sh: Xvfb did not start" >&2
  cat "$world/xvfb.log" >&2
  exit 1
fi
display=":$n"
export DISPLAY="$display" QT_QPA_PLATFORM=xcb QT_QUICK_BACKEND=software
unset WAYLAND_DISPLAY
dbus-run-session -- "$@"
