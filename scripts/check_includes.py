"""Checks that dependencies between folders point in one direction.

Usage: check_includes.py FILE...   (paths from the root of the tree)

Each folder lists the folders, and single headers of other folders, that it may include. The entry points (the exports and
the idle check) are in the folders of their subjects, but may include all folders of the module: they query the
application object for the data of a document.
"""

import re
import sys
from pathlib import Path

HOST = {"host", "zelvane"}
# Of the public headers, the module uses these alone: the others are the client kit.
BASE = {"host", "core"} | {f"zelvane/{name}.h" for name in ("zelvane", "block_table_walk", "names", "opened")}
MODULE = BASE | {"frame", "timers", "blocks", "tables"}
ALLOWED = {
    "host": {"host"},
    "include": HOST,
    "core": BASE,
    "templates": BASE | {"templates"},
    "frame": BASE | {"timers", "blocks", "frame"},
    "timers": BASE | {"timers"},
    "blocks": BASE | {"timers", "blocks"},
    "tables": BASE,
    "module": {"host"},
    "text": HOST | {"text"},
    "windows": {"host"},
    "headless": HOST | {"text", "headless"},
    "tools": HOST | {"text", "templates", "tools"},
    "examples": HOST,
    "fuzzing": HOST | {"templates", "tests", "fuzzing"},
    "benchmarks": MODULE | HOST | {"headless", "templates", "benchmarks"},
    "tests": MODULE | HOST | {"text", "headless", "templates", "tools", "tests"},
}
ENTRY_POINTS = {
    "timers/idle_check.cpp",
    "timers/timer_export.cpp",
    "blocks/monitor_exports.cpp",
    "tables/table_exports.cpp",
}
INCLUDE = re.compile(r'^\s*#\s*include\s+(["<])([^">]+)[">]')
# A client as an external author writes it: includes its own files by bare name, and installed headers.
EXTERNAL_CLIENT = Path("examples/blockwatch")


def included(path):
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        found = INCLUDE.match(line)
        if not found:
            continue
        quote, target = found.groups()
        is_ours = target.split("/")[0] in set(ALLOWED) | HOST
        if is_ours or (quote == '"' and EXTERNAL_CLIENT not in path.parents):
            yield number, target


def violations(name):
    path = Path(name)
    folder = path.parts[0]
    allowed = MODULE if name in ENTRY_POINTS else ALLOWED[folder]
    for number, target in included(path):
        if not {target, target.split("/")[0]} & allowed:
            yield f"{name}:{number}: {folder} must not include {target}"


def main(names):
    found = [text for name in names for text in violations(name)]
    print("\n".join(found), file=sys.stderr, end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
