#!/usr/bin/env python3
"""Generates the interned name tables of the document model.

Reads tools/gen/tags.txt (tag name and category per line), attributes.txt (one
attribute name per line) and foreign_attributes.txt (qualified name, local
name and namespace per line) and writes:

  src/dom/tag_ids.h        enum class TagId
  src/dom/attribute_ids.h  enum class AttributeId
  src/dom/names_tables.cpp the rows, the tag name list and the hash tables

Each lookup in src/dom/names.cpp sums a few associated values, picked by the
low bytes of fixed positions of the key, onto the key's length; the sum is a
slot that names one candidate row, which the lookup then compares in full.
This script searches the associated values so that no two names share a slot.
The search is deterministic, so a rerun gives the same bytes.

Usage: gen_names.py [--output-dir DIR]   (default: the source tree's src/dom)
"""

import argparse
import hashlib
import os
import random
import re
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))

TAG_COUNT = 233
ATTRIBUTE_COUNT = 450
FOREIGN_COUNT = 12

# The namespace prefixes follow the tags in the tag name list, in NamespaceId order.
NAMESPACE_PREFIXES = ["html", "mathml", "svg", "xlink", "xml", "xmlns"]
NAMESPACE_IDS = {"None": -1, "Html": 0, "MathMl": 1, "Svg": 2, "XLink": 3, "Xml": 4, "Xmlns": 5}
CATEGORIES = ["Special", "Formatting", "Ordinary", "Unclassified"]

# Every tenth row of each list, so that a slip in the lists is caught here.
TAG_CHECKPOINTS = {
    0: "a", 10: "animateTransform", 20: "bdi", 30: "caption", 40: "data", 50: "discard",
    60: "feComposite", 70: "feFuncR", 80: "feTile", 90: "font-face-src", 100: "glyphRef",
    110: "header", 120: "isindex", 130: "listing", 140: "menuitem", 150: "mn", 160: "noframes",
    170: "pattern", 180: "rect", 190: "set", 200: "strong", 210: "td", 220: "tr", 230: "wbr",
}
ATTRIBUTE_CHECKPOINTS = {
    0: "accent-height", 10: "alphabetic", 20: "aria-checked", 30: "aria-disabled",
    40: "aria-level", 50: "aria-readonly", 60: "aria-sort", 70: "autocomplete", 80: "bgcolor",
    90: "capture", 100: "clip", 110: "color-rendering", 120: "coords", 130: "data-qv-settings",
    140: "direction", 150: "dx", 160: "face", 170: "font-size", 180: "formenctype", 190: "g1",
    200: "headers", 210: "id", 220: "ismap", 230: "keyPoints", 240: "lighting-color",
    250: "marginheight", 260: "maskUnits", 270: "mode", 280: "onload", 290: "overflow",
    300: "patternUnits", 310: "preload", 320: "referrerpolicy", 330: "rev", 340: "scale",
    350: "size", 360: "spreadMethod", 370: "stemv", 380: "stroke-dashoffset", 390: "tabindex",
    400: "title", 410: "unicode", 420: "v-mathematical", 430: "viewTarget", 440: "x1",
}
# Ids that hand-written code names; they must not move.
PINNED_TAG_IDS = {"Html": 113, "Body": 26, "Head": 109, "Td": 210, "Th": 216, "Svg": 205}
PINNED_ATTRIBUTE_IDS = {"Colspan": 112, "Rowspan": 335, "Width": 433}
# Orders of the byte indices tried by the associated value search.
SEARCH_ATTEMPTS = 64


class HashShape:
    """One lookup's hash: length bounds, the positions read and the table widths.

    A position is (index, offset, minimum length): for keys at least that long,
    the associated value of (low byte of key[index] + offset) mod 256 is added.
    An index of -1 is the key's last unit. names.cpp computes the same sum.
    """

    def __init__(self, min_length, max_length, positions, value_bits, slot_bits):
        self.min_length = min_length
        self.max_length = max_length
        self.positions = positions
        self.value_bits = value_bits
        self.slot_bits = slot_bits

    def indices(self, key):
        length = len(key)
        picked = []
        for index, offset, minimum in self.positions:
            if length >= minimum:
                unit = ord(key[index if index >= 0 else length + index])
                picked.append(((unit & 0xFF) + offset) & 0xFF)
        return picked


TAG_SHAPE = HashShape(1, 19, [(2, 0, 3), (-1, 0, 1), (0, 2, 1)], 16, 16)
ATTRIBUTE_SHAPE = HashShape(1, 28, [(2, 1, 3), (5, 0, 6), (6, 0, 7), (8, 0, 9), (9, 0, 10),
                                    (1, 0, 2), (0, 0, 1), (-1, 0, 1)], 16, 16)
FOREIGN_SHAPE = HashShape(5, 13, [(7, 0, 8)], 8, 8)


