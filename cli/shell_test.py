#!/usr/bin/env python3
"""Tests the completions of `orvane` in the real shells, and its manual page in groff.

shell_test.py ORVANE FOLDER: FOLDER is for the scripts.
"""
import pathlib
import shutil
import subprocess
import sys

TIMEOUT_S = 60
# The commands for each shell with its script, and the output that they must print.
CASES = {
    "bash": ('source "$1"; for COMP_CWORD in 1 2; do COMP_WORDS=(orvane run --to); '
             '[ $COMP_CWORD = 1 ] && COMP_WORDS=(orvane enc); _orvane; echo "${COMPREPLY[@]}"; done', "encrypt\n--top\n"),
    "zsh": ('autoload -U compinit; compinit -D -u; source "$1"; print $_comps[orvane]', "_orvane\n"),
    "fish": ('source $argv[1]; complete -C "orvane enc"; complete -C "orvane run --to" | string split -f 1 "\t"; '
             'complete -C "orvane run --top "', "encrypt\tEncrypt a model file\n--top\n"),
}


def printed(*command, text=None):
    return subprocess.run(command, input=text, capture_output=True, text=True, timeout=TIMEOUT_S, check=True)


def main(orvane, folder):
    missing = [tool for tool in (*CASES, "groff") if shutil.which(tool) is None]
    if missing:
        print(f"SKIPPED: {', '.join(missing)} missing; `./dev setup test` installs them")
        return
    pathlib.Path(folder).mkdir(parents=True, exist_ok=True)
    for shell, (commands, wanted) in CASES.items():
        script = pathlib.Path(folder) / f"completion.{shell}"
        script.write_text(printed(orvane, "completion", shell).stdout, encoding="utf-8")
        arguments = [str(script)] if shell == "fish" else [shell, str(script)]
        found = printed(shell, *(["-f"] if shell == "zsh" else []), "-c", commands, *arguments).stdout
        assert found == wanted, f"{shell} completes {found!r}, not {wanted!r}"
    manual = printed("groff", "-ww", "-man", "-Tutf8", "-P-cbou", text=printed(orvane, "help", "--manual").stdout)
    assert "EXIT STATUS" in manual.stdout and not manual.stderr, manual.stderr or manual.stdout


if __name__ == "__main__":
    main(*sys.argv[1:])
