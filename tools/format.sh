# shellcheck shell=bash
#: format              let clang-format rewrite the sources

[ $# -eq 0 ] || misuse "format does not take \"$*\""
run ./dev setup format
sources | run xargs clang-format -i
