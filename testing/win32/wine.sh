#!/usr/bin/env bash
# wine.sh PROGRAM ARGUMENT...: runs a Windows program in the Wine prefix WINEPREFIX (default: build/wine). The first
# call creates the prefix. Hides Wine's messages unless WINEDEBUG is set.
# wine.sh --native PROGRAM ARGUMENT...: runs a program of this system with the same instruction set, for a comparison.
set -euo pipefail

# Under Wine a program cannot use the processor's tiles (AMX): there, the runtime's code for them is an illegal
# instruction. On a processor with tiles this disables them in the runtime, unless the caller has set the variable.
if grep -qw amx_tile /proc/cpuinfo; then
    export ONEDNN_MAX_CPU_ISA=${ONEDNN_MAX_CPU_ISA:-AVX512_CORE}
fi
if [ "${1:-}" = --native ]; then
    exec "${@:2}"
fi

# Every program needs the page at 0x7ffe0000. Linux puts the heap at a random address between 0x7d005000 and 1 GiB above
# it, so in one of about 5,000 programs the heap covers this page: the program cannot start, and CreateProcess fails with
# ERROR_INTERNAL_ERROR. Without random addresses this cannot happen. Some containers refuse to disable them.
wine=(/usr/lib/wine/wine64)
[ -x "${wine[0]}" ] || { echo "wine.sh: ${wine[0]} is missing; ./dev setup windows installs it" >&2; exit 1; }
if setarch --addr-no-randomize true 2>/dev/null; then
    wine=(setarch --addr-no-randomize "${wine[@]}")
fi
export WINEPREFIX=${WINEPREFIX:-$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)/build/wine}
export WINEDEBUG=${WINEDEBUG:--all}
keeper=$WINEPREFIX/keeper

# Disables the browser and the .NET runtime. If they were only missing, Wine would ask about them in a window.
makePrefix() {
    WINEDLLOVERRIDES="mscoree,mshtml=" "${wine[@]}" wineboot --init
    touch "$WINEPREFIX/made"
}

# Wine's services start with the first Windows program and end with the last. They inherit the first program's output:
# its reader would wait for the services to end. So the first program has no output. It runs for two minutes. After one
# minute the next call starts another one, because a program that starts while the services end can fail.
hasKeeper() {
    kill -0 "$(cat "$keeper")" && [ -n "$(find "$keeper" -newermt "1 minute ago")" ]
}

startKeeper() {
    # shellcheck disable=SC2016 # the inner shell expands it
    setsid bash -c 'sleep 120 | "$@" cmd' keeper "${wine[@]}" &
    echo $! >"$keeper"
    "${wine[@]}" cmd /c exit  # returns when the services are up
}

mkdir -p "$WINEPREFIX"
# Processes that Wine leaves running must not hold the lock, so they start without its descriptor.
(
    flock 9
    [ -e "$WINEPREFIX/made" ] || makePrefix 9>&-
    hasKeeper || startKeeper 9>&-
) 9>"$WINEPREFIX.lock" </dev/null >/dev/null 2>&1
exec "${wine[@]}" "$@"
