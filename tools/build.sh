# shellcheck shell=bash
#: build [PRESET [TARGET ...]]
#:                     install dependencies, configure and build; without PRESET,
#:                     build "linux"; cmake --list-presets lists the presets

preset=${1:-linux}
[[ $preset != -* ]] || misuse "build does not take \"$preset\""
setupPreset "$preset"
run cmake --preset "$preset"
run cmake --build --preset "$preset" ${2:+--target "${@:2}"}
