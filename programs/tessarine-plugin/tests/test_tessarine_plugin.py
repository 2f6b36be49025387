# Tests of tessarine-plugin, run as a program. The build passes the program, the library
# version, the directory of the broken plug-ins (one per fault, built from broken_plugin.cpp),
# the example plug-in and the library itself through the environment. How a generated project
# builds against an installed package is tested with the package (tests/package).

import json, os, pathlib, re, shutil, signal, subprocess, tempfile, time, unittest

TOOL = os.environ["TESSARINE_PLUGIN"]
BROKEN = pathlib.Path(os.environ["BROKEN_PLUGINS"])
EXAMPLE = os.environ["EXAMPLE_PLUGIN"]
LINE = re.compile(rb"(ok [a-z-]+|(FAIL|skip) [a-z-]+: .+)\n")


def run(*arguments, **options):
    return subprocess.run([TOOL, *map(str, arguments)], capture_output=True, timeout=300,
                          **options)


class ToolTest(unittest.TestCase):
    def assertRun(self, result, status, stdout=None, error=b""):
        self.assertEqual(result.returncode, status, result.stderr)
        if stdout is not None:
            self.assertRegex(result.stdout, stdout)
        self.assertTrue(error in result.stderr if error else not result.stderr, result.stderr)


class CommandLine(ToolTest):
    def test_runs(self):
        text = BROKEN / "notes.txt"
        text.write_text("not a shared object\n")
        rows = [  # name, arguments, status, standard output (a pattern), error
            ("-h", ["-h"], 0, rb"^Usage: tessarine-plugin info PLUGIN\n(.*\n)*Exit status", b""),
            ("--version", ["--version"], 0,
             b"^tessarine-plugin " + os.environb[b"TESSARINE_VERSION"] + b"\n$", b""),
            ("no command", [], 2, b"^$", b"no command given"),
            ("unknown command", ["make"], 2, b"^$", b"unknown command 'make'"),
            ("unknown option", ["check", "--fast", EXAMPLE], 2, b"^$", b"unknown option --fast"),
            ("missing value", ["check", EXAMPLE, "--cycles"], 2, b"^$", b"--cycles needs a value"),
            ("bad cycles", ["check", "--cycles", "0", EXAMPLE], 2, b"^$", b"--cycles takes"),
            ("bad timeout", ["check", "--timeout", "x", EXAMPLE], 2, b"^$", b"--timeout takes"),
            ("--json with info", ["info", "--json", EXAMPLE], 2, b"^$", b"--json does not go"),
            ("-v with check", ["check", "-v", EXAMPLE], 2, b"^$", b"-v does not go with check"),
            ("two plug-ins", ["check", EXAMPLE, EXAMPLE], 2, b"^$", b"usage: tessarine-plugin check"),
            ("no shared object", ["info", text], 2, b"^$", b"cannot load " + bytes(text)),
            ("no plug-in", ["check", "no-such.so"], 2, b"^$", b"cannot load no-such.so"),
            ("library, no plug-in", ["info", os.environ["TESSARINE_LIBRARY"]], 2, b"^$",
             b"does not export tessarine_plugin_version_major"),
            ("other major version", ["info", BROKEN / "wrong_major.so"], 2, b"^$",
             b"built for Tessarine 99, this tool loads plug-ins for Tessarine 1"),
            ("info", ["info", EXAMPLE], 0, b"^name: comparisons\nversion: 1.0.0\n(.*\n){2}"
             b"built for: Tessarine 1\nexpressions:\nTextEquals\n(.*\n)*VersionAtLeast\n$", b""),
        ]
        for name, arguments, status, stdout, error in rows:
            with self.subTest(name):
                result = run(*arguments)
                self.assertRun(result, status, stdout, error)
                self.assertEqual(result.stderr.count(b"\n"), 2 if b"Try" in result.stderr
                                 else int(bool(error)), result.stderr)


