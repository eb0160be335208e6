# shellcheck shell=bash
#: fuzz [SECONDS]      run each fuzz target for SECONDS (default: 30), two at a
#:                     time; keep each input that fails in build/fuzz, and print
#:                     the command that repeats the failure

# fuzzTarget SECONDS NAME: runs a target on its seeds, on the inputs of earlier runs, and on new inputs.
fuzzTarget() {
    local program=build/linux-fuzz/bin/fuzz_$2 folder=build/fuzz/$2
    rm -rf "$folder/temporary"
    mkdir -p "$folder/corpus" "$folder/temporary"
    local command=("$program" -max_total_time="$1" -max_len=4096 -timeout=10 -artifact_prefix="$folder/"
        -print_final_stats=1 "$folder/corpus" "build/linux-fuzz/fuzz/seeds/$2")
    printf '+ %s\n' "${command[*]}" >&2
    if TMPDIR=$PWD/$folder/temporary "${command[@]}" >"$folder/log" 2>&1; then
        printf '%s: %s inputs, no failure\n' "$2" "$(sed -n 's/^stat::number_of_executed_units: *//p' "$folder/log")"
        return
    fi
    tail -n 40 "$folder/log"
    printf '%s: FAILED, see %s/log; this command repeats it:\n  %s %s\n' "$2" "$folder" "$program" \
        "$(sed -n 's/.*Test unit written to //p' "$folder/log")"
    return 1
}

seconds=${1:-30}
[[ $# -le 1 && $seconds =~ ^[1-9][0-9]*$ ]] || misuse "fuzz does not take \"$*\""
run ./dev build linux-fuzz
export -f fuzzTarget
export UBSAN_OPTIONS=print_stacktrace=1
find build/linux-fuzz/fuzz/seeds -mindepth 1 -maxdepth 1 -printf '%f\n' | sort |
    run xargs -P 2 -I TARGET bash -c "fuzzTarget $seconds TARGET"
