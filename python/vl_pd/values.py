"""Values as people write them: addresses as text or objects, prefixes, MAC addresses, integers, and pairs with a mask or
a length. What comes back from a switch has the same forms."""

import ipaddress
import re


class Wrong(ValueError):
    """A value that the field of a table can't take."""

    def __init__(self, where, field, why):
        super().__init__(f"{where}, field {field.name}: {why}")


def _number(field, what):
    """One address or number."""
    if isinstance(what, (ipaddress.IPv4Address, ipaddress.IPv6Address)):
        what = str(what)
    if isinstance(what, bool) or isinstance(what, int):
        return int(what)
    if not isinstance(what, str):
        raise ValueError(f"{what!r} is neither a number nor text")
    text = what.strip()
    if field.tag == "mac":
        digits = re.sub(r"[:.\-]", "", text)
        if re.fullmatch(r"[0-9a-fA-F]{12}", digits) and digits != text:
            return int(digits, 16)
    if field.tag == "v4addr" and "." in text:
        return int(ipaddress.IPv4Address(text))
    if field.tag == "v6addr" and ":" in text:
        return int(ipaddress.IPv6Address(text))
    try:
        return int(text, 0)
    except ValueError:
        raise ValueError(f"{what!r} is no value of this field") from None


def _split(field, what):
    """The value and its mask or length, or None without such."""
    if isinstance(what, (ipaddress.IPv4Network, ipaddress.IPv6Network)):
        return int(what.network_address), what.prefixlen
    if isinstance(what, (tuple, list)):
        if len(what) != 2:
            raise ValueError(f"{what!r} is no pair")
        value, partner = what
        return _number(field, value), int(partner) if field.match == "lpm" else _number(field, partner)
    if isinstance(what, str) and "/" in what:
        value, partner = what.split("/", 1)
        if field.match == "lpm" or (field.tag in ("v4addr", "v6addr") and partner.isdigit()):
            length = int(partner)
            if field.match != "lpm":  # a mask with these bits
                if length > field.bits:
                    raise ValueError(f"/{length} is longer than the field")
                return _number(field, value), ((1 << length) - 1) << (field.bits - length)
            return _number(field, value), length
        return _number(field, value), _number(field, partner)
    return _number(field, what), None


def _check(field, value, partner):
    everything = (1 << field.bits) - 1
    if value < 0 or value > everything:
        raise ValueError(f"{value:#x} has more than {field.bits} bits")
    if field.match == "exact":
        if partner is not None:
            raise ValueError("it is matched exactly, so it takes no mask and no length")
        covered = everything
    elif field.match == "lpm":
        # The matched bits end at the lowest of them. A longer prefix would promise more than the table matches.
        lowest = (field.matched & -field.matched).bit_length() - 1
        longest = field.bits - lowest
        if not 0 <= partner <= longest:
            raise ValueError(f"/{partner} is not a length from 0 to {longest}")
        covered = everything >> (field.bits - partner) << (field.bits - partner)
    else:
        if partner < 0 or partner & ~field.matched:
            raise ValueError(f"the mask {partner:#x} has bits that the table doesn't match: {partner & ~field.matched:#x}")
        covered = partner
    if value & ~covered:
        raise ValueError(f"the value has bits outside of its mask: {value & ~covered:#x}")
    if value & ~field.matched:
        raise ValueError(f"the value has bits that the table doesn't match: {value & ~field.matched:#x}")


def parse(where, field, what, strict):
    """The value, and the mask or length, as numbers. `where` names the table or action for messages."""
    try:
        value, partner = _split(field, what)
        if field.match == "lpm" and partner is None:
            partner = field.bits
        if field.match == "ternary" and partner is None:
            partner = field.matched
        if strict:
            _check(field, value, partner)
    except (ValueError, ipaddress.AddressValueError) as error:
        raise Wrong(where, field, error) from None
    return value, partner


def parse_exact(where, field, what, strict):
    """A value without mask or length, as a packet has it."""
    try:
        value, partner = _split(field, what)
        if partner is not None:
            raise ValueError("a packet has values without masks and lengths")
        if strict and (value < 0 or value >> field.bits):
            raise ValueError(f"{value:#x} has more than {field.bits} bits")
    except (ValueError, ipaddress.AddressValueError) as error:
        raise Wrong(where, field, error) from None
    return value & ((1 << field.bits) - 1)


def _shown(field, number):
    if field.tag == "v4addr":
        return str(ipaddress.IPv4Address(number & 0xFFFFFFFF))
    if field.tag == "v6addr":
        return str(ipaddress.IPv6Address(number))
    if field.tag == "mac" and len(field.parts) == 2:
        digits = f"{number:012x}"
        return ":".join(digits[i:i + 2] for i in range(0, 12, 2))
    return number


def shown(field, value, partner):
    """The value as people write it. None for a field that matches anything."""
    if field.match == "exact":
        return _shown(field, value)
    if field.match == "ternary" and partner == 0:
        return None
    if field.match == "ternary" and partner == field.matched:
        return _shown(field, value)
    text = _shown(field, value)
    if isinstance(text, str):
        return f"{text}/{partner if field.match == 'lpm' else _shown(field, partner)}"
    return value, partner


def put(field, record, value, partner):
    """Writes the parts of a field into a record."""
    for part in reversed(field.parts):
        _put(record, part.offset, part.size, value & ((1 << part.bits) - 1) if len(field.parts) > 1 else value)
        if part.partner is not None:
            _put(record, part.partner_offset, part.partner_size,
                 partner & ((1 << part.bits) - 1) if len(field.parts) > 1 else partner)
        if len(field.parts) > 1:
            value >>= part.bits
            partner = partner >> part.bits if partner is not None else None


def take(field, record):
    """The value of a field in a record, and its mask or length."""
    value, partner = 0, None
    for part in field.parts:
        value = value << part.bits | _take(record, part.offset, part.size)
        if part.partner is not None:
            partner = (partner or 0) << (part.bits if part.partner == "mask" else 0)
            partner |= _take(record, part.partner_offset, part.partner_size)
    return value, partner


def _order(size):
    return "big" if size == 16 else "little"


def _put(record, offset, size, number):
    record[offset:offset + size] = (number & ((1 << 8 * size) - 1)).to_bytes(size, _order(size))


def _take(record, offset, size):
    return int.from_bytes(record[offset:offset + size], _order(size))
