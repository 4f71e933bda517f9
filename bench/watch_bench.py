"""Measures what the watching layer costs the route agent: the rate of its calls plain, checked, recorded and
summarised, one after the other in each round. Medians of rounds, as shares of the plain rate."""

import argparse
import ipaddress
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("build", nargs="?", default="build/release", help="the build folder (build/release)")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--routes", type=int, default=100000, help="of the list (100000)")
    arguments = parser.parse_args()
    build = pathlib.Path(arguments.build)
    kinds = {"plain": [], "checked": ["--check"], "recorded": ["--record"], "summarised": ["--summary"]}
    rates = {kind: [] for kind in kinds}
    with tempfile.TemporaryDirectory() as folder:
        routes, recording = os.path.join(folder, "routes"), os.path.join(folder, "recording")
        with open(routes, "w", encoding="ascii") as file:
            for i in range(arguments.routes):
                file.write(f"{ipaddress.IPv4Address((10 << 24) + i * 256)}/{24 + i % 7} {i % 500}\n")
        for _ in range(arguments.rounds):
            for kind, options in kinds.items():
                watch = [build / "tools/pd-watch", *options, *([recording] if kind == "recorded" else []), "--"]
                done = subprocess.run([*(watch if options else []), build / "examples/route_agent", "--packets", "1000",
                                       routes], capture_output=True, text=True, check=False)
                totals = [line.split() for line in done.stdout.splitlines() if line.startswith("total ")]
                if done.returncode != 0 or not totals:
                    sys.exit(f"{kind}: {done.stderr}")
                rates[kind].append(float(totals[0][-1].replace(",", "")))
                if kind == "recorded":
                    size = os.path.getsize(recording)
                    with open(recording, "rb") as file:
                        lines = sum(1 for _ in file)
    plain = statistics.median(rates["plain"])
    for kind, each in rates.items():
        median = statistics.median(each)
        print(f"{kind:12}{median:12,.0f} calls/s{median / plain:8.2f} of the plain rate")
    print(f"a recording has {lines:,} lines of {size / lines:.0f} bytes on average")


if __name__ == "__main__":
    main()
