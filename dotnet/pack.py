"""pack.py VERSION BUILT TARGET: makes the NuGet package TARGET.

BUILT has lib/ with the assemblies and their documentation, and an installed SDK in linux/ and, for a package that also
runs on Windows, in windows/.
"""

import pathlib
import sys
import zipfile
from xml.sax.saxutils import quoteattr

HERE = pathlib.Path(__file__).parent


def native_files(sdk, system):
    """Returns the library, the host program and the runtime, which must be in one folder."""
    if system == "windows":
        programs = [*sdk.glob("bin/*.dll"), sdk / "bin/orvane_host.exe"]
        return {file.name: file for file in programs if file.name != "orvane_client_c.dll"}
    libraries = {file.name: file for file in sdk.glob("lib/*.so*") if not file.name.startswith("liborvane")}
    return {**libraries, "liborvane_c.so": sdk / "lib/liborvane_c.so", "orvane_host": sdk / "bin/orvane_host"}


def contents(built):
    """Returns the files of the package: the path in the package, and the path of the file to copy."""
    files = {"README.md": HERE / "README.md"}
    for folder in "build", "buildTransitive":
        files[f"{folder}/Orvane.targets"] = HERE / "msbuild/Orvane.targets"
    for file in (built / "lib").glob("*/*"):
        files[f"lib/{file.parent.name}/{file.name}"] = file
    for system, runtime in ("linux", "linux-x64"), ("windows", "win-x64"):
        sdk = built / system
        if not sdk.exists():
            continue
        for name, file in native_files(sdk, system).items():
            files[f"runtimes/{runtime}/native/{name}"] = file
        for file in sdk.glob("licenses/**/*"):
            if file.is_file():
                files[file.relative_to(sdk).as_posix()] = file
    return files


def content_types(names):
    """Returns [Content_Types].xml, which every such package has: a type for each extension, and for each file without
    extension."""
    suffixes = {pathlib.PurePath(name).suffix[1:] for name in names}
    entries = ['<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>']
    entries += [f'<Default Extension={quoteattr(suffix)} ContentType="application/octet"/>'
                for suffix in sorted(suffixes) if suffix]
    entries += [f'<Override PartName={quoteattr("/" + name)} ContentType="application/octet"/>'
                for name in names if not pathlib.PurePath(name).suffix]
    return ('<?xml version="1.0" encoding="utf-8"?>\n<Types xmlns="http://schemas.openxmlformats.org/package/2006/'
            'content-types">' + "".join(entries) + "</Types>")


RELATIONS = """<?xml version="1.0" encoding="utf-8"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Id="R1"
Type="http://schemas.microsoft.com/packaging/2010/07/manifest" Target="/Orvane.nuspec"/></Relationships>"""


def main(version, built, target):
    files = contents(pathlib.Path(built))
    manifest = (HERE / "Orvane.nuspec").read_text(encoding="utf-8").replace("$version$", version)
    with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as package:
        package.writestr("[Content_Types].xml", content_types(["Orvane.nuspec", *files]))
        package.writestr("_rels/.rels", RELATIONS)
        package.writestr("Orvane.nuspec", manifest)
        for name, file in sorted(files.items()):
            package.write(file, name)


main(*sys.argv[1:])
