#!/usr/bin/env bash
# wine.sh PROGRAM ARGUMENT...: runs a Windows program in this project's own Wine prefix, build/wine unless WINEPREFIX
# says otherwise; the first call makes it. Wine's remarks are left out unless WINEDEBUG asks for them.
# wine.sh --native PROGRAM ARGUMENT...: runs a program of this system, to compare with, on the same instruction set.
set -euo pipefail

# A program under Wine is not granted the state of the processor's tiles (AMX), and the runtime's code for them then is an
# illegal instruction: on a processor that has them the runtime is told to do without. A choice of the caller's stays.
if grep -qw amx_tile /proc/cpuinfo; then
    export ONEDNN_MAX_CPU_ISA=${ONEDNN_MAX_CPU_ISA:-AVX512_CORE}
fi
if [ "${1:-}" = --native ]; then
    exec "${@:2}"
fi

wine=/usr/lib/wine/wine64
export WINEPREFIX=${WINEPREFIX:-$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)/build/wine}
export WINEDEBUG=${WINEDEBUG:--all}
keeper=$WINEPREFIX/keeper

# Without the browser and the .NET runtime, about whose absence Wine would ask in a window.
makePrefix() {
    WINEDLLOVERRIDES="mscoree,mshtml=" "$wine" wineboot --init
    touch "$WINEPREFIX/made"
}

# Wine's services start with the first Windows program and end with the last. They would inherit that program's output
# and keep it open, for whoever reads it, until then: so a program without output is the first, and stays for two minutes.
startKeeper() {
    # shellcheck disable=SC2016 # the inner shell expands it
    setsid bash -c 'sleep 120 | "$0" cmd' "$wine" &
    echo $! >"$keeper"
    "$wine" cmd /c exit  # returns when the services are up
}

mkdir -p "$WINEPREFIX"
# Whatever Wine leaves running must not hold the lock: it starts without it.
(
    flock 9
    [ -e "$WINEPREFIX/made" ] || makePrefix 9>&-
    kill -0 "$(cat "$keeper" 2>&1)" || startKeeper 9>&-
) 9>"$WINEPREFIX.lock" </dev/null >/dev/null 2>&1
exec "$wine" "$@"
