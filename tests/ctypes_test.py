"""The C interface as another language sees it, by its header alone. Usage: ctypes_test.py LIBRARY"""
import ctypes
import os
import sys
import tempfile
from ctypes import POINTER, byref, c_char_p, c_int64, c_size_t, c_uint8, c_uint32, c_uint64

OK, ARGUMENT, MEMORY, NOT_FOUND, TABLE = range(5)
SERVICE, PUBLIC_SUFFIX = range(2)


def structure(**fields):
    return type("Structure", (ctypes.Structure,), {"_fields_": list(fields.items())})


Text = structure(data=c_char_p, size=c_size_t)
Record = structure(
    status=c_uint32, kind=c_uint8, reserved_bytes=c_uint8 * 3, host_start=c_uint32,
    host_length=c_uint32, domain_start=c_uint32, domain_length=c_uint32, address=c_uint8 * 16,
    reserved=c_uint32 * 2)
Explanation = structure(status=c_uint32, rule=c_uint8, section=c_uint8, reserved=c_uint8 * 2,
                        name=Text)
Host = structure(
    kind=c_uint8, refused=c_uint8, in_buffer=c_uint8, byte=c_uint8, port=ctypes.c_int32,
    source_start=c_uint32, source_length=c_uint32, text_start=c_uint32, text_length=c_uint32,
    address=c_uint8 * 16, reserved=c_uint32 * 2)
Description = structure(version=Text, commit=Text, made=c_int64, icann=c_uint64,
                        private_domains=c_uint64, none=c_uint64)

vu = ctypes.CDLL(sys.argv[1])
vu.vu_table_rules.restype = c_uint64
for name in ("code_text", "status_text", "library_version", "table_path", "table_system_path"):
    getattr(vu, "vu_" + name).restype = c_char_p
size = c_size_t(ctypes.sizeof(Record))


def equal(expected, found):
    assert expected == found, f"expected {expected!r}, found {found!r}"


def open_table(path, room=300):
    table, message = ctypes.c_void_p(1), ctypes.create_string_buffer(b"unchanged", 300)
    code = vu.vu_table_open(path, byref(table), message, c_size_t(room))
    return code, table, message.value.decode()


folder = tempfile.TemporaryDirectory()
path = os.path.join(folder.name, "suffixes").encode()
with open(path, "w") as file:
    file.write("co.uk 3\nltd.co.uk 4\n")

code, table, message = open_table(path)
equal((OK, "unchanged", path, 2),
      (code, message, vu.vu_table_path(table), vu.vu_table_rules(table)))
# What a list tells of itself that knows its own date, in a longer room than this release needs.
told, found = (Description * 2)(), ctypes.c_void_p()
told_size = c_size_t(ctypes.sizeof(told))
for version, made in ((b"2024-02-29_23-59-59", 1709251199), (b"2024-03-01_00-00-00", 1709251200)):
    dated = (b"// VERSION: " + version + b"_UTC\n// COMMIT: c0ffee\n"
             b"// ===BEGIN ICANN DOMAINS===\nuk\n// ===END \na.uk\nb.uk\n")
    equal(OK, vu.vu_table_open_bytes(dated, c_size_t(len(dated)), None, byref(found), None,
                                     c_size_t(0)))
    equal(OK, vu.vu_table_describe(found, told, told_size))
    equal((b"c0ffee", made, 1, 0, 2), (told[0].commit.data, told[0].made, told[0].icann,
                                       told[0].private_domains, told[0].none))
    vu.vu_table_close(found)
equal(ARGUMENT, vu.vu_table_describe(None, told, told_size))
# Where a table is found, and what is said where there is none.
os.environ["VU_SUFFIXES"] = path.decode()
for meant in (None, b""):
    code, found, _ = open_table(meant)
    equal((OK, path), (code, vu.vu_table_path(found)))
    vu.vu_table_close(found)
code, missing, message = open_table(b"/dev/null")
equal((TABLE, None, "/dev/null: Top level domain : Read Error at [1]-th record"),
      (code, missing.value, message))
equal("/dev/nu", open_table(b"/dev/null", 8)[2])
equal("unchanged", open_table(b"/dev/null", 0)[2])
del os.environ["VU_SUFFIXES"]
system = vu.vu_table_system_path().decode()
if not os.path.exists(system):
    equal((NOT_FOUND, "No table of suffixes: no path was given, VU_SUFFIXES is not set, and there "
           "is no " + system), open_table(None)[::2])
equal(ARGUMENT, vu.vu_table_open(path, None, None, size))
equal(TABLE, vu.vu_table_open(b"/dev/null", byref(missing), None, size))

# One URL, and the same in every form of a batch.
urls = ["http://a.shop.ltd.co.uk:80/x", "", "10.2.3.4", "co.uk", "host", "a@b.uk"]
domains = {SERVICE: ["ltd.co.uk", "", "10.2.3.4", 204, 203, 202],
           PUBLIC_SUFFIX: ["shop.ltd.co.uk", "", "10.2.3.4", 204, 203, 202]}
joined = "".join(urls).encode()
ends = [0]
for url in urls:
    ends.append(ends[-1] + len(url))
