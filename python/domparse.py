"""Parse markup with the domparse library and get the tree as Python objects.

    import domparse

    document = domparse.parse(b'<p class="x">Hi<!--note--></p>')
    for depth, node in document.walk():
        print("  " * depth, node)

`parse` hands a writable, padded copy of the input to the guarded library
(libdomparse_guarded.so.1, `DOM_ParseGuarded`) by default, so that an input on
which `DOM_Parse` would end the process or never return raises `ParseError`
instead of killing or hanging the interpreter. `guarded=False` calls
`DOM_Parse` of libdomparse.so.1 itself. The image that comes back is checked
completely and decoded here into `Document`, `Element`, `Attribute`, `Text`
and `Comment` objects; a malformed image raises `ImageError`.

The libraries are looked for, in this order: in the folder that the
environment variable DOMPARSE_LIBRARY_DIR names (and only there when it is
set); in the `lib` folder of the install that holds this module
(PREFIX/lib/python3/dist-packages/domparse.py finds PREFIX/lib); by the
system's loader (the Debian package's /usr/lib, LD_LIBRARY_PATH).

Standard library only. Nothing here recurses on the depth of a tree, so
documents of any depth are read and walked.
"""

import ctypes
import os
import struct
import sys

__all__ = [
    "parse", "read_image", "library_path",
    "Document", "Element", "Attribute", "Declaration", "Text", "Comment",
    "DomparseError", "ParseError", "ImageError", "LibraryNotFoundError",
]

# The version that DOM_GetVersion returns and that every image carries.
LIBRARY_VERSION = 200
# The only version of the caller's record that the library takes.
RECORD_VERSION = 2
INPUT_BYTES = 0
INPUT_UTF16 = 1
# Bytes behind the input that the library may read and write.
INPUT_PADDING = 4

RESULT_OK = 0
RESULT_BAD_RECORD = 1
RESULT_FAILED = 2
RESULT_OUT_OF_MEMORY = 3
RESULT_NO_BODY = 4
RESULT_NEVER_ENDS = 5
RESULT_BARE_BYTE_ORDER_MARK = 6

_RESULT_TEXTS = {
    RESULT_BAD_RECORD: "the library refused the call record (record version)",
    RESULT_FAILED: "no document could be made of the input (no text could be decoded, "
                   "or an internal error)",
    RESULT_OUT_OF_MEMORY: "out of memory while parsing",
    RESULT_NO_BODY: "the finished document has no body to lift (DOM_Parse would end "
                    "the process)",
    RESULT_NEVER_ENDS: "the input can never be read to its end (DOM_Parse would never "
                       "return)",
    RESULT_BARE_BYTE_ORDER_MARK: "a byte order mark with no text behind it (DOM_Parse "
                                 "would read outside the input)",
}

# The library's tag table in id order: an element made from a tag id alone has
# an empty name in the image and takes its name from here. The test suite
# checks this list against tools/gen/tags.txt.
TAG_NAMES = tuple("""
a abbr acronym address altGlyph altGlyphDef altGlyphItem animate
animateColor animateMotion animateTransform annotation-xml applet area
article aside audio b base basefont bdi bdo bgsound big blink blockquote
body br button canvas caption center circle cite clipPath code col colgroup
command content data datalist dd defs del desc details dfn dialog dir
discard div dl dt ellipse em embed feBlend feColorMatrix
feComponentTransfer feComposite feConvolveMatrix feDiffuseLighting
feDisplacementMap feDistantLight feDropShadow feFlood feFuncA feFuncB
feFuncG feFuncR feGaussianBlur feImage feMerge feMergeNode feMorphology
feOffset fePointLight feSpecularLighting feSpotLight feTile feTurbulence
fieldset figcaption figure filter font font-face font-face-format
font-face-name font-face-src font-face-uri footer foreignObject form frame
frameset g get glyph glyphRef h1 h2 h3 h4 h5 h6 hatch hatchpath head header
hgroup hr html i iframe image img input ins isindex kbd keygen label legend
li line linearGradient link listener listing main malignmark map mark
marker marquee mask math menu menuitem mesh meshgradient meshpatch meshrow
meta metadata meter mglyph mi mn mo mpath ms mtext multicol nav nextid nobr
noembed noframes noscript object ol optgroup option output p param path
pattern picture plaintext polygon polyline pre progress q radialGradient rb
rect rp rt rtc ruby s samp script section select set shadow slot small
solidcolor source spacer span stop strike strong style sub summary sup svg
switch symbol table tbody td template text textPath textarea tfoot th thead
time title tr track tspan tt u ul use var video view wbr webview xmp
""".split())
# Attribute ids run from 0 to ATTRIBUTE_COUNT - 1 (tools/gen/attributes.txt).
ATTRIBUTE_COUNT = 450


