#!/bin/sh
# Starts the app inside the Wayland test's sway session: sway runs `exec` through sh -c
# but splits its own commands at ';' first, so the steps live here.
# Arguments: the pid file, QUILLMOTE_HOME, the program, its log.
echo $$ > "$1"
QUILLMOTE_HOME="$2" QUILLMOTE_BIN=/nonexistent exec "$3" 2>"$4"