count = c_size_t(len(urls))
texts = (Text * len(urls))(*[Text(url.encode(), len(url)) for url in urls])


def told(url, record):
    start = record.domain_start
    return record.status or url[start:start + record.domain_length]


for rule, expected in domains.items():
    single = []
    for url in urls:
        record = Record()
        equal(OK, vu.vu_classify(table, rule, url.encode(), c_size_t(len(url)), byref(record), size))
        single.append(record)
    equal(expected, [told(*each) for each in zip(urls, single)])
    equal([1, 0, 2, 1, 1, 0], [each.kind for each in single])
    equal([10, 2, 3, 4, 0], list(single[2].address[:5]))
    for call, args in ((vu.vu_classify_offsets32, [joined, (ctypes.c_int32 * len(ends))(*ends)]),
                       (vu.vu_classify_offsets64, [joined, (ctypes.c_int64 * len(ends))(*ends)]),
                       (vu.vu_classify_texts, [texts])):
        records = (Record * len(urls))()
        equal(OK, call(table, rule, *args, count, records, size))
        equal(b"".join(map(bytes, single)), bytes(records))
        # Nothing is written when an argument cannot be meant.
        for wrong in ([None, rule, *args, count, records, size],
                      [table, 2, *args, count, records, size],
                      [table, rule, *args[:-1], None, count, records, size],
                      [table, rule, *args, count, None, size],
                      [table, rule, *args, count, records, c_size_t(47)],
                      [table, rule, *args, c_size_t(2**64 - 1), records, size]):
            before = bytes(records)
            equal((ARGUMENT, before), (call(*wrong), bytes(records)))
        equal(OK, call(table, rule, *args[:-1], None, c_size_t(0), None, size))
record = Record()
equal(OK, vu.vu_classify(table, SERVICE, None, c_size_t(9), byref(record), size))
equal((201, b"COUNTRY CODE - EMPTY URL"), (record.status, vu.vu_status_text(record.status)))
equal([b"unknown status", b"unknown code"], [vu.vu_status_text(1), vu.vu_code_text(99)])
equal(5, len({vu.vu_code_text(code) for code in range(5)}))
vu.vu_table_close(table)
vu.vu_table_close(None)

# A list by its bytes, and which rule decided: kind, section, name.
rules = b"""// ===BEGIN ICANN DOMAINS===
uk\nco.uk\n*.ck\n!www.ck\n// ===END ICANN DOMAINS===
// ===BEGIN PRIVATE DOMAINS===\nshop.xy\n// ===END PRIVATE DOMAINS===\n"""
equal(OK, vu.vu_table_open_bytes(rules, c_size_t(len(rules)), b"a list", byref(table), None, size))
equal(b"a list", vu.vu_table_path(table))
why, room = Explanation(), c_size_t(ctypes.sizeof(Explanation))
for rule, narrowing, url, expected in (
        (PUBLIC_SUFFIX, 0, b"http://a.b.co.uk/", (0, 2, 1, b"co.uk")),
        (PUBLIC_SUFFIX, 3, b"b.shop.xy", (202, 1, 0, b"")),
        (SERVICE, 0, b"b.shop.xy", (0, 2, 2, b"shop.xy"))):
    equal(OK, vu.vu_explain(table, rule, narrowing, url, c_size_t(len(url)), byref(why), room))
    name = ctypes.string_at(why.name.data, why.name.size) if why.name.size else b""
    equal((url, expected), (url, (why.status, why.rule, why.section, name)))
# Hosts as browsers see them: what is in front of them is not looked at.
records, longer = (Record * 2)(), c_size_t(2 * size.value)
for kind, refused, text, expected in (
        (1, 0, b"a.b.ck", (0, b"a.b.ck", 3)), (3, 0, b"[::1]", (0, b"[::1]", 0)),
        (0, 0, b"", (201, b"", 0)), (0, 9, b"", (202, b"", 0)), (4, 0, b"a.b", (202, b"", 0))):
    host = Host(kind=kind, refused=refused, text_start=4, text_length=len(text))
    within = b"x://" + text
    equal(OK, vu.vu_classify_host(table, PUBLIC_SUFFIX, within, byref(host), records, longer))
    equal(OK, vu.vu_explain_host(table, PUBLIC_SUFFIX, 0, within, byref(host), byref(why), room))
    record = records[0]
    domain = within[record.domain_start:record.domain_start + record.domain_length]
    equal((text, record.status, expected), (text, why.status, (record.status, domain, why.rule)))
host.kind = 5
equal(ARGUMENT, vu.vu_classify_host(table, SERVICE, b"", byref(host), byref(record), size))
equal(ARGUMENT, vu.vu_explain(table, SERVICE, 4, b"a", c_size_t(1), byref(why), room))
equal(ARGUMENT, vu.vu_explain(table, SERVICE, 0, b"a", c_size_t(1), byref(why), c_size_t(8)))
vu.vu_table_close(table)
equal(TABLE, vu.vu_table_open_bytes(b"", c_size_t(0), None, byref(missing), None, size))
equal(ARGUMENT, vu.vu_table_open_bytes(None, c_size_t(1), None, byref(missing), None, size))