class DomparseError(Exception):
    """Base class of the errors of this module."""


class ParseError(DomparseError):
    """The library returned a result code other than 0.

    `result` is the code: 1 the record was refused, 2 no document could be
    made of the input, 3 memory ran out; from the guarded library also 4 no
    body to lift, 5 an input that never ends, 6 a bare byte order mark.
    """

    def __init__(self, result, function="DOM_Parse"):
        self.result = result
        self.function = function
        text = _RESULT_TEXTS.get(result, "an unknown result code")
        super().__init__("%s returned %d: %s" % (function, result, text))


class ImageError(DomparseError, ValueError):
    """The document image is malformed; the message names what and where."""


class LibraryNotFoundError(DomparseError, OSError):
    """The shared library could not be found or loaded."""


class Attribute:
    """An attribute: local name, prefix and namespace URI (None when absent),
    its id in the library's attribute table (None outside it), and its value
    ("" for an empty value)."""

    __slots__ = ("name", "prefix", "namespace_uri", "attribute_id", "value")

    def __init__(self, name, prefix, namespace_uri, attribute_id, value):
        self.name = name
        self.prefix = prefix
        self.namespace_uri = namespace_uri
        self.attribute_id = attribute_id
        self.value = value

    @property
    def qualified_name(self):
        return self.name if self.prefix is None else self.prefix + ":" + self.name

    def __eq__(self, other):
        if not isinstance(other, Attribute):
            return NotImplemented
        return all(getattr(self, field) == getattr(other, field) for field in self.__slots__)

    def __hash__(self):
        return hash(tuple(getattr(self, field) for field in self.__slots__))

    def __repr__(self):
        return "Attribute(%r, %r)" % (self.qualified_name, self.value)


class Declaration:
    """A namespace declaration of an element: `prefix` is None for a plain
    xmlns attribute; `uri` may be the empty string."""

    __slots__ = ("prefix", "uri")

    def __init__(self, prefix, uri):
        self.prefix = prefix
        self.uri = uri

    def __eq__(self, other):
        if not isinstance(other, Declaration):
            return NotImplemented
        return (self.prefix, self.uri) == (other.prefix, other.uri)

    def __hash__(self):
        return hash((self.prefix, self.uri))

    def __repr__(self):
        return "Declaration(%r, %r)" % (self.prefix, self.uri)


class Element:
    """An element: its name (for an element made from a tag id alone, the tag
    table's name), its prefix and namespace URI (None when absent), its tag
    id (None for a name outside the tag table), its attributes in order, its
    namespace declarations and its children."""

    __slots__ = ("name", "prefix", "tag_id", "namespace_uri", "attributes", "declarations",
                 "children")

    def __init__(self, name, prefix, tag_id, namespace_uri, attributes, declarations, children):
        self.name = name
        self.prefix = prefix
        self.tag_id = tag_id
        self.namespace_uri = namespace_uri
        self.attributes = attributes
        self.declarations = declarations
        self.children = children

    @property
    def qualified_name(self):
        return self.name if self.prefix is None else self.prefix + ":" + self.name

    def __repr__(self):
        return "<Element %s, %d attributes, %d children>" % (
            self.qualified_name, len(self.attributes), len(self.children))


class Text:
    """A text node; `data` is a str, with any lone surrogate kept as it is."""

    __slots__ = ("data",)

    def __init__(self, data):
        self.data = data

    def __repr__(self):
        return "Text(%r)" % self.data


class Comment:
    """A comment node."""

    __slots__ = ("data",)

    def __init__(self, data):
        self.data = data

    def __repr__(self):
        return "Comment(%r)" % self.data


