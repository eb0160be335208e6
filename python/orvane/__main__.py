"""The command line, ``orvane`` or ``python -m orvane``: runs the program ``orvane`` of this package."""

import os
import signal
import subprocess
import sys
from typing import NoReturn

from ._library import program


def main() -> NoReturn:
    command = [str(program("orvane")), *sys.argv[1:]]
    if sys.platform == "win32":
        signal.signal(signal.SIGINT, lambda *_: None)  # Ctrl-C reaches the program too, and it decides what to do
        sys.exit(subprocess.run(command, check=False).returncode)
    os.execv(command[0], command)


if __name__ == "__main__":
    main()
