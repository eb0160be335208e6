"""The command line, ``orvane`` or ``python -m orvane``: runs the program ``orvane`` of this package."""

import os
import subprocess
import sys
from typing import NoReturn

from ._library import program


def main() -> NoReturn:
    command = [str(program("orvane")), *sys.argv[1:]]
    if sys.platform == "win32":
        sys.exit(subprocess.run(command, check=False).returncode)
    os.execv(command[0], command)


if __name__ == "__main__":
    main()
