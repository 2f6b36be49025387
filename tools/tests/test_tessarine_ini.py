"""Tests of tessarine-ini, the properties-file inspector, run as a program.

The build passes the program and the shipped sample through the environment.
"""

import json
import os
import subprocess
import tempfile
import unittest

TOOL = os.environ.get("TESSARINE_INI", "")
SAMPLE = os.environ.get("TESSARINE_SAMPLE", "")


def run(*arguments):
    return subprocess.run([TOOL, *arguments], capture_output=True, timeout=60, check=False)


class FileTest(unittest.TestCase):
    """Writes each test's properties file, as bytes, into a directory of its own."""

    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)

    def file(self, content, name="input.ini"):
        path = os.path.join(self.directory.name, name)
        with open(path, "wb") as file:
            file.write(content)
        return path

    def listing(self, content):
        result = run(self.file(content))
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout.decode("ascii")

    def sections(self, content):
        result = run("--json", self.file(content))
        self.assertEqual(result.returncode, 0, result.stderr)
        return [(section["name"], [(entry["key"], entry["value"]) for entry in section["keys"]])
                for section in json.loads(result.stdout)["sections"]]


class Listing(FileTest):
    """The plain listing: file order, the library's decoding, everything shown in ASCII."""

    def test_sections_and_keys_in_file_order_with_the_last_value(self):
        self.assertEqual(self.listing(b"top=0\n[s]\nb=1\na=2\n[t]\nc=3\n[s]\nb=4\n"),
                         "[]\ntop = 0\n\n[s]\nb = 4\na = 2\n\n[t]\nc = 3\n")

    def test_characters_outside_printable_ascii_are_escaped(self):
        self.assertEqual(self.listing(b"k=\\u00e9\\u0000\\u0009\\uFFFF\n"),
                         "[]\nk = \\u00E9\\u0000\\u0009\\uFFFF\n")

    def test_a_backslash_is_shown_doubled(self):
        # In the file, \\ is one backslash; shown doubled, it reads back the same.
        self.assertEqual(self.listing(b"path=C:\\\\temp\n"), "[]\npath = C:\\\\temp\n")

    def test_what_the_library_makes_of_continuations_and_separators(self):
        self.assertEqual(self.listing(b"a = b\\\n    c\nkey value\nx:y\n"),
                         "[]\na = bc\nkey = value\nx = y\n")

    def test_an_empty_file_lists_nothing(self):
        result = run(self.file(b""))
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, b"", b""))

    def test_the_sample_lists_every_section(self):
        result = run(SAMPLE)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(result.stdout.decode("ascii").count("\n["), 7)
        self.assertIn("left = caf\\u00E9\n", result.stdout.decode("ascii"))


class Json(FileTest):
    """--json parses with the json module and carries exactly the decoded text."""

    def test_the_sample_parses_and_keeps_file_order(self):
        result = run("--json", SAMPLE)
        self.assertEqual(result.returncode, 0, result.stderr)
        document = json.loads(result.stdout)
        self.assertEqual(document["file"], SAMPLE)
        names = [section["name"] for section in document["sections"]]
        self.assertEqual(names[:2], ["newer release", "same release"])
        self.assertEqual(len(names), 8)
        repeated = document["sections"][-1]["keys"]
        self.assertEqual([(entry["key"], entry["value"]) for entry in repeated],
                         [("expression", "VersionEquals"), ("left", "2.0"), ("right", "1")])

    def test_quotes_backslashes_and_control_characters(self):
        self.assertEqual(self.sections(b'q="a"\\\\b\\u0001\\u001F\\u007F\n'),
                         [("", [("q", '"a"\\b\x01\x1f\x7f')])])

    def test_characters_beyond_ascii_and_surrogates(self):
        # The library keeps the two halves of a pair as two characters; written as two \u
        # escapes, a JSON reader joins them into the character they encode. A lone half
        # stays what it is.
        self.assertEqual(self.sections(b"k=\\u00e9\\uD83D\\uDE00\nlone=\\uDC00x\n"),
                         [("", [("k", "\u00e9\U0001F600"), ("lone", "\udc00x")])])

    def test_nul_characters_inside_names(self):
        self.assertEqual(self.sections(b"[a\\u0000b]\nk\\u0000=v\n"),
                         [("a\x00b", [("k\x00", "v")])])

    def test_output_is_ascii(self):
        result = run("--json", self.file(b"k=\\u4E2D\xc3\xa9\n"))
        result.stdout.decode("ascii")
        json.loads(result.stdout)


