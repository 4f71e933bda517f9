"""Type stubs for editors and mypy: the classes of this package, and a type for each table of a description. Types that
are alike are made once, so that an editor loads them quickly."""

import inspect
import pathlib
import re

import vl_pd

from . import profiles, resources, services, switch, tables

opening = '''\
# Made from the description of {name}, for editors and type checkers.
from collections.abc import Callable, Iterable, Iterator, Mapping, Sequence
from ipaddress import IPv4Address, IPv4Interface, IPv4Network, IPv6Address, IPv6Interface, IPv6Network
from typing import Any, Generic, Literal, Never, SupportsIndex, TypedDict, TypeVar, overload

_Masked = int | str | tuple[int | str, int | str]
_IPv4 = str | int | IPv4Address
_IPv4Masked = _IPv4 | IPv4Network | IPv4Interface | tuple[_IPv4, _IPv4]
_IPv6 = str | int | IPv6Address
_IPv6Masked = _IPv6 | IPv6Network | IPv6Interface | tuple[_IPv6, _IPv6]
_MAC = str | int
_K = TypeVar("_K")  # a key
_A = TypeVar("_A")  # the names of actions
'''
value_types = {"v4addr": ("_IPv4", "_IPv4Masked"), "v6addr": ("_IPv6", "_IPv6Masked"), "mac": ("_MAC", "_Masked")}
kinds = {"counters": ("counters", resources.Counter), "meters": ("meters", resources.MeterResource),
         "wred": ("wred_blocks", resources.Wred), "registers": ("registers", resources.Register),
         "digests": ("digests", services.Digest), "value_sets": ("value_sets", services.ValueSet),
         "hashes": ("hash_calculations", services.Hash)}
# What a name of a parameter means in all classes. Others have the type of their default.
parameter_types = {
    **dict.fromkeys(["handle", "member", "group", "cell", "entry"], "SupportsIndex"),
    **dict.fromkeys(["index", "nth", "number", "milliseconds", "max_size", "timeout", "first_stage", "last_stage",
                     "count", "first", "ttl", "priority", "pipe", "session", "stage", "adjustment", "seed"], "int"),
    "key": "_K", "packet": "_K", "which": "SupportsIndex | _K", "value": "Any", "params": "Mapping[str, Any]",
    "handles": "Iterable[SupportsIndex]", "rows": "Iterable[Any]", "columns": "Sequence[str]",
    "spec": "Meter | Sequence[int]", "meter": "Meter | Sequence[int]", "callback": "Callable[..., object]",
    "function": "str", "state": "str",
    "action": "str", "library": "str", "driver": "str", "description": "str", "hashed": "int | bytes",
}
shown_names = {"__init__", "__getitem__", "__iter__", "__len__", "__contains__", "__index__", "__enter__", "__exit__"}
plumbing = {"call", "change", "pages", "record_of", "target_of", "wait_for", "key_record", "unpackers"}


def _type(annotation):
    text = annotation if isinstance(annotation, str) else inspect.formatannotation(annotation)
    text = re.sub(r"\b(?:vl_pd|collections\.abc|typing)\.(?:\w+\.)*", "", text)
    bare = {"list": "list[Any]", "tuple": "tuple[Any, ...]", "dict": "dict[str, Any]"}
    return re.sub(r"\b(?:list|tuple|dict)\b(?!\[)", lambda found: bare[found[0]], text)


def _parameter(parameter, types):
    """One parameter as a stub has it. `types` says more than the parameter itself."""
    name, default, empty = parameter.name, parameter.default, inspect.Parameter.empty
    if parameter.kind is inspect.Parameter.VAR_POSITIONAL:
        return f"*{name}: Any"
    if name in types:
        kind = types[name]
    elif parameter.annotation is not empty:
        kind = _type(parameter.annotation)
    elif name in parameter_types:
        kind = parameter_types[name]
    else:
        kind = type(default).__name__ if default is not empty and default is not None else "Any"
    if default is None and kind != "Any" and not kind.endswith("| None"):
        kind += " | None"
    return f"{name}: {kind}" + ("" if default is empty else " = ...")


def _function(name, function, chosen=lambda parameter: parameter, types=None, returned=None):
    """A function's line. `chosen` changes a parameter, or leaves it out by None."""
    signature, words, star = inspect.signature(function), ["self"], False
    for parameter in [chosen(each) for each in list(signature.parameters.values())[1:]]:
        if parameter is None:
            continue
        if parameter.kind is inspect.Parameter.KEYWORD_ONLY and not star:
            words.append("*")
            star = True
        words.append(_parameter(parameter, types or {}))
    if returned is None and signature.return_annotation is not inspect.Signature.empty:
        returned = _type(signature.return_annotation)
    returned = {"__init__": "None", "__len__": "int"}.get(name, returned or "Any")
    return f"    def {name}({', '.join(words)}) -> {returned}: ..."


