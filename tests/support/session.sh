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
# A display number of our own: free, and not :99 which other tools like.
for n in $(seq 120 220); do
  if [ ! -e "/tmp/.X11-unix/X$n" ] && [ ! -e "/tmp/.X$n-lock" ]; then display=":$n"; break; fi
done
Xvfb "$display" -screen 0 1440x900x24 -noreset -nolisten tcp >"$world/xvfb.log" 2>&1 &
for _ in $(seq 1 100); do [ -e "/tmp/.X11-unix/X${display#:}" ] && break; sleep 0.05; done
export DISPLAY="$display" QT_QPA_PLATFORM=xcb QT_QUICK_BACKEND=software
unset WAYLAND_DISPLAY
dbus-run-session -- "$@"
