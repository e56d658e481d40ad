"""Tests of python/domparse.py: every end-to-end case of tests/e2e/cases
parsed by the module and by the domparse tool (--format json) must give the
same tree or the same result code, through DOM_Parse and through the guarded
library; the module's errors; its checks of malformed images.

Run by CTest with the environment:
  DOMPARSE_SOURCE_DIR   the source tree
  DOMPARSE_LIBRARY_DIR  the build folder, which holds the libraries
  DOMPARSE_TOOL         the domparse tool of the build folder
  DOMPARSE_WORK_DIR     a folder for the test's files
"""

import json
import os
import random
import shutil
import struct
import subprocess
import sys
import unittest

SOURCE_DIR = os.environ["DOMPARSE_SOURCE_DIR"]
LIBRARY_DIR = os.environ["DOMPARSE_LIBRARY_DIR"]
TOOL = os.environ["DOMPARSE_TOOL"]
WORK_DIR = os.environ["DOMPARSE_WORK_DIR"]

sys.path.insert(0, os.path.join(SOURCE_DIR, "python"))
import domparse  # noqa: E402

GUARDED_BUILT = os.path.exists(os.path.join(LIBRARY_DIR, "libdomparse_guarded.so.1"))


# ---------------------------------------------------------------------------
# The case files (their format is told in tests/support/case_files.h). Only
# what the comparison needs is read: the input, its kind, the record version
# and the expected result code.

HEADERS = {"#data", "#data-escaped", "#data-hex", "#input-kind", "#record-version", "#result",
           "#errors", "#document", "#markup", "#description"}


class Case:
    def __init__(self, file, index, line):
        self.file = file
        self.index = index
        self.line = line
        self.text = None        # bytes of #data or #data-escaped, before the kind is known
        self.input = b""
        self.input_kind = 0
        self.record_version = 2
        self.result = 0

    def name(self):
        return "%s.dat case %d at line %d" % (self.file, self.index, self.line)


def unescape(text):
    """The escapes of #data-escaped: \\n \\r \\t \\f \\0 \\\\ \\xHH (one raw byte)
    and \\uXXXX (the character in UTF-8, surrogates included)."""
    out = bytearray()
    simple = {"n": b"\n", "r": b"\r", "t": b"\t", "f": b"\f", "0": b"\0", "\\": b"\\"}
    at = 0
    while at < len(text):
        character = text[at]
        if character != "\\":
            out += character.encode("utf-8", "surrogatepass")
            at += 1
            continue
        kind = text[at + 1]
        if kind in simple:
            out += simple[kind]
            at += 2
        elif kind == "x":
            out.append(int(text[at + 2:at + 4], 16))
            at += 4
        elif kind == "u":
            out += chr(int(text[at + 2:at + 6], 16)).encode("utf-8", "surrogatepass")
            at += 6
        else:
            raise ValueError("bad escape \\%s" % kind)
    return bytes(out)


def utf16_bytes(utf8):
    """UTF-16LE of UTF-8 text as the C++ loader makes it: by the lead byte, so
    that an encoded surrogate becomes that unit."""
    out = bytearray()
    at = 0
    while at < len(utf8):
        lead = utf8[at]
        code, length = lead, 1
        if lead >= 0xF0:
            code, length = lead & 0x07, 4
        elif lead >= 0xE0:
            code, length = lead & 0x0F, 3
        elif lead >= 0xC0:
            code, length = lead & 0x1F, 2
        for follow in utf8[at + 1:at + length]:
            code = (code << 6) | (follow & 0x3F)
        at += length
        if code >= 0x10000:
            code -= 0x10000
            out += struct.pack("<HH", 0xD800 + (code >> 10), 0xDC00 + (code & 0x3FF))
        else:
            out += struct.pack("<H", code)
    return bytes(out)


def finish(case):
    if case.text is not None:
        case.input = utf16_bytes(case.text) if case.input_kind == 1 else case.text


def read_block(case, header, body):
    if header == "#data":
        while body and not body[-1]:
            body.pop()
        case.text = "\n".join(body).encode("utf-8")
    elif header == "#data-escaped":
        case.text = unescape("".join(body))
    elif header == "#data-hex":
        case.input = bytes.fromhex(" ".join(body))
    elif header == "#input-kind" and body:
        case.input_kind = int(body[0])
    elif header == "#record-version" and body:
        case.record_version = int(body[0])
    elif header == "#result" and body:
        case.result = int(body[0])