class Document:
    """The parsed document: its top-level nodes in `children`, and the size of
    the image they were read from."""

    __slots__ = ("children", "image_size")

    def __init__(self, children, image_size):
        self.children = children
        self.image_size = image_size

    def walk(self):
        """Yields (depth, node) for every node in document order, a parent
        before its children; top-level nodes have depth 0."""
        pending = [(0, node) for node in reversed(self.children)]
        while pending:
            depth, node = pending.pop()
            yield depth, node
            if isinstance(node, Element):
                pending.extend((depth + 1, child) for child in reversed(node.children))

    def __repr__(self):
        return "<Document, %d top-level nodes>" % len(self.children)


# ---------------------------------------------------------------------------
# The libraries.

class _ParseRecord(ctypes.Structure):
    # The caller's record: 10 bytes, packed, native little-endian fields.
    _pack_ = 1
    _fields_ = [("version", ctypes.c_uint16),
                ("inputKind", ctypes.c_uint32),
                ("result", ctypes.c_uint32)]


if ctypes.sizeof(_ParseRecord) != 10:
    raise ImportError("domparse: the caller's record does not pack into 10 bytes")

if sys.platform == "win32":
    _FILE_NAMES = {"domparse": "domparse.dll", "guarded": "domparse_guarded.dll"}
    _INSTALL_LIBRARY_FOLDER = os.path.join("..", "..", "bin")
else:
    _FILE_NAMES = {"domparse": "libdomparse.so.1", "guarded": "libdomparse_guarded.so.1"}
    _INSTALL_LIBRARY_FOLDER = os.path.join("..", "..")

_loaded = {}


def _locate(kind):
    """The path to load the library of `kind` from, or its bare file name for
    the system's loader to find."""
    name = _FILE_NAMES[kind]
    folder = os.environ.get("DOMPARSE_LIBRARY_DIR")
    if folder:
        return os.path.join(folder, name)
    here = os.path.dirname(os.path.abspath(__file__))
    beside = os.path.normpath(os.path.join(here, _INSTALL_LIBRARY_FOLDER, name))
    return beside if os.path.exists(beside) else name


def _load(kind):
    if kind in _loaded:
        return _loaded[kind]
    path = _locate(kind)
    try:
        library = ctypes.CDLL(path)
    except OSError as error:
        if kind == "guarded":
            raise LibraryNotFoundError(
                "the guarded library %s is not installed or cannot be loaded (%s); "
                "parse(..., guarded=False) calls DOM_Parse of %s instead"
                % (_FILE_NAMES[kind], error, _FILE_NAMES["domparse"])) from None
        raise LibraryNotFoundError(
            "the domparse library %s cannot be loaded (%s); set DOMPARSE_LIBRARY_DIR "
            "to the folder that holds it" % (_FILE_NAMES[kind], error)) from None
    name = "DOM_ParseGuarded" if kind == "guarded" else "DOM_Parse"
    function = getattr(library, name)
    function.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.POINTER(ctypes.c_void_p),
                         ctypes.POINTER(_ParseRecord)]
    function.restype = ctypes.c_uint32
    _loaded[kind] = (library, function, path)
    return _loaded[kind]


def _block_functions():
    """GlobalLock, GlobalUnlock and GlobalFree: kernel32's on Windows, those
    of libdomparse.so.1 elsewhere (the guarded library's blocks are made by
    them too)."""
    if "blocks" in _loaded:
        return _loaded["blocks"]
    if sys.platform == "win32":
        source = ctypes.WinDLL("kernel32")
    else:
        source = _load("domparse")[0]
    lock, unlock, free = source.GlobalLock, source.GlobalUnlock, source.GlobalFree
    lock.argtypes = [ctypes.c_void_p]
    lock.restype = ctypes.c_void_p
    unlock.argtypes = [ctypes.c_void_p]
    unlock.restype = ctypes.c_int
    free.argtypes = [ctypes.c_void_p]
    free.restype = ctypes.c_void_p
    _loaded["blocks"] = (lock, unlock, free)
    return _loaded["blocks"]


def library_path(guarded=False):
    """The path (or file name for the system's loader) of the library that
    `parse` calls, loading it if needed."""
    return _load("guarded" if guarded else "domparse")[2]


