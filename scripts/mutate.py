#!/usr/bin/env python3
"""Injects typical faults into the library and the reference service, one at a time, and reports
which of them the tests catch.

Each mutation replaces one exact snippet of a source file (it must occur exactly once), rebuilds
only the test programs of that area, runs them until one fails, and puts the file back. A
mutation whose snippet is gone is reported as stale (the source moved on: update the snippet); one
that does not compile is reported as such and counts as neither caught nor missed.

    scripts/mutate.py                    # every mutation, build/default
    scripts/mutate.py --list             # what the mutations are
    scripts/mutate.py --only L3 S1       # some of them
    scripts/mutate.py --build-dir build/asan --out mutations.md
"""

import argparse
import glob
import os
import signal
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
LIBRARY = "src/swl/nsp/vpp_base/pavovppservicebase.cpp"


class Mutation:
    def __init__(self, ident, area, path, kind, what, old, new):
        self.ident, self.area, self.path = ident, area, path
        self.kind, self.what, self.old, self.new = kind, what, old, new


MUTATIONS = [
    # The library.
    Mutation("L1", "library", LIBRARY, "log level", "end-of-stream refusal logged as a warning",
             'VPP_LOG_ERROR("[%s] Queue EOS buffer failed',
             'VPP_LOG_WARN("[%s] Queue EOS buffer failed'),
    Mutation("L2", "library", LIBRARY, "log text", "close line loses its colon",
             '"[%s] close VPP session: %p finish"', '"[%s] close VPP session %p finish"'),
    Mutation("L3", "library", LIBRARY, "missing dup", "output buffer sends the camera's own fds",
             "    buffer.bufferLen = static_cast<int32_t>(imageSize);\n"
             "    buffer.bufferHandle = android::dupToAidl(phNativeHandle);\n"
             '    VPP_LOG_INFO("[%s] requestId: %lu FD: %d, pImageBuffer size: %d phNativeHandle',
             "    buffer.bufferLen = static_cast<int32_t>(imageSize);\n"
             "    buffer.bufferHandle = android::makeToAidl(phNativeHandle);\n"
             '    VPP_LOG_INFO("[%s] requestId: %lu FD: %d, pImageBuffer size: %d phNativeHandle'),
    Mutation("L4", "library", LIBRARY, "extra close", "input wrapper closes the internal buffer",
             "        // Frees the wrapper only; the internal buffer's descriptor stays open.\n"
             "        native_handle_delete(phWrapper);",
             "        native_handle_close(phWrapper);\n"
             "        native_handle_delete(phWrapper);"),
    Mutation("L5", "library", LIBRARY, "missing close", "destructor keeps the flush mutex",
             "    if (nullptr != m_pFlushSessionLock) {\n"
             "        m_pFlushSessionLock->Destroy();\n"
             "        m_pFlushSessionLock = nullptr;\n"
             "    }\n"
             "    if (nullptr != m_pWaitFlushSessionDone) {\n"
             "        m_pWaitFlushSessionDone->Destroy();\n"
             "        m_pWaitFlushSessionDone = nullptr;\n"
             "    }\n\n"
             "    // Deleting the recipient",
             "    m_pFlushSessionLock = nullptr;\n"
             "    if (nullptr != m_pWaitFlushSessionDone) {\n"
             "        m_pWaitFlushSessionDone->Destroy();\n"
             "        m_pWaitFlushSessionDone = nullptr;\n"
             "    }\n\n"
             "    // Deleting the recipient"),
    Mutation("L6", "library", LIBRARY, "off-by-one", "row copy drops the last luma row",
             "            for (uint32_t row = 0; row < rowCount; row++) {",
             "            for (uint32_t row = 0; row + 1 < rowCount; row++) {"),
    Mutation("L7", "library", LIBRARY, "swapped argument", "port geometry with width and height "
             "swapped",
             "    param.height = static_cast<int32_t>(m_height);\n"
             "    param.width = static_cast<int32_t>(m_width);",
             "    param.height = static_cast<int32_t>(m_width);\n"
             "    param.width = static_cast<int32_t>(m_height);"),
    Mutation("L8", "library", LIBRARY, "swapped argument", "input buffer carries the output cookie",
             "static_cast<int64_t>(reinterpret_cast<uintptr_t>(&pRequestBufferInfo->inputCookie))",
             "static_cast<int64_t>(reinterpret_cast<uintptr_t>(&pRequestBufferInfo->outputCookie))"),
    Mutation("L9", "library", LIBRARY, "missing wait", "flush does not wait for the confirmation",
             "                waitResult = m_pWaitFlushSessionDone->TimedWait(\n"
             "                    m_pFlushSessionLock->GetNativeHandle(), kFlushWaitMilliseconds);",
             "                waitResult = LumResultSuccess;"),
    Mutation("L10", "library", LIBRARY, "missing wait", "close does not join its worker",
             "        m_closeThreadId = 0;\n        Pavo::OsUtils::ThreadWait(hThread);",
             "        m_closeThreadId = 0;\n        (void)hThread;"),
    Mutation("L11", "library", LIBRARY, "wrong preset", "init counts an unwritten answer as success",
             "    VppError vppError = VppError::VPP_ERR;", "    VppError vppError = VppError::VPP_OK;"),
    Mutation("L12", "library", LIBRARY, "wrong condition", "end-of-stream input is counted",
             "if ((1 != isEOS) && (nullptr != pFrcRatioInfo)) {",
             "if (nullptr != pFrcRatioInfo) {"),
    # The library, added with the test trim.
    Mutation("L13", "library", LIBRARY, "wrong status code", "refused input answers a failure "
             "instead of a timeout",
             "            static_cast<void*>(phNativeHandle), CookiePointer(buffer));\n"
             "        result = LumResultETimeout;\n    }\n    return result;\n}\n\n"
             "LumResult IxoNodeVppBase::QueueTempBuffertoVPPOutput",
             "            static_cast<void*>(phNativeHandle), CookiePointer(buffer));\n"
             "        result = LumResultEFailed;\n    }\n    return result;\n}\n\n"
             "LumResult IxoNodeVppBase::QueueTempBuffertoVPPOutput"),
    Mutation("L14", "library", LIBRARY, "wrong condition", "temporary output takes the internal "
             "buffer for any non-zero flag",
             "    if (1 == needGenerateFd) {", "    if (0 != needGenerateFd) {"),
    Mutation("L15", "library", LIBRARY, "missing count", "destructor leaves the session count",
             "            s_sessionCount--;\n", ""),
    Mutation("L16", "library", LIBRARY, "wrong argument", "control sends the wrong session mode",
             "m_pVppSession->setMode(kFrcSessionMode, &vppError)",
             "m_pVppSession->setMode(kFrcSessionMode - 1, &vppError)"),
    Mutation("L17", "library", LIBRARY, "off-by-one", "row copy records plane 1 at full stride",
             "hOutput->formatBlock.planeLayout[1].stride = outputLayout.stride / 2;",
             "hOutput->formatBlock.planeLayout[1].stride = outputLayout.stride;"),
    Mutation("L18", "library", LIBRARY, "log form", "temporary output's end-of-stream line in "
             "the node form",
             'VPP_IXE_LOG_INFO("[%s] >> queue EOS buffer', 'VPP_LOG_INFO("[%s] >> queue EOS buffer'),
    # The reference service.
    Mutation("S1", "service", "service/src/mapped_frame.cpp", "missing close",
             "mappings are never unmapped",
             "        munmap(region.address, region.length);", "        (void)region;"),
    Mutation("S2", "service", "service/src/mapped_frame.cpp", "off-by-one",
             "a buffer one byte too short is mapped",
             "available - offset < span", "available - offset + 1 < span"),
    Mutation("S3", "service", "service/src/session.cpp", "missing wait",
             "close returns before the worker gave every buffer back",
             '    JoinWorker();\n    Log(kDebugLifecycle, "closed");',
             '    Log(kDebugLifecycle, "closed");'),
    Mutation("S4", "service", "service/src/session.cpp", "swapped argument",
             "returned buffers carry the timestamp as cookie",
             "    record.cookie = buffer.cookie;", "    record.cookie = buffer.timestamp;"),
    Mutation("S5", "service", "service/src/session.cpp", "wrong error code",
             "a full port answers a parameter error",
             "        return Answer(result, VppError::VPP_ERR_RESOURCES);\n    }\n"
             "    const VppPortParam& param",
             "        return Answer(result, VppError::VPP_ERR_PARAM);\n    }\n"
             "    const VppPortParam& param"),
    Mutation("S6", "service", "service/src/mapped_frame.cpp", "missing close",
             "a mapping is not recorded, so never unmapped",
             "    regions_.push_back(Region{address, length});\n", ""),
    Mutation("S7", "service", "service/src/session_worker.cpp", "wrong port",
             "input buffers come back as output buffers",
             "CheckCallback(workerCallbacks_->inputBufferDone(record, &answer));",
             "CheckCallback(workerCallbacks_->outputBufferDone(record, &answer));"),
    Mutation("S8", "service", "service/src/session_worker.cpp", "missing count",
             "a returned input buffer still counts against the port's limit",
             "        held_[kInputPort]--;\n        stats_.inputBuffersDone++;",
             "        stats_.inputBuffersDone++;"),
    Mutation("S9", "service", "service/src/session_worker.cpp", "lost flag",
             "the last output frame loses the end-of-stream flag",
             "        record.flags |= kEndOfStreamFlag;", "        (void)kEndOfStreamFlag;"),
]


