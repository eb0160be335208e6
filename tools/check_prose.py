#!/usr/bin/env python3
"""Checks the English of pages with proselint, and with a list of phrases that this project avoids.

check_prose.py PAGE...: run it with the Python of .deps/prose. Ignores code and the targets of links. Prints each
finding as FILE:LINE: TEXT. Exits with 1 if there is a finding.
"""
import pathlib
import re
import sys

from proselint.checks import __register__
from proselint.config import DEFAULT
from proselint.registry import CheckRegistry
from proselint.tools import LintFile

# A phrase, and what to write instead.
PHRASES = {
    r"\bwhom\b|\bwhoever\b|\bfor who\b": "name the person: you, the caller, the user",
    r"\bnobody\b": "say who does not: users, the project, other processes",
    r"\b(is|are) none\b": "say what is missing",
    r"\bstands?\b(?! for)": "is",
    r"\btells?\b": "returns, shows, says",
    r"\bbehind\b": "after",
    r"\bgo(es)? with\b": "works with",
    r"\bis to be had\b": "is available",
    r"\b(of|at) its own\b|\bof any two\b": "name the thing",
    r"\bfetch(es|ed|ing)?\b": "download",
    r"\bgoes on\b": "continues",
    r"\btravels?\b": "is sent",
    r"\bcomes? back\b": "is restored, is returned",
    r"\bone that\b|\bof which there\b": "repeat the noun",
    r"\bwhose every\b|\bwhat is not wanted\b|\bkeeps no\b|\blest\b": "write a plain sentence",
}
# Markdown has no curly quotes, and tables repeat words.
CHECKS = DEFAULT["checks"] | {"typography": False, "lexical_illusions": False}
CODE = re.compile(r"```.*?```|`[^`\n]*`|\]\([^)\n]*\)|<!--.*?-->|<[^>\n]+>", re.DOTALL)


def avoided(text):
    for number, line in enumerate(text.splitlines(), 1):
        for phrase, better in PHRASES.items():
            if found := re.search(phrase, line, re.IGNORECASE):
                yield number, f'"{found[0]}": write {better}'


def linted(page, text):
    for result in LintFile(page, text).lint({"max_errors": 1000, "checks": CHECKS}):
        yield result.pos[0], result.check_result.message


def main(pages):
    CheckRegistry().register_many(__register__)
    findings = 0
    for page in pages:
        # Replaces code by x, so that the lines keep their numbers.
        text = CODE.sub(lambda found: re.sub(r"\S", "x", found[0]), pathlib.Path(page).read_text(encoding="utf-8"))
        for line, finding in sorted({*avoided(text), *linted(page, text)}):
            print(f"{page}:{line}: {finding}")
            findings += 1
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
