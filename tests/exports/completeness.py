#!/usr/bin/env python3
"""The export list by its own structure: no member of a family is missing.

A family has a member for each of its types, and the types of a family are one of a few sets. So a name that the
header's macros have left out, and with them the list and the library, is missed by those of its family. (A family that
is missing as a whole is not noticed here; docs/families.md would lack it.)

    completeness.py MAP
"""
import itertools
import re
import sys

FIXED = "int1 int2 int4 int8 uint1 uint2 uint4 uint8 float double datetime".split()
TYPE = re.compile(r"(?<=_)(" + "|".join(FIXED + ["char"]) + r")(?=_|$)|^(" + "|".join(FIXED) + ")$")
OPERATION = re.compile(r"(?<=<t>)_(next|reset|merge|next_agg|next_grp|reset_iterator)$")
STAMPS = ["uint4", "uint8", "datetime"]


def types(*sets):
    return set(itertools.product(*sets))


# What a family may have.
SETS = [types(FIXED), types(FIXED + ["char"]), types(FIXED, FIXED), types(STAMPS, FIXED)]
# And what a few have, which are no families or have reasons of their own.
ODD = {
    "qvo_seq_cross_<t>_next": types("int1 int2 int4 int8 float double datetime".split()),  # those with a sign
    "qvo_seq_const_<t>_next": types(FIXED),  # that of char has its words in another order
    "qvo_seq_skip_nan_<t>": types(["float", "double"]),
    "qvo_seq_skip_nan_<t>_next": types(["float", "double"]),
    **{name: types(["char"]) for name in
       ("qvo_seq_const_next_<t>", "qvo_seq_print_<t>", "qvo_seq_print_<t>_next")},
    **{name: types(["uint8"]) for name in
       ("qvo_seq_hash_agg_count_<t>", "qvo_seq_hash_agg_count_<t>_next_agg", "qvo_seq_hash_agg_count_<t>_next_grp",
        "qvo_seq_hash_initialize_count_<t>", "qvo_seq_hash_merge_count_<t>")},
}


def main():
    with open(sys.argv[1], encoding="utf-8") as export_list:
        exported = re.findall(r"^\s+(\w+);$", export_list.read(), re.MULTILINE)
    families = {}
    for name in exported:
        families.setdefault(TYPE.sub("<t>", name), set()).add(tuple(match[0] for match in TYPE.finditer(name)))
    wrong = [name for name, members in families.items()
             if "<t>" in name and (members != ODD[name] if name in ODD else members not in SETS)]
    wrong += [name for name in ODD if name not in families]
    # A constructor and its operations have the same types, but for what ODD says.
    wrong += [name for name in families if (operation := OPERATION.search(name)) and name not in ODD
              and families.get(name[:operation.start()]) != families[name]]
    for name in wrong:
        print(f"{name}: {len(families.get(name, ()))} members")
    print(f"{len(exported)} names, {len(families)} families, {len(wrong)} of them incomplete")
    sys.exit(bool(wrong) or len(families) < 100)


if __name__ == "__main__":
    main()