def library_programs(build):
    names = sorted(os.path.basename(p)[:-4] for p in glob.glob(os.path.join(ROOT, "tests/library/*_test.cpp")))
    return [("library_" + n, os.path.join(build, "tests/library", "library_" + n)) for n in names]


def service_programs(build):
    folder = os.path.join(build, "tests/service/service")
    return [(n, os.path.join(folder, n)) for n in ("vppservice_tests", "vppservice_library_tests")]


PROGRAMS = {"library": library_programs, "service": service_programs}


def build(build_dir, targets, log):
    command = ["cmake", "--build", build_dir, "-j2", "--target"] + targets
    return subprocess.run(command, cwd=ROOT, stdout=log, stderr=subprocess.STDOUT).returncode == 0


def first_failure(programs, timeout, log):
    """Runs the programs in order; the name of the first that fails (or hangs), else None."""
    for name, path in programs:
        try:
            result = subprocess.run([path, "--gtest_brief=1", "--gtest_fail_fast"], cwd=ROOT,
                                    stdout=log, stderr=subprocess.STDOUT, timeout=timeout)
        except subprocess.TimeoutExpired:
            return name + " (hang)"
        if result.returncode != 0:
            return name
    return None


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--build-dir", default="build/default")
    parser.add_argument("--only", nargs="*", help="mutation ids to run")
    parser.add_argument("--list", action="store_true", help="list the mutations and stop")
    parser.add_argument("--timeout", type=int, default=300, help="seconds per test program")
    parser.add_argument("--no-baseline", action="store_true",
                        help="skip checking that the unmutated tests pass")
    parser.add_argument("--out", help="also write the table to this file")
    parser.add_argument("--log", default=None, help="build and test output (default: under the build dir)")
    args = parser.parse_args()

    # In the order --only names them, so that the ones that matter most run first.
    by_id = {m.ident: m for m in MUTATIONS}
    unknown = [i for i in (args.only or []) if i not in by_id]
    if unknown:
        sys.exit("unknown mutation ids: " + " ".join(unknown))
    selected = [by_id[i] for i in args.only] if args.only else MUTATIONS
    if args.list:
        for m in selected:
            print(f"{m.ident:4} {m.area:8} {m.kind:17} {m.what}")
        return 0

    build_dir = os.path.join(ROOT, args.build_dir)
    if not os.path.isdir(build_dir):
        sys.exit(f"no build folder {args.build_dir}: configure it first (cmake --preset default)")
    log_path = args.log or os.path.join(build_dir, "mutate.log")
    log = open(log_path, "w")
    areas = sorted({m.area for m in selected})
    programs = {area: PROGRAMS[area](build_dir) for area in areas}
    targets = {area: [name for name, _ in programs[area]] for area in areas}

    if not args.no_baseline:
        for area in areas:
            if not build(build_dir, targets[area], log):
                sys.exit(f"the unmutated {area} tests do not build: see {log_path}")
            failed = first_failure(programs[area], args.timeout, log)
            if failed:
                sys.exit(f"the unmutated {area} tests fail ({failed}): see {log_path}")

    rows = []
    current = {"path": None, "text": None}

    def restore(*_):
        if current["path"] is not None:
            with open(current["path"], "w") as f:
                f.write(current["text"])
            current["path"] = None
        if _:
            sys.exit(130)

    signal.signal(signal.SIGINT, restore)
    signal.signal(signal.SIGTERM, restore)
    caught = missed = 0
    for m in selected:
        path = os.path.join(ROOT, m.path)
        with open(path) as f:
            text = f.read()
        started = time.time()
        if text.count(m.old) != 1:
            outcome = "stale (snippet not found once)"
        else:
            current["path"], current["text"] = path, text
            with open(path, "w") as f:
                f.write(text.replace(m.old, m.new))
            print(f"--- {m.ident}: {m.what}", file=log, flush=True)
            try:
                if not build(build_dir, targets[m.area], log):
                    outcome = "does not build"
                else:
                    failed = first_failure(programs[m.area], args.timeout, log)
                    if failed:
                        outcome, caught = "caught by " + failed, caught + 1
                    else:
                        outcome, missed = "MISSED", missed + 1
            finally:
                restore()
        row = f"| {m.ident} | {m.area} | {m.kind} | {m.what} | {outcome} |"
        print(row + f"  ({time.time() - started:.0f} s)", flush=True)
        rows.append(row)

    # Put the binaries back to the unmutated sources.
    for area in areas:
        build(build_dir, targets[area], log)

    table = ["| id | area | fault | mutation | outcome |", "|---|---|---|---|---|"] + rows
    summary = f"{caught} caught, {missed} missed, {len(selected) - caught - missed} other"
    print("\n".join(table) + "\n\n" + summary)
    if args.out:
        with open(args.out, "w") as f:
            f.write("\n".join(table) + "\n\n" + summary + "\n")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
