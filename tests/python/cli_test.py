"""The domparse tool as a shell tool: many files with a summary line, the
progress line on a terminal, JSON Lines for every file, the exit status, and
help, man page and option parser in agreement.

Run by CTest with the environment:
  DOMPARSE_SOURCE_DIR  the source tree
  DOMPARSE_TOOL        the domparse tool of the build folder
  DOMPARSE_VERSION     the project's version
  DOMPARSE_WORK_DIR    a folder for the test's files
"""

import errno
import json
import os
import pty
import re
import shutil
import subprocess
import unittest

SOURCE_DIR = os.environ["DOMPARSE_SOURCE_DIR"]
TOOL = os.environ["DOMPARSE_TOOL"]
VERSION = os.environ["DOMPARSE_VERSION"]
WORK_DIR = os.environ["DOMPARSE_WORK_DIR"]

NO_DOCUMENT = ("no document could be made of the input (no text could be decoded, or an "
               "internal error)")
NO_FILE = "cannot read: No such file or directory"


def run(arguments, stdin=b""):
    completed = subprocess.run([TOOL] + arguments, input=stdin, stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE, cwd=WORK_DIR, check=False)
    return completed.returncode, completed.stdout.decode(), completed.stderr.decode()


def run_on_terminal(arguments):
    """Runs the tool with standard error on a pseudo terminal; returns the exit
    status, standard output and all that the terminal received."""
    controller, terminal = pty.openpty()
    process = subprocess.Popen([TOOL] + arguments, stdin=subprocess.DEVNULL,
                               stdout=subprocess.PIPE, stderr=terminal, cwd=WORK_DIR)
    os.close(terminal)
    received = b""
    while True:
        try:
            chunk = os.read(controller, 4096)
        except OSError as error:
            # The terminal reports EIO once the tool has closed its side.
            if error.errno != errno.EIO:
                raise
            break
        if not chunk:
            break
        received += chunk
    out = process.stdout.read()
    process.stdout.close()
    status = process.wait()
    os.close(controller)
    return status, out.decode(), received.decode()


def write(name, content):
    with open(os.path.join(WORK_DIR, name), "wb") as stream:
        stream.write(content)
    return name


def setUpModule():
    shutil.rmtree(WORK_DIR, ignore_errors=True)
    os.makedirs(WORK_DIR)


