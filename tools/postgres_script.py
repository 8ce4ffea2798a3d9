#!/usr/bin/env python3
"""The SQL scripts of the PostgreSQL extension and the list of its entry points, from the catalog in the value library.

    postgres_script.py write|check LIBRARY FOLDER     FOLDER/catalog.h and the script of the version in qvoseq.control

The script of the first version makes everything; that of each version after it makes what is new or changed since the
one before. Scripts of former versions stay as they are, and a new version begins with its number in qvoseq.control.

What SQL needs beyond the catalog stands here: which type a parameter or a result has, and how operators are spelled.
"""
import os
import re
import sys

import catalog
import pages

# Parameters that are sequences or scalars are "any", so that literals of every type find the function; see datum.c. So
# are those that name something: were they text, they would have a collation, for which postgres_fdw would send no call
# with a constant there to another server.
PARAMETER = {
    "sequence": "qvoseq",
    "operand": '"any"',
    "scalar": '"any"',
    "integer": "bigint",
    "real": "float8",
    "text": '"any"',
    "bytes": "qvoseq_state",
    "anything": '"any"',
}
# Results whose type depends on the arguments: the plain name is float8.
VARIANTS = {"": "float8", "_int": "bigint", "_time": "timestamptz", "_text": "text"}
OPERATORS = {
    "add": "+", "sub": "-", "mul": "*", "div": "/", "mod": "%",
    "lt": "<", "le": "<=", "eq": "=", "ne": "<>", "ge": ">=", "gt": ">",
    "and": "&&", "or": "||",
}  # fmt: skip
PREFIX_OPERATORS = {"neg": "-", "not": "!"}
# On the left of an operator: were it "any" too, two sequences would find two operators.
TIMES = ["text", "date", "timestamp", "timestamptz"]
SCALARS = ["smallint", "integer", "bigint", "real", "float8", "numeric", *TIMES]
ARRAYS_IN = "boolean smallint integer bigint real float8 numeric timestamptz text".split()
ARRAYS_OUT = "boolean bigint float8 timestamptz text".split()
RESERVED = {"limit", "order", "window"}
CALL_COST, STEP_COST, ROWS = 100, 100, 10000


def results(function):
    """{suffix of the name: SQL type} of a function's result."""
    words = function.result
    if words == "integer":
        return {"": "boolean" if function.summary.startswith("1 if ") else "bigint"}
    if words.startswith("integer if "):
        return {"": "float8", "_int": "bigint"}
    if words == "real":
        return {"": "float8"}
    if words == "text" or words.startswith("text:"):
        return {"": "text"}
    if words.startswith("a value of ") or words == "as the aggregate":
        return VARIANTS
    return {"": "qvoseq_state" if words.startswith("a blob") else "qvoseq"}


def arities(function):
    """The parameters of each number of arguments; the last one may repeat."""
    for n in range(function.fewest, function.most + 1):
        yield (function.parameters + [function.parameters[-1]] * n)[:n]


def type_of(parameters, i):
    # A text that is all there is to a function is data, and may be a parameter of the statement.
    return "text" if i == 0 and parameters[0].name == "text" else PARAMETER[parameters[i].takes]


def signature(parameters):
    """Names and types; a parameter that comes again is numbered."""
    names = [f"{p.name}{i if parameters.count(p) > 1 else ''}" for i, p in enumerate(parameters, 1)]
    names = [f'"{name}"' if name in RESERVED else name for name in names]
    return ", ".join(f"{name} {type_of(parameters, i)}" for i, name in enumerate(names))


def types(parameters):
    return ", ".join(type_of(parameters, i) for i in range(len(parameters)))


def create_function(name, arguments, result, symbol, strict=True, more=""):
    return (
        f"CREATE FUNCTION {name}({arguments}) RETURNS {result}\n"
        f"    AS 'MODULE_PATHNAME', '{symbol}' LANGUAGE C IMMUTABLE{' STRICT' if strict else ''} PARALLEL SAFE{more};"
    )


def comment(kind, name, arguments, function):
    summary = function.summary.replace("'", "''")
    return f"COMMENT ON {kind} {name}({arguments}) IS '{summary}';"


def is_strict(parameters):
    return not any(p.takes == "anything" for p in parameters)


def scalar(f):
    for suffix, result in results(f).items():
        for parameters in arities(f):
            name = f"seq_{f.name}{suffix}"
            cost = f" COST {CALL_COST}"
            yield create_function(
                name, signature(parameters), result, f"qvoseq_call_{f.name}", is_strict(parameters), cost
            )
            yield comment("FUNCTION", name, types(parameters), f)


def create_aggregate(f, name, parameters, final, extra):
    lines = [
        f"SFUNC = seq_step_{f.name}",
        "STYPE = qvoseq_state",
        "SSPACE = 2048",
        f"FINALFUNC = {final}",
        "PARALLEL = SAFE",
    ]
    if extra:
        lines.insert(4, "FINALFUNC_EXTRA")
    if f.has_state and not f.in_order:
        lines.insert(-1, f"COMBINEFUNC = seq_combine_{f.name}")
    return f"CREATE AGGREGATE {name}({signature(parameters)}) (\n    " + ",\n    ".join(lines) + "\n);"


