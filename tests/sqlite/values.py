"""Sequences as NumPy arrays, and functions called through SQL. The dtype of an array is the type of the sequence: bool,
the integers, float32, float64, datetime64[us], S<n>; arrays become stored bytes through the C interface, so that every
value crosses bit by bit. What a function gives as text stays text."""

import ctypes
import sqlite3

import numpy as np

INTEGERS = ["int1", "int2", "int4", "int8", "uint1", "uint2", "uint4", "uint8"]
NUMBERS = ["boolean", *INTEGERS, "float", "double"]
TYPES = [*NUMBERS, "timestamp", "char"]
DTYPES = dict(
    zip(
        TYPES,
        ["?", "i1", "i2", "i4", "i8", "u1", "u2", "u4", "u8", "f4", "f8", "M8[us]", "S5"],
    )
)
TIME = np.dtype("M8[us]")


def type_of(array):
    """The name of a sequence's type, as type() gives it."""
    if array.dtype.kind == "S":
        return f"char({array.dtype.itemsize})"
    return next(name for name, dtype in DTYPES.items() if np.dtype(dtype) == array.dtype)


def text_of(time):
    """A timestamp as the functions print it."""
    text = str(np.datetime64(time, "us"))
    return text[:-7] if text.endswith(".000000") else text


def scalar_of(element):
    """An element as SQL sees it: what get and max give."""
    kind = element.dtype.kind
    if kind == "M":
        return text_of(element)
    if kind == "S":
        return bytes(element).rstrip(b"\0").decode()
    if kind == "f":
        return None if np.isnan(element) else float(element)
    return float(element) if element.dtype == np.uint64 else int(element)


class Library:
    """The C interface, as far as it turns arrays into stored bytes and back."""

    def __init__(self, path):
        self.lib = ctypes.CDLL(path)
        self.lib.qvo_expression_release.argtypes = [ctypes.c_void_p]
        self.lib.qvo_value_free.argtypes = [ctypes.c_void_p]

    class _Datum(ctypes.Structure):
        _fields_ = [("kind", ctypes.c_int), ("data", ctypes.c_void_p), ("size", ctypes.c_size_t)]

    def store(self, array):
        array = np.ascontiguousarray(array)
        kind, width = (12, array.dtype.itemsize) if array.dtype.kind == "S" else (TYPES.index(type_of(array)), 0)
        expression, datum = ctypes.c_void_p(), self._Datum()
        data = ctypes.c_void_p(array.ctypes.data)
        count = ctypes.c_uint64(array.size)
        made = self.lib.qvo_expression_array(kind, width, data, count, None, None, ctypes.byref(expression), None)
        assert made == 0
        assert self.lib.qvo_expression_evaluate(expression, None, ctypes.byref(datum), None) == 0
        stored = ctypes.string_at(datum.data, datum.size)
        self.lib.qvo_value_free(datum.data)
        self.lib.qvo_expression_release(expression)
        return stored

    def load(self, stored):
        expression, data = ctypes.c_void_p(), ctypes.c_void_p()
        kind, width, count = ctypes.c_int(), ctypes.c_uint(), ctypes.c_uint64()
        size = ctypes.c_size_t(len(stored))
        made = self.lib.qvo_expression_stored(stored, size, None, None, ctypes.byref(expression), None)
        assert made == 0, "the result is no sequence"
        out = [ctypes.byref(x) for x in (data, kind, width, count)]
        assert self.lib.qvo_expression_read(expression, None, *out, None) == 0
        dtype = np.dtype(f"S{width.value}" if kind.value == 12 else DTYPES[TYPES[kind.value]])
        array = np.frombuffer(ctypes.string_at(data, count.value * width.value), dtype)
        self.lib.qvo_value_free(data)
        self.lib.qvo_expression_release(expression)
        return array


class Host:
    """A connection with the extension."""

    def __init__(self, extension, library):
        self.library = Library(library)
        self.extension = extension
        self.db = self.connect()
        self.stored = {}

    def connect(self, path=":memory:", **options):
        db = sqlite3.connect(path, isolation_level=None, **options)
        db.enable_load_extension(True)
        db.load_extension(self.extension)
        return db

    def argument(self, value):
        return self.library.store(value) if isinstance(value, np.ndarray) else value

    def result(self, value):
        return self.library.load(value) if isinstance(value, bytes) and value[:4] == b"\x8fQVS" else value

    def call(self, name, *arguments):
        """seq_name(arguments): arrays go in and out as sequences."""
        marks = ",".join("?" * len(arguments))
        row = self.db.execute(f"SELECT seq_{name}({marks})", [self.argument(a) for a in arguments]).fetchone()
        return self.result(row[0])

    def fold(self, call, rows):
        """An aggregate's call over rows of arguments, named a, b, …, in their order."""
        width = max((len(row) for row in rows), default=9)
        columns = "abcdefghi"[:width]
        self.db.execute("DROP TABLE IF EXISTS fold")
        self.db.execute(f"CREATE TABLE fold ({','.join(columns)})")
        marks = ",".join("?" * width)
        self.db.executemany(f"INSERT INTO fold VALUES ({marks})", [[self.argument(a) for a in row] for row in rows])
        return self.result(self.db.execute(f"SELECT {call} FROM fold").fetchone()[0])

    def rows(self, name, *arguments):
        marks = ",".join("?" * len(arguments))
        return self.db.execute(f"SELECT * FROM seq_{name}({marks})", [self.argument(a) for a in arguments]).fetchall()
