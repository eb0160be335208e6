#!/usr/bin/env python3
"""Prints the results of the tests in one line.

test_summary.py FOLDER SUITE:STATUS...: FOLDER/SUITE.xml has the results of a suite in JUnit's format. STATUS is the
exit value of the suite's last command. Exits with 1 if a test or a suite failed, or if no test ran.
"""
import collections
import pathlib
import re
import sys
import xml.etree.ElementTree

# The project's scripts print "SKIPPED: REASON". GoogleTest prints the reason in the line after the place.
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
            failed.append(f"{suite}: not a test; see above")
    parts = [f"{passed} test{'s' * (passed != 1)} passed"]
    if skipped:
        reasons = "; ".join(f"{count} x {reason}" for reason, count in skipped.most_common())
        parts.append(f"{sum(skipped.values())} skipped ({reasons})")
    if failed:
        parts.insert(0, f"{len(failed)} FAILED ({'; '.join(failed)})")
    nothing = not (passed or failed or skipped)
    print("no test ran" if nothing else ", ".join(parts))
    return 1 if failed or nothing else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
