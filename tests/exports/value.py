#!/usr/bin/env python3
"""The value library exports what its header declares and its export list names; the extension its entry point alone.

    value.py CC NM HEADER EXPORT_LIST LIBRARY [EXTENSION]
"""
import re
import subprocess
import sys

MARKER = "QVO_EXPORT_MARKER"
ENTRY_POINT = "sqlite3_qvosqlite_init"


def output(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def exported_by(nm, library):
    """Dynamic symbols that are defined; not the name of the version itself."""
    symbols = (line.split() for line in output(nm, "-D", "--defined-only", library).splitlines())
    return {name.split("@")[0] for *_, kind, name in symbols if kind != "A"}


def main():
    cc, nm, header, export_list, library, *extension = sys.argv[1:]
    text = output(cc, "-E", "-P", "-x", "c", "-std=c11", f"-DQVO_VALUE_API={MARKER}", header)
    declared = set(re.findall(MARKER + r"[^;(]*?(\w+)\s*\(", text))
    with open(export_list, encoding="utf-8") as file:
        listed = set(re.findall(r"^ +(\w+);$", file.read(), re.MULTILINE))
    found = {"the header": declared, "the export list": listed, "the library": exported_by(nm, library)}
    faults = [f"{name}: not in {place}" for place, names in found.items() for name in set().union(*found.values()) - names]
    for file in extension:
        if (names := exported_by(nm, file)) != {ENTRY_POINT}:
            faults.append(f"{file} exports {sorted(names)}")
    if not declared:
        faults.append("no declarations were found")
    print("\n".join(sorted(faults)) or f"{len(declared)} functions in header, list and library")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
