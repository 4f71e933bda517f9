#!/usr/bin/env python3
"""Checks schemas, value strings and print lines against the catalog, for every table, action and profile.

  check_literals.py LIBRARY DRIVER PIPELINE SCHEMA COMMITTED_ROWS

PIPELINE is the description of the pipeline as JSON, which must keep to SCHEMA. The places of fields in records must be
those of the committed list rows.txt. From the description the script makes the texts again, and compares them character
by character. It also compares their values in Python with the description.
"""

import ast
import ctypes
import json
import os
import random
import re
import sys
from collections import Counter, namedtuple

import jsonschema

PREFIX = "p4_pd_velmar_switch_"
ROOM = 4096

# A key field, its mask or prefix length, or a parameter. `shown` is its name in print lines.
Column = namedtuple("Column", "name shown width mask tag offset size")

# Every field that a table matches in part: the field, the bits that are matched, and the tables.
NARROWED = """
eg_intr_md_egress_port 0x7f wredQueueSelect queueReport queueReportQuota egressSamePortBridgingTest egressVlanXlate
eg_intr_md_egress_port 0x7f vlanEncap egressPortDropCheck
eg_intr_md_egress_qid 0x7 wredQueueSelect queueReport queueReportQuota
egrMd_egrL2AintfUnresolved 0x7ff mlagUcastPrune
egrMd_egrL2AintfUnresolved 0xf0000 mcastPrune
egrMd_tunnelInfo 0x3fff tunnelDip0
egrMd_tunnelInfo 0x800000 encapDecap
egrMd_tunnelInfo 0xff000000 tunnelL2Info
egrMd_tunnelInfo 0xfffe0000 globalFields
egrMirrorMd_mirrorSession 0x7f egressMirrorLagGroup
haloResultRow1_bestResult 0x7fff haloCounters
haloResultRow1_bestResult 0x38000 finalDropControl
ig_intr_md_for_tm_mcast_grp_a 0xf000 mcastPrune
ig_intr_md_ingress_port 0x7f l2DmacClassify ingressPortDropCheck l2LookupMiss haloPaclCrlId finalDropControl
ingIpv4_dip 0xfffff ipv4FinalResolve0
ingIpv4_dip 0xfff00000 ipv4ShortMaskLpm
ingIpv6_dip 0xffffffffffffffff ipv6LgMaskFinalResolve0
ingIpv6_dip 0x3ffffffffff0000000000000000 ipv6FinalResolve
ingIpv6_dip 0xffff0000000000000000000000000000 trapToCpu
ingIpv6_dip 0xfffffc00000000000000000000000000 ipv6ShortMaskLpm
ingIpv6_dip 0xffffffffffffffff0000000000000000 ipv6Partition
ingIpv6_fibPartitionIndex 0x3fff ipv6FinalResolve
ingMd_ingL2Aintf 0xc0000 learningDigestGeneration
ingMd_rand 0xffffff ingressSflowSample
ingMd_v4V6Valid 0x3 haloPaclCrlId haloRaclCrlId
ingMirrorMd_mirrorColor 0x1 ingressMirrorResult
ingMirrorMd_mirrorSession 0x7f ingressMirrorLagGroup
l3Info_ipRouting 0x1 switchToCpu
l3Info_vrfId 0x7f ipv4Partition0
l3_nextHop 0xf reservedNextHop
l3_nextHop 0x3ff ecmpGroup
"""

# A tag follows from the width and the name of a field or parameter. One field is an exception.
TAGS = {"mac": (24, "(.*[Mm]ac)?(Oui|Station|oui|station)"), "v4addr": (32, ".*([sd]ip|Dip|dipB|srcIp|dstIp)"),
        "v6addr": (128, ".*"), "port": (9, ".*gress_port|cpuPort|egrL2AintfPort"), "vport": (14, "phase0_ingVPort"),
        "dec": (16, ".*(partIdx|[pP]artitionIndex)")}
UNTAGGED = ("ingressPortMapping", "ig_intr_md_ingress_port")

# The public header tells users of these lengths.
LONGEST = {"table": 3689, "profile": 174, "match schema": 3217, "action schema": 263, "match value": 280,
           "action value": 109, "entry": 330}

faults = 0
longest = Counter()


def expect(what, got, wanted):
    global faults
    if got != wanted:
        faults += 1
        print(f"{what}:\n  got    {got}\n  wanted {wanted}")


