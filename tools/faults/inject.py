#!/usr/bin/env python3
"""Injects single faults into the library, one at a time, and tells which ones the tests catch.

usage: tools/faults/inject.py [-h] [--list] [--check] [--sanitize] [--faults FILE] [--work DIR]
                              [NAME ...]

Each fault replaces one snippet of a source with another (a flipped comparison, a dropped
statement, ...). The tracked files are copied into a work directory, built once (Debug, or under
AddressSanitizer with --sanitize), then for each fault: the fault goes in, the build is brought
up to date, CTest runs every test but the install, memcheck and snippet ones, and the fault
comes out. NAMEs pick faults by name; the default is all of FILE (tools/faults/library.py).
--check only checks that each snippet stands exactly once in its source, as the test build does.

Exit status: 0 when every fault was caught (or, with --check, every snippet is found once), 1
when one was missed (or a snippet is missing or repeated), 2 on a bad fault or a failing build
or test run without any fault.
"""

import argparse
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time
import xml.etree.ElementTree

TOP = pathlib.Path(__file__).resolve().parents[2]


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("names", nargs="*", metavar="NAME", help="faults to inject (default: all)")
    parser.add_argument("--list", action="store_true", help="list the faults and stop")
    parser.add_argument("--check", action="store_true",
                        help="check that each snippet stands once in its source, and stop")
    parser.add_argument("--sanitize", action="store_true", help="build under the sanitizers")
    parser.add_argument("--faults", default=TOP / "tools/faults/library.py", type=pathlib.Path)
    parser.add_argument("--work", default=TOP / "build/faults", type=pathlib.Path)
    return parser.parse_args()


def load_faults(path, names):
    scope = {}
    exec(compile(path.read_text(), str(path), "exec"), scope)
    faults = [fault for fault in scope["FAULTS"] if not names or fault[0] in names]
    unknown = set(names) - {fault[0] for fault in faults}
    if unknown:
        sys.exit("inject.py: no fault named " + ", ".join(sorted(unknown)))
    return faults


def run(command, **options):
    return subprocess.run(command, capture_output=True, text=True, **options)


def report_misplaced(faults, tree):
    """Names each fault whose snippet is missing from its source or stands there more than
    once; true when there was one. Such a fault would test nothing, or the wrong place."""
    misplaced = False
    for name, path, old, _ in faults:
        count = (tree / path).read_text().count(old)
        if count != 1:
            print("inject.py: %s: the snippet is in %s %d times" % (name, path, count),
                  file=sys.stderr)
            misplaced = True
    return misplaced


def prepare(work, sanitize):
    tree = work / "tree"
    shutil.rmtree(tree, ignore_errors=True)
    tree.mkdir(parents=True)
    # The tracked files as they stand in the working tree, each dated now: the copy builds anew.
    subprocess.run("git ls-files -z | tar --null -T - -cf - | tar -xmf - -C '%s'" % tree,
                   shell=True, cwd=TOP, check=True)
    build = work / ("asan" if sanitize else "debug")
    # No fault lives in the manual pages: the copy builds without them, and without help2man.
    configured = run(["cmake", "-S", tree, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                      "-DTESSARINE_BUILD_TESTS=ON", "-DTESSARINE_BUILD_EXAMPLES=ON",
                      "-DTESSARINE_BUILD_TOOLS=ON", "-DTESSARINE_MAN_PAGES=OFF",
                      "-DTESSARINE_SANITIZE=" + ("ON" if sanitize else "OFF")])
    if configured.returncode != 0:
        print("inject.py: configuring the copy failed:\n" + configured.stderr.strip(),
              file=sys.stderr)
        sys.exit(2)
    return tree, build


def run_tests(build, junit):
    """Runs CTest in a process group of its own, which goes down with it: a fault that makes a
    program loop forever outlives the test that timed out on it."""
    # The snippet check fails for every fault that is in: it stays out, with the install and
    # memcheck tests and the test that installs the packages on this machine.
    tests = subprocess.Popen(["ctest", "--test-dir", build, "-E", "package|valgrind|faults",
                              "-LE", "system-install", "-j2", "--timeout", "60",
                              "--output-junit", junit],
                             stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                             start_new_session=True)
    try:
        tests.wait()
    finally:
        try:
            os.killpg(tests.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass


def failing_tests(build):
    """Builds, runs the tests and gives the names of those that failed (None: the build did)."""
    if run(["cmake", "--build", build, "-j2"]).returncode != 0:
        return None
    junit = build / "faults-junit.xml"
    junit.unlink(missing_ok=True)
    run_tests(build, junit)
    # CTest marks each test case run (passed), fail (failed or timed out), notrun (skipped, as
    # the allocation sweep is under the sanitizers) or disabled.
    return [case.get("name") for case in xml.etree.ElementTree.parse(junit).iter("testcase")
            if case.get("status") == "fail"]


def main():
    arguments = parse_arguments()
    faults = load_faults(arguments.faults, arguments.names)
    if arguments.list:
        print("\n".join("%s\t%s" % (name, path) for name, path, _, _ in faults))
        return 0
    if arguments.check:
        return 1 if report_misplaced(faults, TOP) else 0
    tree, build = prepare(arguments.work, arguments.sanitize)
    if report_misplaced(faults, tree):
        return 2
    if failing_tests(build) != []:
        print("inject.py: the build or its tests fail without any fault", file=sys.stderr)
        return 2
    missed = unbuilt = 0
    for name, path, old, new in faults:
        source = tree / path
        text = source.read_text()
        started = time.monotonic()
        source.write_text(text.replace(old, new))
        try:
            failed = failing_tests(build)
        finally:
            source.write_text(text)
        verdict = "does not build" if failed is None else "caught" if failed else "MISSED"
        missed += failed == []
        unbuilt += failed is None
        print("%-40s %-14s %3.0fs  %s" % (name, verdict, time.monotonic() - started,
                                           ", ".join((failed or [])[:3])), flush=True)
    print("%d of %d faults caught, %d missed, %d do not build"
          % (len(faults) - missed - unbuilt, len(faults), missed, unbuilt))
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
