"""The page of a table, as `pd-show table` prints it, and the page of a profile. help() shows them."""

from .errors import Refused

line_start = "   "
match_texts = {"exact": "exact", "ternary": "mask", "lpm": "prefix"}


class Page:
    """A docstring: the text of the class, and for an instance the page that `make` makes when somebody asks."""

    def __init__(self, text, make):
        self.text, self.make = text, make

    def __get__(self, instance, owner=None):
        return self.text if instance is None else self.make(instance)


def _grid(rows):
    """Lines with columns. Each column is as wide as its widest cell."""
    widths = [max(map(len, column)) for column in zip(*rows)]
    return "".join((line_start + "".join(f" {cell:{width}} " for cell, width in zip(row, widths))).rstrip() + "\n"
                   for row in rows)


def _covered(part):
    """The bits that count, in as many digits as the part has."""
    if part.matched == (1 << part.bits) - 1:
        return "all"
    digits = (part.bits + 3) // 4
    return f"0x{part.matched:0{digits}{'X' if digits > 16 else 'x'}}"


def _key_grid(row):
    return _grid([["name", "in records", "bits", "match", "shown as", "bits that count"],
                  *([part.name, part.pd_name, str(part.bits), match_texts[field.match], part.tag or "hex",
                     _covered(part)] for field in row.key.values() for part in field.parts)])


def _action_grid(names, actions):
    rows = [["name", "parameter", "bits", "shown as"]]
    for name in sorted(names):
        parts = [part for field in actions[name].params.values() for part in field.parts]
        lines = [["", part.name, str(part.bits), part.tag or "hex"] for part in parts] or [["", "", "", ""]]
        lines[0][0] = name
        rows += lines
    return _grid(rows)


def _counted(count, of_what):
    try:
        return str(count(of_what))
    except Refused:
        return "unknown"


def table_page(table):
    """The page of a table, with its number of entries now."""
    row, description = table.row, table.device.binding.description
    text = f"Table {row.name}, {row.handle:#x}\n\n"
    if row.key:
        text += "Key" + (", with a priority" if row.has_priority else "") + "\n" + _key_grid(row) + "\n"
    else:
        text += "No key: the table has a default entry and no other.\n\n"
    if row.profile is not None:
        text += f"Entries point at a member or a group of the profile {row.profile}. Its actions\n"
        names = description.profiles[row.profile].actions
    else:
        text += "Actions\n"
        names = {*row.actions, *row.defaults}
    text += _action_grid(names, description.actions) + "\n"
    for counter in description.resources["counters"]:
        if counter["table"] == row.name:
            text += f"Counter   {counter['name']}" + (
                "" if counter["addressing"] == "direct" else " (cells by index)") + "\n"
    return text + "Entries   " + (_counted(len, table) if row.key else "only a default entry") + "\n"


def profile_page(profile):
    """The page of a profile, with its numbers of members and groups now."""
    row, actions = profile.row, profile.device.binding.description.actions
    return (f"{row.name}, of {row.table}\n    members   {_counted(len, profile)}\n"
            f"    groups    {_counted(lambda each: len(each.groups()), profile)}\n\nActions\n"
            + _action_grid(row.actions, actions))
