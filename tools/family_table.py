#!/usr/bin/env python3
"""The index of all families, docs/families.md, from the documented blocks of include/qvoseq.h.

A block is what stands between two banners of the header. Its comments name functions, each entry at the start of a
line after an empty one (or of the comment), and say in the first sentence what they do. The index has one line for each
entry, under the topics below, which say what a user may want to do.

    family_table.py write HEADER INDEX MAP     rewrite the index, if it changed
    family_table.py check HEADER INDEX MAP     fail if the index is not what the header gives

Either fails if a block of the header has no topic, or if the export list MAP has a function that no entry covers.
"""
import os.path
import re
import sys

import pages

# What a user wants to do, and the blocks of the header that do it.
TOPICS = [
    ("Make sequences of arrays, constants and text", ["core/source", "transform/progression", "transform/parse"]),
    ("Read values out of a sequence", ["core/access"]),
    ("Compute element by element", ["transform/arithmetic", "transform/unary", "transform/convert", "transform/norm"]),
    ("Compare, combine conditions, match text",
     ["transform/compare", "transform/logic", "transform/match"]),
    ("Work on text", ["transform/text", "transform/print"]),
    ("Call functions of one's own", ["transform/callback"]),
    ("Choose and filter", ["transform/choose", "transform/filter", "transform/skip_nan", "transform/unique"]),
    ("Cut, repeat, reverse, decode, share", ["core/slice", "transform/thin", "transform/repeat", "transform/reverse"]),
    ("Put sequences together", ["transform/concat", "transform/join", "transform/union"]),
    ("Pick by position", ["transform/map"]),
    ("Changes, crossings, extrema, distribution",
     ["transform/trend", "transform/cross", "transform/extrema", "transform/histogram"]),
    ("Reduce a whole sequence", ["aggregate/count", "aggregate/whole", "aggregate/pair", "aggregate/top"]),
    ("Reduce windows, prefixes and cells", ["aggregate/window", "aggregate/cumulative", "aggregate/grid"]),
    ("Reduce groups", ["aggregate/group", "aggregate/hash"]),
    ("Count distinct values", ["aggregate/distinct", "aggregate/hash_distinct"]),
    ("Sort and align", ["order/sort", "order/order_by", "order/stretch", "order/asof_join"]),
    ("Settings, memory, checks", ["qvofseq"]),
]

BANNER = re.compile(r"^/\* ==== (\S+?):? ", re.MULTILINE)
COMMENT = re.compile(r"^/\*\n(.*?)^ \*/$", re.MULTILINE | re.DOTALL)
PLAIN = re.compile(r"^/\*(?! ====| ----)((?:(?!\*/).)*)\*/\n((?:(?:extern )?QVO_API [^;]*;\n)+)",
                   re.MULTILINE | re.DOTALL)
DECLARED = re.compile(r"QVO_API [\w ]+?\**\s*(\w+)(?:\(|;)")
NAME = re.compile(r"[a-z]\w*(?:<\w+>\w*)*")
TITLE = re.compile(r"(qvo_\w+(<\w+>\w*)*|murmur_hash3_32|min_count|sorted_<type>)(?=[\s,(]|$)")
TYPES = "int1|int2|int4|int8|uint1|uint2|uint4|uint8|float|double|datetime|char"
# What a constructor puts into a record, and is not called by its name as a rule.
OPERATION = re.compile(r"_(next|reset|merge|prepare|initialize|next_agg|next_grp|next_count|next_char|reset_iterator)$|"
                       r"^qvo_seq_(reset_\w+_iterator|hash_(initialize|merge)_\w+)$")

INTRODUCTION = """# Families

Every operator family of the library by what one may want to do, a line each; a link leads to the block of `qvoseq.h`
that says all about it. `<type>` runs over int1, int2, int4, int8, uint1, uint2, uint4, uint8, float, double, datetime
and, where the block says so, char. Names of results come first: `qvo_seq_add_int4(&result, left, right)`.

What the operators do not find out, and a host must see to, is in [guards.md](guards.md).

The `map` target writes this page; a test compares it with the header and with the list of exported functions.
"""


def sentence(text):
    text = " ".join(text.split())
    end = re.search(r"(?<=[^.])(?:[.;]|(?<=.{25}):)(?= |$)", text)
    return text[:end.start()] if end else text