def _overloads(lines):
    return [line for each in lines for line in ("    @overload", each)] if len(lines) > 1 else lines


def _choosing(left_out, needed=()):
    """Leaves some parameters out, and takes the defaults of others away."""
    def chosen(parameter):
        if parameter.name in left_out:
            return None
        return parameter.replace(default=inspect.Parameter.empty) if parameter.name in needed else parameter

    return chosen


def _class(of, head, skipped=(), types=None, chosen=lambda parameter: parameter):
    """The lines of a class, without the members whose names are skipped."""
    lines = [f"class {head}:"]
    for name, kind in inspect.get_annotations(of).items():
        if not name.startswith("_"):
            lines.append(f"    {name}: {(types or {}).get(name) or _type(kind)}")
    constructed = hasattr(of, "__dataclass_fields__") or of is switch.Switch
    for name, member in vars(of).items():
        if (name.startswith("_") and name not in shown_names) or name in plumbing or name in skipped:
            continue
        if name == "__init__" and not constructed:
            continue
        if inspect.isfunction(member):
            lines.append(_function(name, member, chosen, types))
        elif isinstance(member, property):
            lines += ["    @property", _function(name, member.fget)]
            if member.fset is not None:
                lines += [f"    @{name}.setter", _function(name, member.fset, returned="None")]
    return lines if len(lines) > 1 else [f"class {head}: ..."]


def _shown(of):
    """The name of a class: private unless the package exports it."""
    return of.__name__ if of.__name__ in vl_pd.__all__ or of.__module__ == "builtins" else f"_{of.__name__}"


def _literal(names):
    return f"Literal[{', '.join(map(repr, names))}]" if names else "None"