def _take_image(handle, size):
    """Copies the image out of the caller's block and frees the block."""
    lock, unlock, free = _block_functions()
    address = lock(handle)
    try:
        if not address:
            raise ImageError("the image block cannot be locked")
        return ctypes.string_at(address, size)
    finally:
        if address:
            unlock(handle)
        free(handle)


def parse(data, utf16=False, guarded=True):
    """Parses `data` (bytes-like) and returns the `Document`.

    `utf16=True` hands the bytes over as UTF-16 little-endian text (input
    kind 1); otherwise the library finds out their encoding. The library
    rewrites its input and reads past it, so it gets a writable copy with
    zero padding behind; `data` itself is never touched. `guarded=True`
    calls DOM_ParseGuarded of the guarded library, `guarded=False` DOM_Parse.

    Raises ParseError for a result code other than 0, ImageError for a
    malformed image, LibraryNotFoundError when the library is missing.
    """
    if isinstance(data, str):
        raise TypeError("parse takes bytes; encode the text first")
    data = bytes(data)
    if len(data) > 0xFFFFFFFF - INPUT_PADDING:
        raise ValueError("the library takes at most 4 GiB of input")
    _, function, _ = _load("guarded" if guarded else "domparse")
    _block_functions()
    buffer = ctypes.create_string_buffer(data, len(data) + INPUT_PADDING)
    record = _ParseRecord(RECORD_VERSION, INPUT_UTF16 if utf16 else INPUT_BYTES, 0)
    handle = ctypes.c_void_p()
    result = function(buffer, len(data), ctypes.byref(handle), ctypes.byref(record))
    if result != RESULT_OK:
        # The handle is the caller's only on success: nothing to free.
        raise ParseError(result, "DOM_ParseGuarded" if guarded else "DOM_Parse")
    return read_image(_take_image(handle, record.result))


# ---------------------------------------------------------------------------
# The image: a header, the node records in document order, 24-byte attribute
# records, and zero-terminated UTF-16LE strings. Every field is little-endian
# and unaligned. The checks below run in an order where each may rely on the
# ones before it, and every loop is bounded by counts that the header check
# has bounded by the image's size.

_ABSENT = 0xFFFFFFFF
_HEADER = struct.Struct("<HIIIIII")
_NODE_HEAD = struct.Struct("<IHIIII")      # size, kind, top level, payload offset, children
_ELEMENT_PAYLOAD = struct.Struct("<IIIIIIIII")
_CHARACTER_DATA_PAYLOAD = struct.Struct("<II")
_ATTRIBUTE = struct.Struct("<IIIIII")
_DECLARATION = struct.Struct("<III")
_HEADER_SIZE = 26
_NODE_HEAD_SIZE = 22
_ELEMENT_HEAD_SIZE = 58
_CHARACTER_DATA_SIZE = 30
_ATTRIBUTE_SIZE = 24
_ELEMENT, _TEXT, _COMMENT = 1, 2, 3
_KIND_NAMES = {_TEXT: "text", _COMMENT: "comment"}


class _NodeRecord:
    __slots__ = ("offset", "kind", "top_level", "child_count", "child_list", "tag_id",
                 "name", "prefix", "namespace_uri", "attribute_count", "attribute_list",
                 "declarations", "data", "parent")


def _refuse(message):
    raise ImageError(message)


def _read_header(image):
    size = len(image)
    if size < _HEADER_SIZE:
        _refuse("image of %d bytes is shorter than its 26-byte header" % size)
    (version, node_count, node_table, attribute_count, attribute_table, string_count,
     string_table) = _HEADER.unpack_from(image, 0)
    if version != LIBRARY_VERSION:
        _refuse("header: image version %d is not %d" % (version, LIBRARY_VERSION))
    if node_table != _HEADER_SIZE:
        _refuse("header: node table offset %d is not 26" % node_table)
    if attribute_table < _HEADER_SIZE or attribute_table > size:
        _refuse("header: attribute table offset %d is outside 26 to the image size %d"
                % (attribute_table, size))
    if node_count > (attribute_table - _HEADER_SIZE) // _CHARACTER_DATA_SIZE:
        _refuse("header: node count %d does not fit in a node table of %d bytes"
                % (node_count, attribute_table - _HEADER_SIZE))
    if string_table != attribute_table + _ATTRIBUTE_SIZE * attribute_count:
        _refuse("header: string table offset %d is not the attribute table offset plus "
                "24 x %d attributes" % (string_table, attribute_count))
    if string_table > size:
        _refuse("header: the attribute table of %d attributes runs past the end of the "
                "image (%d bytes)" % (attribute_count, size))
    if string_count > (size - string_table) // 2:
        _refuse("header: string count %d does not fit in a string table of %d bytes"
                % (string_count, size - string_table))
    return node_count, attribute_count, attribute_table, string_count, string_table


