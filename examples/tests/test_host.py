"""End-to-end tests of tessarine-example-host.

The build passes the host, the plug-in directory, a directory with a shared object that is no
plug-in, and the examples' source directory through the environment (see CMakeLists.txt).
"""

import os
import subprocess
import tempfile
import textwrap
import unittest

HOST = os.environ.get("EXAMPLE_HOST", "")
PLUGINS = os.environ.get("EXAMPLE_PLUGINS", "")
NO_FACTORY = os.environ.get("EXAMPLE_NO_FACTORY", "")
SOURCES = os.environ.get("EXAMPLE_SOURCES", "")


def run_host(*arguments, plugins=PLUGINS):
    return subprocess.run([HOST, "--plugins", plugins, *arguments], capture_output=True,
                          text=True, timeout=60, check=False)


class Sample(unittest.TestCase):
    """The shipped sample runs through every kind of comparison and every syntax it shows."""

    def test_prints_the_expected_result_of_every_section(self):
        result = run_host(os.path.join(SOURCES, "sample.ini"))
        self.assertEqual(result.returncode, 0, result.stderr)
        with open(os.path.join(SOURCES, "sample.expected"), encoding="ascii") as expected:
            self.assertEqual(result.stdout, expected.read())
        self.assertEqual(result.stderr, "")

    def test_verbose_shows_the_lease_cycle_of_every_expression(self):
        result = run_host("--verbose", os.path.join(SOURCES, "sample.ini"))
        self.assertEqual(result.returncode, 0, result.stderr)
        created = result.stderr.count("plug-in event: created ")
        destroyed = result.stderr.count("plug-in event: destroyed ")
        # Eight sections lease seven distinct expressions: VersionEquals is leased twice, and
        # the second lease reuses the instance that the first one gave back.
        self.assertEqual(created, 7)
        self.assertEqual(destroyed, created)
        self.assertIn("plug-in event: cleanup", result.stderr)

    def test_an_instance_given_back_serves_the_next_lease_without_its_old_properties(self):
        with tempfile.TemporaryDirectory() as directory:
            path = write(directory, """\
                [first]
                expression = VersionEquals
                left = 1
                right = 1
                [second]
                expression = VersionEquals
                left = 2
                """)
            result = run_host("--verbose", path)
        self.assertEqual(result.stderr.count("plug-in event: created "), 1)
        self.assertIn("[first] VersionEquals(left=1, right=1) = true", result.stdout)
        # The second lease must not see the first lease's `right`.
        self.assertEqual(result.returncode, 1)
        self.assertIn("[second]: VersionEquals failed with code -10100", result.stderr)


def write(directory, text, name="input.ini", encoding="ascii"):
    path = os.path.join(directory, name)
    with open(path, "w", encoding=encoding) as file:
        file.write(textwrap.dedent(text))
    return path


class BrokenInput(unittest.TestCase):
    """Bad input gives one line on the error stream that names the culprit, and exit status 1."""

    def assertRefused(self, result, *fragments, status=1):
        self.assertGreaterEqual(result.returncode, 0, "killed by a signal: " + result.stderr)
        self.assertEqual(result.returncode, status, result.stderr)
        lines = result.stderr.splitlines()
        self.assertEqual(len(lines), 1, result.stderr)
        for fragment in fragments:
            self.assertIn(fragment, lines[0])

    def test_missing_file(self):
        with tempfile.TemporaryDirectory() as directory:
            missing = os.path.join(directory, "missing.ini")
            self.assertRefused(run_host(missing), "cannot open " + missing,
                               "No such file or directory")

    def test_directory_instead_of_a_file(self):
        with tempfile.TemporaryDirectory() as directory:
            self.assertRefused(run_host(directory), "cannot open " + directory, "directory")

    def test_file_without_key_lines(self):
        with tempfile.TemporaryDirectory() as directory:
            path = write(directory, "# only a comment\n[empty]\n")
            self.assertRefused(run_host(path), path, "no key line")

    def test_directory_without_plugins(self):
        with tempfile.TemporaryDirectory() as directory:
            self.assertRefused(run_host(os.path.join(SOURCES, "sample.ini"), plugins=directory),
                               "no plug-in (*.so) in " + directory)

    def test_missing_plugin_directory(self):
        with tempfile.TemporaryDirectory() as directory:
            missing = os.path.join(directory, "none")
            self.assertRefused(run_host(os.path.join(SOURCES, "sample.ini"), plugins=missing),
                               "cannot open plug-in directory " + missing)

    def test_shared_object_without_the_factory(self):
        self.assertRefused(run_host(os.path.join(SOURCES, "sample.ini"), plugins=NO_FACTORY),
                           "not-a-plugin.so", "tessarine_example_create_plugin")

    def test_file_that_is_no_shared_object(self):
        with tempfile.TemporaryDirectory() as directory:
            write(directory, "not machine code\n", name="fake.so")
            self.assertRefused(run_host(os.path.join(SOURCES, "sample.ini"), plugins=directory),
                               "cannot load plug-in", "fake.so")

    def test_expression_the_factory_refuses(self):
        with tempfile.TemporaryDirectory() as directory:
            path = write(directory, "[odd]\nexpression = VersionMore\nleft = 1\nright = 2\n")
            self.assertRefused(run_host(path), "[odd]", "refused expression 'VersionMore'",
                               "-10002", "no expression named 'VersionMore'")

    def test_section_without_expression(self):
        with tempfile.TemporaryDirectory() as directory:
            path = write(directory, "[lonely]\nleft = 1\n")
            self.assertRefused(run_host(path), "[lonely]", "names no expression")

    def test_input_that_is_no_version_number(self):
        with tempfile.TemporaryDirectory() as directory:
            path = write(directory, "[v]\nexpression = VersionLess\nleft = 1.x\nright = 2\n")
            self.assertRefused(run_host(path), "[v]", "VersionLess failed with code -101",
                               "'1.x' is not a version number")

    def test_missing_input(self):
        with tempfile.TemporaryDirectory() as directory:
            path = write(directory, "[t]\nexpression = TextEquals\nleft = x\n")
            self.assertRefused(run_host(path), "[t]", "TextEquals failed with code -10100")

    def test_results_before_the_fault_are_kept(self):
        with tempfile.TemporaryDirectory() as directory:
            path = write(directory, """\
                [good]
                expression = TextEquals
                left = a
                right = a
                [bad]
                expression = Nothing
                """)
            result = run_host(path)
        self.assertRefused(result, "[bad]")
        self.assertEqual(result.stdout, "[good] TextEquals(left=a, right=a) = true\n")

    def test_wrong_command_line(self):
        result = subprocess.run([HOST, "--no-such-option"], capture_output=True, text=True,
                                timeout=60, check=False)
        self.assertEqual(result.returncode, 2)
        self.assertIn("--no-such-option", result.stderr)


if __name__ == "__main__":
    unittest.main()
