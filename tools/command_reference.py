#!/usr/bin/env python3
"""Writes docs/command-line-reference.md: the text of `orvane help` as a page.

command_reference.py ORVANE [--check]: ORVANE is the program. With --check it writes nothing: it prints the first line
of the page that differs, and exits with 1.
"""
import itertools
import json
import pathlib
import subprocess
import sys

PAGE = pathlib.Path(__file__).resolve().parents[1] / "docs/command-line-reference.md"
HEAD = """# Options of `orvane`

This page has the text of `orvane help COMMAND`. [The command line](command-line.md) explains the commands. If an argument
names a file, `-` is the standard input or output. `--cache`, `--host` and the `OUT` of `reshape` do not take `-`.
"""


def page_of(tables):
    lines = [HEAD]
    for command, table in tables.items():
        lines += [f"## `{command}`", "", f"{table['description']}, as in `{table['example']}`.", ""]
        lines += ["| argument | meaning |", "|---|---|"]
        lines += [f"| `{row['call']}` | {row['description']} |" for row in table["arguments"]] + [""]
    return "\n".join(lines)


def main(orvane, *options):
    text = subprocess.run([orvane, "help", "--json"], capture_output=True, timeout=60, check=True).stdout
    wanted = page_of(json.loads(text))
    if not options:
        PAGE.write_text(wanted, encoding="utf-8")
        return 0
    there = PAGE.read_text(encoding="utf-8") if PAGE.is_file() else ""
    for number, (old, new) in enumerate(itertools.zip_longest(there.split("\n"), wanted.split("\n")), 1):
        if old != new:
            print(f"{PAGE}:{number} is\n  {old}\nand orvane says\n  {new}\nRun: tools/command_reference.py {orvane}")
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
