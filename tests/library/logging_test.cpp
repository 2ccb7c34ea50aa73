// Logging: the log statements' filtering and sinks under every switch, the Android line format,
// and lazy argument evaluation.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base_fixture.h"
#include "pavovppservicelog.h"

namespace vpptest {
namespace {

const Level kLevels[] = {Level::kError, Level::kWarn, Level::kInfo, Level::kVerbose};
const int kLevelIndex[] = {kErrorIndex, kWarnIndex, kInfoIndex, kVerboseIndex};

// Source lines of the statements below: each statement is written on one line together with the
// recording of that line, so the two agree whatever the compiler.
int g_statementLine[4];
int g_ixeLine[2];
#define EMIT_AT(slot, STATEMENT, kind)                \
    do {                                              \
        (slot) = __LINE__;                            \
        STATEMENT("[%s] " kind " %d", "node", value); \
    } while (0)

// One node-form statement of the given level.
void EmitNode(Level level, int value) {
    switch (level) {
        case Level::kError:
            EMIT_AT(g_statementLine[0], VPP_LOG_ERROR, "value");
            break;
        case Level::kWarn:
            EMIT_AT(g_statementLine[1], VPP_LOG_WARN, "value");
            break;
        case Level::kInfo:
            EMIT_AT(g_statementLine[2], VPP_LOG_INFO, "value");
            break;
        case Level::kVerbose:
            EMIT_AT(g_statementLine[3], VPP_LOG_VERBOSE, "value");
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

void SetAllMasks(uint64_t node, uint64_t ixe) {
    for (int i = 0; i < IXO_LOG_LEVEL_COUNT; ++i) {
        g_enableIxoNodeLogs[i] = node;
        g_enableIxeLogs[i] = ixe;
    }
}

using LoggingTest = BaseTest;

// Only the enabled level writes: its tag, letter, group, file, function and line, and the Android
// twin at the level's priority (only a switch of exactly 1 turns the Android log on).
TEST_F(LoggingTest, EachLevelWritesItsTagLetterPriorityAndFullAndroidLine) {
    for (int i = 0; i < 4; i++) {
        for (int32_t systemLog : {1, 0, 2, -1}) {
            SCOPED_TRACE(testing::Message() << "level " << i << " system " << systemLog);
            SetAllMasks(0, 0);
            g_enableIxoNodeLogs[kLevelIndex[i]] = kNodeGroup;
            g_enableSystemLog = systemLog;
            LogRecorder log;
            for (Level any : kLevels) {
                EmitNode(any, 42);
            }
            EXPECT_TRUE(LogIs(log, {{kLevels[i], "EmitNode", "[node] value 42"}},
                              systemLog == 1 ? Sinks::kBoth : Sinks::kNormalOnly));
            ASSERT_EQ(log.Lines().size(), 1u);
            EXPECT_EQ(log.Lines()[0].line, g_statementLine[i]);
        }
    }
}

// Encryption (exactly 1) sends every level to the encrypting sink alone, named by the
// extension layer's group function; any other value is the clear path.
TEST_F(LoggingTest, EncryptionSendsToTheEncryptingSinkAlone) {
    const std::string ixeName = IxeLog::GroupToString(kNodeGroup);
    ASSERT_NE(ixeName, "VPP");  // the two group-name functions must disagree to be told apart
    g_logIxeEncryption = 1;
    for (int32_t systemLog : {0, 1}) {
        g_enableSystemLog = systemLog;
        LogRecorder log;
        for (Level level : kLevels) {
            EmitNode(level, 5);
        }
        EXPECT_TRUE(LogIs(
            log,
            {Node('E', "EmitNode", "[node] value 5"), Node('W', "EmitNode", "[node] value 5"),
             Node('I', "EmitNode", "[node] value 5"), Node('V', "EmitNode", "[node] value 5")},
            Sinks::kEncryptOnly, ixeName));
    }
    g_logIxeEncryption = 2;
    LogRecorder log;
    EmitNode(Level::kError, 6);
    EXPECT_TRUE(LogIs(log, {Node('E', "EmitNode", "[node] value 6")}));
}

// A clear group bit silences its level whatever the other switches, and the statement then
// evaluates no argument.
TEST_F(LoggingTest, ClearGroupBitSilencesItsLevelAndEvaluatesNothing) {
    int evaluations = 0;
    for (int i = 0; i < 4; i++) {
        for (int32_t switches = 0; switches < 4; switches++) {
            SetAllMasks(~0ULL, ~0ULL);
            g_enableIxoNodeLogs[kLevelIndex[i]] = ~kNodeGroup;
            g_logIxeEncryption = switches & 1;
            g_enableSystemLog = switches >> 1;
            LogRecorder log;
            EmitNode(kLevels[i], ++evaluations);
            EXPECT_TRUE(log.Lines().empty() && log.AndroidLines().empty()) << i << " " << switches;
        }
    }
    SetAllMasks(0, 0);
    evaluations = 0;
    LogRecorder log;
    VPP_LOG_INFO("counted %d", ++evaluations);
    EXPECT_EQ(evaluations, 0);
    g_enableIxoNodeLogs[kInfoIndex] = kNodeGroup;
    g_logIxeEncryption = 0;
    g_enableSystemLog = 0;  // each enabled sink evaluates the arguments anew
    VPP_LOG_INFO("counted %d", ++evaluations);
    EXPECT_EQ(evaluations, 1);
    EXPECT_EQ(log.Messages(), std::vector<std::string>{"counted 1"});
}

// The extension form follows its own masks (not the node masks), its group name and Android tag.
TEST_F(LoggingTest, ExtensionFormUsesItsOwnMasksGroupAndAndroidTag) {
    SetAllMasks(0, 0);
    g_enableIxeLogs[kErrorIndex] = kIxeGroup;
    g_enableIxeLogs[kInfoIndex] = kIxeGroup;
    g_enableSystemLog = 1;
    LogRecorder log;
    EmitIxe(true, 1);
    EmitIxe(false, 2);
    EXPECT_TRUE(
        LogIs(log, {Ixe('E', "EmitIxe", "[node] ixe 1"), Ixe('I', "EmitIxe", "[node] ixe 2")}));
    EXPECT_EQ(log.Lines().at(0).line, g_ixeLine[0]);
    EXPECT_EQ(log.Lines().at(1).line, g_ixeLine[1]);

    SetAllMasks(~0ULL, ~kIxeGroup);
    log.Clear();
    EmitIxe(true, 4);
    EmitIxe(false, 5);
    EXPECT_TRUE(log.Lines().empty() && log.AndroidLines().empty());
}

}  // namespace
}  // namespace vpptest
