#!/usr/bin/python3
# Packs the selected files and folders into a new ZIP file beside the first of them.
import datetime
import os
import subprocess
import sys
import zipfile

answer = subprocess.run(["tavlin-paths", "-0", sys.argv[1]], stdout=subprocess.PIPE, check=True)
paths = [os.fsdecode(path) for path in answer.stdout.split(b"\0")[:-1]]
if not paths:
    sys.exit(0)


def numbered(stem, ending):
    """stem + ending, "stem 2" + ending, "stem 3" + ending, and so on."""
    yield stem + ending
    number = 2
    while True:
        yield f"{stem} {number}{ending}"
        number += 1


def archive_name(path):
    """The name as a ZIP file can hold it: UTF-8, with U+FFFD for what is none."""
    return os.fsencode(path).decode("utf-8", "replace")


stem = os.path.join(os.path.dirname(paths[0]), "Pictures " + datetime.date.today().isoformat())
for target in numbered(stem, ".zip"):
    try:
        file = open(target, "xb")
        break
    except FileExistsError:
        pass

status = 0
taken = set()
with file, zipfile.ZipFile(file, "w", zipfile.ZIP_DEFLATED, strict_timestamps=False) as archive:
    for path in paths:
        name = archive_name(os.path.basename(path))
        name = next(n for n in numbered(*os.path.splitext(name)) if n not in taken)
        taken.add(name)
        try:
            if os.path.isdir(path):
                for folder, _, files in os.walk(path):
                    for entry in files:
                        inner = os.path.join(folder, entry)
                        if os.path.isfile(inner):
                            archive.write(inner, os.path.join(name, archive_name(os.path.relpath(inner, path))))
            elif os.path.isfile(path):
                archive.write(path, name)
        except OSError as error:
            print(f"{os.path.basename(sys.argv[0])}: not packed: {archive_name(path)}: {error}", file=sys.stderr)
            status = 1
sys.exit(status)