def expect_text(kind, what, got, text, literal):
    """Compares a text, and its value as a Python literal. The last comma of a value string is for its reader."""
    expect(f"{kind} of {what}", got, text)
    longest[kind] = max(longest[kind], len(got))
    try:
        expect(f"{kind} of {what} as a literal", ast.literal_eval(got.removesuffix(",")), literal)
    except SyntaxError as error:
        expect(f"{kind} of {what} as a literal", error, literal)


def expect_tag(row, name, bits, tag):
    fitting = [each for each, (width, names) in TAGS.items() if bits == width and re.fullmatch(names, name)]
    expect(f"tag of {row}.{name}", tag, fitting[0] if fitting and (row, name) != UNTAGGED else None)


def written(function, *arguments):
    """The text that a writer writes. The writer must return its length, and write nothing after the NUL."""
    buffer = ctypes.create_string_buffer(b"\xa5" * ROOM, ROOM)
    length = function(*arguments, buffer)
    expect("NUL and what follows it", buffer.raw[length:], b"\0" + b"\xa5" * (ROOM - length - 1))
    return buffer.raw[:length].decode("ascii")


def printed(function, indent, record):
    """What is printed on a descriptor. The result must be the length of the last line."""
    reader, writer = os.pipe()
    result = function(writer, indent, record)
    os.close(writer)
    with os.fdopen(reader, encoding="ascii") as lines:
        text = lines.read()
    expect("result of printing", result, len(text.splitlines(keepends=True)[-1]))
    return text


def key_columns(key):
    columns = []
    for field in key:
        mask = int(field["matched_bits"], 16)
        place = field["record_offset"], field["record_bytes"]
        columns.append(Column(field["name"], field["pd_name"], field["bits"], mask, field["tag"], *place))
        if partner := field["partner"]:
            name, bits, mask = {"mask": ("Mask", field["bits"], mask),
                                "prefix_length": ("PrefixLength", 16, 0xFFFF)}[partner["kind"]]
            place = partner["record_offset"], partner["record_bytes"]
            columns.append(Column(field["name"] + name, partner["pd_name"], bits, mask, None, *place))
    return columns


def param_columns(params):
    return [Column(param["name"], f"action_{param['name']}", param["bits"], (1 << param["bits"]) - 1, param["tag"],
                   param["record_offset"], param["record_bytes"]) for param in params]


def expect_places(record, columns, size, committed):
    """The committed list must have the record with its fields at these places, and no other fields."""
    places = {f"{record}.{column.shown}": f"offset {column.offset}, {column.size} bytes" for column in columns}
    if columns:
        places[record] = f"size {size}"
    listed = {name: text for name, text in committed.items() if name == record or name.startswith(record + ".")}
    expect(f"places in {record}", places, listed)


def digits(column, record):
    """A value's text, and the value. Texts show all bits of a 128-bit value, whichever bits the table matches."""
    stored = record[column.offset:column.offset + column.size]
    if column.width == 128:
        return "0x" + stored.hex().upper(), int.from_bytes(stored, "big")
    value = int.from_bytes(stored, "little") & column.mask
    return f"0x{value:0{-(-column.width // 4)}x}", value


def lines_of(columns, record, indent):
    begin = " " * max(indent, 1) + " "
    for column in columns:
        narrowed = column.mask != (1 << column.width) - 1 and column.width != 128
        note = f" mask 0x{column.mask:x}" if narrowed else ""
        yield f"{begin}{column.shown}{note}: {digits(column, record)[0]}\n"


def records(size):
    """Random records, and one full of ones."""
    return [random.randbytes(size) for _ in range(4)] + [b"\xff" * size]


def actions_in(names, schemas):
    """The part of a schema that lists actions, as text and as a value."""
    order = sorted(names)
    return "".join(schemas[name][0] + "," for name in order), tuple(schemas[name][1] for name in order)


