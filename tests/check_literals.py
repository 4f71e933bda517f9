#!/usr/bin/env python3
"""Checks schemas, value strings and print lines against the catalog, for every table, action and profile.

  check_literals.py LIBRARY DRIVER LIST_ROWS COMMITTED_ROWS

LIST_ROWS prints the rows of the catalog, and the committed list rows.txt has the places of fields in records. The
script makes the texts again and compares them character by character. It also compares their values in Python with the
rows.
"""

import ast
import ctypes
import os
import random
import re
import subprocess
import sys
from collections import Counter, namedtuple

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


def key_columns(table, key, layout):
    columns = []
    for name, pd_name, bits, mask, tag, match in key:
        whole = (1 << bits) - 1
        suffixes = {"exact": [], "ternary": [("Mask", "_mask", bits, mask & whole)],
                    "lpm": [("PrefixLength", "_prefix_length", 16, 0xFFFF)]}[match]
        for name_suffix, suffix, width, bits_matched in [("", "", bits, mask & whole)] + suffixes:
            place = layout[f"{PREFIX}{table}_match_spec_t.{pd_name}{suffix}"]
            columns.append(Column(name + name_suffix, pd_name + suffix, width, bits_matched,
                                  None if suffix else tag, *place))
    return columns


def param_columns(action, params, layout):
    return [Column(name, f"action_{name}", bits, (1 << bits) - 1, tag,
                   *layout[f"{PREFIX}{action}_action_spec_t.action_{name}"]) for name, bits, tag in params]


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
    library_file, driver_file, list_rows, committed = sys.argv[1:]
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

    with open(committed, encoding="ascii") as lines:
        rows = [line.rstrip("\n").split("\t") for line in lines]
    layout = {name: tuple(map(int, re.findall(r"\d+", place))) for name, place in rows if place.startswith("offset")}
    size = {name: int(text.split()[1]) for name, text in rows if text.startswith("size")}
    # A sanitized program has its own runtime, which conflicts with the one that this process has preloaded.
    environment = {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}
    listed = subprocess.run([list_rows], check=True, capture_output=True, text=True, env=environment).stdout
    catalog = [ast.literal_eval(line) for line in listed.splitlines()]

    values = {}
    schemas, narrowed = {}, {}
    for action, params in [row[1:] for row in catalog if row[0] == "action"]:
        columns = param_columns(action, params, layout)
        text = f"( ('{action}'),(" + "".join(f"('{c.name}',{c.tag!r},{c.width},None)," for c in columns) + "))"
        literal = (action, tuple((c.name, c.tag, c.width, None) for c in columns))
        schemas[action] = text, literal
        expect_text("action schema", action, constant(f"{action}_schema"), text, literal)
        for name, bits, tag in params:
            expect_tag(action, name, bits, tag)
        for record in records(size[f"{PREFIX}{action}_action_spec_t"]) if columns else [b""]:
            shown = [digits(column, record) for column in columns]
            text = f"('{action}',(" + "".join(f"{digit}," for digit, _ in shown) + ")),"
            value = written(export(f"{action}_value"), *([record] if columns else []))
            expect_text("action value", action, value, text, (action, tuple(value for _, value in shown)))
            values[action] = len(value)
            for indent in (0, 1, 4) if columns else ():
                expect(f"lines of {action}", printed(export(f"{action}_print"), indent, record),
                       "".join(lines_of(columns, record, indent)))

    for table, handle, indirect, key, actions in [row[1:] for row in catalog if row[0] == "table"]:
        columns = key_columns(table, key, layout)
        keys, key_literal = "()", tuple((*c[:5], None, None) for c in columns)
        if columns:
            keys = "(" + "".join(f"( '{c.name}','{c.shown}',{c.width},0x{c.mask:x},{c.tag!r},None,None),"
                                 for c in columns) + ")"
            expect_text("match schema", table, constant(f"{table}_match_spec_schema"), keys, key_literal)
            for record in records(size[f"{PREFIX}{table}_match_spec_t"]):
                shown = [digits(column, record) for column in columns]
                value = written(export(f"{table}_match_spec_value"), record)
                expect_text("match value", table, value,
                            "( " + "".join(f"{digit}," for digit, _ in shown) + "),", tuple(v for _, v in shown))
                if not indirect:
                    priority = "-2147483648" if "ternary" in [field[-1] for field in key] else "0"
                    most = len(f"(({value}),({priority},True))") + max(values[action] for action in actions)
                    longest["entry"] = max(longest["entry"], most)
                for indent in (0, 1, 4):
                    title = " " * indent + f"{PREFIX}{table}_match_spec_t:\n"
                    expect(f"lines of {table}", printed(export(f"{table}_match_spec_print"), indent, record),
                           title + "".join(lines_of(columns, record, indent)))
        for _, name, bits, mask, tag, _ in key:
            expect_tag(table, name, bits, tag)
            whole = (1 << bits) - 1
            if mask & whole != whole:
                narrowed[table, name] = mask & whole
        text, literal = actions_in(actions, schemas)
        text = f"({text})"
        if indirect:
            text = "( ('setMbrHdl',(('mbrHdl',None,32,None),)),( 'setGrpHdl', ( ( 'grpHdl', None, 32, None ), ) ) )"
            literal = tuple((f"set{kind}Hdl", ((f"{kind.lower()}Hdl", None, 32, None),)) for kind in ("Mbr", "Grp"))
        text = f"( ('{table}','mat',({indirect},)),{keys},{text})"
        got = written(export(f"{table}_schema"))
        expect_text("table", table, got, text, ((table, "mat", (indirect,)), key_literal, literal))
        expect_by_handle(table, handle, text)

    for profile, handle, actions in [row[1:] for row in catalog if row[0] == "profile"]:
        text, literal = actions_in(actions, schemas)
        expect_text("profile", profile, written(export(f"{profile}_schema")), f"({text})", literal)
        expect_by_handle(profile, handle, f"({text})")

    refused = export("setNextHop_print")(-1, 0, bytes(size[f"{PREFIX}setNextHop_action_spec_t"]))
    expect("sign of the result of printing on no descriptor", refused < 0, True)
    listed = {}
    for field, mask, *tables in map(str.split, NARROWED.strip().splitlines()):
        listed.update({(table, field): int(mask, 16) for table in tables})
    expect("narrowed fields", narrowed, listed)
    expect("longest texts", longest, LONGEST)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
