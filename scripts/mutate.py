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
    scripts/mutate.py --ci               # the sample CI runs (after the tests passed)
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
             "    munmap(address_, length_);\n", ""),
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
             "a flush leaves the idle mappings mapped",
             "        if (entries_[i].mapping.use_count() == 1) {",
             "        if (entries_[i].mapping.use_count() == 0) {"),
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
    Mutation("S10", "service", "service/src/mapped_frame.cpp", "off-by-one",
             "one idle mapping more than the limit is kept",
             "(idle <= kMaxIdle && idleBytes", "(idle <= kMaxIdle + 1 && idleBytes"),
    Mutation("S11", "service", "service/src/port_config.cpp", "wrong error code",
             "an unsupported format answers a parameter error",
             "        return VppError::VPP_ERR_INVALID_CFG;\n    }\n    const size_t size",
             "        return VppError::VPP_ERR_PARAM;\n    }\n    const size_t size"),
    Mutation("S12", "service", "service/src/session.cpp", "log text",
             "the refused-parameters line loses its stride",
             '"port %d: parameters %dx%d stride %d scanlines',
             '"port %d: parameters %dx%d stride  %d scanlines'),
    Mutation("S13", "service", "service/src/port_config.cpp", "off-by-one",
             "a stride equal to the width is refused",
             "param.stride < param.width", "param.stride <= param.width"),
    Mutation("S14", "service", "service/src/port_config.cpp", "swapped argument",
             "ports that differ in height are accepted",
             "input.height != output.height", "input.height != output.width"),
    Mutation("S15", "service", "service/frc/src/converter.cpp", "overflow",
             "a made frame's timestamp is not held to the int64 range",
             "    if (t > INT64_MAX) return INT64_MAX;\n", ""),
    Mutation("S16", "service", "service/frc/src/converter.cpp", "missing step",
             "a rate ratio is not reduced to lowest terms",
             "        p = c.rateNum / g;\n        q = c.rateDen / g;",
             "        p = c.rateNum;\n        q = c.rateDen;\n        (void)g;"),
    Mutation("S17", "service", "service/frc/src/converter.cpp", "off-by-one",
             "the largest ratio term is refused",
             "p > kMaxRatioTerm) return false;", "p >= kMaxRatioTerm) return false;"),
    Mutation("S18", "service", "service/frc/src/converter.cpp", "lost flag",
             "the stream's last output is not marked last",
             "        if (out->size() > begin) out->back().last = true;\n",
             "        (void)begin;\n"),
    Mutation("S19", "service", "service/frc/src/converter.cpp", "swapped argument",
             "in-between timestamps divide by the ratio's denominator",
             "static_cast<Wide>(b.timestamp) - a.timestamp, k, p);",
             "static_cast<Wide>(b.timestamp) - a.timestamp, k, q);"),
    # The vppfrc tool and its media helpers.
    Mutation("T1", "tools", "tools/vppfrc/convert.cpp", "unsafe output",
             "an existing regular output that is the input is not refused",
             "if ((outputIsRegular || !output.exists) && media::SameFile(input, output)) {",
             "if (!output.exists && media::SameFile(input, output) && !outputIsRegular) {"),
    Mutation("T2", "tools", "tools/vppfrc/media/atomic_file.cpp", "missing cleanup",
             "a signal leaves the temporary output behind",
             "        if (slot.active.load()) unlink(slot.path);", "        (void)slot;"),
    Mutation("T3", "tools", "tools/vppfrc/media/atomic_file.cpp", "wrong exit code",
             "a signal exits with 128 whatever the signal",
             "    _exit(128 + signal);", "    (void)signal;\n    _exit(128);"),
    Mutation("T4", "tools", "tools/vppfrc/convert.cpp", "wrong exit code",
             "damaged input exits as a failed preview",
             "        status = kExitDamagedInput;", "        status = kExitNoPreview;"),
    Mutation("T5", "tools", "tools/vppfrc/convert.cpp", "wrong exit code",
             "usage errors exit as failures",
             "        return kExitUsage;\n    }\n    return RunTool",
             "        return kExitFailed;\n    }\n    return RunTool"),
    Mutation("T6", "tools", "tools/vppfrc/media/y4m.cpp", "off-by-one",
             "damage names the frame before the damaged one",
             '"frame " + std::to_string(framesRead_ + 1) + " (at byte "',
             '"frame " + std::to_string(framesRead_) + " (at byte "'),
    Mutation("T7", "tools", "tools/vppfrc/media/y4m.cpp", "lost tags",
             "header tags are not kept for the output",
             "        format_.tags.push_back(token);\n", ""),
    Mutation("T8", "tools", "tools/vppfrc/media/y4m.cpp", "swapped argument",
             "the written frame rate is denominator:numerator",
             "{'F', std::to_string(format.fpsNum) + \":\" + std::to_string(format.fpsDen)}",
             "{'F', std::to_string(format.fpsDen) + \":\" + std::to_string(format.fpsNum)}"),
    Mutation("T9", "tools", "tools/vppfrc/convert.cpp", "lost parameters",
             "frame parameters do not reach the output frames",
             "            if (found != params.end()) frameParams = found->second;\n",
             "            (void)found;\n"),
    Mutation("T10", "tools", "tools/vppfrc/convert.cpp", "off-by-one",
             "input timestamps start one frame late",
             "node.QueueFrame(frame.data(), framesIn * p)",
             "node.QueueFrame(frame.data(), (framesIn + 1) * p)"),
    Mutation("T11", "tools", "tools/vppfrc/media/y4m.cpp", "off-by-one",
             "a truncated frame reports one byte fewer missing",
             "std::to_string(frameSize_ - copied) + \" of \"",
             "std::to_string(frameSize_ - copied - 1) + \" of \""),
    Mutation("T12", "tools", "tools/vppfrc/media/y4m.cpp", "missing close",
             "the reader keeps its descriptor after a failed open",
             "void Y4mReader::Close() {\n    fd_.reset();",
             "void Y4mReader::Close() {\n    fd_.release();"),
    # The host platform: binder parcel, status, death and service manager; the VPP interface's
    # parcelables and NativeHandle; the camera buffers, log and OS utilities.
    Mutation("H1", "host", "host/binder/src/parcel.cpp", "missing dup",
             "a descriptor read from a parcel is the parcel's own",
             "    int dup = fcntl(object->fd.get(), F_DUPFD_CLOEXEC, 0);",
             "    int dup = object->fd.get();"),
    Mutation("H2", "host", "host/binder/src/parcel.cpp", "wrong status code",
             "a negative descriptor other than -1 is a bad value",
             "    if (fd < 0) return STATUS_UNKNOWN_ERROR;", "    if (fd < 0) return STATUS_BAD_VALUE;"),
    Mutation("H3", "host", "host/binder/src/parcel.cpp", "swapped argument",
             "the status header carries the exception as the service-specific code",
             "        result = writeValue<int32_t>(parcel, status->errorCode);",
             "        result = writeValue<int32_t>(parcel, status->exception);"),
    Mutation("H4", "host", "host/binder/src/status.cpp", "wrong text",
             "a service-specific description loses its colon",
             'text += std::to_string(status->errorCode) + ": ";',
             'text += std::to_string(status->errorCode) + " ";'),
    Mutation("H5", "host", "host/binder/src/status.cpp", "wrong status code",
             "an unknown exception carries an unknown error instead of a failed transaction",
             "        status->errorCode = STATUS_FAILED_TRANSACTION;",
             "        status->errorCode = STATUS_UNKNOWN_ERROR;"),
    Mutation("H6", "host", "host/binder/src/ibinder.cpp", "missing call",
             "a delivered death does not end its link",
             "    core->onBinderDied(link->cookie);\n    fireUnlinked(*link);",
             "    core->onBinderDied(link->cookie);"),
    Mutation("H7", "host", "host/binder/src/ibinder.cpp", "missing call",
             "a link to a dead binder never ends",
             "    // A failed link ends at once.\n    fireUnlinked(*link);\n", ""),
    Mutation("H8", "host", "host/binder/src/ibinder.cpp", "wrong condition",
             "unlink matches any cookie of the binder",
             "if ((*it)->binder == binder && (*it)->cookie == cookie) {",
             "if ((*it)->binder == binder) {\n                (void)cookie;"),
    Mutation("H9", "host", "host/binder/src/service_manager.cpp", "missing release",
             "a replaced service keeps the registry's reference",
             "    if (previous != nullptr) {\n        AIBinder_decStrong(previous);\n    }",
             "    (void)previous;"),
    Mutation("H10", "host", "host/binder/src/ibinder.cpp", "missing reference",
             "an extension is stored without a reference of its own",
             "    AIBinder_incStrong(ext);\n    AIBinder* old = nullptr;",
             "    AIBinder* old = nullptr;"),
    Mutation("H11", "host", "host/vpp_aidl/src/vendor/zux/hardware/vpp/VppPortParam.cpp",
             "swapped argument", "port parameters written with height and width swapped",
             "    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_parcel, height);\n"
             "    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;\n\n"
             "    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_parcel, width);",
             "    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_parcel, width);\n"
             "    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;\n\n"
             "    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_parcel, height);"),
    Mutation("H12", "host", "host/vpp_aidl/src/vendor/zux/hardware/vpp/FlushDone.cpp",
             "missing skip", "fields of a newer peer are not skipped",
             "    // Skips fields added by a newer peer.\n"
             "    (void)AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos + _aidl_parcelable_size);",
             ""),
    Mutation("H13", "host", "host/vpp_aidl/include/aidl/android/hardware/common/NativeHandle.h",
             "wrong order", "a handle closes its descriptors first to last",
             "for (auto it = fds.rbegin(); it != fds.rend(); ++it) {",
             "for (auto it = fds.begin(); it != fds.end(); ++it) {"),
    Mutation("H14", "host", "host/vpp_aidl/src/aidlcommonsupport/NativeHandle.cpp",
             "lost flag", "dupToAidl's duplicates lose close-on-exec",
             "to.fds.at(i).set(doDup ? fcntl(fd, F_DUPFD_CLOEXEC, 0) : fd);",
             "to.fds.at(i).set(doDup ? fcntl(fd, F_DUPFD, 0) : fd);"),
    Mutation("H15", "host", "host/camera/src/camera_buffers.cpp", "wrong size",
             "4:2:0 planar chroma planes keep the full luma stride",
             "layouts[1] = {Half(luma.height), Half(luma.stride), Half(luma.scanline)};",
             "layouts[1] = {Half(luma.height), luma.stride, Half(luma.scanline)};"),
    Mutation("H16", "host", "host/camera/src/camera_buffers.cpp", "lost flag",
             "camera buffer memfds are inherited across exec",
             "memfd_create(pName, MFD_CLOEXEC)", "memfd_create(pName, 0)"),
    Mutation("H17", "host", "host/camera/src/ixolog.cpp", "wrong text",
             "a stderr log line loses the function's opening parenthesis",
             '            text += "() ";', '            text += ") ";'),
    Mutation("H18", "host", "host/camera/src/pavoosutils.cpp", "missing carry",
             "a timed wait's deadline keeps a nanosecond part of a second or more",
             "    if (deadline.tv_nsec >= 1000000000L) {", "    if (deadline.tv_nsec < 0) {"),
    Mutation("H19", "host", "host/binder/src/ibinder.cpp", "missing wait",
             "deleting a recipient does not wait for its callback running elsewhere",
             "            return std::all_of(core->delivering.begin(), core->delivering.end(),",
             "            return true || std::all_of(core->delivering.begin(), core->delivering.end(),"),
    Mutation("H20", "host", "host/binder/src/rpc/wire.cpp", "wrong condition",
             "an object record at a two-byte offset is accepted",
             "if (object.offset % 4 != 0) return fail(", "if (object.offset % 2 != 0) return fail("),
    Mutation("H21", "host", "host/camera/src/ixolog.cpp", "wrong text",
             "encrypted-sink lines lose a letter of their tag",
             'Sink(camera_host::LogSink::Encrypt, "[ENC]"', 'Sink(camera_host::LogSink::Encrypt, "[EN]"'),
    Mutation("H22", "host", "host/camera/src/camera_buffers.cpp", "off-by-one",
             "chroma planes of an odd luma size round down",
             "    return value / 2 + value % 2;", "    return value / 2;"),
    # End to end: the death and shutdown paths between a node, the library and vppd.
    Mutation("E1", "e2e", LIBRARY, "missing call", "the node is not told that the service died",
             "        pNode->OnVppServiceDied();", "        (void)pNode;"),
    Mutation("E2", "e2e", "tools/vppfrc/frc_node.cpp", "lost flag",
             "the demo node fails on a death without recording it",
             "    died_ = true;\n    FailLocked(\"the VPP service died\");",
             "    FailLocked(\"the VPP service died\");"),
    Mutation("E3", "e2e", "service/vppd/main.cpp", "wrong exit code",
             "vppd stopped by a signal exits non-zero",
             "                sessions);\n    }\n    return kExitOk;",
             "                sessions);\n    }\n    return kExitFailed;"),
    Mutation("E4", "e2e", "tools/vppfrc/convert.cpp", "wrong text",
             "a run ended by the service's death says the conversion stopped",
             '"the VPP service died after "', '"the VPP service stopped after "'),
    Mutation("E5", "e2e", "tools/vppfrc/frc_node.cpp", "missing wake-up",
             "a flush waits out its time after the service died",
             "        return !failure_.empty() ||\n"
             "               (freeInputs_.size() == inputs_.size() && idleOutputs_.size() == outputs_.size());",
             "        return (freeInputs_.size() == inputs_.size() && idleOutputs_.size() == outputs_.size());"),
]


