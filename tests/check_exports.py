#!/usr/bin/env python3
"""Holds the library's surface to the committed lists.

  check_exports.py LIBRARY GENERATED_FOLDER COMMITTED_FOLDER BOUNDARY_HEADERS...

exports.txt (names and signatures) and rows.txt (record layouts, handles, sizes) that the catalog yields now equal the
committed ones. LIBRARY exports the names of the list and nothing else, and what it wants from outside are functions of
the driver boundary, of cJSON and of libc.
"""

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


def main():
    library, generated_folder, committed_folder, *headers = sys.argv[1:]
    faults = compare("rows.txt", read_list(f"{generated_folder}/rows.txt"), read_list(f"{committed_folder}/rows.txt"))
    generated = read_list(f"{generated_folder}/exports.txt")
    faults += compare("exports.txt", generated, read_list(f"{committed_folder}/exports.txt"))

    symbols = [line.split() for line in output_of("nm", "-D", "-S", "--defined-only", library).splitlines()]
    exported = {fields[-1]: int(fields[1], 16) for fields in symbols}
    faults += report("missing from the library", generated.keys() - exported.keys())
    faults += report("extra in the library", exported.keys() - generated.keys())
    sizes = {"bf_drv_hdl": 4, "p4_pd_velmar_switch_action_name_strings": 265 * 8}
    faults += report("data of another size", [name for name, size in sizes.items() if exported.get(name) != size])

    needed = re.findall(r"NEEDED.*\[(.*)\]", output_of("readelf", "-d", library))
    if not any(re.match(r"lib(asan|tsan)\.", name) for name in needed):  # sanitizers stand before libc
        faults += report("libraries it must not need",
                         [name for name in needed if not re.match(r"libcjson\.|libc\.", name)])
        declared = set()
        for header in headers:
            with open(header, encoding="ascii") as text:
                declared |= set(re.findall(r"\b((?:pipe_|bf_|p4_pd_ms_)\w+)\(", text.read()))
        wanted = [line.split() for line in output_of("nm", "-D", "--undefined-only", library).splitlines()]
        faults += report("wanted from outside, but nobody's",
                         [name for kind, name in wanted
                          if kind == "U" and "@GLIBC" not in name and not name.startswith("cJSON_")
                          and name not in declared])
    if faults:
        print("After a wanted change, copy the generated lists over the committed ones.")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