def fail(message):
    sys.stderr.write("gen_names.py: " + message + "\n")
    sys.exit(1)


def code_units(text):
    return [ord(c) for c in text]


def read_rows(name, columns):
    path = os.path.join(HERE, name)
    with open(path, "rb") as handle:
        data = handle.read()
    rows = []
    for number, line in enumerate(data.decode("ascii").split("\n")[:-1], 1):
        fields = line.split(" ")
        if len(fields) != columns or not all(fields):
            fail("%s:%d: expected %d fields separated by one space" % (name, number, columns))
        rows.append(fields)
    if not data.endswith(b"\n"):
        fail("%s: the last line has no line end" % name)
    return rows, data


def check_list(what, names, count, checkpoints):
    if len(names) != count:
        fail("%s: %d rows, expected %d" % (what, len(names), count))
    for earlier, later in zip(names, names[1:]):
        if code_units(earlier) >= code_units(later):
            fail("%s: %r and %r are not in code unit order" % (what, earlier, later))
    for row, expected in checkpoints.items():
        if names[row] != expected:
            fail("%s: row %d is %r, expected %r" % (what, row, names[row], expected))


def enumerator_name(text):
    """PascalCase from the name: split on '-', capitalise each piece's first letter."""
    name = "".join(piece[:1].upper() + piece[1:] for piece in text.split("-"))
    if not re.fullmatch(r"[A-Z][A-Za-z0-9]*", name):
        fail("%r gives no usable enumerator (%r)" % (text, name))
    return name


def enumerator_names(what, names, pinned):
    result = [enumerator_name(n) for n in names]
    seen = {"Unknown": "(the unknown id)"}
    for text, enumerator in zip(names, result):
        if enumerator in seen:
            fail("%s: %r and %r both give the enumerator %s" % (what, seen[enumerator], text, enumerator))
        seen[enumerator] = text
    for enumerator, row in pinned.items():
        if row >= len(result) or result[row] != enumerator:
            fail("%s: %s must have id %d" % (what, enumerator, row))
    return result


def search_values(what, keys, shape):
    """Finds associated values under which every key gets its own slot.

    Byte indices get their values one at a time. While some indices still lack
    values, keys that wait for the same indices (with the same multiplicities)
    will receive the same amount from them, so their partial sums must already
    differ. Each index takes the smallest value that keeps that true; such a
    value always exists, since every pair of keys rules out at most one value.
    When the last index is set, all keys wait for nothing and every sum is a
    distinct slot. The order of the indices decides how compact the table is:
    the most used first, then a number of orders jittered with a fixed seed,
    and the order with the smallest largest slot wins.
    """
    signatures = []
    for key in keys:
        counts = {}
        for index in shape.indices(key):
            counts[index] = counts.get(index, 0) + 1
        signatures.append((len(key), counts))
    if len(set((length, tuple(sorted(counts.items()))) for length, counts in signatures)) != len(keys):
        fail("%s: two names read alike at the hashed positions" % what)
    usage = {}
    for _, counts in signatures:
        for index, count in counts.items():
            usage[index] = usage.get(index, 0) + count
    generator = random.Random(20240611)
    best = None
    for attempt in range(SEARCH_ATTEMPTS):
        jitter = 0.0 if attempt == 0 else 3.0
        order = sorted(usage, key=lambda index: (-usage[index] + jitter * generator.random(), index))
        values, largest = assign_in_order(signatures, order)
        if best is None or largest < best[1]:
            best = (values, largest)
    return best[0]


def assign_in_order(signatures, order):
    """Gives each index in order its smallest value; returns values and largest slot."""
    sums = [length for length, _ in signatures]
    waiting = [tuple(sorted(counts.items())) for _, counts in signatures]
    # Partial sums taken, by the set of indices the keys still wait for.
    groups = {}
    for key, pending in enumerate(waiting):
        groups.setdefault(pending, set()).add(sums[key])
    users = {index: [] for index in order}
    for key, (_, counts) in enumerate(signatures):
        for index, count in counts.items():
            users[index].append((key, count))
    values = {}
    for index in order:
        moving = []
        for key, count in users[index]:
            groups[waiting[key]].discard(sums[key])
            rest = tuple(item for item in waiting[key] if item[0] != index)
            moving.append((key, count, rest))
        value = 0
        while not fits(groups, sums, moving, value):
            value += 1
        values[index] = value
        for key, count, rest in moving:
            sums[key] += count * value
            waiting[key] = rest
            groups.setdefault(rest, set()).add(sums[key])
    return values, max(sums)


def fits(groups, sums, moving, value):
    placed = {}
    for key, count, rest in moving:
        total = sums[key] + count * value
        taken = placed.setdefault(rest, set())
        if total in taken or total in groups.get(rest, ()):
            return False
        taken.add(total)
    return True