class ManyFiles(unittest.TestCase):

    @classmethod
    def setUpClass(cls):
        write("good.html", b"<p>x</p>")
        write("other.html", b"<!--c-->")
        write("empty.html", b"")

    def test_one_file_has_no_summary(self):
        self.assertEqual(run(["good.html"]), (0, '<p>\n  "x"\n', ""))

    def test_a_summary_line_ends_a_run_over_several_files(self):
        status, out, err = run(["good.html", "other.html"])
        self.assertEqual(status, 0)
        self.assertEqual(out, '# good.html\n<p>\n  "x"\n# other.html\n<!--c-->\n')
        self.assertEqual(err, "domparse: 2 files, 2 parsed, 0 failed\n")

    def test_any_failed_file_makes_the_status_non_zero(self):
        status, out, err = run(["good.html", "empty.html", "other.html"])
        self.assertEqual(status, 12)
        self.assertEqual(out, '# good.html\n<p>\n  "x"\n# other.html\n<!--c-->\n')
        self.assertEqual(err, "domparse: empty.html: %s\n"
                              "domparse: 3 files, 2 parsed, 1 failed\n" % NO_DOCUMENT)
        status, _, err = run(["missing.html", "good.html", "empty.html"])
        self.assertEqual(status, 66)
        self.assertEqual(err.splitlines()[-1], "domparse: 3 files, 1 parsed, 2 failed")

    def test_json_lines_give_one_object_per_file(self):
        status, out, err = run(["--format", "json", "good.html", "missing.html", "empty.html",
                                "other.html"])
        self.assertEqual(status, 66)
        lines = [json.loads(line) for line in out.splitlines()]
        self.assertEqual(lines, [
            # The header (26), the p (22 + 36 + 4 for the child), the text
            # (30), the strings "p" and "x" (4 each).
            {"file": "good.html", "result": 0, "imageSize": 126,
             "nodes": [{"name": "p", "prefix": None, "tagId": 167, "namespaceUri": None,
                        "attributes": [], "children": [{"text": "x"}]}]},
            {"file": "missing.html", "result": None, "error": NO_FILE},
            {"file": "empty.html", "result": 2, "error": NO_DOCUMENT},
            # The header (26), the comment (30) and the string "c" (4).
            {"file": "other.html", "result": 0, "imageSize": 60, "nodes": [{"comment": "c"}]},
        ])
        self.assertEqual(err.splitlines()[-1], "domparse: 4 files, 2 parsed, 2 failed")

    @unittest.skipUnless(shutil.which("jq"), "jq is not installed")
    def test_json_lines_pipe_into_jq(self):
        tool = subprocess.Popen([TOOL, "--format", "json", "good.html", "empty.html",
                                 "other.html"], stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL, cwd=WORK_DIR)
        names = subprocess.run(["jq", "-r", "select(.error) | .file"], stdin=tool.stdout,
                               stdout=subprocess.PIPE, check=True)
        tool.stdout.close()
        self.assertEqual(tool.wait(), 12)
        self.assertEqual(names.stdout.decode(), "empty.html\n")

    def test_no_progress_line_in_a_pipe(self):
        _, _, err = run(["good.html", "other.html", "good.html"])
        self.assertNotIn("\r", err)

    def test_the_progress_line_on_a_terminal(self):
        # Drawn before the first file, wiped with spaces before a message and
        # drawn again at once after it, wiped before the summary. (A terminal
        # turns each line feed into CR LF.)
        status, out, received = run_on_terminal(["missing.html", "other.html"])
        self.assertEqual(status, 66)
        self.assertEqual(out, "# other.html\n<!--c-->\n")
        first = "domparse: 0/2 files"
        second = "domparse: 1/2 files, 1 failed"
        self.assertEqual(received,
                         "\r" + first + "\r" + " " * len(first) + "\r"
                         + "domparse: missing.html: " + NO_FILE + "\r\n"
                         + "\r" + second + "\r" + " " * len(second) + "\r"
                         + "domparse: 2 files, 1 parsed, 1 failed\r\n")

    def test_one_file_shows_no_progress_on_a_terminal(self):
        self.assertEqual(run_on_terminal(["good.html"]), (0, '<p>\n  "x"\n', ""))


def help_text():
    status, out, err = run(["--help"])
    assert status == 0 and err == ""
    return out


class HelpAndManual(unittest.TestCase):

    def test_version(self):
        self.assertEqual(run(["--version"]), (0, "domparse %s (library version 200)\n" % VERSION,
                                              ""))

    def options_of_the_parser(self):
        """Every option that the tool's argument parser compares with."""
        with open(os.path.join(SOURCE_DIR, "tools", "cli", "main.cpp")) as stream:
            source = stream.read()
        options = set(re.findall(r'argument == "(-[-a-z0-9]*)"', source))
        options |= set(re.findall(r'argument\.rfind\("(--[a-z0-9-]+)=", 0\)', source))
        options.discard("-")
        return options

    def test_the_parser_takes_the_options_of_the_first_release(self):
        self.assertLessEqual({"--", "-h", "--help", "--version", "--utf16", "--mode", "--format",
                              "-o"}, self.options_of_the_parser())

    def test_the_help_names_every_option(self):
        described = set(re.findall(r"^  (-[-a-z0-9]*)(?:, (--[a-z0-9-]+))?",
                                   help_text(), re.MULTILINE))
        named = {option for pair in described for option in pair if option}
        self.assertEqual(named, self.options_of_the_parser())

    def test_the_manual_names_every_option(self):
        with open(os.path.join(SOURCE_DIR, "tools", "cli", "domparse.1")) as stream:
            manual = stream.read()
        named = set()
        for line in manual.splitlines():
            if line.startswith((".B ", ".BI ", ".BR ")):
                for word in re.findall(r"(?:^|\s|\")((?:\\-)+[a-z0-9-]*)", line):
                    named.add(word.replace("\\-", "-"))
        self.assertEqual(self.options_of_the_parser() - named, set())

    def test_the_help_tells_every_format(self):
        text = help_text()
        for name in ("tree", "json", "stats", "image", "markup"):
            self.assertRegex(text, r"\n  %s +\S" % name)


if __name__ == "__main__":
    unittest.main()
