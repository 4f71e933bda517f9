#!/usr/bin/env python3
"""Compares the library's interface with the committed lists.

  check_exports.py LIBRARY GENERATED_FOLDER COMMITTED_FOLDER BOUNDARY_HEADERS...

The catalog yields the committed lists: exports.txt (names and signatures), rows.txt (record layouts, handles, sizes)
and totals.txt. The records in the headers have these layouts, computed from the sizes of types alone. LIBRARY exports
exactly the names of the list, and needs only functions of the driver boundary, of cJSON and of libc.
"""

import glob
import re
import subprocess
import sys


def read_list(path):
    with open(path, encoding="ascii") as lines:
        return dict(line.rstrip("\n").split("\t") for line in lines)


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def report(title, names):
    if names:
        print(f"{title} ({len(names)}):")
        for name in sorted(names):
            print(f"  {name}")
    return len(names)


def compare(title, generated, committed):
    changed = [f"{name}: {committed[name]} -> {generated[name]}" for name in committed.keys() & generated.keys()
               if committed[name] != generated[name]]
    return (report(f"{title}: missing from the catalog", committed.keys() - generated.keys())
            + report(f"{title}: extra in the catalog", generated.keys() - committed.keys())
            + report(f"{title}: changed", changed))


def plain_layouts(folder):
    """The lines of rows.txt for the records of keys and actions, laid out by the types of their members alone."""
    lines = {}
    bytes_of = {"uint8_t": 1, "uint16_t": 2, "uint32_t": 4, "pd_bytes16": 16}
    for path in glob.glob(f"{folder}/include/vl_pd/*/*.h"):
        with open(path, encoding="ascii") as header:
            records = re.findall(r"typedef struct \w+ \{\n([^}]*)\} (\w+_spec_t);", header.read())
        for members, record in records:
            end, alignment = 0, 1
            for kind, name, count in re.findall(r"^    (\w+) (\w+)(?:\[(\d+)\])?;", members, re.MULTILINE):
                size = bytes_of[kind]
                step = 1 if size == 16 else size
                end = -(-end // step) * step
                alignment = max(alignment, step)
                if not name.startswith("reserved_"):
                    lines[f"{record}.{name}"] = f"offset {end}, {size} bytes"
                end += size * int(count or 1)
            lines[record] = f"size {-(-end // alignment) * alignment}"
    return lines


def main():
    library, generated_folder, committed_folder, *headers = sys.argv[1:]
    faults = compare("rows.txt", read_list(f"{generated_folder}/rows.txt"), read_list(f"{committed_folder}/rows.txt"))
    rows = read_list(f"{generated_folder}/rows.txt")
    layouts = plain_layouts(generated_folder)
    faults += compare("layout by plain members", layouts, {name: rows[name] for name in rows if name in layouts
                                                           or name.split(".")[0] in layouts})
    generated = read_list(f"{generated_folder}/exports.txt")
    totals = read_list(f"{generated_folder}/totals.txt")
    faults += compare("totals.txt", totals, read_list(f"{committed_folder}/totals.txt"))
    faults += compare("exports.txt", generated, read_list(f"{committed_folder}/exports.txt"))

    symbols = [line.split() for line in output_of("nm", "-D", "-S", "--defined-only", library).splitlines()]
    exported = {fields[-1]: int(fields[1], 16) for fields in symbols}
    faults += report("missing from the library", generated.keys() - exported.keys())
    faults += report("extra in the library", exported.keys() - generated.keys())

    # A sanitized library needs symbols of its sanitizer, and its data is larger.
    sanitizer = re.compile(r"lib(asan|tsan)\.|__(asan|tsan|ubsan|sanitizer)_")
    needed = re.findall(r"NEEDED.*\[(.*)\]", output_of("readelf", "-d", library))
    wanted = [line.split() for line in output_of("nm", "-D", "--undefined-only", library).splitlines()]
    if not any(sanitizer.match(name) for name in needed + [name for _, name in wanted]):
        sizes = {"bf_drv_hdl": 4, "p4_pd_velmar_switch_action_name_strings": 8 * int(totals["actions"])}
        faults += report("data of another size", [name for name, size in sizes.items() if exported.get(name) != size])
        faults += report("libraries it must not need",
                         [name for name in needed if not re.match(r"libcjson\.|libc\.", name)])
        declared = set()
        for header in headers:
            with open(header, encoding="ascii") as text:
                declared |= set(re.findall(r"\b((?:pipe_|bf_|p4_pd_ms_)\w+)\(", text.read()))
        faults += report("needed, but declared nowhere",
                         [name for kind, name in wanted
                          if kind == "U" and "@GLIBC" not in name and not name.startswith("cJSON_")
                          and name not in declared])
    if faults:
        print("After a wanted change, copy the generated lists over the committed ones.")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