def _read_node(image, index, offset, table_end):
    if table_end - offset < _NODE_HEAD_SIZE:
        _refuse("node %d at offset %d: the record head runs past the end of the node table"
                % (index, offset))
    record_size, kind, top_level, payload_offset, child_count, child_list = \
        _NODE_HEAD.unpack_from(image, offset)
    if kind not in (_ELEMENT, _TEXT, _COMMENT):
        _refuse("node %d: record kind %d is not 1 (element), 2 (text) or 3 (comment)"
                % (index, kind))
    if top_level > 1:
        _refuse("node %d: top-level flag %d is not 0 or 1" % (index, top_level))
    if payload_offset != _NODE_HEAD_SIZE:
        _refuse("node %d: payload offset %d is not 22" % (index, payload_offset))
    node = _NodeRecord()
    node.offset, node.kind, node.top_level = offset, kind, top_level
    node.child_count, node.child_list, node.parent = child_count, child_list, None
    if kind == _ELEMENT:
        _read_element(image, index, node, record_size, table_end)
    else:
        _read_character_data(image, index, node, record_size, table_end)
    return node, record_size


def _check_fits(index, offset, record_size, table_end):
    if record_size > table_end - offset:
        _refuse("node %d at offset %d: record size %d runs past the end of the node table"
                % (index, offset, record_size))


def _read_character_data(image, index, node, record_size, table_end):
    kind = _KIND_NAMES[node.kind]
    if record_size != _CHARACTER_DATA_SIZE:
        _refuse("node %d: record size %d is not 30 for a %s record" % (index, record_size, kind))
    _check_fits(index, node.offset, record_size, table_end)
    payload_size, node.data = _CHARACTER_DATA_PAYLOAD.unpack_from(image, node.offset + 22)
    if payload_size != 8:
        _refuse("node %d: payload size %d is not 8 for a %s record" % (index, payload_size, kind))
    if node.child_count != 0:
        _refuse("node %d: a %s record has child count %d, not 0" % (index, kind, node.child_count))
    if node.child_list != 0:
        _refuse("node %d: a %s record has child list offset %d, not 0"
                % (index, kind, node.child_list))


def _read_element(image, index, node, record_size, table_end):
    offset = node.offset
    if record_size < _ELEMENT_HEAD_SIZE:
        _refuse("node %d: record size %d is less than the 58 bytes of an element record"
                % (index, record_size))
    _check_fits(index, offset, record_size, table_end)
    (payload_size, node.tag_id, node.name, node.prefix, node.namespace_uri, attribute_count,
     attribute_list, declaration_count, declaration_list) = \
        _ELEMENT_PAYLOAD.unpack_from(image, offset + 22)
    expected_payload = 36 + 4 * attribute_count + 12 * declaration_count
    if payload_size != expected_payload:
        _refuse("node %d: payload size %d is not 36 + 4 x %d attributes + 12 x %d "
                "declarations" % (index, payload_size, attribute_count, declaration_count))
    if record_size != _NODE_HEAD_SIZE + payload_size + 4 * node.child_count:
        _refuse("node %d: record size %d is not 22 + payload size %d + 4 x %d children"
                % (index, record_size, payload_size, node.child_count))
    if attribute_list != (36 if attribute_count else 0):
        _refuse("node %d: attribute list offset %d is wrong" % (index, attribute_list))
    if declaration_list != (36 + 4 * attribute_count if declaration_count else 0):
        _refuse("node %d: declaration list offset %d is wrong" % (index, declaration_list))
    if node.child_list != (_NODE_HEAD_SIZE + payload_size if node.child_count else 0):
        _refuse("node %d: child list offset %d is wrong" % (index, node.child_list))
    # The sizes above prove that both lists lie inside the record.
    node.attribute_count = attribute_count
    node.attribute_list = offset + _ELEMENT_HEAD_SIZE
    node.declarations = []
    at = node.attribute_list + 4 * attribute_count
    for entry in range(declaration_count):
        entry_size, prefix, uri = _DECLARATION.unpack_from(image, at + 12 * entry)
        if entry_size != 12:
            _refuse("node %d: declaration %d has entry size %d, not 12"
                    % (index, entry, entry_size))
        node.declarations.append((prefix, uri))


