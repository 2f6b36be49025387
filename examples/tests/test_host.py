"""Tests of tessarine-example-host, run as a program: one golden run on the shipped sample, the
plug-ins asked in turn, and a table of broken input.

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

    def plugins(self, name, *libraries):
        """A plug-in directory with links to the libraries."""
        os.mkdir(self.path(name))
        for library in libraries:
            os.symlink(library, self.path(os.path.join(name, os.path.basename(library))))
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

    def test_each_plugin_is_asked_in_turn_until_one_leases_the_name(self):
        plugins = self.plugins("two", PLUGIN, SYNONYMS)
        result = self.run_host(self.path("same.ini", "[s]\nexpression = Same\nleft = a\nright = a\n"),
                               plugins=plugins)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(result.stdout, "[s] TextEquals(left=a, right=a) = true\n")

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
             self.plugins("fake", self.path("fake.so", "not machine code\n")), 1, "",
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