def aggregate(f):
    # The type of a sequence of values follows that of the values, unless it is named: the last function is told it.
    told = f.parameters[0].takes == "anything" and "qvoseq" in results(f).values()
    for parameters in arities(f):
        step = f"running qvoseq_state, {signature(parameters)}"
        cost = f" COST {STEP_COST}"
        yield create_function(f"seq_step_{f.name}", step, "qvoseq_state", f"qvoseq_step_{f.name}", False, cost)
    if f.has_state and not f.in_order:
        states = "running qvoseq_state, other qvoseq_state"
        yield create_function(
            f"seq_combine_{f.name}", states, "qvoseq_state", f"qvoseq_combine_{f.name}", False, f" COST {STEP_COST}"
        )
    for suffix, result in results(f).items():
        name, final = f"seq_{f.name}{suffix}", f"seq_final_{f.name}{suffix}"
        made = set()
        for parameters in arities(f):
            extra = told and all(p.takes != "text" for p in parameters)
            arguments = "state qvoseq_state" + (f", {signature(parameters)}" if extra else "")
            if arguments not in made:
                yield create_function(final, arguments, result, f"qvoseq_final_{f.name}", False)
                made.add(arguments)
            yield create_aggregate(f, name, parameters, final, extra)
            yield comment("AGGREGATE", name, types(parameters), f)


def table(f):
    names = f.columns.split()
    # How many rows there are is known beforehand where sequences that the query names are opened.
    support = " SUPPORT seq_rows_support" if f.parameters[0].takes == "sequence" else ""
    fixed = {"pos": "bigint", "count": "bigint"}
    for parameters in arities(f):
        if len(parameters) > 8:
            break
        # As many values as sequences.
        columns = names[: len(parameters) + 1] if names[-1] == "v8" else names
        for suffix, kind in VARIANTS.items():
            of = [fixed.get(name, kind if re.fullmatch(r"key|v\d", name) else "float8") for name in columns]
            result = "TABLE(" + ", ".join(f"{name} {type_}" for name, type_ in zip(columns, of)) + ")"
            yield from rows_function(f, f"seq_{f.name}{suffix}", parameters, result, support)
        yield from rows_function(f, f"seq_{f.name}_as", parameters, "SETOF record", support)


def rows_function(f, name, parameters, result, support):
    more = f" COST {CALL_COST} ROWS {ROWS}{support}"
    symbol = f"qvoseq_rows_{f.name}"
    yield create_function(name, signature(parameters), result, symbol, True, more)
    yield comment("FUNCTION", name, types(parameters), f)


def operators(functions):
    by_name = {f.name: f for f in functions}
    for name, spelled in OPERATORS.items():
        symbol = f"qvoseq_call_{by_name[name].name}"
        accepted = by_name[name].parameters[0].of
        lefts = ["boolean"] if accepted == "boolean" else [s for s in SCALARS if accepted != "number" or s not in TIMES]
        yield from operator(spelled, symbol, name, "qvoseq", '"any"')
        for left in lefts:
            yield from operator(spelled, symbol, name, left, "qvoseq")
    for name, spelled in PREFIX_OPERATORS.items():
        yield f"CREATE OPERATOR {spelled} (FUNCTION = seq_{by_name[name].name}, RIGHTARG = qvoseq);"


def operator(spelled, symbol, name, left, right):
    function = f"seq_op_{name}"
    yield create_function(function, f"x {left}, y {right}", "qvoseq", symbol, True, f" COST {CALL_COST}")
    yield f"CREATE OPERATOR {spelled} (FUNCTION = {function}, LEFTARG = {left}, RIGHTARG = {right});"


def type_statements():
    for name, comment_ in (
        ("qvoseq", "a sequence of values of one type"),
        ("qvoseq_state", "the running state of an aggregate over sequences"),
    ):
        yield f"CREATE TYPE {name};"
        yield create_function(f"{name}_in", "cstring", name, f"{name}_in")
        yield create_function(f"{name}_out", name, "cstring", f"{name}_out")
        yield create_function(f"{name}_recv", "internal", name, f"{name}_recv")
        yield create_function(f"{name}_send", name, "bytea", f"{name}_send")
        yield (
            f"CREATE TYPE {name} (INPUT = {name}_in, OUTPUT = {name}_out, RECEIVE = {name}_recv, SEND = {name}_send,\n"
            f"    ALIGNMENT = double, STORAGE = external);"
        )
        yield f"COMMENT ON TYPE {name} IS '{comment_}';"