def main():
    library_file, driver_file, pipeline_file, schema_file, committed_file = sys.argv[1:]
    ctypes.CDLL(driver_file, ctypes.RTLD_GLOBAL)
    library = ctypes.CDLL(library_file)
    random.seed(1)

    def export(name, result=ctypes.c_int):
        function = library[PREFIX + name]
        function.restype = result
        return function

    def constant(name):
        return export(name, ctypes.c_char_p)().decode("ascii")

    def expect_by_handle(name, handle, text):
        expect(f"schema of {name} by handle", written(export("cli_schema"), handle), text)

    with open(committed_file, encoding="ascii") as lines:
        committed = dict(line.rstrip("\n").split("\t") for line in lines)
    with open(pipeline_file, encoding="ascii") as text, open(schema_file, encoding="ascii") as schema:
        pipeline = json.load(text)
        jsonschema.validate(pipeline, json.load(schema))
    for rows, display in (("tables", "keys"), ("actions", "actions")):
        expect(f"display of {rows}", [row["name"] for row in pipeline[rows]], list(pipeline["display"][display]))

    values = {}
    schemas, narrowed = {}, {}
    for row in pipeline["actions"]:
        action = row["name"]
        columns = param_columns(row["params"])
        expect_places(f"{PREFIX}{action}_action_spec_t", columns, row["record_size"], committed)
        text = f"( ('{action}'),(" + "".join(f"('{c.name}',{c.tag!r},{c.width},None)," for c in columns) + "))"
        literal = (action, tuple((c.name, c.tag, c.width, None) for c in columns))
        schemas[action] = text, literal
        expect_text("action schema", action, constant(f"{action}_schema"), text, literal)
        for column in columns:
            expect_tag(action, column.name, column.width, column.tag)
        for record in records(row["record_size"]) if columns else [b""]:
            shown = [digits(column, record) for column in columns]
            text = f"('{action}',(" + "".join(f"{digit}," for digit, _ in shown) + ")),"
            value = written(export(f"{action}_value"), *([record] if columns else []))
            expect_text("action value", action, value, text, (action, tuple(value for _, value in shown)))
            values[action] = len(value)
            for indent in (0, 1, 4) if columns else ():
                expect(f"lines of {action}", printed(export(f"{action}_print"), indent, record),
                       "".join(lines_of(columns, record, indent)))

    for row in pipeline["tables"]:
        table, indirect = row["name"], row["profile"] is not None
        actions = [action["name"] for action in row["actions"]]
        columns = key_columns(row["key"])
        expect_places(f"{PREFIX}{table}_match_spec_t", columns, row["record_size"], committed)
        keys, key_literal = "()", tuple((*c[:5], None, None) for c in columns)
        if columns:
            keys = "(" + "".join(f"( '{c.name}','{c.shown}',{c.width},0x{c.mask:x},{c.tag!r},None,None),"
                                 for c in columns) + ")"
            expect_text("match schema", table, constant(f"{table}_match_spec_schema"), keys, key_literal)
            for record in records(row["record_size"]):
                shown = [digits(column, record) for column in columns]
                value = written(export(f"{table}_match_spec_value"), record)
                expect_text("match value", table, value,
                            "( " + "".join(f"{digit}," for digit, _ in shown) + "),", tuple(v for _, v in shown))
                if not indirect:
                    priority = "-2147483648" if row["shape"] == "masked" else "0"
                    most = len(f"(({value}),({priority},True))") + max(values[action] for action in actions)
                    longest["entry"] = max(longest["entry"], most)
                for indent in (0, 1, 4):
                    title = " " * indent + f"{PREFIX}{table}_match_spec_t:\n"
                    expect(f"lines of {table}", printed(export(f"{table}_match_spec_print"), indent, record),
                           title + "".join(lines_of(columns, record, indent)))
        for field in row["key"]:
            expect_tag(table, field["pd_name"], field["bits"], field["tag"])
            matched = int(field["matched_bits"], 16)
            if matched != (1 << field["bits"]) - 1:
                narrowed[table, field["pd_name"]] = matched
        text, literal = actions_in(actions, schemas)
        text = f"({text})"
        if indirect:
            text = "( ('setMbrHdl',(('mbrHdl',None,32,None),)),( 'setGrpHdl', ( ( 'grpHdl', None, 32, None ), ) ) )"
            literal = tuple((f"set{kind}Hdl", ((f"{kind.lower()}Hdl", None, 32, None),)) for kind in ("Mbr", "Grp"))
        text = f"( ('{table}','mat',({indirect},)),{keys},{text})"
        got = written(export(f"{table}_schema"))
        expect_text("table", table, got, text, ((table, "mat", (indirect,)), key_literal, literal))
        expect_by_handle(table, row["handle"], text)

    for row in pipeline["profiles"]:
        profile, handle = row["name"], row["data_table"]
        text, literal = actions_in([action["name"] for action in row["actions"]], schemas)
        expect_text("profile", profile, written(export(f"{profile}_schema")), f"({text})", literal)
        expect_by_handle(profile, handle, f"({text})")

    refused = export("setNextHop_print")(-1, 0, bytes(4))
    expect("sign of the result of printing on no descriptor", refused < 0, True)
    listed = {}
    for field, mask, *tables in map(str.split, NARROWED.strip().splitlines()):
        listed.update({(table, field): int(mask, 16) for table in tables})
    expect("narrowed fields", narrowed, listed)
    expect("longest texts", longest, LONGEST)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
