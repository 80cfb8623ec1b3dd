#!/bin/sh
# Runs a Windows program under Wine. Plain `wine` leaves background processes holding the caller's output
# pipe, so a persistent server is started apart and the program's output goes through a file.
export WINEPREFIX="${WINEPREFIX:-$HOME/.cache/qv-wine}" WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml,winemenubuilder.exe=}"
mkdir -p "$WINEPREFIX" || exit 125
( flock 9
  wineserver -k0 2>/dev/null || {
    wineserver -p 9>&- </dev/null >/dev/null 2>&1
    wine wineboot 9>&- </dev/null >/dev/null 2>&1
  } ) 9>"$WINEPREFIX/.lock"
out=$(mktemp) || exit 125
trap 'kill "$pid" 2>/dev/null; cat "$out"; rm -f "$out"; exit 143' TERM INT HUP
wine "$@" </dev/null >"$out" 2>&1 &
pid=$!
wait "$pid"
rc=$?
cat "$out"
rm -f "$out"
exit $rc