def load_cases(path):
    with open(path, "rb") as stream:
        lines = stream.read().decode("utf-8").split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    name = os.path.splitext(os.path.basename(path))[0]
    cases = []
    at = 0
    while at < len(lines):
        header = lines[at]
        if header not in HEADERS:
            at += 1
            continue
        following = at + 1
        while following < len(lines) and lines[following] not in HEADERS:
            following += 1
        body = lines[at + 1:following]
        if header.startswith("#data"):
            if cases:
                finish(cases[-1])
            cases.append(Case(name, len(cases), at + 1))
        if cases:
            read_block(cases[-1], header, body)
        at = following
    if cases:
        finish(cases[-1])
    return cases


def all_cases():
    folder = os.path.join(SOURCE_DIR, "tests", "e2e", "cases")
    cases = []
    for file in sorted(os.listdir(folder)):
        if file.endswith(".dat"):
            cases.extend(load_cases(os.path.join(folder, file)))
    return cases


# ---------------------------------------------------------------------------
# The module's document in the shape of the tool's JSON nodes.

def json_nodes(document):
    """The document's nodes as the tool writes them under "nodes", built
    without recursion."""
    top = []
    pending = [(node, top) for node in reversed(document.children)]
    while pending:
        node, siblings = pending.pop()
        if isinstance(node, domparse.Text):
            siblings.append({"text": node.data})
        elif isinstance(node, domparse.Comment):
            siblings.append({"comment": node.data})
        else:
            children = []
            siblings.append({
                "name": node.name, "prefix": node.prefix, "tagId": node.tag_id,
                "namespaceUri": node.namespace_uri,
                "attributes": [{"name": a.name, "prefix": a.prefix,
                                "namespaceUri": a.namespace_uri,
                                "attributeId": a.attribute_id, "value": a.value}
                               for a in node.attributes],
                "children": children})
            pending.extend((child, children) for child in reversed(node.children))
    return top


def module_outcome(case, guarded):
    """("ok", nodes) or ("result", code) for the case through the module."""
    try:
        document = domparse.parse(case.input, utf16=case.input_kind == 1, guarded=guarded)
    except domparse.ParseError as error:
        return ("result", error.result)
    return ("ok", json_nodes(document))


def tool_outcomes(cases, folder):
    """The tool's outcome of every case, from one run per input kind over all
    their files: ("ok", nodes) or ("result", code)."""
    os.makedirs(folder, exist_ok=True)
    outcomes = {}
    for utf16 in (False, True):
        files = {}
        for number, case in enumerate(cases):
            if (case.input_kind == 1) != utf16:
                continue
            path = os.path.join(folder, "case%03d.html" % number)
            with open(path, "wb") as stream:
                stream.write(case.input)
            files[path] = case
        if not files:
            continue
        command = [TOOL, "--format", "json"] + (["--utf16"] if utf16 else []) + ["--"] + list(files)
        run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        lines = run.stdout.decode("utf-8", "surrogatepass").splitlines()
        if len(lines) != len(files):
            raise AssertionError("the tool wrote %d JSON lines for %d files: %s"
                                 % (len(lines), len(files), run.stderr.decode()))
        for line in lines:
            record = json.loads(line)
            case = files[record["file"]]
            if record["result"] == 0:
                outcomes[id(case)] = ("ok", record["nodes"])
            else:
                outcomes[id(case)] = ("result", record["result"])
    return outcomes


class EndToEndCases(unittest.TestCase):
    """The module against the tool on every case that the tool can run: all
    but those with another record version, which the module never sends."""

    @classmethod
    def setUpClass(cls):
        cls.cases = [case for case in all_cases() if case.record_version == 2]
        cls.outcomes = tool_outcomes(cls.cases, os.path.join(WORK_DIR, "cases"))

    def test_the_cases_are_there(self):
        self.assertGreaterEqual(len(self.cases), 150)
        self.assertEqual(len(self.outcomes), len(self.cases))

    def test_the_tool_gives_the_expected_result_codes(self):
        for case in self.cases:
            outcome = self.outcomes[id(case)]
            expected = ("ok" if case.result == 0 else "result")
            self.assertEqual(outcome[0], expected, case.name())
            if case.result:
                self.assertEqual(outcome[1], case.result, case.name())

    def test_dom_parse_gives_the_trees_of_the_tool(self):
        for case in self.cases:
            self.assertEqual(module_outcome(case, guarded=False), self.outcomes[id(case)],
                             case.name())

    @unittest.skipUnless(GUARDED_BUILT, "the guarded library is not built")
    def test_the_guarded_library_gives_the_trees_of_the_tool(self):
        for case in self.cases:
            self.assertEqual(module_outcome(case, guarded=True), self.outcomes[id(case)],
                             case.name())


