# Tests of tessarine-ini, run as a program: its options, its inputs, its exit status. The build
# passes the program, the library version, whether the build runs under the sanitizers, the
# shipped sample files and the fuzz corpus through the environment. Every test runs in a
# directory of its own, which holds the files of FILES. The reader's grammar is tested where the
# reader lives; here only what the program itself does.

import glob, json, os, pathlib, shutil, subprocess, tempfile, unittest

LISTED = glob.glob(os.getenv("TESSARINE_CORPUS") + "/*") + os.getenv("TESSARINE_SAMPLES").split(":")
INI = b"[s]\nk\\=1 = C:\\\\dir\nv = 1\n[t]\ne =\n"
FILES = {"in.ini": INI, "cafe.ini": b"k = caf\\u00e9\n", "e9.ini": b"k = \xe9\n",
         "utf8.ini": b"\xef\xbb\xbfk\\= = \\\xc3\xa8\\\\\xc3\xa9\\u0041\xc3\xa9\n# \\\xc3\xa9\n",
         # The backslash before 'é' is on the value's second row, behind its white space.
         "continued.ini": b"k = a\\\n  \\\xc3\xa9\n",
         # A character among the digits of a \u sequence, whole or cut short by the end of its
         # text, or behind one with a backslash among them: its escape would change how they read.
         "digit.ini": b"[\\u0# \\\xc3\xa9\n", "among.ini": b"k = \\u00\xc3\xa9\n",
         "short.ini": b"a\nk = \\u0\xc3\xa9\n",
         "emoji.ini": "a\nk = \U0001F600\n".encode(), "overlong.ini": b"k = \xe0\x80\xaf\n",
         # Every character that the listing escapes, at every place where it does.
         "tricky.ini": b"a\\=b\\:c\\u0020d = \\u0020e\\u0020\n\\#h = \"q\" \n\\!x = 1\n\\;s = 2\n"
                       b"\\[b = [\n[sec\\u005Dtion]\nempty =\nback = C:\\\\\n[ pad ]\nc = a # b ;c\n"}


class ToolTest(unittest.TestCase):
    def setUp(self):
        self.directory = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.directory)
        for name, content in FILES.items():
            (self.directory / name).write_bytes(content)

    def run_tool(self, shell, *arguments):
        # A bash command line that finds the program in $T; the C locale unless it sets another.
        environment = dict(os.environ, T=os.environ["TESSARINE_INI"], LC_ALL="C")
        return subprocess.run(["bash", "-c", shell, "bash", *arguments], capture_output=True,
                              timeout=60, cwd=self.directory, env=environment)

    def assertRun(self, result, status, stdout, error=b""):
        self.assertEqual(result.returncode, status, result.stderr)
        self.assertIn(stdout, (None, result.stdout), result.stdout)
        self.assertTrue(error in result.stderr if error else not result.stderr, result.stderr)


