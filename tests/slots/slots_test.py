#!/usr/bin/env python3
"""Guards the slots of virtual operations: where GNU compilers and where MSVC compile, they are those of slots.txt.

MSVC moves operations that share a name together, and gives a destructor one slot where GNU compilers give two. Clang lays
out the tables of both.

  slots_test.py CLANG SOURCE
"""

import glob
import os
import re
import subprocess
import sys

clang, source = sys.argv[1:]
os.chdir(source)
headers = [header for room in ("host", "core", "frame", "timers", "blocks") for header in sorted(glob.glob(f"{room}/*.h"))]


# What makes a compiler lay out the tables of a class: to delete an object, or to be its base.
needs_table = """
#include <type_traits>
template <class T, bool = std::has_virtual_destructor_v<T>> struct Needs { void release(T* object) { delete object; } };
template <class T> struct Needs<T, false> : T { Needs(); };
template <class T> Needs<T, false>::Needs() {}
"""


def classes_with_tables():
    """The classes of the headers that have virtual operations. Templates come with the classes that are made of them."""
    for header in headers:
        with open(header, encoding="utf-8") as file:
            text = file.read()
        for found in re.finditer(r"(?<!>\n)^(?:class|struct) (\w+)[^;{]*\{(.*?)^\};", text, re.M | re.S):
            around = re.findall(r"^namespace (\w+) \{(?!.*^\} // namespace \1)", text[:found.start()], re.M | re.S)
            if re.search(r"\b(virtual|override)\b", found[2]):
                yield "::".join(around + [found[1]])


def tables(target, *options):
    """The tables of each class as clang lays them out for a target, in their order; a table is a list of operations."""
    search = subprocess.run([clang, "-E", "-x", "c++", "-v", os.devnull], capture_output=True, text=True, check=True).stderr
    folders = re.search(r"<\.\.\.> search starts here:\n(.*?)End of search", search, re.S)[1].split()
    code = "".join(f'#include "{header}"\n' for header in headers)
    code += needs_table + "".join(f"template struct Needs<{name}>;\n" for name in names)
    # Without `final`, for which a compiler calls directly and lays out no table.
    command = [clang, f"--target={target}", "-std=c++20", "-w", "-Dfinal=", "-fno-access-control", "-S", "-emit-llvm", "-o",
               os.devnull, "-I.", "-Iinclude", "-nostdinc++", *(f"-isystem{folder}" for folder in folders), *options,
               "-Xclang", "-fdump-vtable-layouts", "-x", "c++", "-"]
    layout = subprocess.run(command, input=code, capture_output=True, text=True, check=False)
    if layout.returncode != 0:
        sys.exit(layout.stderr)
    result = {}
    for name, lines in re.findall(r"^V[Ff]?[Tt]able for (.*?) \(\d+ entr.*?\n(.*?)\n\n", layout.stdout, re.M | re.S):
        parts = re.split(r"^.*\| offset_to_top .*\n", lines, flags=re.M)
        operations = [re.findall(r"^ +\d+ \| (.*\(.*\).*?)(?: \[pure\])?$", part, re.M) for part in parts]
        kept = [[each.replace("scalar ", "") for each in part if "[complete]" not in each] for part in operations]
        result.setdefault(name.split("'")[-2], []).extend(part for part in kept if part)
    return result


def slots():
    """The operations of each class by slot, and its further bases in their order, as slots.txt has them."""
    listed, bases = {}, {}
    with open("tests/slots/slots.txt", encoding="utf-8") as file:
        for line in file.read().replace("\n  ", " ").splitlines()[2:]:
            name, parts = line.rsplit(":", 1)
            operations, *bases[name] = parts.split(" + ")
            listed[name] = sum((listed.get(each, [each]) for each in operations.split()), [])
    return listed, bases


def named(table):
    """The operations of a table by name, the destructor as "~"."""
    return ["~" if "~" in each else re.search(r"(\w+)\(", each)[1] for each in table]


names = list(classes_with_tables())
gnu = tables("x86_64-pc-linux-gnu")
# What its standard library asks of GNU compilers: the headers are those of this system.
msvc = tables("x86_64-pc-windows-msvc", "-D__STRICT_ANSI__", "-D_GNU_SOURCE", "-D__GCC_ATOMIC_TEST_AND_SET_TRUEVAL=1",
              "-D__GCC_ATOMIC_POINTER_LOCK_FREE=2")
wanted, bases = slots()
faults = [f"{name}: listed, but no class has this name" for name in set(wanted) - set(names)]
for name in names:
    listed = wanted.get(name, [])
    # What a class overrides of its further bases has a slot behind the others in the first table with GNU compilers.
    further = sum((named(table) for table in gnu[name][1:]), [])
    first = named(gnu[name][0])
    for compiler, found in ("GNU", first[:len(listed)]), ("MSVC", named(msvc[name][0])):
        if found != listed:
            faults.append(f"{name}: {compiler} compilers have the slots {' '.join(found)}, not {' '.join(listed)}")
    for base, table in zip(bases.get(name, []), gnu[name][1:]):
        if named(table) != wanted[base]:
            faults.append(f"{name}: {base} is not in its place")
    if not set(first[len(listed):]) <= set(further):
        faults.append(f"{name}: not all slots are listed: {' '.join(first)}")
print("\n".join(faults) or f"the slots of {len(names)} classes are as listed")
sys.exit(bool(faults))