class Parsing(unittest.TestCase):

    def test_a_paragraph(self):
        document = domparse.parse(b'<p class="x">Hi<!--c--><my:tag my:att="">t</my:tag></p>',
                                  guarded=False)
        self.assertEqual(len(document.children), 1)
        paragraph = document.children[0]
        self.assertIsInstance(paragraph, domparse.Element)
        self.assertEqual((paragraph.name, paragraph.prefix, paragraph.tag_id,
                          paragraph.namespace_uri), ("p", None, 167, None))
        self.assertEqual(paragraph.attributes,
                         [domparse.Attribute("class", None, None, 99, "x")])
        text, comment, tag = paragraph.children
        self.assertEqual((type(text), text.data), (domparse.Text, "Hi"))
        self.assertEqual((type(comment), comment.data), (domparse.Comment, "c"))
        self.assertEqual((tag.name, tag.prefix, tag.tag_id, tag.qualified_name),
                         ("tag", "my", None, "my:tag"))
        # An empty value is absent in the image and "" here.
        self.assertEqual(tag.attributes, [domparse.Attribute("att", "my", None, None, "")])
        self.assertEqual([(depth, type(node).__name__) for depth, node in document.walk()],
                         [(0, "Element"), (1, "Text"), (1, "Comment"), (1, "Element"),
                          (2, "Text")])

    def test_namespace_declarations(self):
        document = domparse.parse(b'<a:b xmlns:a="urn:x" xmlns=""><a:c/></a:b>', guarded=False)
        element = document.children[0]
        self.assertEqual(element.namespace_uri, "urn:x")
        # The declarations are the declaring attributes, in attribute order.
        declaring = [domparse.Declaration(None if a.prefix is None else a.name, a.value)
                     for a in element.attributes if "xmlns" in (a.prefix, a.name)]
        self.assertEqual(element.declarations, declaring)
        self.assertEqual(set(element.declarations),
                         {domparse.Declaration("a", "urn:x"), domparse.Declaration(None, "")})
        self.assertEqual(element.children[0].namespace_uri, "urn:x")

    def test_utf16_input_and_lone_surrogates(self):
        data = "<b>\u00e9".encode("utf-16-le") + b"\x00\xd8"
        document = domparse.parse(data, utf16=True, guarded=False)
        self.assertEqual(document.children[0].children[0].data, "\u00e9\ud800")

    def test_the_callers_bytes_stay_untouched(self):
        # A byte-swapped byte order mark makes the library swap its buffer in
        # place: the module hands it a copy.
        data = bytearray(b"\xfe\xff\x00<\x00p\x00>\x00x")
        before = bytes(data)
        document = domparse.parse(data, guarded=False)
        self.assertEqual(bytes(data), before)
        self.assertEqual(document.children[0].name, "p")

    def test_text_is_refused(self):
        with self.assertRaises(TypeError):
            domparse.parse("<p>", guarded=False)

    def test_a_deep_document_is_read_and_walked(self):
        depth = 100000
        document = domparse.parse(b"<div>" * depth, guarded=False)
        deepest = max(level for level, _ in document.walk())
        self.assertEqual(deepest, depth - 1)

    def test_empty_input_raises_result_2(self):
        with self.assertRaises(domparse.ParseError) as raised:
            domparse.parse(b"", guarded=False)
        self.assertEqual(raised.exception.result, domparse.RESULT_FAILED)
        self.assertEqual(str(raised.exception),
                         "DOM_Parse returned 2: no document could be made of the input (no "
                         "text could be decoded, or an internal error)")

    def test_the_refused_record_has_its_message(self):
        # The module always sends record version 2, so result 1 cannot come
        # from a parse: its message is checked on the exception itself.
        error = domparse.ParseError(1)
        self.assertEqual(error.result, 1)
        self.assertEqual(str(error), "DOM_Parse returned 1: the library refused the call "
                                     "record (record version)")

    def test_memory_running_out_raises_result_3(self):
        # A text ending in "<" grows without bound under DOM_Parse; under an
        # address space limit it ends in result 3. Run in a child process.
        program = """
import resource, domparse
domparse.parse(b"x", guarded=False)
with open("/proc/self/statm") as statm:
    in_use = int(statm.read().split()[0]) * resource.getpagesize()
limit = in_use + (128 << 20)
resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
try:
    domparse.parse(b"<p>x<", guarded=False)
    print("returned")
except domparse.ParseError as error:
    print(error.result, error)
"""
        run = subprocess.run([sys.executable, "-c", program], stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, env=child_environment(), timeout=600,
                             check=False)
        self.assertEqual(run.stdout.decode(),
                         "3 DOM_Parse returned 3: out of memory while parsing\n",
                         run.stderr.decode())


