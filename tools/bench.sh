# shellcheck shell=bash
#: bench [--quick]     compare the speed of the SDK with that of OpenVINO alone,
#:                     gRPC and ZeroMQ, in C++ and Python; write
#:                     build/bench.{json,html}; --quick takes 3 minutes

case "$*" in "" | --quick) ;; *) misuse "bench does not take \"$*\"" ;; esac
run ./dev setup bench python
run ./dev build linux-bench
run ./dev wheel --native
run .deps/python/bin/python -m pip install --quiet --force-reinstall --no-deps dist/*-py3-none-*linux*.whl
run .deps/python/bin/python bench/run_bench.py --programs build/linux-bench/bin --output build "$@"