def _read_strings(image, start, count):
    """The strings of the table, found by their terminators; the table must
    end where the image ends."""
    strings = []
    size = len(image)
    offset = start
    for index in range(count):
        end = image.find(b"\0\0", offset)
        # A terminator is a whole unit: skip pairs of zero bytes that straddle
        # two units.
        while end != -1 and (end - offset) % 2:
            end = image.find(b"\0\0", end + 1)
        if end == -1:
            _refuse("string table: string %d of %d has no terminator before the end of the "
                    "image (%d bytes)" % (index, count, size))
        try:
            strings.append(image[offset:end].decode("utf-16-le", "surrogatepass"))
        except UnicodeDecodeError as error:
            _refuse("string table: string %d cannot be read as UTF-16 (%s)" % (index, error))
        offset = end + 2
    if offset != size:
        _refuse("string table: %d strings end at offset %d, but the image is %d bytes"
                % (count, offset, size))
    return strings


class _StringRule:
    REQUIRED = 0            # always a string, the empty string included
    ABSENT_ALLOWED = 1      # a string or absent
    ABSENT_WHEN_EMPTY = 2   # absent, or a string that is not empty


def _string(strings, place, field, value, rule):
    if value == _ABSENT:
        if rule == _StringRule.REQUIRED:
            _refuse("%s: %s string is absent" % (place, field))
        return None
    if value >= len(strings):
        _refuse("%s: %s string %d is out of range (%d strings)"
                % (place, field, value, len(strings)))
    text = strings[value]
    if rule == _StringRule.ABSENT_WHEN_EMPTY and not text:
        _refuse("%s: %s string %d is empty (an empty %s is written as absent)"
                % (place, field, value, field))
    return text


def _read_attributes(image, table, count, strings):
    attributes = []
    for index in range(count):
        (record_size, attribute_id, name, prefix, uri, value) = \
            _ATTRIBUTE.unpack_from(image, table + _ATTRIBUTE_SIZE * index)
        place = "attribute %d" % index
        if record_size != _ATTRIBUTE_SIZE:
            _refuse("%s: record size %d is not 24" % (place, record_size))
        if attribute_id != _ABSENT and attribute_id >= ATTRIBUTE_COUNT:
            _refuse("%s: attribute id %d is out of range (%d attribute names)"
                    % (place, attribute_id, ATTRIBUTE_COUNT))
        attributes.append(Attribute(
            _string(strings, place, "name", name, _StringRule.REQUIRED),
            _string(strings, place, "prefix", prefix, _StringRule.ABSENT_WHEN_EMPTY),
            _string(strings, place, "namespace URI", uri, _StringRule.ABSENT_WHEN_EMPTY),
            None if attribute_id == _ABSENT else attribute_id,
            _string(strings, place, "value", value, _StringRule.ABSENT_WHEN_EMPTY) or ""))
    return attributes


