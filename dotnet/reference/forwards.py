"""forwards.py KEY_OF FOLDER: writes two files that compiling against this folder needs and Debian does not have.

Writes FOLDER/netstandard.snk, the public key of the assembly KEY_OF, which identifies `netstandard` everywhere, and
FOLDER/forwards.cs. Compiled, that is the `netstandard` of Mono, which Debian's Mono lacks: it forwards each type in this
folder's lists to Mono's type.
"""

import pathlib
import re
import sys

key_of, folder = map(pathlib.Path, sys.argv[1:])
# A public key of 160 bytes: the algorithms for signatures and hashes, then the size of the key itself.
key = re.search(rb"\x00\x24\x00\x00\x04\x80\x00\x00\x94\x00\x00\x00.{148}", key_of.read_bytes(), re.DOTALL)
if key is None:
    sys.exit(f"forwards.py: {key_of} has no public key")
(folder / "netstandard.snk").write_bytes(key[0])

namespace = ""
lines = ['[assembly: System.Reflection.AssemblyVersion("2.0.0.0")]']
listed = [file.read_text(encoding="utf-8") for file in sorted(pathlib.Path(__file__).parent.glob("*.cs"))]
for line in "".join(listed).splitlines():
    if found := re.match(r"namespace (\S+)", line):
        namespace = found[1]
    elif found := re.match(r"    public (?:\w+ )*(?:class|struct|interface|enum|delegate \w+) (\w+)(<[^>]*>)?", line):
        name = f"{namespace}.{found[1]}" + (f"<{',' * found[2].count(',')}>" if found[2] else "")
        name = "void" if name == "System.Void" else name  # C# has no other name for it
        lines.append(f"[assembly: System.Runtime.CompilerServices.TypeForwardedTo(typeof({name}))]")
(folder / "forwards.cs").write_text("\n".join(lines) + "\n", encoding="utf-8")
