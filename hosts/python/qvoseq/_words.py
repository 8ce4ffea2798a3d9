"""What the catalog says of parameters, in words: for the docstrings, and for the reference of all functions."""

SEQUENCES = {
    "": "a sequence",
    "number": "a sequence of numbers",
    "number or timestamp": "a sequence of numbers or timestamps",
    "float or double": "a sequence of float or double",
    "integer": "a sequence of integers",
    "boolean": "a sequence of boolean",
    "timestamp": "a sequence of timestamps",
    "char": "a sequence of text",
}
