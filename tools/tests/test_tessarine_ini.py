"""Tests of tessarine-ini, run as a program: its options, its inputs, its exit status.

The build passes the program, the library version, whether the build runs under the sanitizers,
the shipped sample files and the fuzz corpus through the environment. Every test runs in a
directory of its own, which holds in.ini, the input of most of them.
"""

import glob
import json
import os
import subprocess
import tempfile
import unittest

TOOL = os.environ.get("TESSARINE_INI", "")
VERSION = os.environ.get("TESSARINE_VERSION", "")
SANITIZED = os.environ.get("TESSARINE_SANITIZE", "") in ("ON", "1", "TRUE")
SAMPLES = [path for path in os.environ.get("TESSARINE_SAMPLES", "").split(":") if path]
CORPUS = glob.glob(os.path.join(os.environ.get("TESSARINE_CORPUS", ""), "*"))
INI = b"[s]\nk = v\npath = C:\\\\Program Files\n"


class ToolTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = directory.name
        self.write(INI)

    def write(self, content, name="in.ini"):
        with open(os.path.join(self.directory, name), "wb") as file:
            file.write(content)
        return name

    def run_tool(self, *arguments, shell=None, locale="C"):
        command = ["bash", "-c", shell] if shell else [TOOL, *arguments]
        environment = dict(os.environ, T=TOOL, LC_ALL=locale)
        return subprocess.run(command, capture_output=True, timeout=60, check=False,
                              cwd=self.directory, env=environment)

    def assertRun(self, result, status, stdout=None, stderr=b""):
        self.assertEqual(result.returncode, status, result.stderr)
        if stdout is not None:
            self.assertEqual(result.stdout, stdout)
        self.assertIn(stderr, result.stderr)


class CommandLine(ToolTest):
    """Each option on its own and in the combinations that make no sense."""

    def test_options(self):
        usage = b"Try 'tessarine-ini --help'"
        rows = [  # name, arguments, exit status, standard output (None: not checked), error
            ("-h", ["-h"], 0, None, b""),
            ("--help", ["--help"], 0, None, b""),
            ("--version", ["--version"], 0, b"tessarine-ini %s\n" % VERSION.encode(), b""),
            ("--get", ["--get", "s", "k", "in.ini"], 0, b"v\n", b""),
            ("--get shows file notation", ["--get", "s", "path", "in.ini"], 0,
             b"C:\\\\Program Files\n", b""),
            ("--get --raw", ["--get", "s", "path", "--raw", "in.ini"], 0,
             b"C:\\Program Files\n", b""),
            ("--get --json", ["--json", "--get", "s", "k", "in.ini"], 0, b'"v"\n', b""),
            ("--get finds nothing", ["--get", "s", "x", "in.ini"], 1, b"", b""),
            ("-- before a file named like an option", ["--", "-in.ini"], 0, None, b""),
            ("no file", [], 2, b"", usage),
            ("unknown option", ["--bogus", "in.ini"], 2, b"", b"--bogus"),
            ("unknown short option", ["-x", "in.ini"], 2, b"", b"-x"),
            ("--get with one name", ["--get", "k", "in.ini"], 2, b"", usage),
            ("--get without names", ["--get"], 2, b"", usage),
            ("--get twice", ["--get", "s", "k", "--get", "s", "k", "in.ini"], 2, b"", b"twice"),
            ("--raw without --get", ["--raw", "in.ini"], 2, b"", usage),
            ("--raw with --json", ["--raw", "--json", "--get", "s", "k", "in.ini"], 2, b"",
             usage),
            ("--check with --json", ["--check", "--json", "in.ini"], 2, b"", usage),
            ("--check with --escape", ["--check", "--escape", "in.ini"], 2, b"", usage),
            ("two files", ["in.ini", "in.ini"], 2, b"", usage),
            ("option after the file", ["in.ini", "--json"], 2, b"", usage),
            ("missing file", ["none.ini"], 2, b"",
             b"tessarine-ini: cannot open none.ini: No such file or directory\n"),
            ("directory", ["."], 2, b"", b"tessarine-ini: cannot open .: Is a directory\n"),
        ]
        self.write(INI, "-in.ini")
        for name, arguments, status, stdout, stderr in rows:
            with self.subTest(name):
                self.assertRun(self.run_tool(*arguments), status, stdout, stderr)
        self.assertIn(b"usage: tessarine-ini", self.run_tool("-h").stdout)

    def test_raw_text_the_locale_cannot_write(self):
        self.write(b"k = caf\\u00e9\n")
        self.assertRun(self.run_tool("--get", "", "k", "--raw", "in.ini"), 1, b"", b"locale")
        self.assertRun(self.run_tool("--get", "", "k", "--raw", "in.ini", locale="C.UTF-8"), 0,
                       "caf\u00e9\n".encode())

    def test_json_writes_values_beyond_unicode_as_replacement_characters(self):
        # Under the C locale a byte above 127 widens to a value that is no character at all.
        self.write(b"k = \xe9\n")
        document = json.loads(self.run_tool("--json", "in.ini").stdout)
        self.assertEqual(document["sections"][0]["keys"][0]["value"], "\ufffd")