def _make_element(image, index, node, strings, attributes):
    place = "node %d" % index
    if node.tag_id != _ABSENT and node.tag_id >= len(TAG_NAMES):
        _refuse("%s: tag id %d is out of range (%d tags)" % (place, node.tag_id, len(TAG_NAMES)))
    name = _string(strings, place, "name", node.name, _StringRule.REQUIRED)
    if not name and node.tag_id != _ABSENT:
        # An element made from a tag id alone has an empty stored name.
        name = TAG_NAMES[node.tag_id]
    listed = []
    for position in range(node.attribute_count):
        (attribute,) = struct.unpack_from("<I", image, node.attribute_list + 4 * position)
        if attribute >= len(attributes):
            _refuse("%s: attribute index %d is out of range (%d attributes)"
                    % (place, attribute, len(attributes)))
        # An element copied from another shares its attribute records.
        listed.append(attributes[attribute])
    declarations = []
    for entry, (prefix, uri) in enumerate(node.declarations):
        where = "%s: declaration %d" % (place, entry)
        declarations.append(Declaration(
            _string(strings, where, "declared prefix", prefix, _StringRule.ABSENT_ALLOWED),
            _string(strings, where, "declared URI", uri, _StringRule.REQUIRED)))
    return Element(
        name,
        _string(strings, place, "prefix", node.prefix, _StringRule.ABSENT_WHEN_EMPTY),
        None if node.tag_id == _ABSENT else node.tag_id,
        _string(strings, place, "namespace URI", node.namespace_uri,
                _StringRule.ABSENT_WHEN_EMPTY),
        listed, declarations, [])


def _link_children(image, records):
    """Sets each node's parent from the child lists. Children follow their
    parent in the table, and each has one parent, so the records form a
    forest."""
    count = len(records)
    for index, node in enumerate(records):
        if node.kind != _ELEMENT:
            continue
        start = node.offset + node.child_list
        for position in range(node.child_count):
            (child,) = struct.unpack_from("<I", image, start + 4 * position)
            if child >= count:
                _refuse("node %d: child index %d is out of range (%d nodes)"
                        % (index, child, count))
            if child <= index:
                _refuse("node %d: child index %d does not point forward (children follow "
                        "their parent)" % (index, child))
            if records[child].top_level:
                _refuse("node %d: child index %d is a top-level node" % (index, child))
            if records[child].parent is not None:
                _refuse("node %d: child index %d is already a child of node %d"
                        % (index, child, records[child].parent))
            records[child].parent = index


def _check_document_order(image, records, roots):
    """A walk of the forest, parent before children, must meet the records as
    0, 1, 2, ... in the table."""
    pending = list(reversed(roots))
    expected = 0
    while pending:
        index = pending.pop()
        if index != expected:
            _refuse("node %d is out of document order (a walk of the tree meets it as node %d)"
                    % (index, expected))
        expected += 1
        node = records[index]
        if node.kind == _ELEMENT:
            start = node.offset + node.child_list
            children = struct.unpack_from("<%dI" % node.child_count, image, start)
            pending.extend(reversed(children))


def read_image(image):
    """Checks a whole document image (bytes of exactly the image's size, as
    `domparse --format image` writes it) and decodes it into a `Document`.
    Raises ImageError when anything in it is malformed."""
    image = bytes(image)
    node_count, attribute_count, attribute_table, string_count, string_table = \
        _read_header(image)
    records = []
    offset = _HEADER_SIZE
    for index in range(node_count):
        node, record_size = _read_node(image, index, offset, attribute_table)
        records.append(node)
        offset += record_size
    if offset != attribute_table:
        _refuse("node table: %d records end at offset %d, not at the attribute table offset %d"
                % (node_count, offset, attribute_table))
    strings = _read_strings(image, string_table, string_count)
    attributes = _read_attributes(image, attribute_table, attribute_count, strings)

    nodes = []
    listed = 0
    for index, node in enumerate(records):
        if node.kind == _ELEMENT:
            nodes.append(_make_element(image, index, node, strings, attributes))
            listed += node.attribute_count
        else:
            data = _string(strings, "node %d" % index, "data", node.data, _StringRule.REQUIRED)
            nodes.append(Text(data) if node.kind == _TEXT else Comment(data))
    # The writer makes one attribute record per element and attribute.
    if listed != attribute_count:
        _refuse("attribute table: %d attributes, but the elements list %d"
                % (attribute_count, listed))

    _link_children(image, records)
    roots = []
    for index, node in enumerate(records):
        if node.top_level:
            roots.append(index)
        elif node.parent is None:
            _refuse("node %d is not top-level, but no element lists it as a child" % index)
    _check_document_order(image, records, roots)
    # In document order each child comes after its parent and after its
    # elder siblings, so appending in table order keeps every list in order.
    for index, node in enumerate(records):
        if node.parent is not None:
            nodes[node.parent].children.append(nodes[index])
    return Document([nodes[index] for index in roots], len(image))
