"""Measures the Python module on the embedded driver: many operations at once beside single calls, and beside the same
calls by ctypes alone, with records that are ready. Medians of rounds, in one process, on one core."""

import argparse
import ctypes
import os
import statistics
import time

import vl_pd
from vl_pd.binding import u32
from vl_pd.tables import Reader


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--entries", type=int, default=100000)
    parser.add_argument("--rounds", type=int, default=7)
    arguments = parser.parse_args()
    os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})
    rates = {}

    def measure(name, function):
        begin = time.perf_counter()
        result = function()
        rates.setdefault(name, []).append(arguments.entries / (time.perf_counter() - begin))
        return result

    with vl_pd.Switch() as sw:
        host, device = sw.ipv4Host, sw.device(0)
        rows = [({"vrfId": 7, "dip": f"10.{i >> 16}.{i >> 8 & 255}.{i & 255}"}, "setNextHop", {"nextHop": i & 1023})
                for i in range(arguments.entries)]
        hop = device.record_of("setNextHop", "ipv4Host")
        records = [(host.key_record.pack(key), hop.pack(params)) for key, _, params in rows]
        adds = device.binding.function("ipv4Host_table_add_with_setNextHop")

        def add_raw():
            handle = u32()
            for key, params in records:
                adds(device.session, device.target, key, params, ctypes.byref(handle))

        def add_each():
            for key, action, params in rows:
                host.add(key, action, params)

        def walk():
            for entry in host:
                entry.key  # pylint: disable=pointless-statement

        def get_each():
            for handle in handles:
                host.get(handle)

        def read_raw():
            reader = Reader(host)
            function, *outputs = reader.arguments
            for handle in handles:
                reader.handle.value = handle
                function(*outputs)

        for _ in range(arguments.rounds):
            measure("add: ctypes alone", add_raw)
            host.clear()
            measure("add: single calls", add_each)
            host.clear()
            many = measure("add: add_many", lambda: host.add_many(rows))
            assert not many.refused
            handles = host.handles()
            measure("read: ctypes alone", read_raw)
            measure("read: single calls", get_each)
            measure("read: a walk", walk)
            measure("read: entries(columns)", lambda: host.entries(columns=["dip", "nextHop"]))
            measure("delete: delete_many", lambda: host.delete_many(handles))
            assert len(host) == 0
    print(f"{arguments.entries} entries of ipv4Host, medians of {arguments.rounds} rounds")
    for name, each in rates.items():
        alone = rates.get(name.split(":")[0] + ": ctypes alone")
        median = statistics.median(each)
        ratio = f"  {statistics.median(alone) / median:5.2f} times as long as ctypes alone" if alone else ""
        print(f"{name:24}{median:12,.0f}/s{ratio}")


if __name__ == "__main__":
    main()
