# shellcheck shell=bash
#: models              fetch real models, run each with the command line in the process and in a host,
#:                     compare the outputs with those of the runtime itself, and write docs/models.md

[ $# -eq 0 ] || misuse "models does not take \"$*\""
run ./dev setup models
run ./dev build linux orvane_cli orvane_host
# OpenVINO's own Python package is the one beside the libraries that everything here is linked with.
run env PYTHONPATH=.deps:.deps/models/unpacked python3 tools/known_models.py .deps/models/unpacked tools/deps/models.txt \
    build/linux/bin/orvane docs/models.md
