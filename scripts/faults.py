#!/usr/bin/env python3
"""Fault injection: does the test suite notice a one-line change to the code?

Applies, one at a time, the faults listed in scripts/faults.list (file, exact
original text, replacement, what it breaks), rebuilds incrementally, runs the
test programs and prints which faults survived. Run by hand, not in CI:

    scripts/faults.py                 # every fault of the list
    scripts/faults.py bayer.walk-fits # only the faults whose names are given
    scripts/faults.py --sanitize      # the same in an ASan + UBSan build
    scripts/faults.py --check         # only whether every fault still applies

A fault whose original text is no longer in its file (or is there more than
once) is reported as stale, never skipped silently: rewrite its entry when the
code it targets changes. A fault that breaks the build counts as caught but is
listed separately. Each file is restored from memory after its fault, also on
Ctrl-C; the build directory is left with the last fault's objects rebuilt clean
on the next run.
"""
import argparse
import os
import signal
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# Test programs by subsystem (build directory paths). A fault in a subsystem can
# change only its own programs and those of the layers over the whole library
# (the interface and the tool); the other subsystems' programs do not link it.
PROGRAMS = {
    "bayer": ["tests/bayer/tavrix_converter_test", "tests/bayer/tavrix_site_kernels_test"],
    "balance": ["tests/balance/tavrix_balance_tests"],
    "compress": ["tests/compress/tavrix_compress_tests"],
    "formats": ["tests/formats/tavrix_formats_test"],
    "cpu": ["tests/cpu/tavrix_dispatch_test"],
    "api": ["tests/api/tavrix_api_test"],
    "tools": ["tests/tools/tavrix_cli_tests"],
}
WHOLE_LIBRARY = ["api", "tools"]


def subsystem_of(path):
    if path.startswith("tools/"):
        return "tools"
    for name in PROGRAMS:
        if path.startswith("src/%s/" % name):
            return name
    return None


def programs_for(path):
    """The programs a fault in `path` can affect, its own subsystem's first."""
    own = subsystem_of(path)
    if own in (None, "cpu"):  # the dispatcher (or anything else) reaches every program
        return [p for s in PROGRAMS for p in PROGRAMS[s]]
    return PROGRAMS[own] + [p for s in WHOLE_LIBRARY if s != own for p in PROGRAMS[s]]


class Fault:
    def __init__(self, name, line):
        self.name, self.line = name, line
        self.fields = {}

    def __getattr__(self, key):
        try:
            return self.fields[key]
        except KeyError:
            raise AttributeError(key)


def parse_list(path):
    """Entries start with '== name'; then 'file:', 'from:', 'to:', 'breaks:' and
    optionally 'equivalent:' lines. Values start after one space; '#' lines are notes."""
    faults, current = [], None
    with open(path) as f:
        for number, raw in enumerate(f, 1):
            line = raw.rstrip("\n")
            if not line.strip() or line.startswith("#"):
                continue
            if line.startswith("== "):
                current = Fault(line[3:].strip(), number)
                faults.append(current)
                continue
            key, sep, value = line.partition(":")
            if current is None or not sep or key not in ("file", "from", "to", "breaks",
                                                          "equivalent"):
                sys.exit("%s:%d: cannot read this line" % (path, number))
            current.fields[key] = value[1:] if value.startswith(" ") else value
    names = set()
    for fault in faults:
        missing = [k for k in ("file", "from", "to", "breaks") if k not in fault.fields]
        if missing:
            sys.exit("%s:%d: fault %s lacks %s" % (path, fault.line, fault.name, ", ".join(missing)))
        if fault.name in names:
            sys.exit("%s:%d: fault %s is listed twice" % (path, fault.line, fault.name))
        if fault.fields["from"] == fault.fields["to"]:
            sys.exit("%s:%d: fault %s changes nothing" % (path, fault.line, fault.name))
        names.add(fault.name)
    return faults


def count_in_file(fault):
    try:
        with open(os.path.join(ROOT, fault.file)) as f:
            return f.read().count(fault.fields["from"])
    except OSError:
        return 0


def run(cmd, timeout=None, **kwargs):
    return subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=timeout, **kwargs)


def configure_and_build(build, sanitize, jobs):
    cmd = ["cmake", "-S", ROOT, "-B", build, "-DTAVRIX_BUILD_TESTS=ON",
           "-DTAVRIX_BUILD_EXAMPLES=OFF", "-DTAVRIX_BUILD_BENCHMARKS=OFF"]
    cmd += (["-DCMAKE_BUILD_TYPE=RelWithDebInfo", "-DTAVRIX_SANITIZE=ON"] if sanitize
            else ["-DCMAKE_BUILD_TYPE=Release"])
    result = run(cmd)
    if result.returncode != 0:
        sys.exit(result.stdout)
    return build_all(build, jobs)


def build_all(build, jobs, programs=None):
    """Builds everything, or only the given test programs and what they need."""
    targets = []
    for program in programs or []:
        targets += ["--target", os.path.basename(program)]
    return run(["cmake", "--build", build, "-j%d" % jobs] + targets)


