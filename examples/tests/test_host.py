"""Tests of tessarine-example-host, run as a program: one golden run on the shipped sample, the
order in which the plug-ins are asked, and a table of broken input.

The build passes the host, the comparison plug-in, a second plug-in, a directory with a shared
object that is no plug-in, and the examples' source directory through the environment.
"""

import os
import subprocess
import tempfile
import unittest

HOST = os.environ.get("EXAMPLE_HOST", "")
PLUGIN = os.environ.get("EXAMPLE_PLUGIN", "")
SYNONYMS = os.environ.get("EXAMPLE_SYNONYMS", "")
NO_FACTORY = os.environ.get("EXAMPLE_NO_FACTORY", "")
SAMPLE = os.path.join(os.environ.get("EXAMPLE_SOURCES", ""), "sample.ini")


class Host(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = directory.name

    def path(self, name, content=None):
        path = os.path.join(self.directory, name)
        if content is not None:
            with open(path, "w", encoding="ascii") as file:
                file.write(content)
        return path

    def plugins(self, name, *links):
        """A plug-in directory of links (name, library); the host loads them in name order."""
        os.mkdir(self.path(name))
        for link, library in links:
            os.symlink(library, self.path(os.path.join(name, link)))
        return self.path(name)

    def run_host(self, *arguments, plugins=None):
        plugins = plugins or os.path.dirname(PLUGIN)
        return subprocess.run([HOST, "--plugins", plugins, *arguments], capture_output=True,
                              text=True, timeout=60, check=False)

    def test_sample_gives_the_expected_results(self):
        result = self.run_host(SAMPLE)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        with open(os.path.splitext(SAMPLE)[0] + ".expected", encoding="ascii") as expected:
            self.assertEqual(result.stdout, expected.read())

    def test_advertisers_are_asked_first_then_each_plugin_in_turn(self):
        path = self.path("two.ini", "[t]\nexpression = TextEquals\nleft = a\nright = a\n"
                                    "[s]\nexpression = Same\nleft = a\nright = b\n")
        rows = [  # name, plug-in directory, refusals on the way
            ("advertiser first", self.plugins("ad", ("a.so", SYNONYMS), ("b.so", PLUGIN)), 0),
            ("in turn", self.plugins("turn", ("a.so", PLUGIN), ("b.so", SYNONYMS)), 1),
        ]
        for name, plugins, refusals in rows:
            with self.subTest(name):
                result = self.run_host("--verbose", path, plugins=plugins)
                self.assertEqual(result.returncode, 0, result.stderr)
                self.assertEqual(result.stdout, "[t] TextEquals(left=a, right=a) = true\n"
                                                "[s] TextEquals(left=a, right=b) = false\n")
                self.assertEqual(result.stderr.count("plug-in failure"), refusals)

    def test_broken_input_ends_with_one_line_that_names_the_culprit(self):
        good = "[good]\nexpression = TextEquals\nleft = a\nright = a\n"
        rows = [  # name, file, plug-in directory, exit status, output, parts of the message
            ("missing file", self.path("none.ini"), None, 1, "",
             ["cannot open", "none.ini: No such file or directory"]),
            ("directory instead of a file", self.directory, None, 1, "", ["Is a directory"]),
            ("file without key lines", self.path("empty.ini", "# comment\n[empty]\n"), None, 1,
             "", ["empty.ini", "no key line"]),
            ("no plug-in in the directory", SAMPLE, self.plugins("none"), 1, "",
             ["no plug-in (*.so) in"]),
            ("missing plug-in directory", SAMPLE, self.path("gone"), 1, "",
             ["cannot open plug-in directory", "gone"]),
            ("shared object without the factory", SAMPLE, NO_FACTORY, 1, "",
             ["not-a-plugin.so", "tessarine_example_create_plugin"]),
            ("file that is no shared object", SAMPLE,
             self.plugins("fake", ("fake.so", self.path("fake.so", "not machine code\n"))), 1, "",
             ["cannot load plug-in", "fake.so"]),
            ("expression that no plug-in makes",
             self.path("odd.ini", good + "[odd]\nexpression = VersionMore\n"), None, 1,
             "[good] TextEquals(left=a, right=a) = true\n",
             ["[odd]", "no plug-in leases expression 'VersionMore'", "comparisons: code -10002",
              "no expression named 'VersionMore'"]),
            ("section without expression", self.path("lonely.ini", "[lonely]\nleft = 1\n"), None,
             1, "", ["[lonely]", "names no expression"]),
            ("input that is no version number",
             self.path("v.ini", "[v]\nexpression = VersionLess\nleft = 1.x\nright = 2\n"), None,
             1, "", ["[v]", "VersionLess failed with code -101", "'1.x' is not a version number"]),
            ("wrong command line", "--bogus", None, 2, "", ["--bogus"]),
        ]
        for name, file, plugins, status, stdout, fragments in rows:
            with self.subTest(name):
                result = self.run_host(file, plugins=plugins)
                self.assertEqual((result.returncode, result.stdout), (status, stdout),
                                 result.stderr)
                self.assertEqual(len(result.stderr.splitlines()), 1 if status == 1 else 2)
                for fragment in fragments:
                    self.assertIn(fragment, result.stderr)


if __name__ == "__main__":
    unittest.main()
