// Tests of QueueInputEmpty: the memory-less end-of-stream buffer sent on port 0, its single entry
// line, and a refusal answered with LumResultEFailed (not the timeout code of the other queues).
#include "buffer_path_fixture.h"

namespace vpptest {
namespace {

using QueueEosTest = BufferPathTest;

TEST_F(QueueEosTest, EmptyEndOfStreamBufferCarriesOnlyTheFlag) {
    StartCapture();
    EXPECT_EQ(node->QueueInputEmpty(UINT64_MAX, 4000000000u), LumResultSuccess);

    const std::vector<Call> queued = Queued();
    ASSERT_EQ(queued.size(), 1u);
    EXPECT_EQ(queued[0].port, 0);
    const BufferSeen& seen = *queued[0].buffer;
    EXPECT_TRUE(seen.fds.empty());
    EXPECT_TRUE(seen.ints.empty());
    EXPECT_EQ(seen.offset, 0);
    EXPECT_EQ(seen.bufferLen, 0);
    EXPECT_EQ(seen.filledLen, 0);
    EXPECT_EQ(seen.allocLen, 0);
    EXPECT_EQ(seen.extraFds + seen.extraInts + seen.metadataCount, 0u);
    EXPECT_EQ(seen.extraOffset, 0);
    EXPECT_EQ(seen.extraLen, 0);
    EXPECT_EQ(seen.flags, 1);
    EXPECT_EQ(seen.timestamp, 0);
    EXPECT_EQ(seen.portType, 0);
    EXPECT_EQ(seen.cookie, 0);

    ExpectLog({Node('I', "QueueInputEmpty",
                    "[BufNode] QueueInputEmpty of requestId: 18446744073709551615, index: "
                    "4000000000")});
    EXPECT_TRUE(SyslogLines().empty());
}

TEST_F(QueueEosTest, RefusalIsAFailureWithTheServiceCodePrintedSigned) {
    struct Case {
        VppError error;
        const char* printed;
    };
    for (const Case& c :
         {Case{VppError::VPP_ERR_PARAM, "5"}, Case{VppError::VPP_ERR, "1"},
          Case{static_cast<VppError>(42), "42"}, Case{static_cast<VppError>(-1), "-1"}}) {
        SCOPED_TRACE(c.printed);
        session->Script("queueBuf", {Answer(c.error)});
        StartCapture();
        EXPECT_EQ(node->QueueInputEmpty(12, 3), LumResultEFailed);
        ExpectLog({
            Node('I', "QueueInputEmpty", "[BufNode] QueueInputEmpty of requestId: 12, index: 3"),
            Node('E', "QueueInputEmpty",
                 std::string("[BufNode] Queue EOS buffer failed: ") + c.printed +
                     ", reqId: 12, queueIndex: 3"),
        });
    }
    EXPECT_EQ(Queued().size(), 4u);
}

TEST_F(QueueEosTest, OnlyTheOutResultDecides) {
    session->Script("queueBuf", {BrokenTransaction()});
    EXPECT_EQ(node->QueueInputEmpty(12, 3), LumResultSuccess);
}

}  // namespace
}  // namespace vpptest
