#!/usr/bin/env python3
"""Prints the results of the tests in one line.

test_summary.py FOLDER SUITE:STATUS...: SUITE.xml in FOLDER has the results of a suite in JUnit's format. STATUS is the
exit value of its last command. The exit value is 1 if a test or a suite has failed.
"""
import collections
import pathlib
import re
import sys
import xml.etree.ElementTree

# As our scripts and GoogleTest print it. GoogleTest prints the reason in the line after the place.
REASON = re.compile(r"^SKIPPED: (.+)$|: Skipped\n(.+)$", re.MULTILINE)


def reason_of(case):
    printed = REASON.search(case.findtext("system-out") or "")
    if printed:
        return printed[1] or printed[2]
    return case.find("skipped").get("message")


def main(folder, *suites):
    passed, failed, skipped = 0, [], collections.Counter()
    for suite, _, status in (suite.partition(":") for suite in suites):
        file = pathlib.Path(folder) / f"{suite}.xml"
        cases = xml.etree.ElementTree.parse(file).iter("testcase") if file.is_file() else []
        before = len(failed)
        for case in cases:
            if case.find("failure") is not None or case.find("error") is not None:
                failed.append(f"{suite} {case.get('name')}")
            elif case.find("skipped") is not None:
                skipped[reason_of(case)] += 1
            else:
                passed += 1
        if status != "0" and len(failed) == before:
            failed.append(f"{suite}: a step other than a test, see above")
    parts = [f"{passed} test{'s' * (passed != 1)} passed"]
    if skipped:
        reasons = "; ".join(f"{count} x {reason}" for reason, count in skipped.most_common())
        parts.append(f"{sum(skipped.values())} skipped ({reasons})")
    if failed:
        parts.insert(0, f"{len(failed)} FAILED ({'; '.join(failed)})")
    nothing = not (passed or failed or skipped)
    print("no test has run" if nothing else ", ".join(parts))
    return 1 if failed or nothing else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
