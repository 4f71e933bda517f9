"""A user's script for the Python module. It also prints which libraries were loaded; two tests compare them."""

import vl_pd

with vl_pd.Switch() as sw:
    hop = sw.ipv4Host.add({"vrfId": 7, "dip": "10.0.0.1"}, "setNextHop", {"nextHop": 5})
    print(sw.ipv4Host[hop].params["nextHop"], sw.ipv4Host.verify())
    with open("/proc/self/maps", encoding="utf-8") as maps:
        print(*sorted({line.split()[-1] for line in maps if "/libvl_" in line}), sep="\n")
