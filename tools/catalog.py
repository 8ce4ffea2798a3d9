"""The catalog of functions, read from the value library: what the reference, the stubs and the tests are made from."""
import ctypes
import re
from collections import namedtuple

Parameter = namedtuple("Parameter", "name takes of optional lowest highest")
Function = namedtuple(
    "Function",
    "name section kind gives has_state in_order parameters fewest most summary result rule example example_result columns python",
)

KINDS = ("scalar", "aggregate", "table")
TAKES = ("sequence", "operand", "scalar", "integer", "real", "text", "bytes", "anything")


class _FunctionInfo(ctypes.Structure):
    _fields_ = [
        ("name", ctypes.c_char_p),
        ("section", ctypes.c_char_p),
        ("kind", ctypes.c_int),
        ("gives", ctypes.c_int),
        ("has_state", ctypes.c_int),
        ("in_order", ctypes.c_int),
        ("n_parameters", ctypes.c_size_t),
        ("fewest", ctypes.c_size_t),
        ("most", ctypes.c_size_t),
        ("summary", ctypes.c_char_p),
        ("result", ctypes.c_char_p),
        ("rule", ctypes.c_char_p),
        ("example", ctypes.c_char_p),
        ("example_result", ctypes.c_char_p),
        ("columns", ctypes.c_char_p),
        ("python", ctypes.c_char_p),
    ]


class _ParameterInfo(ctypes.Structure):
    _fields_ = [
        ("name", ctypes.c_char_p),
        ("takes", ctypes.c_int),
        ("of", ctypes.c_char_p),
        ("optional", ctypes.c_int),
        ("lowest", ctypes.c_int64),
        ("highest", ctypes.c_int64),
    ]


def read(library):
    """All functions of the catalog, in the order of the reference."""
    lib = ctypes.CDLL(library)
    lib.qvo_function_count.restype = ctypes.c_size_t
    lib.qvo_function_at.restype = ctypes.c_void_p
    lib.qvo_function_at.argtypes = [ctypes.c_size_t]
    lib.qvo_function_describe.argtypes = [ctypes.c_void_p, ctypes.POINTER(_FunctionInfo)]
    lib.qvo_parameter_describe.argtypes = [ctypes.c_void_p, ctypes.c_size_t, ctypes.POINTER(_ParameterInfo)]
    return [_describe(lib, lib.qvo_function_at(i)) for i in range(lib.qvo_function_count())]


def _describe(lib, handle):
    info = _FunctionInfo()
    lib.qvo_function_describe(handle, ctypes.byref(info))
    parameters = []
    for i in range(info.n_parameters):
        p = _ParameterInfo()
        lib.qvo_parameter_describe(handle, i, ctypes.byref(p))
        parameters.append(
            Parameter(p.name.decode(), TAKES[p.takes], p.of.decode(), bool(p.optional), p.lowest, p.highest)
        )
    text = {name: getattr(info, name).decode() for name, kind in info._fields_ if kind is ctypes.c_char_p}
    return Function(
        kind=KINDS[info.kind],
        gives="sequence" if info.gives else "value",
        has_state=bool(info.has_state),
        in_order=bool(info.in_order),
        parameters=parameters,
        fewest=info.fewest,
        most=info.most,
        **text,
    )


_TOKEN = re.compile(
    r"(?P<text>'[^']*')"
    r"|(?P<type>(?:boolean|u?int[1248]|float|double|timestamp|char(?:\(\d+\))?)?)(?P<values>\[[^\]]*\])"
    r"|(?P<name>\b[a-z_][a-z0-9_]*)\("
)


def example_in_sql(call):
    """An example's call as SQL: [1, null] is a sequence, int4[1] one of a type; names get their prefix."""

    def token(match):
        if match["text"]:
            return match["text"]
        if match["name"]:
            return f"seq_{match['name']}("
        values = match["values"].replace("'", '"').replace(", ", ",")
        return f"seq_from_json('{values}'" + (f", '{match['type']}')" if match["type"] else ")")

    return _TOKEN.sub(token, call)


def _with_subqueries(sql, kinds):
    """SQL takes no aggregate as the argument of another or of a table, but a subquery with it."""
    out, calls = "", []
    for token in re.findall(r"'[^']*'|seq_[a-z0-9_]+\(|.", sql):
        if token.endswith("("):
            kind = kinds.get(token[4:-1])
            inner = kind == "aggregate" and any(outer in ("aggregate", "table") for outer, _ in calls)
            calls.append((kind, inner))
            out += "(SELECT " + token if inner else token
        else:
            out += token
            if token == ")" and calls.pop()[1]:
                out += ")"
    return out


def example_statement(function, functions):
    """The statement that prints an example's result, a row a line; `functions` are those of the catalog."""
    sql = _with_subqueries(example_in_sql(function.example), {f.name: f.kind for f in functions})
    outermost = next(f for f in functions if sql.startswith(f"seq_{f.name}("))
    result = function.example_result
    if outermost.kind == "table":
        columns = outermost.columns.split()[: result.split("\n")[0].count("|") + 1]
        return f"SELECT {', '.join(columns)} FROM {sql};"
    is_sequence = result.startswith("[") and not outermost.result.startswith("text")
    return f"SELECT seq_to_json({sql});" if is_sequence else f"SELECT {sql};"