def build_hash(what, keys, shape):
    """Returns (associated values for all 256 bytes, slot table) for the keys."""
    for key in keys:
        if not shape.min_length <= len(key) <= shape.max_length:
            fail("%s: %r is outside the length range of its lookup" % (what, key))
    if len(keys) > (1 << (shape.slot_bits - 1)):
        fail("%s: the row numbers do not fit the slot table" % what)
    values = search_values(what, keys, shape)
    slots_used = [len(k) + sum(values[i] for i in shape.indices(k)) for k in keys]
    slot_count = max(slots_used) + 1
    # A byte no key reads at a hashed position pushes the sum past the table.
    unused = slot_count
    if unused > (1 << shape.value_bits) - 1:
        fail("%s: the slot table is too large for the associated values" % what)
    associated = [values.get(byte, unused) for byte in range(256)]
    slots = [-1] * slot_count
    for row, slot in enumerate(slots_used):
        slots[slot] = row
    # Replay every lookup as names.cpp does it.
    for row, key in enumerate(keys):
        total = len(key) + sum(associated[i] for i in shape.indices(key))
        if total >= slot_count or slots[total] != row:
            fail("%s: %r is not found by its own hash" % (what, key))
    return associated, slots


def utf16_literal(text):
    return 'u"' + text + '"'


def format_numbers(numbers, per_line, indent="    "):
    lines = []
    for start in range(0, len(numbers), per_line):
        lines.append(indent + ", ".join(str(n) for n in numbers[start:start + per_line]) + ",")
    return "\n".join(lines)


def header_text(source, enum_name, digest_name, digest, enumerators, what):
    lines = [
        "// Generated by tools/gen/gen_names.py from tools/gen/%s. Do not edit." % source,
        "// %s" % what,
        "#pragma once",
        "",
        "#include <cstdint>",
        "",
        "namespace Parsers {",
        "",
        "// Digest of the name lists this header was made from; names_tables.cpp",
        "// checks that it was made from the same lists.",
        "inline constexpr std::uint32_t %s = 0x%08xu;" % (digest_name, digest),
        "",
        "enum class %s : std::int16_t {" % enum_name,
        "    Unknown = -1,",
    ]
    lines += ["    %s = %d," % (name, row) for row, name in enumerate(enumerators)]
    lines += ["};", "", "}  // namespace Parsers", ""]
    return "\n".join(lines)


def tables_text(digest, tags, tag_enums, attributes, attribute_enums, foreign,
                tag_hash, attribute_hash, foreign_hash):
    out = []
    emit = out.append
    emit("// Generated by tools/gen/gen_names.py from tools/gen/tags.txt, tools/gen/attributes.txt")
    emit("// and tools/gen/foreign_attributes.txt. Do not edit.")
    emit("// The rows of the name tables, the tag name list and the associated values and")
    emit("// slots of the three hashes that names.cpp computes.")
    emit('#include "dom/names_tables.h"')
    emit("")
    emit("namespace Parsers {")
    emit("")
    emit("static_assert(kTagIdsDigest == 0x%08xu, \"tag_ids.h was made from other name lists\");" % digest)
    emit("static_assert(kAttributeIdsDigest == 0x%08xu, \"attribute_ids.h was made from other name lists\");"
         % digest)
    emit("static_assert(kTagCount == %d && kTagNameListSize == %d && kNamespacePrefixRow == %d);"
         % (TAG_COUNT, TAG_COUNT + len(NAMESPACE_PREFIXES), TAG_COUNT))
    emit("static_assert(kAttributeCount == %d && kForeignAttributeCount == %d);"
         % (ATTRIBUTE_COUNT, FOREIGN_COUNT))
    for prefix, shape in (("TagName", TAG_SHAPE), ("AttributeName", ATTRIBUTE_SHAPE),
                          ("ForeignAttribute", FOREIGN_SHAPE)):
        emit("static_assert(NameTables::k%sMinLength == %d && NameTables::k%sMaxLength == %d);"
             % (prefix, shape.min_length, prefix, shape.max_length))
    emit("")
    emit("namespace NameTables {")
    emit("")

    emit("const TagRow kTagRows[kTagCount] = {")
    for (name, category), enumerator in zip(tags, tag_enums):
        emit("    {%s, %d, TagId::%s, TagCategory::%s}," % (utf16_literal(name), len(name), enumerator, category))
    emit("};")
    emit("")
    emit("const char16_t* const kTagNameList[kTagNameListSize] = {")
    for name, _ in tags:
        emit("    %s," % utf16_literal(name))
    emit("    // The prefixes of NamespaceId 0 to 5.")
    for prefix in NAMESPACE_PREFIXES:
        emit("    %s," % utf16_literal(prefix))
    emit("};")
    emit("")

    emit("const AttributeRow kAttributeRows[kAttributeCount] = {")
    for name, enumerator in zip(attributes, attribute_enums):
        emit("    {%s, %d, AttributeId::%s}," % (utf16_literal(name), len(name), enumerator))
    emit("};")
    emit("")

    emit("const ForeignAttributeRow kForeignAttributeRows[kForeignAttributeCount] = {")
    for number, (qualified, local, namespace) in enumerate(foreign):
        emit("    {%s, %d, %d, %s, NamespaceId::%s}," % (utf16_literal(qualified), len(qualified), number,
                                                       utf16_literal(local), namespace))
    emit("};")
    emit("")

    what_of = {"Tag": "tag name", "Attribute": "attribute name", "ForeignAttribute": "qualified name"}

    def emit_hash(prefix, value_type, slot_type, table):
        associated, slots = table
        emit("// Associated values by low byte; %d marks a byte that no %s has at a hashed place."
             % (len(slots), what_of[prefix]))
        emit("const %s k%sAssociatedValues[256] = {" % (value_type, prefix))
        emit(format_numbers(associated, 16))
        emit("};")
        emit("")
        emit("// Row number by slot, -1 for a slot no name takes.")
        emit("const std::uint32_t k%sSlotCount = %d;" % (prefix, len(slots)))
        emit("const %s k%sSlots[%d] = {" % (slot_type, prefix, len(slots)))
        emit(format_numbers(slots, 16))
        emit("};")
        emit("")

    emit_hash("Tag", "std::uint16_t", "std::int16_t", tag_hash)
    emit_hash("Attribute", "std::uint16_t", "std::int16_t", attribute_hash)
    emit_hash("ForeignAttribute", "std::uint8_t", "std::int8_t", foreign_hash)

    emit("}  // namespace NameTables")
    emit("")
    emit("}  // namespace Parsers")
    emit("")
    return "\n".join(out)


