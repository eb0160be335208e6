#!/usr/bin/env python3
"""Finds tests by name before they are built.

find_tests.py cmake BUILD NAME: prints the targets to build for the tests whose names match the regular expression NAME.
BUILD is a configured build folder. Prints `all` if the command of a matching test contains no file of BUILD.
find_tests.py python NAME: prints "FILE::TEST" of each Python test, the name in pytest, if it matches.
"""
import ast
import json
import pathlib
import re
import subprocess
import sys

TEST = re.compile(r"^TEST(?:_[FP])?\(\s*(\w+),\s*(\w+)\)", re.MULTILINE)
INSTANCE = re.compile(r"^INSTANTIATE_TEST_SUITE_P\(\s*(\w+),\s*(\w+),", re.MULTILINE)


def googletest_names(source):
    """Yields the names that ctest uses, without the parameter of a parametrized test."""
    text = source.read_text(encoding="utf-8")
    instances = INSTANCE.findall(text)
    for suite, test in TEST.findall(text):
        yield f"{suite}.{test}"
        yield from (f"{instance}/{suite}.{test}/" for instance, of in instances if of == suite)


def googletest_targets(build, name):
    for command in json.loads((build / "compile_commands.json").read_text(encoding="utf-8")):
        target = re.search(r"CMakeFiles/(\w+)\.dir/", command["command"].partition(" -o ")[2])
        if target and target[1].endswith("_test") and any(map(name.search, googletest_names(pathlib.Path(command["file"])))):
            yield target[1]


def other_targets(build, name):
    """For tests that are not GoogleTest's: yields the files of the build that their commands contain."""
    listed = subprocess.run(["ctest", "--show-only=json-v1"], cwd=build, capture_output=True, check=True).stdout
    for test in json.loads(listed)["tests"]:
        if not name.search(test["name"]):
            continue
        made = re.findall(rf"{re.escape(str(build))}/((?:bin|lib)/[^\s;]+)", "\n".join(test.get("command", [])))
        if not test["name"].endswith("_NOT_BUILT"):
            yield from (file.removeprefix("bin/") if file.endswith("_test") else file for file in made or ["all"])


def pytest_names(name):
    for source in sorted([*pathlib.Path("python/tests").glob("test_*.py"), *pathlib.Path("examples").glob("*/test_*.py")]):
        for node in ast.parse(source.read_text(encoding="utf-8")).body:
            if isinstance(node, ast.FunctionDef) and node.name.startswith("test_"):
                if name.search(f"{source.name}::{node.name}"):
                    yield f"{source}::{node.name}"


def main(kind, *arguments):
    name = re.compile(arguments[-1])
    if kind == "python":
        found = list(pytest_names(name))
    else:
        build = pathlib.Path(arguments[0]).resolve()
        found = sorted({*googletest_targets(build, name), *other_targets(build, name)})
    print(*found, sep="\n", end="\n" if found else "")


if __name__ == "__main__":
    main(*sys.argv[1:])
