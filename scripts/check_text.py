#!/usr/bin/env python3
"""Checks the text of the tree: words that are not used, and the share of comments in the code.

    check_text.py [--summary] [PATH...]    PATH: files or folders; default: the whole tree

Prints each finding as "file:line: word (use: replacement)", with --summary the number of findings of each folder.
"""

import argparse
import re
import sys
from collections import Counter
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
SPLIT = "\x1f"  # separates the words of a name
GAP = rf"(?:[\s{SPLIT}]|//+|#|--+)+"  # between words: also inside a name, or a line break inside a comment
WORDS = {  # regular expression: replacement. A space matches any gap between words, see GAP.
    r"anew|afresh": "again, from scratch",
    r"by and by": "later",
    r"for good": "permanently",
    r"pass(es|ed|ing)? over": "skip",
    r"(tak(e|es|en|ing)|took) ((it|them|this|that) )?for(?! (each|every)\b)": "treat as",
    rf"stands?(?! for\b|[-{SPLIT}]in)|standing|stood": "is",
    r"lies?|lying|lain": "is, is placed, is nested",
    r"besides": "also",
    r"mend(s|ed|ing)?": "fix",
    r"(come|comes|came|coming) (to be|into being)": "be created",
    r"likewise": "also, the same",
    r"somebody|someone|nobody|whoever|whom(ever)?": "the name of the actor",
}
ALLOWED = {}  # path: words that are allowed there
SKIPPED_FOLDERS = {".git", ".cache"}  # and folders of builds
SKIPPED_FILES = {"LICENSE", "scripts/check_text.py"}
TEXT_SUFFIXES = {"", ".md", ".h", ".cpp", ".lua", ".py", ".sh", ".cmake", ".in", ".txt", ".json", ".rc",
                 ".map", ".def", ".yml"}
COMMENT_LIMITS = {"blocks": 0.1, "core": 0.1, "frame": 0.1, "timers": 0.1} | dict.fromkeys(
    ("module", "tables", "templates", "text", "include", "headless", "host"), 0.09)

PATTERNS = [(re.compile(rf"\b(?:{words.replace(' ', GAP)})\b", re.IGNORECASE), use) for words, use in WORDS.items()]


def texts(paths):
    """Path and content of every text file, in order; paths are relative to the root."""
    for path in paths:
        for file in sorted(path.rglob("*") if path.is_dir() else [path]):
            name = file.relative_to(ROOT)
            is_text = file.is_file() and file.suffix in TEXT_SUFFIXES and str(name) not in SKIPPED_FILES
            if is_text and not SKIPPED_FOLDERS & set(name.parts) and not name.parts[0].startswith("build"):
                yield name, file.read_text(encoding="utf-8", errors="replace")


def unused_words(name, text):
    """Findings in a text. Names count as the words that they consist of."""
    words = re.sub(r"(?<=[a-z0-9])(?=[A-Z])|_", SPLIT, text)
    matches = [(match.start(), match.group(), use) for pattern, use in PATTERNS for match in pattern.finditer(words)]
    for start, group, use in sorted(matches):
        word = re.sub(GAP, " ", group).strip()
        if word.lower() not in ALLOWED.get(str(name), ()):
            yield f"{name}:{words.count(chr(10), 0, start) + 1}: {word} (use: {use})"


def comment_shares(sources):
    """The folders with too few comments. A line that only has a comment counts as comment."""
    comments, code = Counter(), Counter()
    for name, text in sources:
        lines = [line.strip() for line in text.splitlines() if line.strip()]
        count = sum(line.startswith("//") for line in lines)
        comments[name.parts[0]] += count
        code[name.parts[0]] += len(lines) - count
    for folder, limit in COMMENT_LIMITS.items():
        share = comments[folder] / code[folder] if code[folder] else limit
        if share < limit:
            yield f"{folder}: {share:.3f} comment lines per line of code (limit: {limit})"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--summary", action="store_true", help="print the number of findings of each folder")
    parser.add_argument("paths", nargs="*", type=Path, default=[ROOT], metavar="PATH", help="files or folders")
    options = parser.parse_args()
    files = list(texts(path.resolve() for path in options.paths))
    found = [finding for name, text in files for finding in unused_words(name, text)]
    if options.summary:
        folders = Counter(finding.split(":")[0].split("/")[0] for finding in found)
        print("\n".join(f"{count:5} {folder}" for folder, count in sorted(folders.items())))
    else:
        found += comment_shares((name, text) for name, text in files if name.suffix in (".h", ".cpp"))
        print("\n".join(found), file=sys.stderr, end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
