"""Values as people write them: addresses as text or objects, prefixes, MAC addresses, integers, and pairs with a mask
or a length. What comes back from a switch has the same forms."""

import ipaddress
import operator
import re
import socket

mac_forms = re.compile(r"[0-9a-fA-F]{2}(:[0-9a-fA-F]{2}){5}|[0-9a-fA-F]{2}(-[0-9a-fA-F]{2}){5}|"
                       r"[0-9a-fA-F]{4}(\.[0-9a-fA-F]{4}){2}")
separators = str.maketrans("", "", ":-.")
addresses = ("v4addr", "v6addr", "mac")
numbers = re.compile(r"0[xX][0-9a-fA-F]+|0[bB][01]+|0[oO][0-7]+|[0-9]+")


class Wrong(ValueError):
    """A value that a field can't take. `where` is the table or the action."""

    def __init__(self, where, field, why):
        super().__init__(where, field, why)
        self.where, self.field, self.why = where, field, why

    def __str__(self):
        return f"{self.where}, field {self.field}: {self.why}"


def word(what, name, most=0xFFFFFFFF):
    """A number of 32 bits, such as a handle, or of fewer."""
    number = operator.index(what)
    if not 0 <= number <= most:
        raise ValueError(f"the {name} {number} isn't from 0 to {most}")
    return number


def long_word(what, name):
    """A number of 64 bits."""
    return word(what, name, 0xFFFFFFFFFFFFFFFF)


def _number(field, what):
    """One address or number."""
    if isinstance(what, str):
        text = what.strip()
        try:
            if field.tag == "mac" and mac_forms.fullmatch(text):
                return int(text.translate(separators), 16)
            if field.tag == "v4addr" and "." in text:
                return int(ipaddress.IPv4Address(text))
            if field.tag == "v6addr" and ":" in text and "%" not in text:
                return int(ipaddress.IPv6Address(text))
            if not numbers.fullmatch(text):
                raise ValueError
            return int(text, 0)
        except ValueError as error:
            raise ValueError(error if isinstance(error, ipaddress.AddressValueError)
                             else f"{what!r} is no value of this field") from None
    if isinstance(what, (ipaddress.IPv4Address, ipaddress.IPv6Address)):
        if what.max_prefixlen != field.bits:
            raise ValueError(f"{what} is no value of this field")
        return int(what)
    try:
        return operator.index(what)
    except TypeError:
        raise ValueError(f"{what!r} is neither a number nor text") from None


def _length(field, what):
    """A prefix length. In a field that is matched by mask, a mask with these bits."""
    try:
        length = int(what) if isinstance(what, str) and what.isascii() and what.isdigit() else operator.index(what)
    except (TypeError, ValueError):
        raise ValueError(f"{what!r} is no prefix length") from None
    if field.match != "ternary":
        return length
    if not 0 <= length <= field.bits:
        raise ValueError(f"/{length} is not a length from 0 to {field.bits}")
    return (1 << field.bits) - (1 << (field.bits - length))


def _split(field, what):
    """The value and its mask or length, or None without such."""
    if isinstance(what, (ipaddress.IPv4Network, ipaddress.IPv6Network)):
        return _number(field, what.network_address), _length(field, what.prefixlen)
    if isinstance(what, (ipaddress.IPv4Interface, ipaddress.IPv6Interface)):
        return _number(field, what.ip), _length(field, what.network.prefixlen)
    if what is None and field.match == "ternary":
        return 0, 0
    if isinstance(what, (tuple, list)):
        if len(what) != 2:
            raise ValueError(f"{what!r} is no pair")
        value, partner = what
        return _number(field, value), _length(field, partner) if field.match == "lpm" else _number(field, partner)
    if isinstance(what, str) and "/" in what:
        value, partner = what.split("/", 1)
        is_length = field.match == "lpm" or field.tag in addresses and partner.strip().isdigit()
        return _number(field, value), _length(field, partner) if is_length else _number(field, partner)
    return _number(field, what), None


def _check(field, value, partner, given):
    """`given` says whether the user gave a mask or a length."""
    everything = (1 << field.bits) - 1
    if value < 0:
        raise ValueError(f"{value} is negative")
    if value > everything:
        raise ValueError(f"{value:#x} has more than {field.bits} bits")
    if field.match == "exact":
        if partner is not None:
            raise ValueError("it takes no mask and no length")
        covered = everything
    elif field.match == "lpm":
        # The matched bits end at the lowest of them. A longer prefix would promise more than the table matches.
        longest = field.bits - (field.matched & -field.matched).bit_length() + 1
        if not 0 <= partner <= longest:
            raise ValueError(f"/{partner} is not a length from 0 to {longest}")
        covered = everything >> (field.bits - partner) << (field.bits - partner)
    else:
        if partner & ~field.matched:
            raise ValueError(f"the mask {partner:#x} has bits that the table doesn't match: "
                             f"{partner & ~field.matched & everything:#x}")
        covered = partner
    if given and value & ~covered:
        raise ValueError(f"the value has bits outside of its mask: {value & ~covered:#x}")
    if value & ~field.matched:
        raise ValueError(f"the value has bits that the table doesn't match: {value & ~field.matched:#x}")


def parse(where, field, what, strict):
    """The value, and the mask or length, as numbers. `where` names the table or action for messages."""
    try:
        value, partner = _split(field, what)
        given = partner is not None
        if partner is None and field.match == "lpm":
            partner = field.bits
        if partner is None and field.match == "ternary":
            partner = field.matched
        if strict:
            _check(field, value, partner, given)
    except ValueError as error:
        raise Wrong(where, field.name, error) from None
    return value, partner


def parse_exact(where, field, what, strict):
    """A value without mask or length, as a packet has it."""
    try:
        value, partner = _split(field, what)
        if partner is not None:
            raise ValueError("a packet has values without masks and lengths")
        if strict and (value < 0 or value >> field.bits):
            raise ValueError(f"{value:#x} has more than {field.bits} bits")
    except ValueError as error:
        raise Wrong(where, field.name, error) from None
    return value & ((1 << field.bits) - 1)


def shown_number(field, number):
    """One number as people write it in this field."""
    if field.tag == "v4addr":
        return socket.inet_ntoa((number & 0xFFFFFFFF).to_bytes(4, "big"))
    if field.tag == "v6addr":
        return socket.inet_ntop(socket.AF_INET6, number.to_bytes(16, "big"))
    if field.tag == "mac" and field.bits == 48:
        return number.to_bytes(6, "big").hex(":") if number < 1 << 48 else number
    return number


def shown(field, value, partner):
    """The value as people write it. None for a field that matches anything."""
    if field.match == "exact":
        return shown_number(field, value)
    if field.match == "ternary" and partner == 0 and value == 0:
        return None
    text = shown_number(field, value)
    whole = partner == (1 << field.bits) - 1
    if field.match == "ternary" and partner == field.matched and (whole or not isinstance(text, str)):
        return text
    if not isinstance(text, str):
        return value, partner
    if field.match == "ternary" and field.tag != "mac":
        free = (1 << field.bits) - 1 & ~partner
        if free & free + 1 == 0:  # the mask is a prefix
            return f"{text}/{field.bits - free.bit_length()}"
    return f"{text}/{partner if field.match == 'lpm' else shown_number(field, partner)}"
