"""``python -m velmor_core tree FILE...`` shows the chunks of files as trees."""

from __future__ import annotations

import argparse
import os
import sys
from typing import List, Optional

from . import Error, __version__, open


def main(arguments: Optional[List[str]] = None) -> int:
    """Run the command. Return 0, or 1 if a file could not be shown; the others are shown anyway.

    >>> main(["tree", "tone.wav"])
    tone.wav  (8,044 bytes)
      offset  chunk      data size  total
           0  RIFF:WAVE      8,036  8,044
          12    fmt             16     24
          36    data         8,000  8,008
    0
    """
    parser = argparse.ArgumentParser(
        prog="python -m velmor_core", description="Show RIFF files."
    )
    parser.add_argument("--version", action="version", version=__version__)
    commands = parser.add_subparsers(dest="command", required=True, metavar="COMMAND")
    tree = commands.add_parser("tree", help="show the chunks of files as trees")
    tree.add_argument("files", nargs="+", metavar="FILE")
    failed = 0
    for file in parser.parse_args(arguments).files:
        try:
            with open(file) as opened:
                text = f"{file}  ({opened.size:,} bytes)\n{opened.tree()}"
        except (OSError, Error) as error:
            print(f"{file}: {getattr(error, 'strerror', None) or error}", file=sys.stderr)
            failed = 1
        else:
            print(text)
    return failed


if __name__ == "__main__":
    try:
        sys.exit(main())
    except BrokenPipeError:  # the reading program has ended
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        sys.exit(1)
