// Logging: the log statement's filtering and sinks under every switch combination, the Android
// line format, lazy argument evaluation, the LumResult name table and VppError's text form.
#include <gtest/gtest.h>

#include <climits>
#include <regex>
#include <string>
#include <vector>

#include "base_fixture.h"
#include "pavovppservicelog.h"
#include "scripted_vpp.h"
#include "test_node.h"

namespace vpptest {
namespace {

using camera_host::LogLine;
using camera_host::LogSink;

IxoNodeInterface g_nodeInterface{};

enum Level { kError, kWarn, kInfo, kVerbose };
const int kLevelIndex[] = {kErrorIndex, kWarnIndex, kInfoIndex, kVerboseIndex};
const char* const kLevelTag[] = {"[ERROR]", "[ WARN]", "[ INFO]", "[VERBOSE]"};
const char* const kLevelLetter[] = {"E", "W", "I", "V"};
const int kLevelPriority[] = {ANDROID_LOG_ERROR, ANDROID_LOG_WARN, ANDROID_LOG_INFO,
                              ANDROID_LOG_INFO};

// Source lines of the statements below. Each statement is written on one line together with
// the recording of that line, so the two agree whatever the compiler.
int g_statementLine[4];
int g_ixeLine[2];
#define EMIT_AT(slot, STATEMENT, kind)                \
    do {                                              \
        (slot) = __LINE__;                            \
        STATEMENT("[%s] " kind " %d", "node", value); \
    } while (0)

// One node-form statement of the given level, with a message that names its argument.
void EmitNode(Level level, int value) {
    switch (level) {
        case kError:
            EMIT_AT(g_statementLine[kError], VPP_LOG_ERROR, "value");
            break;
        case kWarn:
            EMIT_AT(g_statementLine[kWarn], VPP_LOG_WARN, "value");
            break;
        case kInfo:
            EMIT_AT(g_statementLine[kInfo], VPP_LOG_INFO, "value");
            break;
        case kVerbose:
            EMIT_AT(g_statementLine[kVerbose], VPP_LOG_VERBOSE, "value");
            break;
    }
}

// Extension-layer statements (the only levels the library uses in that form).
void EmitIxe(bool error, int value) {
    if (error) {
        EMIT_AT(g_ixeLine[0], VPP_IXE_LOG_ERROR, "ixe");
    } else {
        EMIT_AT(g_ixeLine[1], VPP_IXE_LOG_INFO, "ixe");
    }
}

// Statement whose argument counts its evaluations.
int g_evaluations = 0;
int Evaluate() {
    return ++g_evaluations;
}
void EmitCounting() {
    VPP_LOG_INFO("counted %d", Evaluate());
}

void ClearAllMasks() {
    for (int i = 0; i < IXO_LOG_LEVEL_COUNT; ++i) {
        g_enableIxoNodeLogs[i] = 0;
        g_enableIxeLogs[i] = 0;
    }
}

using LoggingTest = BaseTest;

TEST_F(LoggingTest, EachLevelWritesItsTagLetterPriorityAndFullAndroidLine) {
    for (Level level : {kError, kWarn, kInfo, kVerbose}) {
        SCOPED_TRACE(kLevelTag[level]);
        ClearAllMasks();
        g_enableIxoNodeLogs[kLevelIndex[level]] = kNodeGroup;
        g_enableSystemLog = 1;
        camera_host::LogCapture capture;
        AndroidLogCapture android;

        // Only the statement of the enabled level writes anything.
        for (Level any : {kError, kWarn, kInfo, kVerbose}) {
            EmitNode(any, 42);
        }

        const auto lines = capture.Lines();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(Describe(lines[0]), Describe(ExpectedLine{static_cast<vpptest::Level>(level),
                                                            "EmitNode", "[node] value 42"}));
        EXPECT_EQ(lines[0].line, g_statementLine[level]);

        const auto androidLines = android.Lines();
        ASSERT_EQ(androidLines.size(), 1u);
        EXPECT_EQ(androidLines[0].priority, kLevelPriority[level]);
        EXPECT_EQ(androidLines[0].tag, "IxoNode");
        EXPECT_EQ(androidLines[0].message,
                  std::string(kLevelTag[level]) + "VPP pavovppservicebase:" +
                      std::to_string(g_statementLine[level]) + " EmitNode() [node] value 42\n");
    }
}

TEST_F(LoggingTest, WithoutTheAndroidSwitchOnlyTheFrameworkSinkWrites) {
    // Only the value 1 turns the Android log on.
    for (int32_t systemLog : {0, 2, -1}) {
        SCOPED_TRACE(systemLog);
        g_enableSystemLog = systemLog;
        camera_host::LogCapture capture;
        AndroidLogCapture android;
        EmitNode(kInfo, 7);
        ExpectLines(capture.Lines(), {Info("EmitNode", "[node] value 7")});
        EXPECT_TRUE(android.Lines().empty());
    }
}

TEST_F(LoggingTest, EncryptionSendsToTheEncryptingSinkAloneWithTheExtensionGroupName) {
    const std::string ixeName = IxeLog::GroupToString(kNodeGroup);
    // The two group-name functions must disagree for this test to tell them apart.
    ASSERT_NE(ixeName, "VPP");
    g_logIxeEncryption = 1;
    for (int32_t systemLog : {0, 1}) {
        SCOPED_TRACE(systemLog);
        g_enableSystemLog = systemLog;
        camera_host::LogCapture capture;
        AndroidLogCapture android;
        for (Level level : {kError, kWarn, kInfo, kVerbose}) {
            EmitNode(level, 5);
        }
        ExpectLines(capture.Lines(),
                    {Error("EmitNode", "[node] value 5"), Warn("EmitNode", "[node] value 5"),
                     Info("EmitNode", "[node] value 5"), Verbose("EmitNode", "[node] value 5")},
                    LogSink::Encrypt, ixeName);
        EXPECT_TRUE(android.Lines().empty());
    }

    // Any other value of the switch is the clear path.
    g_logIxeEncryption = 2;
    camera_host::LogCapture capture;
    AndroidLogCapture android;
    EmitNode(kError, 6);
    ExpectLines(capture.Lines(), {Error("EmitNode", "[node] value 6")});
    ExpectAndroidTwins(capture.Lines(), android.Lines());
}

TEST_F(LoggingTest, ClearGroupBitSilencesItsLevelWhateverTheOtherSwitches) {
    for (Level level : {kError, kWarn, kInfo, kVerbose}) {
        for (int32_t encryption : {0, 1}) {
            for (int32_t systemLog : {0, 1}) {
                SCOPED_TRACE(std::string(kLevelTag[level]) + " encryption " +
                             std::to_string(encryption) + " system " + std::to_string(systemLog));
                // Every other group at this level and the node group at every other level.
                for (int i = 0; i < IXO_LOG_LEVEL_COUNT; ++i) {
                    g_enableIxoNodeLogs[i] = ~0ULL;
                    g_enableIxeLogs[i] = ~0ULL;
                }
                g_enableIxoNodeLogs[kLevelIndex[level]] = ~kNodeGroup;
                g_logIxeEncryption = encryption;
                g_enableSystemLog = systemLog;
                camera_host::LogCapture capture;
                AndroidLogCapture android;
                EmitNode(level, 1);
                EXPECT_TRUE(capture.Lines().empty());
                EXPECT_TRUE(android.Lines().empty());
            }
        }
    }
}

TEST_F(LoggingTest, DisabledStatementEvaluatesNoArgument) {
    ClearAllMasks();
    g_enableIxoNodeLogs[kErrorIndex] = ~0ULL;  // another level on does not matter
    g_enableSystemLog = 1;
    g_logIxeEncryption = 1;
    g_evaluations = 0;
    camera_host::LogCapture capture;
    EmitCounting();
    EXPECT_EQ(g_evaluations, 0);
    EXPECT_TRUE(capture.Lines().empty());

    // Enabled, the argument is evaluated and its value printed.
    g_enableIxoNodeLogs[kInfoIndex] = kNodeGroup;
    g_enableSystemLog = 0;
    g_logIxeEncryption = 0;
    EmitCounting();
    EXPECT_EQ(g_evaluations, 1);
    ExpectLines(capture.Lines(), {Info("EmitCounting", "counted 1")});
}

TEST_F(LoggingTest, ExtensionFormUsesItsOwnMasksGroupAndAndroidTag) {
    const std::string ixeName = IxeLog::GroupToString(kIxeGroup);
    ClearAllMasks();
    g_enableIxeLogs[kErrorIndex] = kIxeGroup;
    g_enableIxeLogs[kInfoIndex] = kIxeGroup;
    g_enableSystemLog = 1;
    {
        camera_host::LogCapture capture;
        AndroidLogCapture android;
        EmitIxe(true, 1);
        EmitIxe(false, 2);
        ExpectLines(capture.Lines(),
                    {Error("EmitIxe", "[node] ixe 1"), Info("EmitIxe", "[node] ixe 2")},
                    LogSink::Normal, ixeName);
        const auto androidLines = android.Lines();
        ASSERT_EQ(androidLines.size(), 2u);
        EXPECT_EQ(androidLines[0].priority, ANDROID_LOG_ERROR);
        EXPECT_EQ(androidLines[0].tag, "Ixo");
        EXPECT_EQ(androidLines[0].message,
                  "[ERROR]" + ixeName + " pavovppservicebase:" + std::to_string(g_ixeLine[0]) +
                      " EmitIxe() [node] ixe 1\n");
        EXPECT_EQ(androidLines[1].priority, ANDROID_LOG_INFO);
        EXPECT_EQ(androidLines[1].tag, "Ixo");
        EXPECT_EQ(androidLines[1].message,
                  "[ INFO]" + ixeName + " pavovppservicebase:" + std::to_string(g_ixeLine[1]) +
                      " EmitIxe() [node] ixe 2\n");
    }
    {
        g_logIxeEncryption = 1;
        camera_host::LogCapture capture;
        AndroidLogCapture android;
        EmitIxe(false, 3);
        ExpectLines(capture.Lines(), {Info("EmitIxe", "[node] ixe 3")}, LogSink::Encrypt, ixeName);
        EXPECT_TRUE(android.Lines().empty());
    }
    {
        // The node masks do not govern the extension form.
        g_logIxeEncryption = 0;
        ClearAllMasks();
        for (int i = 0; i < IXO_LOG_LEVEL_COUNT; ++i) {
            g_enableIxoNodeLogs[i] = ~0ULL;
            g_enableIxeLogs[i] = ~kIxeGroup;
        }
        camera_host::LogCapture capture;
        AndroidLogCapture android;
        EmitIxe(true, 4);
        EmitIxe(false, 5);
        EXPECT_TRUE(capture.Lines().empty());
        EXPECT_TRUE(android.Lines().empty());
    }
}

TEST_F(LoggingTest, LibraryLinesUnderEncryptionGoOnlyToTheEncryptingSink) {
    TestNode first("node");
    first.m_skipWaitForClose = 1;
    ASSERT_EQ(first.Initialize(&g_nodeInterface), LumResultSuccess);
    g_logIxeEncryption = 1;
    g_enableSystemLog = 1;
    TestNode second("node");
    second.m_skipWaitForClose = 1;
    camera_host::LogCapture capture;
    AndroidLogCapture android;
    ASSERT_EQ(second.Initialize(&g_nodeInterface), LumResultSuccess);
    const auto lines = capture.Lines();
    ASSERT_EQ(lines.size(), 3u);
    for (const LogLine& line : lines) {
        EXPECT_EQ(line.sink, LogSink::Encrypt) << line.message;
        EXPECT_EQ(line.group, IxeLog::GroupToString(kNodeGroup));
        EXPECT_EQ(line.file, "pavovppservicebase");
        EXPECT_EQ(line.function, "Initialize");
    }
    EXPECT_EQ(lines[1].message, "[node] vpp SessionCount lock already exists");
    EXPECT_TRUE(android.Lines().empty());
}

TEST(LumResultNames, EveryValueHasItsName) {
    const char* const kNames[] = {
        "LumResultSuccess",
        "LumResultEFailed",
        "LumResultEUnsupported",
        "LumResultEInvalidState",
        "LumResultEInvalidArg",
        "LumResultEInvalidPointer",
        "LumResultENoSuch",
        "LumResultEOutOfBounds",
        "LumResultENoMemory",
        "LumResultETimeout",
        "LumResultENoMore",
        "LumResultENeedMore",
        "LumResultEExists",
        "LumResultEPrivLevel",
        "LumResultEResource",
        "LumResultEUnableToLoad",
        "LumResultEInProgress",
        "LumResultETryAgain",
        "LumResultEBusy",
        "LumResultEReentered",
        "LumResultEReadOnly",
        "LumResultEOverflow",
        "LumResultEOutOfDomain",
        "LumResultEInterrupted",
        "LumResultEWouldBlock",
        "LumResultETooManyUsers",
        "LumResultENotImplemented",
        "LumResultEDisabled",
        "LumResultECancelledRequest",
        "LumResultECoreNullMetadata",
        "LumResultEInducedError",
        "LumResultEFenceGroupError",
        "LumResultECSLStreamOn",
        "LumResultEAlreadyCompleted",
        "LumResultEOEMStatus1",
        "LumResultEOEMStatus2",
        "LumResultEOEMStatus3",
        "LumResultEProviderNotExist",
    };
    static_assert(sizeof(kNames) / sizeof(kNames[0]) == 38, "38 names");
    for (LumResult value = 0; value < 38; ++value) {
        EXPECT_STREQ(LumResultToString(value), kNames[value]) << value;
    }
    // Spot checks against the framework's own constants.
    EXPECT_STREQ(LumResultToString(LumResultETimeout), "LumResultETimeout");
    EXPECT_STREQ(LumResultToString(LumResultEUnableToLoad), "LumResultEUnableToLoad");
}

TEST(VppErrorText, NamesThenDecimalValues) {
    const char* const kNames[] = {"VPP_OK",
                                  "VPP_ERR",
                                  "VPP_PENDING",
                                  "VPP_ERR_STATE",
                                  "VPP_ERR_INVALID_CFG",
                                  "VPP_ERR_PARAM",
                                  "VPP_ERR_NO_MEM",
                                  "VPP_ERR_RESOURCES",
                                  "VPP_ERR_HW",
                                  "VPP_ERR_FATAL"};
    for (int32_t value = 0; value < 10; ++value) {
        EXPECT_EQ(toString(static_cast<VppError>(value)), kNames[value]);
    }
    EXPECT_EQ(toString(static_cast<VppError>(10)), "10");
    EXPECT_EQ(toString(static_cast<VppError>(-1)), "-1");
    EXPECT_EQ(toString(static_cast<VppError>(INT32_MIN)), "-2147483648");
    EXPECT_EQ(toString(static_cast<VppError>(INT32_MAX)), "2147483647");
}

}  // namespace
}  // namespace vpptest
