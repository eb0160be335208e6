#!/usr/bin/env bash
# kill_host.sh PROGRAM MODEL: runs the example, shows all that it prints, and kills its host process in the middle of
# work. Exits as the example does, and with 124 when that takes longer than two minutes.
set -euo pipefail

# The processes that process $1 has started.
childrenOf() {
    cat /proc/"$1"/task/*/children
}

exec {lines}< <(exec timeout --foreground 120 "$@")
timeLimit=$!
while IFS= read -r -u "$lines" line; do
    printf '%s\n' "$line"
    if [[ $line == Running* ]]; then
        sleep 0.5
        example=$(childrenOf "$timeLimit")
        host=$(childrenOf "${example% }")
        printf '+ kill -KILL %s\n' "${host% }"
        kill -KILL "${host% }"
    fi
done
wait "$timeLimit"
