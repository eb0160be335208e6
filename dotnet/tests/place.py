"""place.py PACKAGE SYSTEM PROGRAM: places an installed package beside a program for .NET, as a build for any system does.

SYSTEM is linux-x64 or win-x64. The native files stay in runtimes/SYSTEM/native, where .NET finds them by PROGRAM.deps.json.
"""

import json
import os
import pathlib
import sys

package, system, program = pathlib.Path(sys.argv[1]), sys.argv[2], pathlib.Path(sys.argv[3])
library, version = package.name.split(".", 1)
name, framework = program.stem, ".NETCoreApp,Version=v3.1"


def place(source, target):
    target.parent.mkdir(parents=True, exist_ok=True)
    os.link(source, target)
    if target.name.startswith("orvane_host"):
        target.chmod(0o644)  # as NuGet extracts it


native = [file.relative_to(package) for file in (package / "runtimes" / system / "native").iterdir()]
for path in native:
    place(package / path, program.parent / path)
place(package / "lib/netstandard2.1/Orvane.dll", program.parent / "Orvane.dll")
dependencies = {
    "runtimeTarget": {"name": framework},
    "targets": {framework: {
        f"{name}/1.0.0": {"dependencies": {library: version}, "runtime": {program.name: {}}},
        f"{library}/{version}": {
            "runtime": {"lib/netstandard2.1/Orvane.dll": {}},
            "runtimeTargets": {path.as_posix(): {"rid": system, "assetType": "native"} for path in native},
        },
    }},
    "libraries": {
        f"{name}/1.0.0": {"type": "project", "serviceable": False, "sha512": ""},
        f"{library}/{version}": {"type": "package", "serviceable": False, "sha512": ""},
    },
}
settings = {"runtimeOptions": {
    "framework": {"name": "Microsoft.NETCore.App", "version": "3.1.0"},
    "configProperties": {"System.Globalization.Invariant": True},  # needs no ICU
}}
program.with_suffix(".deps.json").write_text(json.dumps(dependencies))
program.with_suffix(".runtimeconfig.json").write_text(json.dumps(settings))