def casts():
    for name in ("qvoseq", "qvoseq_state"):
        yield create_function(f"{name}_of_bytes", "bytea", name, f"{name}_of_bytes")
        yield create_function(f"{name}_as_bytes", name, "bytea", f"{name}_as_bytes")
        yield f"CREATE CAST (bytea AS {name}) WITH FUNCTION {name}_of_bytes(bytea);"
        yield f"CREATE CAST ({name} AS bytea) WITH FUNCTION {name}_as_bytes({name});"
    for element in ARRAYS_IN:
        yield create_function("qvoseq_of_array", f"{element}[]", "qvoseq", "qvoseq_of_array")
        yield f"CREATE CAST ({element}[] AS qvoseq) WITH FUNCTION qvoseq_of_array({element}[]) AS ASSIGNMENT;"
    for element in ARRAYS_OUT:
        name = f"qvoseq_as_{element}s"
        yield create_function(name, "qvoseq", f"{element}[]", "qvoseq_as_array")
        yield f"CREATE CAST (qvoseq AS {element}[]) WITH FUNCTION {name}(qvoseq) AS ASSIGNMENT;"


def all_statements(functions):
    kinds = {"scalar": scalar, "aggregate": aggregate, "table": table}
    yield from [*type_statements(), *casts(), *SETTINGS]
    yield create_function("seq_rows_support", "internal", "internal", "qvoseq_rows_support")
    for f in functions:
        yield from kinds[f.kind](f)
    yield from operators(functions)


SETTINGS = [
    """CREATE FUNCTION seq_budget() RETURNS bigint
    AS $$SELECT current_setting('qvoseq.budget')::bigint$$ LANGUAGE SQL STABLE PARALLEL SAFE;""",
    """CREATE FUNCTION seq_budget(n bigint) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_set_budget' LANGUAGE C VOLATILE STRICT;""",
    "COMMENT ON FUNCTION seq_budget() IS 'How many positions a call may read or expand for one result.';",
    "COMMENT ON FUNCTION seq_budget(bigint) IS 'Sets qvoseq.budget for the session, and returns the budget before.';",
]


def entries(functions):
    macro = {"scalar": "SCALAR", "aggregate": "AGGREGATE", "table": "TABLE"}
    lines = sorted(f"{macro[f.kind]}({f.name})" for f in functions)
    head = "/* An entry point for each function of the catalog, for entry.c: written by tools/postgres_script.py. */\n"
    head += "/* clang-format off */\n"
    return head + "\n".join(lines) + "\n"


def made(statement):
    """What a statement makes: all before its attributes, or before the words of a comment."""
    return re.match(r"CREATE FUNCTION .*?(?=\n)|COMMENT ON .*?(?= IS ')|.*", statement, re.DOTALL)[0]


def statements(path):
    with open(path, encoding="utf-8") as file:
        text = re.sub(r"^(--|\\echo).*\n", "", file.read(), flags=re.MULTILINE)
    text = text.replace("CREATE OR REPLACE", "CREATE")
    return {made(s.strip()): s.strip() for s in re.findall(r".*?;\n", text, re.DOTALL)}


def script(folder, version, functions):
    """(name, text) of the version's script."""
    names = [re.fullmatch(r"qvoseq--(?:([\d.]+)--)?([\d.]+)\.sql", name) for name in os.listdir(folder)]
    after = {name[1]: name for name in names if name and name[2] != version}  # by the version that each is to follow
    installed, at = {}, None
    while at in after:
        installed |= statements(os.path.join(folder, after[at][0]))
        at = after[at][2]
    wanted = {made(s): s for s in all_statements(functions)}
    gone = installed.keys() - wanted.keys()
    if gone:
        sys.exit("what the catalog has not any more is to be removed by hand:\n" + "\n".join(gone))
    lines = [
        s.replace("CREATE", "CREATE OR REPLACE", 1) if name in installed else s
        for name, s in wanted.items()
        if installed.get(name) != s
    ]
    command = "ALTER EXTENSION qvoseq UPDATE" if at else "CREATE EXTENSION qvoseq"
    head = (
        f"-- The extension qvoseq, version {version}: written by tools/postgres_script.py from the catalog.\n"
        f'\\echo Use "{command}" to load this file. \\quit\n\n'
    )
    return f"qvoseq--{at + '--' if at else ''}{version}.sql", head + "\n".join(lines) + "\n"


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in ("write", "check"):
        sys.exit(__doc__)
    verb, library, folder = sys.argv[1:]
    with open(os.path.join(folder, "qvoseq.control"), encoding="utf-8") as file:
        version = re.search(r"^default_version = '(.*)'$", file.read(), re.MULTILINE)[1]
    functions = catalog.read(library)
    stale = "the PostgreSQL extension does not follow the catalog: run tools/postgres_script.py write"
    files = [script(folder, version, functions), ("catalog.h", entries(functions))]
    return max(pages.keep(verb, os.path.join(folder, name), text, f"{name}: {stale}") for name, text in files)


if __name__ == "__main__":
    sys.exit(main())
