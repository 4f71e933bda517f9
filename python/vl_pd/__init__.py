"""The switch as a module: program its tables, read them back, and compare them with the hardware.

    import vl_pd

    with vl_pd.Switch() as sw:
        hop = sw.ipv4Host.add({"vrfId": 7, "dip": "10.0.0.1"}, "setNextHop", {"nextHop": 5})
        print(sw.ipv4Host[hop].params["nextHop"])
"""

from .embedded import Damage
from .errors import Refused, UnknownName, WrongOrder
from .profiles import Group, Member, Profile
from .resources import Count, Meter
from .services import Capture, Snapshot
from .switch import Device, Switch
from .tables import Difference, Entry, Many, Table
from .values import Wrong

__all__ = ["Capture", "Count", "Damage", "Device", "Difference", "Entry", "Group", "Many", "Member", "Meter", "Profile",
           "Refused", "Snapshot", "Switch", "Table", "UnknownName", "Wrong", "WrongOrder"]