class Faults(ToolTest):
    # Each broken plug-in fails with exit 1, on the check that guards against its fault (and
    # maybe on later checks that meet the same fault); the checks before it pass.
    FAULTS = [  # file, the first check that fails, what its reason says
        ("missing_entry", "load", "does not export tessarine_destroy_plugin"),
        ("wrong_major", "load", "built for Tessarine 99"),
        ("null_metadata", "metadata", "getVendor() gives null"),
        ("failing_initialize", "initialize", "initialize() returned code -101"),
        ("twice_advertised", "names", "'Probe' is advertised twice"),
        ("null_instance", "lease", "'Probe' is advertised but refused"),
        ("refused_name", "lease", "'Refused' is advertised but refused with code -10002"),
        ("crash_dispose", "dispose", "killed by signal 11 (SEGV) (the plug-in printed "
         "\"broken plug-in: crashing in onDispose"),
        ("throw_dispose", "dispose", "uncaught exception: onDispose broke"),
        ("shared_instance", "reuse", "two leases at once did not get two instances"),
        ("crash_evaluate", "evaluate", "killed by signal 11 (SEGV)"),
        ("throw_evaluate", "evaluate", "uncaught exception: evaluate broke"),
        ("hang", "evaluate", "still running after 1 s, killed"),
        ("null_result", "evaluate", "getResult() gives null after evaluate()"),
        ("lost_property", "properties", "a property set before evaluate() does not read back"),
        ("abort_unload", "unload", "killed by signal 6 (ABRT)"),
        ("leaking_evaluate", "lease-leak", "the heap grows with each lease cycle"),
        ("leaking_destroy", "plugin-leak", "the heap grows with each initialize/cleanup cycle"),
    ]

    def check(self, plugin, *options):
        return run("check", "--timeout", 1, "--cycles", 50, *options, plugin)

    def test_each_fault_fails_its_check(self):
        for plugin, failing, reason in self.FAULTS:
            with self.subTest(plugin):
                result = self.check(BROKEN / (plugin + ".so"))
                self.assertRun(result, 1)
                lines = result.stdout.splitlines(keepends=True)
                self.assertTrue(all(LINE.fullmatch(line) for line in lines), result.stdout)
                first = next(line for line in lines if not line.startswith(b"ok "))
                self.assertTrue(first.startswith(b"FAIL %s: " % failing.encode()), first)
                self.assertIn(reason.encode(), first)
                skipped = [line for line in lines if line.startswith(b"skip ")]
                self.assertEqual(len(skipped), 11 if failing == "load" else 0, result.stdout)

    def test_good_plugins_pass(self):
        for plugin in [EXAMPLE, BROKEN / "none.so"]:
            with self.subTest(plugin):
                result = self.check(plugin)
                self.assertRun(result, 0, b"^(ok [a-z-]+\n){12}$")

    def test_json(self):
        result = self.check(BROKEN / "throw_evaluate.so", "--json")
        self.assertRun(result, 1)
        checks = [json.loads(line) for line in result.stdout.splitlines()]
        self.assertEqual(len(checks), 12)
        self.assertEqual(checks[0], {"check": "load", "result": "ok"})
        self.assertEqual(checks[7], {"check": "evaluate", "result": "fail", "output": "",
                                     "reason": "uncaught exception: evaluate broke"})


class Run(ToolTest):
    def test_runs(self):
        rows = [  # name, arguments, status, standard output, error
            ("true", [EXAMPLE, "TextEquals", "left=a", "right=a"], 0, b"^true\n$", b""),
            ("false", [EXAMPLE, "VersionLess", "left=2.0", "right=1.9"], 0, b"^false\n$", b""),
            ("value with =", [EXAMPLE, "TextEquals", "left=a=b", "right=a=b"], 0, b"^true\n$", b""),
            ("evaluate fails", [EXAMPLE, "TextEquals", "left=a"], 1, b"^$",
             b"TextEquals: evaluate() returned code"),
            ("unknown name", [EXAMPLE, "Nothing"], 1, b"^$", b"cannot lease Nothing: code"),
            ("no KEY=VALUE", [EXAMPLE, "TextEquals", "left"], 2, b"^$", b"not 'left'"),
            ("events", ["-v", EXAMPLE, "TextEquals", "left=a", "right=b"], 0, b"^false\n$",
             b"tessarine-plugin: event: created TextEquals\n"),
            ("a crash", [BROKEN / "crash_evaluate.so", "Probe"], 1, b"^$",
             b"crash_evaluate.so: killed by signal 11 (SEGV)"),
        ]
        for name, arguments, status, stdout, error in rows:
            with self.subTest(name):
                self.assertRun(run("run", *arguments), status, stdout, error)

    def test_the_plugins_output_goes_to_standard_error(self):
        result = run("run", BROKEN / "crash_evaluate.so", "Probe")
        self.assertEqual(result.stdout, b"")
        self.assertIn(b"broken plug-in: crashing in evaluate\n", result.stderr)

    def test_interrupt_goes_to_the_plugin(self):
        # SIGINT sets what the interrupt signaler answers, in the child: the hanging plug-in
        # asks, stops and says so, and the tool reports how it ended instead of dying.
        process = subprocess.Popen([TOOL, "run", BROKEN / "hang.so", "Probe"],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        time.sleep(0.5)
        process.send_signal(signal.SIGINT)
        stdout, stderr = process.communicate(timeout=30)
        self.assertEqual((process.returncode, stdout), (1, b""), stderr)
        self.assertIn(b"Probe: evaluate() returned code -20001", stderr)


class New(ToolTest):
    def setUp(self):
        self.directory = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.directory)

    def test_writes_a_project(self):
        result = run("new", "my-check_x", cwd=self.directory)
        self.assertRun(result, 0, b"^my-check_x/CMakeLists.txt\nmy-check_x/MyCheckXPlugin.cpp\n$")
        cmake = (self.directory / "my-check_x/CMakeLists.txt").read_text()
        self.assertIn("tessarine_add_plugin(my-check_x MyCheckXPlugin.cpp)", cmake)
        self.assertIn("find_package(Tessarine 1.1 REQUIRED)", cmake)
        source = (self.directory / "my-check_x/MyCheckXPlugin.cpp").read_text()
        self.assertIn("TESSARINE_PLUGIN(MyCheckXPlugin);", source)
        self.assertNotIn("@", cmake + source)

    def test_refusals(self):
        (self.directory / "taken").mkdir()
        (self.directory / "taken/CMakeLists.txt").write_text("")
        rows = [  # name, arguments, error
            ("existing file", ["demo", self.directory / "taken"], b"CMakeLists.txt exists already"),
            ("bad name", ["1demo"], b"must start with a letter"),
            ("name with a slash", ["a/b"], b"must start with a letter"),
        ]
        for name, arguments, error in rows:
            with self.subTest(name):
                self.assertRun(run("new", *arguments, cwd=self.directory), 2, b"^$", error)
        self.assertEqual((self.directory / "taken/CMakeLists.txt").read_text(), "")


if __name__ == "__main__":
    unittest.main()