class Writer:
    """The stubs of one description."""

    def __init__(self, description):
        self.description = description
        self.lines = opening.format(name=description.name).splitlines()
        self.made = {}  # the names of types by what they are

    def named(self, name, what, lines):
        """The name of the type that `what` describes. `lines` of its name are written where it is first needed."""
        if what not in self.made:
            self.made[what] = name
            self.lines += lines(name)
        return self.made[what]

    def dictionary(self, name, fields, masks, total):
        """The type of a dict with these fields."""
        kinds = {field.name: value_types.get(field.tag, ("int", "_Masked"))[masks and field.match != "exact"]
                 for field in fields.values()}
        what = ", ".join(f'"{each}": {kind}' for each, kind in kinds.items())
        return self.named(name, (what, total), lambda name: [
            f'{name} = TypedDict("{name}", {{{what}}}' + ("" if total else ", total=False") + ")"])

    def by_params(self, actions):
        """The literals of actions, by the type of their parameters; None for those without any."""
        found = {}
        for name in actions:
            params = self.description.actions[name].params
            kind = self.dictionary(f"_{name}", params, False, True) if params else None
            found.setdefault(kind, []).append(name)
        return {kind: _literal(names) for kind, names in found.items()}

    def with_actions(self, function, actions, left_out=()):
        """The overloads of a function that takes an action and its parameters."""
        lines = []
        for kind, literal in self.by_params(actions).items():
            chosen = _choosing(left_out, ["action", "params"] if kind else ["action"])
            lines.append(_function(function.__name__, function, chosen,
                                   {"action": literal, "params": kind or "dict[str, Never]"}))
        return _overloads(lines)

    def table(self, row):
        """The type of a table."""
        key = f"[{self.dictionary(f'_{row.name}_key', row.key, True, False)}]" if row.key else ""
        base = "Table[_K, " if row.has_priority else "_PlainTable[_K, " if row.key else "_KeylessTable["
        if row.profile is not None:
            return f"_Indirect{'Masked' if row.has_priority else ''}Table{key}"
        left_out = {"member", "group"} | {name for name, has in (
            ("priority", row.has_priority), ("meter", row.has_meter), ("ttl", row.ttl_on_add)) if not has}
        lines = []
        if row.key:
            lines += self.with_actions(tables.Table.add, row.actions, left_out)
            lines += self.with_actions(tables.Table.modify, row.actions, left_out)
        lines += self.with_actions(tables.Table.set_default, row.defaults, left_out)
        names = _literal(dict.fromkeys([*row.actions, *row.defaults]))
        return self.named(f"_{row.name}", (base, names, *lines), lambda name: [
            f"class {name}({base}{names}]):", *(lines or ["    ..."])]) + key

    def profile(self, row):
        """The type of an action profile."""
        return self.named(f"_{row.name}", row.name, lambda name: [
            f"class {name}(Profile):",
            *self.with_actions(profiles.Profile.add_member, row.actions),
            *self.with_actions(profiles.Profile.modify_member, row.actions)])

    def classes(self):
        """The classes of the package, as far as they don't depend on the description."""
        written = (tables.Table, profiles.Profile, switch.Device, switch.Switch)
        wanted = [getattr(vl_pd, name) for name in vl_pd.__all__] + [kind for _, kind in kinds.values()]
        wanted = [each for each in wanted if each not in written]
        for of in wanted:
            bases = [each for each in of.__bases__ if each is not object]
            wanted += [each for each in bases if each.__module__ != "builtins" and each not in wanted]
            if of is tables.Entry:
                self.lines += _class(of, "Entry(Generic[_K, _A])", types={"key": "_K", "action": "_A", "params": "Any"})
            else:
                self.lines += _class(of, _shown(of) + (f"({', '.join(map(_shown, bases))})" if bases else ""))

    def tables(self):
        """The classes that all tables share."""
        written = {"add": "int", "modify": "None", "set_default": "int"}
        entry, narrowed = "Entry[_K, _A]", "  # type: ignore[override]"
        lines = _class(tables.Table, "Table(Generic[_K, _A])", (*written, "entries"))
        self.lines += [re.sub(r"\bEntry\b", entry, line) for line in lines]
        self.lines += [f"    {name}: Callable[..., {returned}]" for name, returned in written.items()]
        self.lines.append("    row: Any")
        self.lines += _overloads([
            f"    def entries(self, columns: None = ..., hw: bool = ...) -> list[{entry}]: ...",
            "    def entries(self, columns: Sequence[str], hw: bool = ...) -> dict[str, list[Any]]: ..."])
        self.lines += ["class _PlainTable(Table[_K, _A]):"]
        self.lines += [_function(name, getattr(tables.Table, name), _choosing(["priority"])) + narrowed
                       for name in ("find", "delete")]
        self.lines += ["class _KeylessTable(_PlainTable[Never, _A]):", "    def add(self, key: Never) -> Never: ...",
                       "    def modify(self, which: Never) -> Never: ..."]
        for masked in (False, True):
            base = f"{'Table' if masked else '_PlainTable'}[_K, None]"
            self.lines.append(f"class _Indirect{'Masked' if masked else ''}Table({base}):")
            for name in written:
                lines = []
                for taken, other in (("member", "group"), ("group", "member")):
                    left_out = {"action", "params", "meter", "ttl", other} | (set() if masked else {"priority"})
                    lines.append(_function(name, getattr(tables.Table, name), _choosing(left_out, [taken])))
                self.lines += _overloads(lines)

    def text(self):
        """The whole file."""
        self.lines += [f"__all__ = {vl_pd.__all__!r}"]
        self.classes()
        self.tables()
        self.lines += _class(profiles.Profile, "Profile", ("add_member", "modify_member"))
        self.lines += ["    add_member: Callable[..., int]", "    modify_member: Callable[..., None]",
                       "    row: Any"]
        attributes = [f"    {row.name}: {self.table(row)}" for row in self.description.tables.values()]
        attributes += [f"    {row.name}: {self.profile(row)}" for row in self.description.profiles.values()]
        for attribute, (rows, kind) in kinds.items():
            names = _literal([row["name"] for row in self.description.resources[rows]])
            attributes.append(f"    {attribute}: Mapping[{names}, {_shown(kind)}]")
        self.lines += ["class _Pipeline:", *attributes, "    tables: Mapping[str, Table[Any, Any]]",
                       "    profiles: Mapping[str, Profile]"]
        for base in reversed(switch.Device.__mro__[:-1]):
            self.lines += _class(base, "_Pipeline")[1:]
        self.lines.append("class Device(_Pipeline): ...")
        self.lines += _class(switch.Switch, "Switch(_Pipeline)")
        return "\n".join(self.lines) + "\n"


def write(description, path):
    """Writes the stubs to a file, and py.typed beside it."""
    path = pathlib.Path(path)
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(Writer(description).text(), encoding="ascii")
    (path.parent / "py.typed").touch()
