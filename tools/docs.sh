# shellcheck shell=bash
#: docs                build the site in build/site, with references of the
#:                     headers and of the Python package; check its links, search
#:                     and layout with Chromium

[ $# -eq 0 ] || misuse "docs does not take \"$*\""
run ./dev setup docs
# Without --quiet, which does not count warnings. The variable turns off a notice about the next major version.
run env NO_MKDOCS_2_WARNING=1 .deps/docs/bin/mkdocs build --config-file docs/site/mkdocs.yml
run python3 docs/site/site_test.py build/site
echo "The first page of the site is build/site/index.html"
