# shellcheck shell=bash
#: bench [--quick]     time the SDK beside direct use of the runtime, gRPC, ZeroMQ and the limits, and
#:                     from Python; 20 minutes, or 4; build/bench.json and build/bench.html

case "$*" in "" | --quick) ;; *) misuse "bench does not take \"$*\"" ;; esac
run ./dev setup bench python
run ./dev build linux-bench
run ./dev wheel --native
run .deps/python/bin/python -m pip install --quiet --force-reinstall --no-deps dist/*-py3-none-*linux*.whl
run .deps/python/bin/python bench/run_bench.py --programs build/linux-bench/bin --output build "$@"
