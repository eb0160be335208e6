# shellcheck shell=bash
#: format              format the sources with clang-format

[ $# -eq 0 ] || misuse "format does not take \"$*\""
run ./dev setup format
sources | run xargs clang-format -i