class CommandLine(ToolTest):
    # Each option and each refusal, each kind of input (read once), each exit status.

    def test_runs(self):
        rows = [  # name, command line, status, standard output (None: unchecked), error if any
            ("-h", '"$T" -h', 0, None),
            ("--version", '"$T" --version', 0,
             b"tessarine-ini %s\n" % os.environb[b"TESSARINE_VERSION"]),
            ("listing", '"$T" in.ini', 0, b"[s]\nk\\=1 = C:\\\\dir\nv = 1\n\n[t]\ne =\n"),
            ("--get, as the file writes it", r'"$T" --get s "k\=1" in.ini', 0, b"C:\\\\dir\n"),
            ("--get --json", r'"$T" --json --get s "k\=1" in.ini', 0, b'"C:\\\\dir"\n'),
            ("--get finds nothing", '"$T" --get s x in.ini', 1, b""),
            ("--raw under C", '"$T" --get "" k --raw cafe.ini', 1, b"", b"cannot write"),
            ("--raw, UTF-8", 'LC_ALL=C.UTF-8 "$T" --get "" k --raw cafe.ini', 0, b"caf\xc3\xa9\n"),
            ("--json above U+10FFFF", '"$T" --json e9.ini', 0, b'{"file": "e9.ini", "sections": [\n'
             b'  {"name": "", "keys": [\n    {"key": "k", "value": "\\uFFFD"}]}]}\n'),
            ("--escape", '"$T" --escape utf8.ini', 0,
             b"k\\= = \\u00E8\\\\\\u00E9\\u0041\\u00E9\n# \\\\u00E9\n"),
            ("--escape, a continued value", '"$T" --escape continued.ini', 0,
             b"k = a\\\n  \\u00E9\n"),
            *[("--escape beside " + name, '"$T" --escape %s.ini' % name, 1, b"",
               b"%s.ini:%s: '\xc3\xa9' shares its text with a \\u sequence" % (name.encode(), place))
              for name, place in [("digit", b"1:8"), ("among", b"1:9"), ("short", b"2:8")]],
            ("--escape above U+FFFF", '"$T" --escape emoji.ini', 1, b"", b"emoji.ini:2:5: '"),
            ("--escape no UTF-8", '"$T" --escape overlong.ini', 1, b"", b"overlong.ini:1:5: "),
            ("standard input as -", 'cat in.ini | "$T" --get s v -', 0, b"1\n"),
            ("/dev/stdin", 'cat in.ini | "$T" --get s v /dev/stdin', 0, b"1\n"),
            ("process substitution", '"$T" --get s v <(cat in.ini)', 0, b"1\n"),
            ("late FIFO", 'mkfifo f; (sleep 1; cat in.ini >f) & "$T" --get s v f', 0, b"1\n"),
            ("no file", '"$T"', 2, b"", b"no file given\nTry 'tessarine-ini --help'"),
            ("option after the file", '"$T" in.ini --json', 2, b"", b": one file only"),
            ("unknown option", '"$T" --bogus in.ini', 2, b"", b": unknown option --bogus\n"),
            ("unknown letter", '"$T" -x in.ini', 2, b"", b": unknown option -x\n"),
            ("argument to --json", '"$T" --json=1 in.ini', 2, b"", b": unknown option --json=1\n"),
            ("--get without names", '"$T" --get', 2, b"", b": --get needs a section"),
            ("--get with one name", '"$T" --get s', 2, b"", b": --get needs a section"),
            ("--get twice", '"$T" --get s k --get s k in.ini', 2, b"", b": --get is given twice"),
            ("--raw without --get", '"$T" --raw in.ini', 2, b"", b": --raw goes with"),
            ("--raw with --json", '"$T" --raw --json --get s k in.ini', 2, b"", b": --raw goes"),
            ("--check with --json", '"$T" --check --json in.ini', 2, b"", b": --check and"),
            ("--escape with --get", '"$T" --escape --get s k in.ini', 2, b"", b": --check and"),
            ("missing file", '"$T" no.ini', 2, b"", b": cannot open no.ini: No such file"),
            ("directory", '"$T" .', 2, b"", b"tessarine-ini: cannot open .: Is a directory\n"),
        ]
        for name, shell, status, stdout, *error in rows:
            with self.subTest(name):
                self.assertRun(self.run_tool(shell), status, stdout, *error)
        self.assertTrue(self.run_tool('"$T" --help').stdout.startswith(b"Usage: tessarine-ini"))

    # The sanitizers need more address space than the limit leaves.
    @unittest.skipIf(os.environ["TESSARINE_SANITIZE"] in ("ON", "1", "TRUE"), "sanitizers")
    def test_out_of_memory_ends_with_status_3_and_one_line(self):
        (self.directory / "big.ini").write_bytes(b"k = " + b"x" * 40_000_000 + b"\n")
        result = self.run_tool('ulimit -v 100000; "$T" --escape big.ini')
        self.assertEqual((result.returncode, result.stdout, result.stderr),
                         (3, b"", b"tessarine-ini: out of memory reading big.ini\n"))


