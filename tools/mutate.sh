# shellcheck shell=bash
#: mutate [COUNT] [--seed NUMBER]
#:                     change one line of the libraries or the host process, and
#:                     run the quick tests; repeat this COUNT times (default:
#:                     20), and list the changes that no test finds; a change
#:                     that all tests pass takes a minute
#: mutate PATCH ...    try these changes again; the patches of earlier runs are
#:                     in build/mutate

run ./dev setup mutate
run .deps/mutate/bin/python tools/mutate.py "$@"
