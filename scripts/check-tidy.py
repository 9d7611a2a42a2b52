#!/usr/bin/env python3
"""clang-tidy over the project's own sources, with the build's compile commands.

Usage: check-tidy.py [--with-app] [--all] BUILD_DIR

By default it runs the checks that find faults (bugprone, concurrency,
performance, misc and the three core-guideline checks of .clang-tidy); --all
adds the style families (modernize, readability) of .clang-tidy as well.

A file whose preprocessed text, compile flags, checks and clang-tidy version
are those of an earlier clean run is not checked again: the key of each clean
run is kept in ${XDG_CACHE_HOME:-~/.cache}/vorda-tools/tidy. A file with
findings is never remembered, so it is checked again until it is clean.

The desktop application's files (src/app, tests/app) parse the Qt headers,
about 40 s of processor time each; they are checked with --with-app.
"""
import argparse
import concurrent.futures
import hashlib
import json
import os
import shlex
import subprocess
import sys

FAULT_CHECKS = ",".join([
    "-*",
    "bugprone-*",
    "-bugprone-easily-swappable-parameters",
    "-bugprone-exception-escape",
    "concurrency-*",
    "-concurrency-mt-unsafe",
    "misc-*",
    "-misc-non-private-member-variables-in-classes",
    "-misc-no-recursion",
    "performance-*",
    "cppcoreguidelines-pro-type-member-init",
    "cppcoreguidelines-slicing",
    "cppcoreguidelines-virtual-class-destructor",
])


def sources(root, with_app):
    patterns = ["src/*.cpp", "tests/*.cpp"]
    if not with_app:
        patterns += [":!src/app/*", ":!tests/app/*"]
    listed = subprocess.run(
        ["git", "ls-files", "--cached", "--others", "--exclude-standard", "--", *patterns],
        cwd=root, check=True, capture_output=True, text=True).stdout.split()
    return [os.path.join(root, path) for path in listed]


def preprocessed(entry):
    """The translation unit as the compiler sees it, line markers left out."""
    arguments = entry.get("arguments") or shlex.split(entry["command"])
    if os.path.basename(arguments[0]) == "ccache":
        arguments = arguments[1:]
    kept, skip = [], False
    for argument in arguments:
        if skip:
            skip = False
            continue
        if argument in ("-o", "-MF", "-MT", "-MQ"):
            skip = True
            continue
        if argument in ("-c", "-MD", "-MMD"):
            continue
        kept.append(argument)
    result = subprocess.run(kept + ["-E", "-P"], cwd=entry["directory"], capture_output=True)
    return result.stdout if result.returncode == 0 else None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--with-app", action="store_true")
    parser.add_argument("--all", action="store_true")
    parser.add_argument("build", nargs="?", default="build/default")
    options = parser.parse_args()

    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    build = os.path.join(root, options.build)
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as stream:
        entries = {os.path.realpath(e["file"]): e for e in json.load(stream)}
    cache = os.path.join(os.environ.get("XDG_CACHE_HOME") or os.path.expanduser("~/.cache"),
                         "vorda-tools", "tidy")
    os.makedirs(cache, exist_ok=True)

    version = subprocess.run(["clang-tidy", "--version"], capture_output=True).stdout
    configs = b"".join(
        open(os.path.join(folder, ".clang-tidy"), "rb").read()
        for folder in (root, os.path.join(root, "src/app"), os.path.join(root, "tests/app"))
        if os.path.exists(os.path.join(folder, ".clang-tidy")))
    checks = [] if options.all else ["--checks=" + FAULT_CHECKS]
    files = sources(root, options.with_app)
    print(f"check: clang-tidy ({'every check' if options.all else 'fault-finding checks'}) on "
          f"{len(files)} files{'' if options.with_app else ' (the application: --with-app)'}",
          flush=True)

    # Files the build does not compile (the fuzz harness outside the asan
    # build) have no compile command here; they are named, not checked.
    unbuilt = [path for path in files if os.path.realpath(path) not in entries]
    if unbuilt:
        print("check: not in this build's compile database, not checked: " +
              ", ".join(os.path.relpath(path, root) for path in unbuilt))
    files = [path for path in files if path not in unbuilt]

    def check(path):
        entry = entries[os.path.realpath(path)]
        text = preprocessed(entry)
        key = None
        if text is not None:
            # Keys name no folder, so another checkout of the same sources
            # on this machine finds them too.
            def local(data):
                return data.replace(build.encode(), b"@BUILD@").replace(root.encode(), b"@ROOT@")
            command = json.dumps(entry.get("arguments") or entry["command"]).encode()
            digest = hashlib.sha256()
            for part in (version, configs, " ".join(checks).encode(), local(path.encode()),
                         local(command), local(text)):
                digest.update(hashlib.sha256(part).digest())
            key = os.path.join(cache, digest.hexdigest())
            if os.path.exists(key):
                return path, "", True
        result = subprocess.run(["clang-tidy", "--quiet", "-p", build, *checks, path],
                                capture_output=True, text=True)
        clean = result.returncode == 0
        if clean and key is not None:
            open(key, "w").close()
        return path, result.stdout + result.stderr, clean

    failures, cached = [], 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count() or 2) as pool:
        for path, output, clean in pool.map(check, files):
            if clean:
                cached += output == ""
                continue
            failures.append(path)
            findings = [line for line in output.splitlines()
                        if "warning:" in line or "error:" in line]
            print("\n".join(findings or [output]), file=sys.stderr)
    print(f"check: {len(files) - cached} files checked, {cached} unchanged since a clean run")
    if failures:
        print(f"check: clang-tidy found problems in {len(failures)} files", file=sys.stderr)
        return 1
    print("check: clang-tidy ok")
    return 0


if __name__ == "__main__":
    sys.exit(main())
