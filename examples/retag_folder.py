#!/usr/bin/env python3
"""Sets a tag in all WAV files of a folder: retag_folder.py FOLDER ID TEXT

    retag_folder.py recordings IART "The Tuning Forks"

IART is the artist, INAM the title, ICRD the date. Each file is edited as a copy beside it, which
then replaces it: whatever goes wrong, a file has its old content or its new one, never a mixture.
"""

import os
import shutil
import sys
import tempfile
from pathlib import Path

import velmor_core


def set_tag(file: Path, tag: str, text: str) -> None:
    """Sets a tag in the copy of a WAV file. Adds LIST:INFO and the tag where they are missing."""
    with velmor_core.open(file, "r+") as opened:
        wave = opened.find("RIFF", "WAVE")
        if wave is None:
            raise velmor_core.Error("this is no WAV file")
        info = wave.find("LIST", "INFO") or wave.add_group("LIST", "INFO")
        data = text.encode() + b"\0"  # these texts end in a NUL
        old = info.find(tag)
        if old is not None:
            old.data = data
        else:
            info.add(tag, data)


def retag(file: Path, tag: str, text: str) -> None:
    handle, name = tempfile.mkstemp(dir=file.parent, prefix=f".{file.name}.")
    copy = Path(name)
    try:
        with os.fdopen(handle, "rb") as synced:
            shutil.copyfile(file, copy)
            shutil.copystat(file, copy)
            set_tag(copy, tag, text)
            os.fsync(synced.fileno())
        os.replace(copy, file)
    except BaseException:
        copy.unlink()
        raise


def main() -> int:
    if len(sys.argv) != 4:
        print(__doc__, file=sys.stderr)
        return 2
    folder, tag, text = sys.argv[1:]
    failed = 0
    for file in sorted(Path(folder).glob("*.[wW][aA][vV]")):
        try:
            retag(file, tag, text)
            print(f"{file}: done")
        except (OSError, velmor_core.Error, ValueError) as error:
            print(f"{file}: {error}; the file is as it was", file=sys.stderr)
            failed = 1
    return failed


if __name__ == "__main__":
    sys.exit(main())
