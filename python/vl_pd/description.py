"""The pipeline, from the description that is built and installed with the library. All layouts come from it."""

import json
import os
import pathlib
from dataclasses import dataclass, field

library_name = "libvl_bf_pd_default.so"
driver_name = "libvl_driver_model.so"
pipeline_name = "libvl_velmar_switch_pipeline.so"
description_name = "velmar_switch.json"


@dataclass
class Part:
    """A field of a record, with the mask or prefix length beside it."""

    name: str
    bits: int
    matched: int  # the bits that the table matches; all for a parameter
    offset: int
    size: int
    partner: str | None  # "mask" or "prefix_length"
    partner_offset: int = 0
    partner_size: int = 0
    key_offset: int = 0  # in the bytes of a packet's key
    key_size: int = 0
    pd_name: str | None = None  # the name in records; None for a parameter
    tag: str | None = None  # how the part is shown


@dataclass
class Field:
    """What people see as one: a part, or the two halves of a MAC address."""

    name: str
    tag: str | None
    parts: list[Part]
    match: str  # "exact", "ternary" or "lpm"

    @property
    def bits(self):
        return sum(part.bits for part in self.parts)

    @property
    def matched(self):
        value = 0
        for part in self.parts:
            value = value << part.bits | part.matched
        return value


@dataclass
class Action:
    name: str
    number: int
    size: int
    params: dict[str, Field]
    indices: set[str]  # parameters that name a cell of a counter, meter, WRED block or register


@dataclass
class Table:
    name: str
    handle: int
    summary: str
    shape: str
    size: int
    ttl_on_add: bool
    has_meter: bool
    has_idle_time: bool
    partitioned: bool
    key_size: int
    profile: str | None
    key: dict[str, Field]
    actions: list[str]
    defaults: list[str] = field(default_factory=list)

    @property
    def has_priority(self):
        return self.shape == "masked"


@dataclass
class Profile:
    name: str
    table: str
    actions: list[str]


def _fields(shown, parts, matches):
    fields = {}
    for column in shown:
        first, *rest = column["fields"]
        chosen = [parts[name] for name in (first, *rest)]
        fields[column["label"]] = Field(column["label"], column["tag"], chosen, matches.get(first, "exact"))
    return fields


class Description:
    """The rows that this module needs, by name."""

    def __init__(self, path):
        with open(path, encoding="ascii") as file:
            rows = json.load(file)
        self.name, self.prefix = rows["name"], rows["prefix"]
        self.resources = rows
        display = rows["display"]
        self.actions = {row["name"]: self._action(row, display["actions"][row["name"]]) for row in rows["actions"]}
        self.action_names = {action.number: action.name for action in self.actions.values()}
        self.tables = {row["name"]: self._table(row, display["keys"][row["name"]]) for row in rows["tables"]}
        self.columns = {tuple(column["fields"]): column for columns in display["keys"].values() for column in columns}
        self.profiles = {row["name"]: Profile(row["name"], row["table"], [each["name"] for each in row["actions"]])
                         for row in rows["profiles"]}

    def digest_fields(self, row):
        """The fields of a digest with the places of their parts. What is a field of a key is one here, too."""
        fields, parts = [], list(row["fields"])
        while parts:
            count = 2 if tuple(each["name"] for each in parts[:2]) in self.columns else 1
            chosen, parts = parts[:count], parts[count:]
            column = self.columns.get(tuple(each["name"] for each in chosen), {"label": chosen[0]["name"], "tag": None})
            widths = [24, 24] if count == 2 else [8 * chosen[0]["bytes"]]
            halves = [Part(each["name"], width, 0, 0, 0, None) for each, width in zip(chosen, widths)]
            fields.append((Field(column["label"], column["tag"], halves, "exact"),
                           [(each["offset"], each["offset"] + each["bytes"]) for each in chosen]))
        return fields

    @staticmethod
    def _action(row, shown):
        parts = {param["name"]: Part(param["name"], param["bits"], (1 << param["bits"]) - 1, param["record_offset"],
                                     param["record_bytes"], None, tag=param["tag"]) for param in row["params"]}
        return Action(row["name"], row["number"], row["record_size"], _fields(shown, parts, {}),
                      {param["name"] for param in row["params"] if "slot_index" in param["role"]})

    @staticmethod
    def _table(row, shown):
        parts, matches = {}, {}
        for key in row["key"]:
            partner = key["partner"] or {}
            parts[key["pd_name"]] = Part(key["name"], key["bits"], int(key["matched_bits"], 16), key["record_offset"],
                                         key["record_bytes"], partner.get("kind"), partner.get("record_offset", 0),
                                         partner.get("record_bytes", 0), key["key_offset"], key["key_bytes"],
                                         key["pd_name"], key["tag"])
            matches[key["pd_name"]] = key["match"]
        resource = row["resource"] or {}
        return Table(row["name"], row["handle"], row["summary"], row["shape"], row["record_size"], row["ttl_on_add"],
                     resource.get("kind") == "meter" and resource["addressing"] == "direct", row["idle_time"],
                     row["partitioned"], row["key_bytes"], row["profile"], _fields(shown, parts, matches),
                     [each["name"] for each in row["actions"] if each["use"] != "default_only"],
                     [each["name"] for each in row["actions"] if each["use"] != "entry"])


def _folders(given):
    """Where the files may be: the folders of each build or install, in the order of preference."""
    here = pathlib.Path(__file__).resolve().parent
    built = ("src", "driver/model", "generated/share/vl_pd")
    named = [pathlib.Path(path).absolute().parent for path in given]
    if "VL_PD_LIBRARIES" in os.environ:
        named.append(pathlib.Path(os.environ["VL_PD_LIBRARIES"]))
    for folder in named:
        yield [folder, *(folder.parent / each for each in (*built, "share/vl_pd", "../share/vl_pd"))]
    if "VL_PD_LIBRARIES" in os.environ:
        return
    prefixes = here.parents
    if (here.parents[1] / "python/CMakeLists.txt").is_file():  # this package is the source, not an install
        for build in ("build/release", "build"):
            yield [here.parents[1] / build / each for each in built]
        prefixes = ()
    for prefix in (*prefixes, pathlib.Path("/usr/local"), pathlib.Path("/usr")):
        yield [prefix / each for each in ("lib", "lib64", "lib/x86_64-linux-gnu", "share/vl_pd")]


def find(name, given=()):
    """The file of this name that was built or installed. None if there is none. Files beside the given ones come first.

    All files come from one build or one install, because they may differ between versions.
    """
    names = (description_name, library_name, driver_name, pipeline_name)
    for number, folders in enumerate(_folders(given)):
        if any((folder / each).is_file() for folder in folders for each in names):
            found = [folder / name for folder in folders if (folder / name).is_file()]
            if found or number >= len(given):
                return str(found[0].resolve()) if found else None
    return None
