# shellcheck shell=bash
#: commands            run the commands on the pages, and compare their output
#:                     with the pages; first run ./dev package, ./dev wheel and
#:                     ./dev test --python

[ $# -eq 0 ] || misuse "commands does not take \"$*\""
for made in build/python dist/orvane-*.tar.gz dist/*linux*.whl; do
    [ -e "$made" ] || fail "$made is missing: run ./dev package, ./dev wheel and ./dev test --python first"
done
run ./dev setup test windows
run ./dev build linux
run python3 docs/site/page_commands.py README.md CONTRIBUTING.md docs/*.md
