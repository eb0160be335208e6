# shellcheck shell=bash
#: mutate [COUNT] [--seed NUMBER]
#:                     change one line of the libraries or the host, run the quick tests, and list the
#:                     changes that no test sees; COUNT times, 20 by default, a minute for each survivor
#: mutate PATCH ...    try such changes again, from build/mutate

run ./dev setup mutate
run .deps/mutate/bin/python tools/mutate.py "$@"
