#!/usr/bin/env python3
"""The export list of the shared library, target/qvoseqrle/qvoseq.map, from the public headers.

The headers are the one place where a symbol is declared; the list follows them. They are preprocessed with QVO_API
left visible, so that the type-stamping macros are expanded by the compiler and every declaration can be read back.
The banner above a declaration (/* ==== transform/filter ==== */) names the source file that it is grouped under.

    export_list.py write    --cc CC --include DIR... --map FILE              rewrite the list, if it changed
    export_list.py check    --cc CC --include DIR... --map FILE [--sources DIR]
                         [--nm NM --readelf READELF --objdump OBJDUMP --library FILE]
                                                                             compare headers, list and library
"""
import argparse
import os
import re
import subprocess
import sys

HEADERS = ("qvoseq.h", "qvohost.h")
VERSION_NODE = "QVOSEQ_1"  # with the major number of the binary interface
MARKER = "QVO_EXPORT_MARKER"
NEEDED = ("libc.so.6", "libm.so.6")
# Besides the declared settings: the generators of the sorts' pivots, and what is written when the library is loaded.
SHARED = r"_ZN3qvoL\d+seed_\w+E(\.\d+)?|_ZN3qvo9cpu_levelE"

BANNER = re.compile(r"/\* ==== (\S+?):? ")
LINE_MARKER = re.compile(r'# (\d+) "(.*)"')
DECLARATION = re.compile(MARKER + r"([^;{]*);")
FUNCTION = re.compile(r"(\w+)\s*\(")
VARIABLE = re.compile(r"(\w+)(?:\s*\[[^]]*\])*\s*$")


def find_header(directories, header):
    for directory in directories:
        path = os.path.join(directory, header)
        if os.path.exists(path):
            return path
    sys.exit(f"export_list: {header} not found in {directories}")


def banners(path):
    """Line number and source file of every banner, ascending."""
    with open(path, encoding="utf-8") as file:
        return [(number, match[1]) for number, line in enumerate(file, 1) if (match := BANNER.match(line))]


def declared_in(path, command):
    """(source file, name) of every exported declaration in one header, in the order of the header."""
    text = subprocess.run(command + [path], check=True, stdout=subprocess.PIPE, text=True).stdout
    groups = banners(path)
    result = []
    own, number, pending, start = False, 0, "", 0
    for line in text.splitlines():
        if marker := LINE_MARKER.match(line):
            number, own = int(marker[1]), os.path.realpath(marker[2]) == os.path.realpath(path)
            continue
        if own:
            if MARKER not in pending:
                pending, start = "", number
            pending += line + "\n"
            while declaration := DECLARATION.search(pending):
                pending = pending[declaration.end():]
                name = FUNCTION.search(declaration[1]) or VARIABLE.search(declaration[1])
                group = [source for first, source in groups if first <= start]
                if name is None or not group:
                    sys.exit(f"{path}:{start}: an export without a {'banner' if name else 'name'}: {declaration[1]}")
                result.append((group[-1], name[1]))
            start = number
        number += 1
    return result


def declared(arguments):
    """Exported names by source file; the files in the order of the headers."""
    command = [*arguments.cc.split(), "-E", "-x", "c", "-std=c11", f"-DQVO_API={MARKER}"]
    command += [f"-I{directory}" for directory in arguments.include]
    groups = {}
    for header in HEADERS:
        for source, name in declared_in(find_header(arguments.include, header), command):
            groups.setdefault(source, set()).add(name)
    return groups


def render(groups):
    lines = ["/* The exported symbols, by source file. Written by the `map` target from the headers. */",
             f"{VERSION_NODE} {{", "global:"]
    for source, names in groups.items():
        lines += ["", f"    /* {source}.cpp */"] + [f"    {name};" for name in sorted(names)]
    return "\n".join(lines + ["", "local:", "    *;", "};", ""])


def write(arguments):
    text = render(declared(arguments))
    try:
        with open(arguments.map, encoding="utf-8") as file:
            if file.read() == text:
                return 0
    except FileNotFoundError:
        pass
    with open(arguments.map + ".new", "w", encoding="utf-8") as file:
        file.write(text)
    os.replace(arguments.map + ".new", arguments.map)
    print(f"{arguments.map}: {text.count(';') - 2} symbols")
    return 0


def exported_by(nm, library):
    """The dynamic symbols that the library defines: functions, data, indirect and weak ones."""
    text = subprocess.run([nm, "-D", "--defined-only", library], check=True, stdout=subprocess.PIPE, text=True).stdout
    symbols = (line.split() for line in text.splitlines())
    return {name.split("@")[0] for *_, kind, name in symbols if kind in "TDBRViWu"}


def needed_by(readelf, library):
    """The libraries that the loader has to find for it."""
    text = subprocess.run([readelf, "-d", library], check=True, stdout=subprocess.PIPE, text=True).stdout
    return set(re.findall(r"\(NEEDED\).*\[(.*)\]", text))


def writable_in(objdump, library):
    """The variables that the library has, apart from what is written before it is used and what a compiler adds."""
    text = subprocess.run([objdump, "-t", library], check=True, stdout=subprocess.PIPE, text=True).stdout
    lines = re.findall(r" O \.(?:data|bss|tdata|tbss)\t\w+ +(?:\.\w+ )?(\S+)$", text, re.MULTILINE)
    return [name for name in lines if not re.match(r"__|completed\.", name)]


def check(arguments):
    groups = declared(arguments)
    names = set().union(*groups.values())
    with open(arguments.map, encoding="utf-8") as file:
        text = file.read()
    listed = set(re.findall(r"^    (\w+);$", text, re.MULTILINE))
    faults = [f"{name}: declared, but not in the list" for name in sorted(names - listed)]
    faults += [f"{name}: in the list, but not declared" for name in sorted(listed - names)]
    if not faults and text != render(groups):
        faults.append("the list is not as the map target writes it")
    for source in groups:
        if arguments.sources and not os.path.exists(os.path.join(arguments.sources, source + ".cpp")):
            faults.append(f"{source}.cpp: named by a banner of the header, but no such source")
    if arguments.library:
        built = exported_by(arguments.nm, arguments.library)
        faults += [f"{name}: declared, but not exported by the library" for name in sorted(names - built)]
        faults += [f"{name}: exported by the library, but not declared" for name in sorted(built - names)]
        faults += [f"{name}: needed by the library" for name in sorted(needed_by(arguments.readelf, arguments.library))
                   if name not in NEEDED]
        faults += [f"{name}: a variable that threads would share" for name in
                   sorted(writable_in(arguments.objdump, arguments.library))
                   if name not in names and not re.fullmatch(SHARED, name)]
    if len(names) == 0:
        faults.append("no declarations were found")
    for fault in faults:
        print(fault)
    print(f"{len(names)} symbols declared, {len(listed)} listed, {len(faults)} faults")
    return 1 if faults else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("action", choices=("write", "check"))
    parser.add_argument("--cc", default="cc", help="C compiler")
    parser.add_argument("--include", action="append", required=True, help="directory of public headers")
    parser.add_argument("--map", required=True, help="the export list")
    parser.add_argument("--sources", help="check: the folder that the banners' source files are in")
    parser.add_argument("--nm", default="nm")
    parser.add_argument("--readelf", default="readelf")
    parser.add_argument("--objdump", default="objdump")
    parser.add_argument("--library", help="check: the shared library that was built; it needs nothing but "
                                          + " and ".join(NEEDED))
    arguments = parser.parse_args()
    return write(arguments) if arguments.action == "write" else check(arguments)


if __name__ == "__main__":
    sys.exit(main())