def library_programs(build):
    names = sorted(os.path.basename(p)[:-4] for p in glob.glob(os.path.join(ROOT, "tests/library/*_test.cpp")))
    return [("library_" + n, os.path.join(build, "tests/library", "library_" + n)) for n in names]


def service_programs(build):
    folder = os.path.join(build, "tests/service/service")
    engine = os.path.join(build, "tests/service/frc/vppfrc_engine_tests")
    return [("vppservice_tests", os.path.join(folder, "vppservice_tests")),
            ("vppfrc_engine_tests", engine)]


def tools_programs(build):
    return [("media_tests", os.path.join(build, "tests/tools/media/media_tests")),
            ("vppfrc_cli_tests", os.path.join(build, "tests/tools/vppfrc/vppfrc_cli_tests"))]


def host_programs(build):
    return [("host_binder_test", os.path.join(build, "tests/host/binder/host_binder_test")),
            ("vpp_aidl_tests", os.path.join(build, "tests/host/vpp_aidl/vpp_aidl_tests")),
            ("host_camera_test", os.path.join(build, "tests/host/camera/host_camera_test"))]


def e2e_programs(build):
    return [("e2e_tests", os.path.join(build, "tests/e2e/e2e_tests"))]


PROGRAMS = {"library": library_programs, "service": service_programs, "tools": tools_programs,
            "host": host_programs, "e2e": e2e_programs}

# What CI runs on every change (--ci): one fault of each typical kind, across the areas, chosen to
# fit a few minutes on two cores. The whole list is for a change to the tests themselves.
CI_SAMPLE = ["L1", "L3", "L6", "L9", "S1", "S4", "T2", "H1", "E1"]


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
    parser.add_argument("--ci", action="store_true",
                        help="the sample CI runs, without the baseline (the tests just passed)")
    parser.add_argument("--list", action="store_true", help="list the mutations and stop")
    parser.add_argument("--timeout", type=int, default=300, help="seconds per test program")
    parser.add_argument("--no-baseline", action="store_true",
                        help="skip checking that the unmutated tests pass")
    parser.add_argument("--out", help="also write the table to this file")
    parser.add_argument("--log", default=None, help="build and test output (default: under the build dir)")
    args = parser.parse_args()
    if args.ci:
        args.only = (args.only or []) + CI_SAMPLE
        args.no_baseline = True

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
    # In CI a sample mutation that no longer applies or builds is a failure too: the sample
    # must keep testing what it names.
    other = len(selected) - caught - missed
    return 1 if missed or (args.ci and other) else 0


if __name__ == "__main__":
    sys.exit(main())