@unittest.skipUnless(GUARDED_BUILT, "the guarded library is not built")
class GuardedParsing(unittest.TestCase):

    def expect_result(self, data, result, utf16=False):
        with self.assertRaises(domparse.ParseError) as raised:
            domparse.parse(data, utf16=utf16)
        self.assertEqual(raised.exception.result, result)
        self.assertEqual(raised.exception.function, "DOM_ParseGuarded")

    def test_the_guarded_library_is_the_default(self):
        self.assertEqual(domparse.library_path(guarded=True),
                         os.path.join(LIBRARY_DIR, "libdomparse_guarded.so.1"))
        self.expect_result(b"", domparse.RESULT_FAILED)

    def test_a_document_without_body_raises_result_4(self):
        self.expect_result(b"<!DOCTYPE html><html><p>x</p></html>", domparse.RESULT_NO_BODY)
        self.expect_result(b"x", domparse.RESULT_NO_BODY, utf16=True)

    def test_inputs_that_never_end_raise_result_5(self):
        self.expect_result(b"<p>x<", domparse.RESULT_NEVER_ENDS)
        self.expect_result(b"<p>x<a b ", domparse.RESULT_NEVER_ENDS)

    def test_a_bare_byte_order_mark_raises_result_6(self):
        self.expect_result(b"\xef\xbb\xbf", domparse.RESULT_BARE_BYTE_ORDER_MARK)

    def test_the_same_tree_as_dom_parse(self):
        with open(os.path.join(SOURCE_DIR, "examples", "sample.html"), "rb") as stream:
            data = stream.read()
        self.assertEqual(json_nodes(domparse.parse(data)),
                         json_nodes(domparse.parse(data, guarded=False)))


def child_environment(**changes):
    environment = dict(os.environ)
    environment["PYTHONPATH"] = os.path.join(SOURCE_DIR, "python")
    environment.update(changes)
    return environment


class Loading(unittest.TestCase):

    def test_the_library_of_the_named_folder(self):
        self.assertEqual(domparse.library_path(),
                         os.path.join(LIBRARY_DIR, "libdomparse.so.1"))

    def test_a_folder_without_the_libraries(self):
        empty = os.path.join(WORK_DIR, "empty")
        os.makedirs(empty, exist_ok=True)
        program = """
import domparse
for guarded in (False, True):
    try:
        domparse.parse(b"x", guarded=guarded)
    except domparse.LibraryNotFoundError as error:
        print(str(error).split(" (")[0])
"""
        run = subprocess.run([sys.executable, "-c", program], stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, check=False,
                             env=child_environment(DOMPARSE_LIBRARY_DIR=empty))
        self.assertEqual(run.stdout.decode(),
                         "the domparse library libdomparse.so.1 cannot be loaded\n"
                         "the guarded library libdomparse_guarded.so.1 is not installed or "
                         "cannot be loaded\n", run.stderr.decode())

    def test_an_install_finds_its_own_libraries(self):
        # PREFIX/lib/python3/dist-packages/domparse.py loads PREFIX/lib.
        prefix = os.path.join(WORK_DIR, "prefix")
        shutil.rmtree(prefix, ignore_errors=True)
        modules = os.path.join(prefix, "lib", "python3", "dist-packages")
        os.makedirs(modules)
        shutil.copy(os.path.join(SOURCE_DIR, "python", "domparse.py"), modules)
        shutil.copy(os.path.join(LIBRARY_DIR, "libdomparse.so.1"), os.path.join(prefix, "lib"))
        environment = child_environment(PYTHONPATH=modules)
        del environment["DOMPARSE_LIBRARY_DIR"]
        program = "import domparse; print(domparse.parse(b'<i>', guarded=False).children[0]," \
                  " domparse.library_path())"
        run = subprocess.run([sys.executable, "-c", program], stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, env=environment, check=False)
        self.assertEqual(run.stdout.decode(), "<Element i, 0 attributes, 0 children> %s\n"
                         % os.path.join(prefix, "lib", "libdomparse.so.1"), run.stderr.decode())