class Get(FileTest):
    """--get: the value on success, exit status 1 for a section or key that is not there."""

    def test_found(self):
        result = run("--get", "same release", "right", SAMPLE)
        self.assertEqual((result.returncode, result.stdout), (0, b"2.0.0\n"))

    def test_absent_key_and_section(self):
        for section, key in (("same release", "middle"), ("no such section", "left"),
                             ("same release", "Right")):
            result = run("--get", section, key, SAMPLE)
            self.assertEqual((result.returncode, result.stdout), (1, b""), (section, key))

    def test_the_section_before_the_first_header_is_the_empty_name(self):
        path = self.file(b"top=1\n[s]\nk=2\n")
        self.assertEqual(run("--get", "", "top", path).stdout, b"1\n")
        self.assertEqual(run("--get", "", "k", path).returncode, 1)

    def test_empty_value_is_found(self):
        result = run("--get", "", "k", self.file(b"k=\n"))
        self.assertEqual((result.returncode, result.stdout), (0, b"\n"))

    def test_names_are_given_as_the_listing_shows_them(self):
        path = self.file(b"[caf\\u00e9]\na\\u0020b=1\n")
        result = run("--get", "caf\\u00E9", "a\\u0020b", path)
        self.assertEqual((result.returncode, result.stdout), (0, b"1\n"))

    def test_json_value(self):
        result = run("--json", "--get", "accented name", "left", SAMPLE)
        self.assertEqual(json.loads(result.stdout), "caf\u00e9")


class MissingFile(FileTest):
    """The library reads a missing file as an empty one; the tool tells them apart."""

    def assertCannotOpen(self, path, reason):
        result = run(path)
        self.assertEqual(result.returncode, 2)
        self.assertEqual(result.stdout, b"")
        self.assertEqual(result.stderr.decode(),
                         "tessarine-ini: cannot open %s: %s\n" % (path, reason))

    def test_missing_file(self):
        self.assertCannotOpen(os.path.join(self.directory.name, "missing.ini"),
                              "No such file or directory")

    def test_directory(self):
        self.assertCannotOpen(self.directory.name, "Is a directory")

    def test_unreadable_file(self):
        if os.geteuid() == 0:
            self.skipTest("root reads every file")
        path = self.file(b"k=v\n")
        os.chmod(path, 0)
        self.assertCannotOpen(path, "Permission denied")

    def test_missing_file_with_get(self):
        result = run("--get", "s", "k", os.path.join(self.directory.name, "missing.ini"))
        self.assertEqual(result.returncode, 2)


class HighBytes(FileTest):
    """Bytes above 127 give one warning that shows the \\u sequence to write instead."""

    def warning(self, content):
        result = run(self.file(content))
        self.assertEqual(result.returncode, 0)
        return result.stderr.decode("utf-8")

    def test_one_warning_naming_the_first_line_and_the_sequence(self):
        warning = self.warning(b"a=1\nb=caf\xc3\xa9\nc=\xc3\xa9\xc3\xa9\n")
        self.assertEqual(len(warning.splitlines()), 1)
        self.assertIn(":2: ", warning)
        self.assertIn("write '\u00e9' as \\u00E9", warning)

    def test_characters_above_ffff_become_a_surrogate_pair(self):
        self.assertIn("as \\uD83D\\uDE00", self.warning("k=\U0001F600\n".encode("utf-8")))

    def test_bytes_that_are_no_utf8(self):
        self.assertIn("four-digit hexadecimal code", self.warning(b"k=\xe9\n"))

    def test_no_warning_for_ascii_and_escapes(self):
        self.assertEqual(self.warning(b"k=caf\\u00e9\n"), "")


class CommandLine(unittest.TestCase):
    """Wrong command lines exit with status 2 and a hint; --help exits with 0."""

    def test_help(self):
        result = run("--help")
        self.assertEqual(result.returncode, 0)
        self.assertIn(b"--get SECTION KEY", result.stdout)

    def test_wrong_command_lines(self):
        for arguments in ((), ("--get", "s"), ("--bogus", SAMPLE), (SAMPLE, SAMPLE)):
            result = run(*arguments)
            self.assertEqual(result.returncode, 2, arguments)
            self.assertIn(b"--help", result.stderr)


if __name__ == "__main__":
    unittest.main()