class Inputs(ToolTest):
    """Every kind of input is read exactly once, and nothing waits on it twice."""

    def test_inputs_that_can_be_read_only_once(self):
        text = r"printf '[s]\nk = v\n'"
        rows = [
            ("standard input as -", text + ' | "$T" --get s k -'),
            ("/dev/stdin", text + ' | "$T" --get s k /dev/stdin'),
            ("process substitution", '"$T" --get s k <(%s)' % text),
            ("FIFO whose writer starts a second late",
             'mkfifo fifo; (sleep 1; %s >fifo) & "$T" --get s k fifo' % text),
        ]
        for name, shell in rows:
            with self.subTest(name):
                self.assertRun(self.run_tool(shell=shell), 0, b"v\n")

    @unittest.skipIf(SANITIZED, "the sanitizers need more address space than the limit allows")
    def test_out_of_memory_ends_with_status_3_and_a_message(self):
        with open(os.path.join(self.directory, "big.ini"), "wb") as file:
            file.write(b"k = " + b"x" * 40_000_000 + b"\n")
        for option in ("--json", "--check", "--escape"):
            with self.subTest(option):
                result = self.run_tool(shell='ulimit -v 100000; "$T" %s big.ini' % option)
                self.assertRun(result, 3, None, b"tessarine-ini: out of memory reading big.ini\n")


class RoundTrip(ToolTest):
    """The listing is a properties file that reads back as the same content, and falls into none
    of the traps that --check knows."""

    TRICKY = (b"a\\=b\\:c\\u0020d = v\n\\#hash = \\!x\n\\;semi\\[ = [\n= no key\n"
              b"[sec\\u005Dtion]\nk = \\u0020 both ends \\u0009\nback = C:\\\\dir\\\\\n"
              b"nul\\u0000 = \\u00e9\\uD83D\\uDE00\\uFFFF\nempty =\n[]\nu = \\\\u0041\nx = y\\ \nq = \"a\" \n")

    def sections(self, name):
        result = self.run_tool("--json", name)
        self.assertRun(result, 0)
        return json.loads(result.stdout)["sections"]

    def test_json_of_a_file_equals_json_of_its_listing(self):
        self.write(self.TRICKY, "tricky.ini")
        for path in [os.path.join(self.directory, "tricky.ini")] + SAMPLES + CORPUS:
            with self.subTest(os.path.basename(path)):
                listing = self.run_tool(path)
                self.assertRun(listing, 0)
                listing.stdout.decode("ascii")
                self.write(listing.stdout, "listing.ini")
                self.assertEqual(self.sections("listing.ini"), self.sections(path))
                self.assertRun(self.run_tool("--check", "listing.ini"), 0, b"")
        self.assertGreater(len(CORPUS), 0)


