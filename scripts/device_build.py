#!/usr/bin/env python3
"""Keeps the device build files consistent with the CMake build, and the frozen AIDL API dump
consistent with the .aidl sources.

    scripts/device_build.py             # check (CI): exit 1 with what to do when something drifted
    scripts/device_build.py --update    # rewrite aidl_api/.../current from the .aidl sources
    scripts/device_build.py --update --refreeze
                                        # also rewrite the frozen version and its .hash (only
                                        # while that version has not shipped)

Checks: the library's CMake sources equal the srcs of its Android.bp; the package's .aidl files
equal the srcs of aidl/Android.bp, and each has its C++ header in host/vpp_aidl; the current dump
equals the sources; the frozen version matches its .hash, and current only appends to it (new
fields, methods or enumerators at the end, new types), which is what a stable interface may do.
"""

import argparse
import hashlib
import os
import re
import shutil
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
LIBRARY_DIR = "src/swl/nsp/vpp_base"
AIDL_DIR = "aidl"
PACKAGE = "vendor.zux.hardware.vpp"
PACKAGE_DIR = os.path.join(AIDL_DIR, *PACKAGE.split("."))
HOST_HEADERS = os.path.join("host/vpp_aidl/include/aidl", *PACKAGE.split("."))
API_DIR = os.path.join(AIDL_DIR, "aidl_api", PACKAGE)
FROZEN = "1"
DUMP_HEADER = (
    "// Snapshot of the interface " + PACKAGE + " made by scripts/device_build.py from the .aidl\n"
    "// sources: declarations only. A frozen version never changes once shipped.\n"
)


def read(path):
    with open(os.path.join(ROOT, path)) as f:
        return f.read()


def bp_srcs(path):
    """The srcs list of the only module of an Android.bp file."""
    match = re.search(r"\bsrcs:\s*\[(.*?)\]", read(path), re.S)
    return sorted(re.findall(r'"([^"]+)"', match.group(1))) if match else []


def cmake_sources(path, target):
    text = re.sub(r"#.*", "", read(path))
    match = re.search(r"add_library\(\s*" + re.escape(target) + r"\s+(.*?)\)", text, re.S)
    words = match.group(1).split() if match else []
    return sorted(w for w in words if w not in ("SHARED", "STATIC", "OBJECT", "MODULE"))


def normalised(text):
    """An .aidl file as its dump holds it: no comments, no blank lines, no trailing spaces."""
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
    text = re.sub(r"//[^\n]*", "", text)
    lines = [line.rstrip() for line in text.splitlines() if line.strip()]
    return DUMP_HEADER + "\n".join(lines) + "\n"


def aidl_files():
    return sorted(f for f in os.listdir(os.path.join(ROOT, PACKAGE_DIR)) if f.endswith(".aidl"))


def dump_of_sources():
    return {name: normalised(read(os.path.join(PACKAGE_DIR, name))) for name in aidl_files()}


def read_dump(version):
    folder = os.path.join(ROOT, API_DIR, version, *PACKAGE.split("."))
    if not os.path.isdir(folder):
        return None
    return {n: open(os.path.join(folder, n)).read() for n in sorted(os.listdir(folder))}


def write_dump(version, files):
    top = os.path.join(ROOT, API_DIR, version)
    shutil.rmtree(top, ignore_errors=True)
    folder = os.path.join(top, *PACKAGE.split("."))
    os.makedirs(folder)
    for name, text in files.items():
        with open(os.path.join(folder, name), "w") as f:
            f.write(text)


def version_hash(files):
    """SHA-1 over the per-file SHA-1 lines of a version (in path order) and the name of the
    version it follows ("latest-version" for the first)."""
    lines = ""
    for name in sorted(files):
        digest = hashlib.sha1(files[name].encode()).hexdigest()
        lines += f"{digest}  ./{'/'.join(PACKAGE.split('.'))}/{name}\n"
    return hashlib.sha1((lines + "latest-version\n").encode()).hexdigest()


def members(files):
    """Per declared type, its members in order (fields, methods or enumerators)."""
    result = {}
    for text in files.values():
        body = text.replace(DUMP_HEADER, "")
        for match in re.finditer(r"\b(parcelable|interface|enum)\s+(\w+)\s*\{(.*?)\n\}", body,
                                 re.S):
            items = [m.strip() for m in re.split(r"[;,]\s*\n|\n", match.group(3)) if m.strip()]
            result[match.group(2)] = [re.sub(r"\s+", " ", m).rstrip(";,") for m in items]
    return result


def check():
    problems = []
    library = cmake_sources(os.path.join(LIBRARY_DIR, "CMakeLists.txt"), "pavovppservicebase")
    device = bp_srcs(os.path.join(LIBRARY_DIR, "Android.bp"))
    if not library or library != device:
        problems.append(f"library sources: CMake {library}, Android.bp {device}")

    sources = [os.path.join("vendor/zux/hardware/vpp", n) for n in aidl_files()]
    listed = bp_srcs(os.path.join(AIDL_DIR, "Android.bp"))
    if sources != listed:
        problems.append(f"aidl/Android.bp srcs {listed} differ from the .aidl files {sources}")
    for name in aidl_files():
        header = os.path.join(HOST_HEADERS, name[:-5] + ".h")
        if not os.path.isfile(os.path.join(ROOT, header)):
            problems.append(f"{name} has no C++ in the CMake build ({header})")

    current = read_dump("current")
    if current != dump_of_sources():
        problems.append("aidl_api current differs from the .aidl sources: run "
                        "scripts/device_build.py --update (add --refreeze while version "
                        f"{FROZEN} has not shipped)")
    frozen = read_dump(FROZEN)
    if frozen is None:
        problems.append(f"no frozen version {FROZEN}: run scripts/device_build.py --update --refreeze")
    else:
        hash_path = os.path.join(API_DIR, FROZEN, ".hash")
        recorded = read(hash_path).strip() if os.path.isfile(os.path.join(ROOT, hash_path)) else ""
        if recorded != version_hash(frozen):
            problems.append(f"{hash_path} does not match version {FROZEN}'s files")
        now = members(dump_of_sources())
        for name, old in members(frozen).items():
            new = now.get(name)
            if new is None:
                problems.append(f"{name} of version {FROZEN} is gone")
            elif new[: len(old)] != old:
                problems.append(f"{name} changes version {FROZEN}'s members instead of appending")
    return problems


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--update", action="store_true", help="rewrite the current dump")
    parser.add_argument("--refreeze", action="store_true",
                        help=f"with --update: also rewrite version {FROZEN} and its hash")
    args = parser.parse_args()
    if args.update:
        files = dump_of_sources()
        write_dump("current", files)
        if args.refreeze:
            write_dump(FROZEN, files)
            with open(os.path.join(ROOT, API_DIR, FROZEN, ".hash"), "w") as f:
                f.write(version_hash(files) + "\n")
    problems = check()
    for problem in problems:
        print("device build: " + problem, file=sys.stderr)
    if not problems:
        print("device build files consistent with the CMake build and the AIDL sources")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
