"""What Tab completes in the shell: tables after `sw.`, methods after a table, fields in the braces of a key, actions
where a call takes one, their parameters, and the names of resources."""

import ast
import builtins
import inspect
import keyword
import re
from collections.abc import Mapping
from dataclasses import dataclass

from . import description as rows
from .switch import Switch

# A name with what follows it, as in sw.device(1).counters["x"].read
primary = re.compile(r"[A-Za-z_]\w*(?:\s*\.\s*[A-Za-z_]\w*|\([^()]*\)|\[[^\[\]]*\])*\s*$")


@dataclass
class Bracket:
    """A bracket that is open where the cursor is."""

    kind: str
    at: int
    items: list[int]  # where the things between its commas begin
    in_value: bool = False  # after the colon of a dict


def open_brackets(text):
    """The brackets that are open at the end of the text, and where an open string begins, or None."""
    brackets, quote, begin, i = [], None, 0, 0
    while i < len(text):
        c = text[i]
        if quote is not None:
            if text.startswith(quote, i):
                i += len(quote) - 1
                quote = None
            elif c == "\\":
                i += 1
            elif c == "\n" and len(quote) == 1:
                quote = None
        elif c in "\"'":
            quote = c * 3 if text.startswith(c * 3, i) else c
            i += len(quote) - 1
            begin = i + 1
        elif c == "#":
            i = text.find("\n", i)
            if i < 0:
                break
        elif c in "([{":
            brackets.append(Bracket(c, i, [i + 1]))
        elif c in ")]}" and brackets:
            brackets.pop()
        elif c == "," and brackets:
            brackets[-1].items.append(i + 1)
            brackets[-1].in_value = False
        elif c == ":" and brackets:
            brackets[-1].in_value = True
        i += 1
    return brackets, begin if quote is not None else None


def row_of(method):
    """The row of the table or profile whose method this is."""
    return getattr(method.__self__, "row", None)


class Completer:
    """Completes text with names of a shell, and with what they hold."""

    def __init__(self, names, description):
        self.names, self.description = names, description

    def complete(self, text):
        """What can stand for the word at the end of the text."""
        brackets, string = open_brackets(text)
        begin = string if string is not None else len(text) - len(re.search(r"\w*$", text)[0])
        word = text[begin:]
        names, after = self._quoted(text, brackets)
        if string is None:
            bare = [] if names and not word else self._bare(text[:begin], brackets, word)
            names = ['"' + name for name in names]
            found = sorted(each for each in bare if each.startswith(word)) + [each for each in names if not word]
        else:
            found = [each for each in names if each.startswith(word)]
        if len(found) == 1 and found[0] in names:
            quote = '"' if string is None else text[string - 1]
            return [found[0] + quote + after]
        return found

    # ---- without quotes

    def _bare(self, before, brackets, word):
        """Attributes after a dot. Otherwise names, and the names of a call's arguments."""
        if before.endswith("."):
            holder = self._value(before[:-1])
            hidden = not word.startswith("_")
            return [self._with_bracket(holder, name) for name in set(dir(holder)) if not (hidden and name[0] == "_")]
        names = list(self.names)
        if word:
            names += [*vars(builtins), *keyword.kwlist]
        method, arguments = self._call(before, brackets)
        if method is not None and not before[brackets[-1].items[-1]:].strip():
            given = {name for name, _ in arguments[:-1]}
            names += [f"{name}=" for name in inspect.signature(method).parameters
                      if name not in given and self._takes(method, name)]
        return {name for name in names if word.startswith("_") or not name.startswith("_")}

    @staticmethod
    def _with_bracket(holder, name):
        attribute = getattr(holder if inspect.ismodule(holder) else type(holder), name, None)
        return name + "(" if callable(attribute) else name

    @staticmethod
    def _takes(method, name):
        row = row_of(method)
        if not isinstance(row, rows.Table):
            return True
        return {"priority": row.has_priority, "meter": row.has_meter, "ttl": row.ttl_on_add,
                "member": row.profile is not None, "group": row.profile is not None, "action": row.profile is None,
                "params": row.profile is None}.get(name, True)

    # ---- in quotes

    def _quoted(self, text, brackets):
        """The names that a string may be here, and what follows the quote."""
        if not brackets:
            return [], ""
        last = brackets[-1]
        if last.kind == "[" and (named := self._value(text[:last.at])) is not None:
            return ([each for each in named if isinstance(each, str)], "]") if isinstance(named, Mapping) else ([], "")
        if last.kind == "(":
            method, arguments = self._call(text, brackets)
            return (self._actions(method), "") if method and arguments[-1][0] == "action" else ([], "")
        if last.in_value and last.kind == "{":
            return [], ""
        method, arguments = self._call(text[:last.at], brackets[:-1])
        if method is None:
            return [], ""
        row, argument, names = row_of(method), arguments[-1][0], []
        if argument == "params":
            names = self._params(dict(arguments).get("action"))
        elif isinstance(row, rows.Table) and argument in ("key", "packet", "which", "columns"):
            names = list(row.key)
            if argument == "columns":
                names += {name: None for action in row.actions for name in self.description.actions[action].params}
        there = set(re.findall(r"""["'](\w+)["']""", text[last.at:last.items[-1]]))
        return [name for name in names if name not in there], ": " if last.kind == "{" else ""

    @staticmethod
    def _actions(method):
        row = row_of(method)
        return getattr(row, "defaults" if method.__name__ == "set_default" else "actions", [])

    def _params(self, action):
        try:
            return list(self.description.actions[ast.literal_eval(action.strip())].params)
        except (AttributeError, KeyError, SyntaxError, ValueError):
            return []

    # ---- what the text means

    def _call(self, text, brackets):
        """The method whose arguments the innermost bracket has, and its arguments so far as pairs of name and text. A
        row of add_many() is what add() takes."""
        if not brackets or brackets[-1].kind != "(":
            return None, []
        last = brackets[-1]
        method = self._value(text[:last.at])
        if method is None and len(brackets) > 2 and brackets[-2].kind == "[":
            outer = self._value(text[:brackets[-3].at])
            method = outer.__self__.add if getattr(outer, "__name__", None) == "add_many" else None
        if not inspect.ismethod(method):
            return None, []
        names, arguments = list(inspect.signature(method).parameters), []
        for i, (begin, end) in enumerate(zip(last.items, [*(each - 1 for each in last.items[1:]), len(text)])):
            named = re.match(r"\s*(\w+)\s*=(?!=)", text[begin:end])
            if named:
                arguments.append((named[1], text[begin + named.end():end]))
            else:
                arguments.append((names[i] if i < len(names) else None, text[begin:end]))
        return method, arguments

    def _value(self, text):
        """The value of the expression at the end of the text. None if it isn't known without calling something."""
        found = primary.search(text)
        try:
            return self._evaluate(ast.parse(found[0].strip(), mode="eval").body) if found else None
        except Exception:  # pylint: disable=broad-exception-caught # whatever it is, Tab doesn't complete it
            return None

    def _evaluate(self, node):
        match node:
            case ast.Name():
                return self.names[node.id]
            case ast.Attribute():
                return getattr(self._evaluate(node.value), node.attr)
            case ast.Subscript():
                return self._evaluate(node.value)[ast.literal_eval(node.slice)]
            case ast.Call(func=ast.Attribute(attr="device"), args=[ast.Constant()]):
                # All devices have the same names. Asking for one that isn't there would add it.
                holder = self._evaluate(node.func.value)
                if isinstance(holder, Switch):
                    return holder.device(0)
        raise LookupError("not a name")