def shown(names):
    """Names as one, where they differ in a word: qvo_seq_{add,sub}_<type>."""
    lead = os.path.commonprefix(names)
    lead = lead[:lead.rfind("_") + 1]
    tail = os.path.commonprefix([name[len(lead):][::-1] for name in names])[::-1]
    tail = tail[tail.find("_"):] if "_" in tail else ""
    if len(names) < 3 or not lead or not tail:
        return ", ".join(f"`{name}`" for name in names)
    return f"`{lead}{{{','.join(name[len(lead):len(name) - len(tail)] for name in names)}}}{tail}`"


def paragraphs(comment):
    lines = [line[3:] if line.startswith(" * ") else "" for line in comment.splitlines()]
    return [part for part in re.split(r"\n\s*\n", "\n".join(lines)) if part.strip()]


def entries(header, start, end):
    """(where, names, what they do) of everything that a block documents."""
    result = []
    for comment in COMMENT.finditer(header, start, end):
        parts = paragraphs(comment[1])
        for i, part in enumerate(parts):
            if not TITLE.match(part):
                continue
            title = " ".join(part.split())
            at = comment.start(1) + comment[1].index(part.splitlines()[0])
            text = parts[i + 1] if i + 1 < len(parts) and not TITLE.match(parts[i + 1]) else ""
            result.append((at, NAME.findall(re.sub(r"\(.*?\)", "", title)), sentence(text)))
    # The rest of a block: functions right after the comment that is about them alone.
    for comment in PLAIN.finditer(header, start, end):
        text = re.sub(r"^ \*", "", comment[1], flags=re.MULTILINE)
        names = [name for name in DECLARED.findall(comment[2]) if not OPERATION.search(name)]
        if names and not TITLE.match(text.strip()):
            result.append((comment.start(), names, sentence(text)))
    return sorted(result)


def blocks(header):
    marks = [(match.start(), match[1]) for match in BANNER.finditer(header)]
    ends = [mark[0] for mark in marks[1:]] + [len(header)]
    return {name: entries(header, start, end) for (start, name), end in zip(marks, ends)}


def render(header, found):
    lines = [INTRODUCTION]
    for topic, names in TOPICS:
        lines += [f"## {topic}", ""]
        for name in names:
            for at, titles, text in found[name]:
                line = header.count("\n", 0, at) + 1
                if all(OPERATION.search(title) for title in titles) and name != "core/access":
                    continue
                text = (text[:1].lower() + text[1:]).replace("<", "&lt;").replace("*", "\\*")
                lines.append(f"- [{shown(titles)}](../include/qvoseq.h#L{line}): {text}")
        lines.append("")
    return "\n".join(lines)


def faults(found, exported):
    """Blocks without a topic, topics without a block, exported functions without an entry."""
    listed = [name for _, names in TOPICS for name in names]
    result = [f"block {name} of the header has no topic" for name in found if name not in listed]
    result += [f"no block {name} in the header" for name in listed if name not in found]
    patterns = [re.sub(r"<\w+>", f"({TYPES})", title) for block in found.values() for _, titles, _ in block
                for title in titles]
    covered = re.compile("|".join(patterns))
    result += [f"{name} is exported, but no entry of the header covers it" for name in exported
               if not OPERATION.search(name) and not covered.fullmatch(name)]
    return result


def main():
    if len(sys.argv) != 5 or sys.argv[1] not in ("write", "check"):
        sys.exit(__doc__)
    verb, header_path, index_path, map_path = sys.argv[1:]
    with open(header_path, encoding="utf-8") as file:
        header = file.read()
    with open(map_path, encoding="utf-8") as file:
        # The services that a host may bring itself are in a header of their own.
        listed = re.sub(r"/\* core/host.cpp \*/.*?\n\n", "", file.read(), flags=re.DOTALL)
    exported = re.findall(r"^\s+(\w+);", listed, re.MULTILINE)
    found = blocks(header)
    wrong = faults(found, exported)
    if wrong:
        print("\n".join(wrong))
        return 1
    text = render(header, found)
    return pages.keep(verb, index_path, text, f"{index_path} does not follow {header_path}: build the `map` target")


if __name__ == "__main__":
    sys.exit(main())
