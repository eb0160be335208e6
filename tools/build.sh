# shellcheck shell=bash
#: build [PRESET [TARGET ...]]
#:                     install dependencies, configure and build; without PRESET,
#:                     build "linux"; cmake --list-presets lists the presets

preset=${1:-linux}
[[ $preset != -* ]] || misuse "build does not take \"$preset\""
case $preset in
    windows-mingw | package-windows) run ./dev setup windows ;;
    linux-bench) run ./dev setup bench ;;
    *) run ./dev setup ;;
esac
run cmake --preset "$preset"
run cmake --build --preset "$preset" ${2:+--target "${@:2}"}