class Check(ToolTest):
    """--check names each trap of the format by line, and only the traps."""

    def test_findings(self):
        rows = [  # name, file, the findings as (line, part of the message)
            ("byte order mark", b"\xef\xbb\xbf[s]\nk = v\n", [(1, "byte order mark")]),
            ("UTF-8 text", "k = caf\u00e9\nx = \u00e8\u00e9\n".encode(),
             [(1, "write '\u00e9' as \\u00E9"), (2, "write '\u00e8' as \\u00E8")]),
            ("above U+FFFF", "k = \U0001F600\n".encode(), [(1, "above U+FFFF")]),
            ("bytes that are no UTF-8", b"k = \xe9\n", [(1, "no UTF-8")]),
            ("key twice", b"[s]\nk = 1\n[t]\nk = 2\n[s]\nk = 3\n",
             [(6, "key 'k' is given again in section 's' (first on line 2)")]),
            ("lines counted across a continuation", b"a = 1\\\n  2\nk = x\nk = y\n",
             [(4, "first on line 3")]),
            ("text after ]", b"[s] x = 1\nk = v\n", [(1, "text after ']'")]),
            ("trailing white space", b"k = v \t\nescaped = v\\ \nlong = a\\\n  b \n",
             [(1, "value of 'k' ends in white space"), (4, "value of 'long'")]),
            ("control escapes", b"k = a\\nb\\\\n\n[\\t]\nx = 1\n",
             [(1, "'\\n' reads as the letter 'n'"), (2, "write \\u0009")]),
            ("header without keys", b"[s]\n[t]\nk = v\nk = w\n[s]\n",
             [(1, "section 's' has no key lines"), (4, "key 'k'"), (5, "section 's'")]),
            ("continuation at the end", b"k = v\\", [(1, "continues it into the end")]),
            ("nothing to find", b"# c\n[s]\na\\u0020b = c\\u00e9\n", []),
        ]
        for name, content, findings in rows:
            with self.subTest(name):
                self.write(content)
                result = self.run_tool("--check", "in.ini")
                self.assertRun(result, 1 if findings else 0)
                lines = result.stdout.decode().splitlines()
                self.assertEqual(len(lines), len(findings), lines)
                for line, (number, fragment) in zip(lines, findings):
                    self.assertTrue(line.startswith("in.ini:%d: " % number), line)
                    self.assertIn(fragment, line)


class Escape(ToolTest):
    """--escape turns UTF-8 into the format's escapes, or writes nothing."""

    def test_conversions(self):
        rows = [  # name, file, exit status, output, error
            ("ASCII stays", b"a = b\\=c # \\\\u0041\r\n", 0, b"a = b\\=c # \\\\u0041\r\n", b""),
            ("UTF-8 and a byte order mark", b"\xef\xbb\xbf[caf\xc3\xa9]\nk = \\\xc3\xa8\n", 0,
             b"[caf\\u00E9]\nk = \\u00E8\n", b""),
            ("above U+FFFF", "a\nk = \U0001F600\n".encode(), 1, b"", b"in.ini:2:5: "),
            ("bytes that are no UTF-8", b"k = \xe0\x80\xaf\n", 1, b"", b"in.ini:1:5: "),
        ]
        for name, content, status, stdout, stderr in rows:
            with self.subTest(name):
                self.write(content)
                self.assertRun(self.run_tool("--escape", "in.ini"), status, stdout, stderr)

    def test_escaped_text_reads_back_as_written(self):
        self.write(b"\xef\xbb\xbf[s]\nk = caf\xc3\xa9\n")
        self.write(self.run_tool("--escape", "in.ini").stdout, "escaped.ini")
        result = self.run_tool("--get", "s", "k", "--raw", "escaped.ini", locale="C.UTF-8")
        self.assertRun(result, 0, "caf\u00e9\n".encode())


if __name__ == "__main__":
    unittest.main()
