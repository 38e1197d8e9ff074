"""Columns by Arrow's C data interface, made and read by hand, so that no engine need be there."""
import ctypes
from ctypes import CFUNCTYPE, POINTER, c_char_p, c_int, c_int64, c_void_p


class Schema(ctypes.Structure):
    pass


class Array(ctypes.Structure):
    pass


RELEASE_SCHEMA, RELEASE_ARRAY = CFUNCTYPE(None, POINTER(Schema)), CFUNCTYPE(None, POINTER(Array))
Schema._fields_ = [("format", c_char_p), ("name", c_char_p), ("metadata", c_char_p),
                   ("flags", c_int64), ("n_children", c_int64), ("children", c_void_p),
                   ("dictionary", c_void_p), ("release", RELEASE_SCHEMA), ("private", c_void_p)]
Array._fields_ = [("length", c_int64), ("null_count", c_int64), ("offset", c_int64),
                  ("n_buffers", c_int64), ("n_children", c_int64), ("buffers", POINTER(c_void_p)),
                  ("children", c_void_p), ("dictionary", c_void_p), ("release", RELEASE_ARRAY),
                  ("private", c_void_p)]


class Stream(ctypes.Structure):
    _fields_ = [("get_schema", CFUNCTYPE(c_int, c_void_p, POINTER(Schema))),
                ("get_next", CFUNCTYPE(c_int, c_void_p, POINTER(Array))),
                ("get_last_error", CFUNCTYPE(c_void_p, c_void_p)),
                ("release", CFUNCTYPE(None, c_void_p)), ("private", c_void_p)]


new_capsule = ctypes.pythonapi.PyCapsule_New
new_capsule.restype, new_capsule.argtypes = ctypes.py_object, [c_void_p, c_char_p, c_void_p]
in_capsule = ctypes.pythonapi.PyCapsule_GetPointer
in_capsule.restype, in_capsule.argtypes = c_void_p, [ctypes.py_object, c_char_p]


class Column:
    """Texts and None as an Arrow array of which the first `skipped` rows are cut away."""

    def __init__(self, texts, format, skipped=0):
        self.released = 0
        encoded = [None if text is None else text.encode() for text in texts]
        ends = [0]
        for text in encoded:
            ends.append(ends[-1] + len(text or b""))
        width = ctypes.c_int32 if format in "uz" else c_int64
        self.offsets = (width * len(ends))(*ends)
        self.bytes = ctypes.create_string_buffer(b"".join(text or b"" for text in encoded))
        bits = sum(1 << i for i, text in enumerate(encoded) if text is not None)
        self.valid = ctypes.create_string_buffer(bits.to_bytes(len(texts) // 8 + 1, "little"))
        self.buffers = (c_void_p * 3)(*map(ctypes.addressof, (self.valid, self.offsets, self.bytes)))
        self.release_schema = RELEASE_SCHEMA(lambda schema: None)
        self.release_array = RELEASE_ARRAY(self.release)
        self.schema = Schema(format=format.encode(), release=self.release_schema)
        self.array = Array(length=len(texts) - skipped, null_count=-1, offset=skipped, n_buffers=3,
                           buffers=self.buffers, release=self.release_array)

    def release(self, array):
        self.released += 1
        array.contents.release = RELEASE_ARRAY()

    def __arrow_c_array__(self, requested_schema=None):
        return (new_capsule(ctypes.addressof(self.schema), b"arrow_schema", None),
                new_capsule(ctypes.addressof(self.array), b"arrow_array", None))


class Columns:
    """Several as a stream, which ends in an error where `error` is given."""

    def __init__(self, columns, error=None):
        self.columns, self.rest = columns, list(columns)
        self.error = ctypes.create_string_buffer(error or b"")

        def get_schema(_, out):
            out[0] = columns[0].schema
            return 0

        def get_next(_, out):
            if self.rest:
                out[0] = self.rest.pop(0).array
                return 0
            out[0] = Array()
            return 5 if error else 0

        types = dict(Stream._fields_)
        self.stream = Stream(types["get_schema"](get_schema), types["get_next"](get_next),
                             types["get_last_error"](lambda _: ctypes.addressof(self.error)),
                             types["release"](lambda _: None))

    def __arrow_c_stream__(self, requested_schema=None):
        return new_capsule(ctypes.addressof(self.stream), b"arrow_array_stream", None)


def read(column):
    """The texts of what offers an array of large_string."""
    schema, capsule = column.__arrow_c_array__()  # which own what they hold
    assert Schema.from_address(in_capsule(schema, b"arrow_schema")).format == b"U"
    array = Array.from_address(in_capsule(capsule, b"arrow_array"))
    valid, offsets, data = array.buffers[:3]
    ends = (c_int64 * (array.length + 1)).from_address(offsets)
    texts = []
    for i in range(array.length):
        there = ctypes.string_at(valid + i // 8, 1)[0] >> i % 8 & 1
        size = ends[i + 1] - ends[i]
        texts.append((ctypes.string_at(data + ends[i], size) if size else b"").decode()
                     if there else None)
    assert array.null_count == texts.count(None)
    return texts
