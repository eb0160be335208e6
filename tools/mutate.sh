# shellcheck shell=bash
#: mutate [COUNT] [--seed NUMBER]
#:                     change one line of the libraries or the host, run the quick tests, and list the
#:                     changes that no test finds; COUNT is 20 by default; each survivor takes a minute
#: mutate PATCH ...    try changes again; their patches are in build/mutate

run ./dev setup mutate
run .deps/mutate/bin/python tools/mutate.py "$@"