def main():
    parser = argparse.ArgumentParser(description="Generates the interned name tables.")
    parser.add_argument("--output-dir", default=os.path.join(ROOT, "src", "dom"))
    arguments = parser.parse_args()

    tag_rows, tag_data = read_rows("tags.txt", 2)
    attribute_rows, attribute_data = read_rows("attributes.txt", 1)
    foreign, foreign_data = read_rows("foreign_attributes.txt", 3)

    tag_names = [name for name, _ in tag_rows]
    check_list("tags.txt", tag_names, TAG_COUNT, TAG_CHECKPOINTS)
    for name, category in tag_rows:
        if category not in CATEGORIES:
            fail("tags.txt: %r has the unknown category %r" % (name, category))
    attribute_names = [row[0] for row in attribute_rows]
    check_list("attributes.txt", attribute_names, ATTRIBUTE_COUNT, ATTRIBUTE_CHECKPOINTS)
    foreign_names = [row[0] for row in foreign]
    check_list("foreign_attributes.txt", foreign_names, FOREIGN_COUNT, {})
    for qualified, local, namespace in foreign:
        if namespace not in NAMESPACE_IDS:
            fail("foreign_attributes.txt: %r has the unknown namespace %r" % (qualified, namespace))
        if qualified.split(":")[-1] != local:
            fail("foreign_attributes.txt: %r does not end in its local name %r" % (qualified, local))

    tag_enums = enumerator_names("tags.txt", tag_names, PINNED_TAG_IDS)
    attribute_enums = enumerator_names("attributes.txt", attribute_names, PINNED_ATTRIBUTE_IDS)

    digest_input = b"\0".join([tag_data, attribute_data, foreign_data])
    digest = int(hashlib.sha256(digest_input).hexdigest()[:8], 16)

    tag_hash = build_hash("tags.txt", tag_names, TAG_SHAPE)
    attribute_hash = build_hash("attributes.txt", attribute_names, ATTRIBUTE_SHAPE)
    foreign_hash = build_hash("foreign_attributes.txt", foreign_names, FOREIGN_SHAPE)

    outputs = {
        "tag_ids.h": header_text("tags.txt", "TagId", "kTagIdsDigest", digest, tag_enums,
                                 "The ids of the tag table: rows 0 to %d of the tag name list." % (TAG_COUNT - 1)),
        "attribute_ids.h": header_text("attributes.txt", "AttributeId", "kAttributeIdsDigest",
                                       digest, attribute_enums, "The ids of the attribute table."),
        "names_tables.cpp": tables_text(digest, tag_rows, tag_enums, attribute_names, attribute_enums, foreign,
                                        tag_hash, attribute_hash, foreign_hash),
    }
    os.makedirs(arguments.output_dir, exist_ok=True)
    for name, text in outputs.items():
        with open(os.path.join(arguments.output_dir, name), "w", newline="\n") as handle:
            handle.write(text)


if __name__ == "__main__":
    main()