def run_programs(build, programs, timeout):
    """Returns (program, reason) of the first program that fails, else None."""
    env = dict(os.environ, ASAN_OPTIONS="detect_leaks=1:abort_on_error=1",
               UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1")
    for program in programs:
        path = os.path.join(build, program)
        if not os.path.exists(path):
            continue
        try:
            result = run([path, "--gtest_fail_fast", "--gtest_brief=1"], timeout=timeout,
                         cwd=build, env=env)
        except subprocess.TimeoutExpired:
            return program, "timed out"
        if result.returncode != 0:
            failed = [l.split("]", 1)[1].strip() for l in result.stdout.splitlines()
                      if l.startswith("[  FAILED  ]") and "." in l]
            reason = failed[0].split(",")[0].split(" (")[0] if failed else (
                "exit %d" % result.returncode)
            return program, reason
    return None


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("names", nargs="*", help="run only these faults, in this order")
    parser.add_argument("--list", default=os.path.join(ROOT, "scripts", "faults.list"))
    parser.add_argument("--build-dir", help="default build-faults (build-faults-sanitize)")
    parser.add_argument("--sanitize", action="store_true", help="ASan + UBSan build")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 2)
    parser.add_argument("--check", action="store_true",
                        help="only check that every fault still applies; build nothing")
    parser.add_argument("--timeout", type=float, default=0,
                        help="seconds per test program (default: 5 x its clean time, >= 30)")
    args = parser.parse_args()

    faults = parse_list(args.list)
    if args.names:
        unknown = set(args.names) - {f.name for f in faults}
        if unknown:
            sys.exit("unknown faults: " + ", ".join(sorted(unknown)))
        by_name = {f.name: f for f in faults}
        faults = [by_name[name] for name in dict.fromkeys(args.names)]  # in the order given
    if args.check:
        stale = [f for f in faults if count_in_file(f) != 1]
        for fault in stale:
            print("stale: %s (%s)" % (fault.name, fault.file))
        print("%d faults, %d stale" % (len(faults), len(stale)))
        return 1 if stale else 0
    build = os.path.abspath(args.build_dir) if args.build_dir else os.path.join(
        ROOT, "build-faults-sanitize" if args.sanitize else "build-faults")

    print("building %s (clean)" % build, flush=True)
    result = configure_and_build(build, args.sanitize, args.jobs)
    if result.returncode != 0:
        sys.exit(result.stdout[-4000:] + "\nthe clean tree does not build")
    every = [p for s in PROGRAMS for p in PROGRAMS[s]]
    start = time.time()
    failure = run_programs(build, every, None)
    if failure:
        sys.exit("the clean tree fails %s (%s): fix that first" % failure)
    timeout = args.timeout or max(30.0, 5 * (time.time() - start))

    interrupted = []
    signal.signal(signal.SIGINT, lambda *_: interrupted.append(True))
    outcomes = {"caught": [], "build-failed": [], "survived": [], "stale": [],
                "equivalent": []}
    for index, fault in enumerate(faults, 1):
        if interrupted:
            break
        path = os.path.join(ROOT, fault.file)
        label = "[%d/%d] %s" % (index, len(faults), fault.name)
        try:
            with open(path) as f:
                original = f.read()
        except OSError:
            outcomes["stale"].append(fault)
            print("%-44s STALE: no file %s" % (label, fault.file), flush=True)
            continue
        count = original.count(fault.fields["from"])
        if count != 1:
            outcomes["stale"].append(fault)
            print("%-44s STALE: original text found %d times in %s" % (label, count, fault.file),
                  flush=True)
            continue
        began = time.time()
        try:
            with open(path, "w") as f:
                f.write(original.replace(fault.fields["from"], fault.fields["to"]))
            programs = programs_for(fault.file)
            built = build_all(build, args.jobs, programs)
            failure = None
            if built.returncode == 0:
                failure = run_programs(build, programs, timeout)
        finally:
            with open(path, "w") as f:
                f.write(original)
        took = "%.0fs" % (time.time() - began)
        if built.returncode != 0:
            outcomes["build-failed"].append(fault)
            print("%-44s caught by the build (%s)" % (label, took), flush=True)
        elif failure:
            outcomes["caught"].append(fault)
            print("%-44s caught by %s: %s (%s)" % (label, os.path.basename(failure[0]),
                                                   failure[1], took), flush=True)
        elif "equivalent" in fault.fields:
            outcomes["equivalent"].append(fault)
            print("%-44s survived, listed as equivalent (%s)" % (label, took), flush=True)
        else:
            outcomes["survived"].append(fault)
            print("%-44s SURVIVED: %s (%s)" % (label, fault.breaks, took), flush=True)

    print("\nrestoring the build", flush=True)
    build_all(build, args.jobs)
    tried = sum(len(v) for v in outcomes.values())
    killed = len(outcomes["caught"]) + len(outcomes["build-failed"])
    print("%d faults: %d caught by the tests, %d by the build, %d survived, "
          "%d survived as listed equivalents, %d stale%s" %
          (tried, len(outcomes["caught"]), len(outcomes["build-failed"]),
           len(outcomes["survived"]), len(outcomes["equivalent"]), len(outcomes["stale"]),
           " (interrupted)" if interrupted else ""))
    if killed + len(outcomes["survived"]):
        print("killed %.1f%% of the non-equivalent faults that apply" %
              (100.0 * killed / (killed + len(outcomes["survived"]))))
    for key in ("survived", "stale"):
        for fault in outcomes[key]:
            print("  %s: %s (%s)" % (key, fault.name, fault.file))
    return 1 if outcomes["survived"] or outcomes["stale"] or interrupted else 0


if __name__ == "__main__":
    sys.exit(main())
