# shellcheck shell=bash
#: build [PRESET [TARGET ...]]
#:                     set up, configure and build; PRESET is linux by default (cmake --list-presets)

preset=${1:-linux}
case $preset in
    windows-mingw | package-windows) run ./dev setup windows ;;
    linux-bench) run ./dev setup bench ;;
    *) run ./dev setup ;;
esac
run cmake --preset "$preset"
run cmake --build --preset "$preset" ${2:+--target "${@:2}"}
