# shellcheck shell=bash
#: models              download real models, run each with the command line in
#:                     process and in a host process, compare the outputs with
#:                     OpenVINO's, and write docs/models.md

[ $# -eq 0 ] || misuse "models does not take \"$*\""
run ./dev setup models
run ./dev build linux orvane_cli orvane_host
# Uses the Python package of the OpenVINO in .deps, because the programs use the same libraries.
run env PYTHONPATH=.deps:.deps/models/unpacked python3 tools/known_models.py .deps/models/unpacked tools/deps/models.txt \
    build/linux/bin/orvane docs/models.md
