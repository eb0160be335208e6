#!/usr/bin/env python3
"""Checks the English of pages with proselint, and of pages and comments with a list of phrases that this project avoids.

check_prose.py FILE...: run it with the Python of .deps/prose. A page is a file that ends in .md; its code and the targets
of its links are ignored. Of every other file, it checks the comments. Prints each finding as FILE:LINE: TEXT. Exits with
1 if there is a finding.
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
    r"\bwhom\b|\bwhoever\b|\bfor who\b": "you, the caller, the user",
    r"\bnobody\b": "who does not: users, the project, other processes",
    r"\b(is|are) none\b": "what is missing",
    r"\bstands?\b(?! for)": "is",
    r"\btells?\b": "returns, shows, says",
    r"\bbehind\b": "after",
    r"\bgo(es)? with\b": "works with",
    r"\bis to be had\b": "is available",
    r"\b(of|at) its own\b|\bof any two\b": "the noun",
    r"\bfetch(es|ed|ing)?\b": "download",
    r"\bgoes on\b": "continues",
    r"\btravels?\b": "is sent",
    r"\bcomes? back\b": "is restored, is returned",
    r"\bof which there\b": "a second sentence",
    r"\bwhose every\b|\bwhat is not wanted\b|\bkeeps no\b|\blest\b": "a plain sentence",
}
# Markdown has no curly quotes, and tables repeat words.
CHECKS = DEFAULT["checks"] | {"typography": False, "lexical_illusions": False}
CODE = re.compile(r"```.*?```|`[^`\n]*`|\]\([^)\n]*\)|<!--.*?-->|<[^>\n]+>", re.DOTALL)
COMMENT = re.compile(r"(?:^|\s)(?://+|#) (.*)")


def avoided(text):
    for number, line in enumerate(text.splitlines(), 1):
        for phrase, better in PHRASES.items():
            if found := re.search(phrase, line, re.IGNORECASE):
                yield number, f'avoid "{found[0]}"; instead: {better}'


def linted(page, text):
    for result in LintFile(page, text).lint({"max_errors": 1000, "checks": CHECKS}):
        yield result.pos[0], result.check_result.message


def comments(text):
    """Returns the text with only its comments. The lines keep their numbers."""
    return "\n".join(found[1] if (found := COMMENT.search(line)) else "" for line in text.splitlines())


def findings_in(file):
    text = pathlib.Path(file).read_text(encoding="utf-8")
    if not file.endswith(".md"):
        return avoided(comments(text))
    text = CODE.sub(lambda found: re.sub(r"\S", "x", found[0]), text)  # the lines keep their numbers
    return {*avoided(text), *linted(file, text)}


def main(files):
    CheckRegistry().register_many(__register__)
    findings = [f"{file}:{line}: {finding}" for file in files for line, finding in sorted(findings_in(file))]
    print(*findings, sep="\n", end="\n" if findings else "")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
