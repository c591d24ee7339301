"""Lists the translation units that changed since a commit, directly or in a header that they include.

Usage: units_to_check.py COMPILE_COMMANDS BASE   (an empty BASE lists all units; run it in the root of the tree)
"""

import json
import re
import subprocess
import sys
from pathlib import Path

INCLUDE = re.compile(r'^\s*#\s*include\s+["<]([^">]+)[">]', re.MULTILINE)


def git(*words):
    return subprocess.run(["git", *words], check=True, capture_output=True, text=True).stdout.splitlines()


def includes(path):
    """The files of the tree that a file includes, directly or indirectly."""
    found, pending = set(), [path]
    while pending:
        for name in INCLUDE.findall(pending.pop().read_text(encoding="utf-8")):
            for candidate in (name, f"include/{name}"):
                if candidate not in found and Path(candidate).is_file():
                    found.add(candidate)
                    pending.append(Path(candidate))
    return found


def main(compile_commands, base):
    root = Path.cwd()
    files = {Path(entry["file"]) for entry in json.loads(Path(compile_commands).read_text(encoding="utf-8"))}
    units = sorted(path.relative_to(root) for path in files if root in path.parents and "build" not in path.parts)
    if base:
        changed = set(git("diff", "--name-only", base)) | set(git("ls-files", "--others", "--exclude-standard"))
        units = [unit for unit in units if str(unit) in changed or includes(unit) & changed]
    print("\n".join(map(str, units)), end="\n" if units else "")


if __name__ == "__main__":
    main(*sys.argv[1:])
