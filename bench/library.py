"""The value library for scripts that measure it: sequences from arrays of NumPy, and calls by name."""
import ctypes

import numpy as np

TYPES = {"bool": 0, "int16": 2, "int32": 3, "int64": 4, "float64": 10, "datetime64[us]": 11}
NULL, INTEGER, REAL, TEXT, BYTES, EXPRESSION = range(6)


class Bytes(ctypes.Structure):
    _fields_ = [("data", ctypes.c_void_p), ("size", ctypes.c_size_t)]


class Value(ctypes.Union):
    _fields_ = [("integer", ctypes.c_int64), ("real", ctypes.c_double), ("bytes", Bytes), ("expression", ctypes.c_void_p)]


class Datum(ctypes.Structure):
    _fields_ = [("kind", ctypes.c_int), ("value", Value)]


class Error(ctypes.Structure):
    _fields_ = [("code", ctypes.c_int), ("message", ctypes.c_char * 500)]


class Limits(ctypes.Structure):
    _fields_ = [("budget", ctypes.c_uint64), ("interrupted", ctypes.c_void_p), ("data", ctypes.c_void_p)]


class Result:
    """What a call gave: freed with the object."""

    def __init__(self, lib):
        self.lib, self.datum = lib, Datum()

    def __del__(self):
        self.lib.qvo_datum_free(ctypes.byref(self.datum))

    @property
    def size(self):
        return self.datum.value.bytes.size

    def value(self):
        if self.datum.kind in (TEXT, BYTES):
            return ctypes.string_at(self.datum.value.bytes.data, self.size)
        return {NULL: None, INTEGER: self.datum.value.integer, REAL: self.datum.value.real}[self.datum.kind]


class Expression:
    """An array of NumPy as it lies, or a call of expressions and scalars."""

    def __init__(self, lib, handle, kept):
        self.lib, self.handle, self.kept = lib, handle, kept

    def __del__(self):
        self.lib.qvo_expression_release(self.handle)


class Library:
    def __init__(self, path, budget=1 << 30):
        self.lib = ctypes.CDLL(path)
        self.lib.qvo_function_named.restype = ctypes.c_void_p
        self.limits = Limits(budget, None, None)

    def array(self, values):
        """A sequence of an array's values, read in place."""
        values = np.ascontiguousarray(values)
        is_text = values.dtype.kind == "S"
        kind, width = (12, values.dtype.itemsize) if is_text else (TYPES[str(values.dtype)], 0)
        handle = ctypes.c_void_p()
        self._must(
            self.lib.qvo_expression_array, kind, width, ctypes.c_void_p(values.ctypes.data),
            ctypes.c_uint64(len(values)), None, None, ctypes.byref(handle),
        )
        return Expression(self.lib, handle, values)

    def stored(self, values):
        """The same as a stored sequence."""
        return self.evaluate(self.array(values))

    def evaluate(self, expression):
        result = Result(self.lib)
        self._must(
            self.lib.qvo_expression_evaluate, expression.handle, ctypes.byref(self.limits), ctypes.byref(result.datum)
        )
        return result

    def read(self, name, *arguments):
        """The number of values that a call of expressions gives as an array, which is made and freed."""
        handle, values, count = ctypes.c_void_p(), ctypes.c_void_p(), ctypes.c_uint64()
        self._must(
            self.lib.qvo_expression_call, self._function(name), self._datums(arguments),
            ctypes.c_size_t(len(arguments)), ctypes.byref(handle),
        )
        called = Expression(self.lib, handle, arguments)
        self._must(
            self.lib.qvo_expression_read, called.handle, ctypes.byref(self.limits), ctypes.byref(values), None, None,
            ctypes.byref(count),
        )
        self.lib.qvo_value_free(values)
        return count.value

    def call(self, name, *arguments):
        result = Result(self.lib)
        self._must(
            self.lib.qvo_call, self._function(name), self._datums(arguments), ctypes.c_size_t(len(arguments)),
            ctypes.byref(self.limits), ctypes.byref(result.datum),
        )
        return result

    def aggregate(self, name, *arguments):
        """An aggregate over one row."""
        aggregate, result = ctypes.c_void_p(), Result(self.lib)
        self._must(self.lib.qvo_aggregate_new, self._function(name), ctypes.byref(aggregate))
        try:
            self._must(
                self.lib.qvo_aggregate_step, aggregate, self._datums(arguments), ctypes.c_size_t(len(arguments)),
                ctypes.byref(self.limits),
            )
            self._must(
                self.lib.qvo_aggregate_finish, aggregate, ctypes.byref(self.limits), ctypes.byref(result.datum)
            )
        finally:
            self.lib.qvo_aggregate_free(aggregate)
        return result

    def _function(self, name):
        return ctypes.c_void_p(self.lib.qvo_function_named(name.encode()))

    @staticmethod
    def _datums(arguments):
        datums = (Datum * len(arguments))()
        for datum, argument in zip(datums, arguments):
            if isinstance(argument, Result):
                datum.kind, datum.value = argument.datum.kind, argument.datum.value
            elif isinstance(argument, Expression):
                datum.kind, datum.value.expression = EXPRESSION, argument.handle
            elif isinstance(argument, str):
                text = argument.encode()
                datum.kind, datum.value.bytes = TEXT, Bytes(ctypes.cast(text, ctypes.c_void_p), len(text))
                datums.kept = getattr(datums, "kept", []) + [text]
            elif isinstance(argument, int):
                datum.kind, datum.value.integer = INTEGER, argument
            else:
                datum.kind, datum.value.real = REAL, argument
        return datums

    @staticmethod
    def _must(function, *arguments):
        error = Error()
        if function(*arguments, ctypes.byref(error)) != 0:
            raise RuntimeError(error.message.decode())