class RoundTrip(ToolTest):
    # The listing is ASCII, reads back as the same content and falls into none of the traps that
    # --check knows.

    def test_json_of_a_file_equals_json_of_its_listing(self):
        for path in ["tricky.ini", *LISTED]:
            with self.subTest(os.path.basename(path)):
                result = self.run_tool('"$T" "$1" >l.ini && "$T" --check l.ini && cat l.ini', path)
                self.assertTrue(result.returncode == 0 and result.stdout.isascii(), result.stderr)
                self.assertEqual(*(json.loads(self.run_tool('"$T" --json "$1"', name).stdout)
                                   ["sections"] for name in ("l.ini", path)))


class Check(ToolTest):
    # --check names each trap of the format by line, and only the traps.

    def test_findings(self):
        rows = [  # name, file, the findings as (line, part of the message)
            ("bytes above 127", "\ufeffk = caf\u00e9\nx = \u00e8\u00e9\ny = \U0001F600\n".encode()
             + b"a = \xe9\nb = \xed\xa0\x80\nc = \xf4\x90\x80\x80\n",
             [(1, "byte order mark"), (1, "write '\u00e9' as \\u00E9"), (2, "'\u00e8' as \\u00E8"),
              (3, "above U+FFFF"), (4, "no UTF-8"), (5, "no UTF-8"), (6, "no UTF-8")]),
            ("key twice; lines counted across a continuation; lines that are no trap",
             b"# c \n! c \n; c \n[s]\r\na=1\\\n 2\nk\\=y=1\r\nk\\=z=1\nk=1\n[t]\nk=2\n[s]\nk=3\n",
             [(13, "key 'k' is given again in section 's' (first on line 9)")]),
            ("ends of values and of the file", b"k = v \t\ne = v\\ \nl = a\\\n  b \nz = v\\",
             [(1, "'k' ends in white space"), (4, "'l' ends in white space"), (5, "into the end")]),
            ("blanks inside a header's brackets, on the header's first row",
             b"[ ca ]\nk = v\n[\tt]\nk = v\n[u \\\n]\nk = v\n[ ]\nk = v\n[a b]\n[\\u0020c]\nk = v\n",
             [(1, "part of the section name ' ca '; write '[ca]'"), (3, "'\\u0009t'; write '[t]'"),
              (5, "name 'u '; write '[u]'"), (8, "write '[]'"), (10, "section 'a b' has no")]),
            ("'#' or ';' behind white space in a value, on its own row",
             b"dir = ./demoCA # where everything is kept\nurl = http://h/a#b\nc = #FF0000\nk # c\n"
             b"s = a ;b\ne = a \\# b\nm = a \\\n  # note\nn = a\\\n  b ; c\nt = a\t# x\n"
             b"p = x # y \\\nz\n",
             [(1, "'#' starts no comment behind a value: it and the rest of the line are part of "
                  "the value of 'dir'; put the comment on a line of its own (or write '\\#' if"),
              (5, "';' starts no comment"), (8, "'#'"), (10, "';'"), (11, "value of 't'"),
              (12, "value of 'p'")]),
            ("headers, control escapes", b"[s] x\n[\\t]\nk = a\\nb\\\\n\nk = \\r\n[s]\n",
             [(1, "text after ']'"), (1, "section 's' has no key lines"), (2, "write \\u0009"),
              (3, "'\\n' reads as the letter 'n'"), (4, "key 'k'"), (4, "'\\r'"), (5, "section")]),
        ]
        for name, content, traps in rows:
            with self.subTest(name):
                (self.directory / "in.ini").write_bytes(content)
                result = self.run_tool('"$T" --check in.ini')
                lines = result.stdout.decode().splitlines()
                self.assertEqual((result.returncode, [line.split(": ")[0] for line in lines]),
                                 (1, ["in.ini:%d" % number for number, _ in traps]))
                self.assertTrue(all(text in line for line, (_, text) in zip(lines, traps)), lines)