class Tables(unittest.TestCase):

    def test_tag_names_are_the_tag_table(self):
        with open(os.path.join(SOURCE_DIR, "tools", "gen", "tags.txt")) as stream:
            names = tuple(line.split()[0] for line in stream if line.strip())
        self.assertEqual(domparse.TAG_NAMES, names)

    def test_attribute_count_is_the_attribute_table(self):
        with open(os.path.join(SOURCE_DIR, "tools", "gen", "attributes.txt")) as stream:
            count = sum(1 for line in stream if line.strip())
        self.assertEqual(domparse.ATTRIBUTE_COUNT, count)


def tool_image(data):
    """The raw image of `data` as the tool writes it."""
    run = subprocess.run([TOOL, "--format", "image", "-"], input=data, stdout=subprocess.PIPE,
                         check=True)
    return run.stdout


class Images(unittest.TestCase):
    """read_image checks the whole image and raises ImageError, never anything
    else, on a malformed one."""

    @classmethod
    def setUpClass(cls):
        cls.image = tool_image(b'<p class="x" id="">Hi<!--c--><a:b xmlns:a="urn:a">t</a:b></p>')

    def expect_refused(self, image, message):
        with self.assertRaises(domparse.ImageError) as raised:
            domparse.read_image(image)
        self.assertEqual(str(raised.exception), message)

    def patched(self, offset, format, value):
        image = bytearray(self.image)
        struct.pack_into(format, image, offset, value)
        return bytes(image)

    def test_the_image_of_the_tool_reads_as_the_parse(self):
        document = domparse.read_image(self.image)
        self.assertEqual(document.image_size, len(self.image))
        self.assertEqual(json_nodes(document),
                         json_nodes(domparse.parse(
                             b'<p class="x" id="">Hi<!--c--><a:b xmlns:a="urn:a">t</a:b></p>',
                             guarded=False)))

    def test_the_header(self):
        self.expect_refused(self.image[:25], "image of 25 bytes is shorter than its 26-byte header")
        self.expect_refused(self.patched(0, "<H", 199), "header: image version 199 is not 200")
        self.expect_refused(self.patched(6, "<I", 27), "header: node table offset 27 is not 26")

    def test_a_node_record(self):
        # The first node is the p element at offset 26: its kind at 30.
        self.expect_refused(self.patched(30, "<H", 4),
                            "node 0: record kind 4 is not 1 (element), 2 (text) or 3 (comment)")
        self.expect_refused(self.patched(32, "<I", 2), "node 0: top-level flag 2 is not 0 or 1")

    def test_the_string_table(self):
        self.expect_refused(self.image + b"\0\0",
                            "string table: %d strings end at offset %d, but the image is %d "
                            "bytes" % (struct.unpack_from("<I", self.image, 18)[0],
                                       len(self.image), len(self.image) + 2))

    def test_every_cut_is_refused(self):
        for size in range(len(self.image)):
            with self.assertRaises(domparse.ImageError, msg="cut at %d" % size):
                domparse.read_image(self.image[:size])

    def test_changed_bytes_give_an_image_or_image_error(self):
        # Every byte of the image changed in turn, to several values: the
        # module reads the result or refuses it, and never fails otherwise.
        generator = random.Random(20)
        refused = 0
        for offset in range(len(self.image)):
            for value in (0, 1, 0xFF, generator.randrange(256), self.image[offset] ^ 0x80):
                image = bytearray(self.image)
                image[offset] = value
                try:
                    document = domparse.read_image(bytes(image))
                except domparse.ImageError:
                    refused += 1
                    continue
                list(document.walk())
        self.assertGreater(refused, len(self.image))


if __name__ == "__main__":
    unittest.main()
