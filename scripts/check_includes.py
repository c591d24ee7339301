"""Checks that the folders know each other in one direction only.

Usage: check_includes.py FILE...   (paths from the root of the tree)

Every folder lists the folders it may include from. Frame holds both the bases of the module's classes and the record
that owns their objects: so its headers may include nothing but frame, and only its sources, which put the module
together, include the other rooms.
"""

import re
import sys
from pathlib import Path

HOST = {"host", "zelvane"}
MODULE = HOST | {"frame", "timers", "blocks", "tables"}
ALLOWED = {
    "host": {"host"},
    "include": HOST,
    "templates": HOST | {"templates"},
    "frame": MODULE,
    "timers": HOST | {"frame", "timers"},
    "blocks": HOST | {"frame", "timers", "blocks"},
    "tables": HOST | {"frame", "tables"},
    "module": set(),
    "headless": HOST | {"headless"},
    "tools": HOST | {"templates", "tools"},
    "examples": HOST,
    "fuzzing": HOST | {"templates", "tests", "fuzzing"},
    "benchmarks": MODULE | {"headless", "templates", "benchmarks"},
    "tests": MODULE | {"headless", "templates", "tools", "tests"},
}
HEADERS_OF_FRAME = HOST | {"frame"}
INCLUDE = re.compile(r'^\s*#\s*include\s+(["<])([^">]+)[">]')
# An outside author's client: it includes its own files by name, and of ours what is installed.
STANDS_ALONE = Path("examples/blockwatch")


def included(path):
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        found = INCLUDE.match(line)
        if not found:
            continue
        quote, target = found.groups()
        is_ours = target.split("/")[0] in set(ALLOWED) | HOST
        if is_ours or (quote == '"' and STANDS_ALONE not in path.parents):
            yield number, target


def complaints(name):
    path = Path(name)
    room = path.parts[0]
    allowed = HEADERS_OF_FRAME if room == "frame" and path.suffix == ".h" else ALLOWED[room]
    for number, target in included(path):
        if target.split("/")[0] not in allowed:
            yield f"{name}:{number}: {room} must not include {target}"


def main(names):
    found = [text for name in names for text in complaints(name)]
    print("\n".join(found), file=sys.stderr, end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
