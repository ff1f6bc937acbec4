#!/usr/bin/env python3
"""Runs the tests of a build tree under valgrind's memcheck (`make valgrind`).

    scripts/run-memcheck.py <build tree> [jobs [program pattern]]

The tests are the ones CTest knows in that tree; a pattern (a regular
expression searched in the program's path) keeps only the programs it finds. Each test program runs once
under memcheck with exactly its registered test cases (a memcheck process per
program rather than per case: starting memcheck costs about a second, and a
tree has some 1500 cases). Programs run `jobs` at a time (default 2).

A program fails when one of its tests fails, or when memcheck finds an error
(invalid read or write, use of uninitialised memory, bad free, overlapping
copy ...) or a block that is definitely lost: memcheck then ends it with exit
code 97. Blocks still reachable or only possibly lost at exit are not errors.
The memcheck log of each program is kept in <build tree>/memcheck/, and the
logs of failing programs are printed. scripts/memcheck.supp holds the few
reports that tests cause on purpose, each with the test and the reason.

Processes that a test starts with execve (launched programs, tools, gencat)
are not traced; the children that death tests fork are checked, but quietly.
The tests that set up and clean up CTest fixtures (FIXTURES_SETUP and
FIXTURES_CLEANUP, such as installing the tree for the tool tests) run without
memcheck, before and after all others.

Left out, and why:
  - tests that are no test program of the library: abi.* (runs nm over
    libkiv.so), consumer.* (configures and builds separate projects with
    CMake and the compiler), the table generator checks run by python3,
    setup.* (the package list script), install.* and package.* (installing,
    uninstalling and packaging the tree) and the bash completion checks.
    No library code runs in these processes.
  - examples.*: each runs an example program or a tool through
    `cmake -P examples/compare_output.cmake`; the example programs are
    plain programs of the library's users, and the library code they reach
    is covered by the test programs.
"""
import concurrent.futures
import json
import os
import re
import shutil
import subprocess
import sys
import time

MEMCHECK_EXIT = 97
# Memcheck runs a program some 20 to 50 times slower; a program that takes
# longer than this has hung.
PROGRAM_TIMEOUT_SECONDS = 1800
VALGRIND_OPTIONS = [
    "--tool=memcheck",
    f"--error-exitcode={MEMCHECK_EXIT}",
    "--leak-check=full",
    "--show-leak-kinds=definite",
    "--errors-for-leak-kinds=definite",
    "--child-silent-after-fork=yes",
    "--num-callers=40",
    "--suppressions=" + os.path.join(os.path.dirname(os.path.abspath(__file__)), "memcheck.supp"),
]
GTEST_FILTER = re.compile(r"^--gtest_filter=(.*)$")


def load_tests(build):
    """The tests of the tree: gtest cases grouped by program, the fixture
    set-up and clean-up tests, and the names of the tests left out."""
    listing = subprocess.run(["ctest", "--show-only=json-v1"], cwd=build, check=True,
                             capture_output=True, text=True).stdout
    programs = {}
    setups, cleanups, left_out = [], [], []
    for test in json.loads(listing)["tests"]:
        command = test.get("command") or []
        properties = {p["name"]: p["value"] for p in test.get("properties", [])}
        cwd = properties.get("WORKING_DIRECTORY", build)
        env = dict(v.split("=", 1) for v in properties.get("ENVIRONMENT", []))
        if "FIXTURES_SETUP" in properties or "FIXTURES_CLEANUP" in properties:
            fixture = {"name": test["name"], "command": command, "cwd": cwd, "env": env}
            (setups if "FIXTURES_SETUP" in properties else cleanups).append(fixture)
            continue
        match = GTEST_FILTER.match(command[1]) if len(command) > 1 else None
        if match is None:
            left_out.append(test["name"])
            continue
        program = programs.setdefault(command[0], {"exe": command[0], "cases": [], "cwd": cwd,
                                                   "env": env})
        program["cases"].append(match.group(1))
    return list(programs.values()), setups, cleanups, left_out


def run_fixture(fixture):
    """Runs a fixture test without memcheck; True when it passed."""
    env = dict(os.environ)
    env.update(fixture["env"])
    result = subprocess.run(fixture["command"], cwd=fixture["cwd"], env=env,
                            capture_output=True, text=True)
    if result.returncode != 0:
        print(f"FIXTURE FAILED       {fixture['name']}\n{result.stdout}{result.stderr}")
    return result.returncode == 0


def run(program, build, logdir):
    name = os.path.relpath(program["exe"], build).replace(os.sep, ".")
    log = os.path.join(logdir, name + ".log")
    output = os.path.join(logdir, name + ".out")
    env = dict(os.environ)
    env.update(program["env"])
    command = (["valgrind"] + VALGRIND_OPTIONS + ["--log-file=" + log, program["exe"],
               "--gtest_filter=" + ":".join(program["cases"])])
    start = time.monotonic()
    with open(output, "w") as out:
        try:
            code = subprocess.run(command, cwd=program["cwd"], env=env, stdout=out,
                                  stderr=subprocess.STDOUT,
                                  timeout=PROGRAM_TIMEOUT_SECONDS).returncode
        except subprocess.TimeoutExpired:
            code = "timed out"
    return name, len(program["cases"]), code, time.monotonic() - start, log, output


def main():
    if len(sys.argv) not in (2, 3, 4):
        sys.exit(__doc__)
    build = os.path.abspath(sys.argv[1])
    if shutil.which("valgrind") is None:
        sys.exit("valgrind is not installed (scripts/install-deps.sh lists it)")
    jobs = int(sys.argv[2]) if len(sys.argv) >= 3 else 2
    programs, setups, cleanups, left_out = load_tests(build)
    if len(sys.argv) == 4:
        pattern = re.compile(sys.argv[3])
        programs = [p for p in programs if pattern.search(p["exe"])]
    logdir = os.path.join(build, "memcheck")
    os.makedirs(logdir, exist_ok=True)
    # The largest programs first, so that they do not end the run alone.
    programs.sort(key=lambda p: -len(p["cases"]))
    failed = []
    if not all([run_fixture(f) for f in setups]):
        return 1
    with concurrent.futures.ThreadPoolExecutor(max_workers=jobs) as pool:
        results = pool.map(lambda p: run(p, build, logdir), programs)
        for name, cases, code, seconds, log, output in results:
            if code == 0:
                verdict = "ok"
            elif code == MEMCHECK_EXIT:
                verdict = "MEMCHECK ERRORS"
            else:
                verdict = f"FAILED ({code if isinstance(code, str) else f'exit {code}'})"
            print(f"{verdict:<20} {name} ({cases} tests, {seconds:.0f} s)", flush=True)
            if code != 0:
                failed.append((name, log, output))
    fixtures_cleaned = all([run_fixture(f) for f in cleanups])
    for name, log, output in failed:
        for path in (output, log):
            with open(path, errors="replace") as f:
                print(f"---- {path}\n{f.read()}")
    print(f"{len(programs)} programs under memcheck, {len(failed)} failed; "
          f"left out: {', '.join(left_out) if left_out else 'none'}")
    return 1 if failed or not fixtures_cleaned else 0


if __name__ == "__main__":
    sys.exit(main())
