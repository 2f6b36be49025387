# Tests of tessarine-example-host, run as a program: the golden files (each *.ini against its
# .expected), the order in which the plug-ins are asked, and broken input. The build
# passes the host, the two plug-ins, the library (a shared object that is no plug-in), the shipped
# sample and the golden directory through the environment.

import glob, os, pathlib, shutil, subprocess, tempfile, unittest  # noqa: E401

HOST, PLUGIN, SYNONYMS, LIBRARY, SAMPLE, GOLDEN = (os.environ["EXAMPLE_" + name] for name in (
    "HOST", "PLUGIN", "SYNONYMS", "LIBRARY", "SAMPLE", "GOLDEN"))


class Host(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.directory)

    def path(self, name, content=None):
        path = os.path.join(self.directory, name)
        if content is not None:
            pathlib.Path(path).write_text(content, encoding="ascii")
        return path

    # A plug-in directory of links (name, library); the host loads them in name order.
    def plugins(self, name, *links):
        os.mkdir(self.path(name))
        for link, library in links:
            os.symlink(library, self.path(os.path.join(name, link)))
        return self.path(name)

    def run_host(self, file, plugins=None, *options):
        return subprocess.run([HOST, "--plugins", plugins or os.path.dirname(PLUGIN), *options,
                               file], capture_output=True, text=True, timeout=60, check=False)

    def test_golden_files_give_the_expected_results(self):
        files = [SAMPLE, *sorted(glob.glob(os.path.join(GOLDEN, "*.ini")))]
        self.assertGreater(len(files), 1, "no golden file in " + GOLDEN)
        for file in files:
            with self.subTest(os.path.basename(file)):
                run = self.run_host(file)
                expected = pathlib.Path(file).with_suffix(".expected").read_text(encoding="ascii")
                self.assertEqual((run.returncode, run.stderr, run.stdout), (0, "", expected))

    def test_advertisers_are_asked_first_then_each_plugin_in_turn(self):
        path = self.path("two.ini", "[t]\nexpression = TextEquals\nleft = a\nright = a\n"
                                    "[s]\nexpression = Same\nleft = a\nright = b\n")
        # name, the plug-in loaded first, the one loaded second, refusals on the way
        for name, first, second, refusals in [("advertiser first", SYNONYMS, PLUGIN, 0),
                                              ("in turn", PLUGIN, SYNONYMS, 1)]:
            with self.subTest(name):
                plugins = self.plugins(name, ("a.so", first), ("b.so", second))
                run = self.run_host(path, plugins, "--verbose")
                self.assertEqual((run.returncode, run.stdout),
                                 (0, "[t] TextEquals(left=a, right=a) = true\n"
                                     "[s] TextEquals(left=a, right=b) = false\n"), run.stderr)
                self.assertEqual(run.stderr.count("plug-in failure"), refusals)

    def test_broken_input_ends_with_one_line_that_names_the_culprit(self):
        good = "[good]\nexpression = TextEquals\nleft = a\nright = a\n"
        less = "[v]\nexpression = VersionLess\n"
        rows = [  # name, exit status, output, part of the message, file[, plug-in directory]
            ("missing file", 1, "", "none.ini: No such file or directory", self.path("none.ini")),
            ("directory instead of a file", 1, "", ": Is a directory", self.directory),
            ("file without key lines", 1, "", "e.ini asks for no", self.path("e.ini", "[e]\n")),
            ("no plug-in in the directory", 1, "", "no plug-in (*.so) in", SAMPLE,
             self.plugins("none")),
            ("missing plug-in directory", 1, "", "plug-in directory", SAMPLE, self.path("gone")),
            ("shared object without the factory", 1, "", "lib.so is no Tessarine plug-in", SAMPLE,
             self.plugins("lib", ("lib.so", LIBRARY))),
            ("file that is no shared object", 1, "", "cannot load plug-in", SAMPLE,
             self.plugins("fake", ("fake.so", SAMPLE))),
            ("expression that no plug-in makes", 1, "[good] TextEquals(left=a, right=a) = true\n",
             "[odd]: no plug-in leases expression 'VersionMore'; comparisons: code -10002 (no "
             "expression named 'VersionMore')",
             self.path("odd.ini", good + "[odd]\nexpression = VersionMore\n")),
            ("section without expression", 1, "", "[lonely]: names no expression",
             self.path("lonely.ini", "[lonely]\nleft = 1\n")),
            ("section without right", 1, "", "code -10100 (TextEquals: needs the properties left",
             self.path("half.ini", good.replace("right = a\n", ""))),
            ("left with a sign", 1, "", "[v]: VersionLess failed with code -101 (VersionLess: '-1'"
             " is not a version number)", self.path("sign.ini", less + "left = -1\nright = 2\n")),
            ("right with an empty part", 1, "", "'1..2' is not a version number",
             self.path("part.ini", less + "left = 1\nright = 1..2\n")),
            ("wrong command line", 2, "", "unexpected argument --bogus", "--bogus"),
        ]
        for name, status, stdout, fragment, *arguments in rows:
            with self.subTest(name):
                run = self.run_host(*arguments)
                self.assertEqual((run.returncode, run.stdout), (status, stdout), run.stderr)
                self.assertEqual(len(run.stderr.splitlines()), 1 if status == 1 else 2)
                self.assertIn(fragment, run.stderr)
