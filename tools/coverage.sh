# shellcheck shell=bash
#: coverage            measure which lines of core, ipc, host and backends the
#:                     tests run; fail below 90 %

[ $# -eq 0 ] || misuse "coverage does not take \"$*\""
run ./dev setup test coverage
run ./dev build linux-coverage
run find build/linux-coverage -name '*.gcda' -delete  # they have the counts of earlier runs
run ctest --preset linux-coverage
run gcovr --root . --filter core/ --filter backends/ --filter ipc/ --filter host/ --exclude '.*_test\.cpp' --print-summary \
    --fail-under-line 90 build/linux-coverage
