# shellcheck shell=bash
#: bench [--quick]     compare the SDK's speed with the runtime alone, gRPC, ZeroMQ and the limits, also
#:                     from Python; 3 minutes with --quick; writes build/bench.{json,html}

case "$*" in "" | --quick) ;; *) misuse "bench does not take \"$*\"" ;; esac
run ./dev setup bench python
run ./dev build linux-bench
run ./dev wheel --native
run .deps/python/bin/python -m pip install --quiet --force-reinstall --no-deps dist/*-py3-none-*linux*.whl
run .deps/python/bin/python bench/run_bench.py --programs build/linux-bench/bin --output build "$@"
