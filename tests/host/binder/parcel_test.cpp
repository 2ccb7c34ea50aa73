// Tests of the in-memory parcel (encodings, generated-code templates, descriptors and binders
// carried in parcels, the status header, error results) and of AStatus and the scoped owners.
#include <android/binder_parcel_utils.h>
#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "test_support.h"

namespace {

using binder_test::Counted;
using binder_test::openFdCount;

enum class Mode : int32_t { A = 1, B = 2 };

void rewind(const ndk::ScopedAParcel& p) {
    ASSERT_EQ(AParcel_setDataPosition(p.get(), 0), 0);
}

TEST(Parcel, PrimitivesAreFourByteAlignedAndStringsUtf16) {
    ndk::ScopedAParcel p(AParcel_create());
    EXPECT_EQ(AParcel_writeBool(p.get(), true), STATUS_OK);
    EXPECT_EQ(AParcel_writeByte(p.get(), -2), STATUS_OK);
    EXPECT_EQ(AParcel_writeChar(p.get(), u'x'), STATUS_OK);
    EXPECT_EQ(AParcel_writeInt64(p.get(), -5), STATUS_OK);
    EXPECT_EQ(AParcel_writeDouble(p.get(), 2.5), STATUS_OK);
    EXPECT_EQ(AParcel_getDataSize(p.get()), 4 + 4 + 4 + 8 + 8);
    const std::string text = "a\xc3\xa9\xf0\x9f\x98\x80";  // 1 + 1 + 2 UTF-16 units
    ASSERT_EQ(ndk::AParcel_writeString(p.get(), text), STATUS_OK);
    EXPECT_EQ(AParcel_getDataSize(p.get()), 28 + 4 + 12);  // length, 5 char16 padded to 12
    ASSERT_EQ(ndk::AParcel_writeString(p.get(), std::optional<std::string>()), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeString(p.get(), std::optional<std::string>()), STATUS_OK);
    EXPECT_EQ(AParcel_writeString(p.get(), nullptr, 3), STATUS_BAD_VALUE);
    EXPECT_EQ(AParcel_writeString(p.get(), "x", -2), STATUS_BAD_VALUE);
    EXPECT_EQ(AParcel_writeString(p.get(), "\xff", 1), STATUS_BAD_VALUE);

    rewind(p);
    bool b = false;
    int8_t byte = 0;
    char16_t c = 0;
    int64_t l = 0;
    double d = 0;
    EXPECT_TRUE(AParcel_readBool(p.get(), &b) == STATUS_OK && b);
    EXPECT_TRUE(AParcel_readByte(p.get(), &byte) == STATUS_OK && byte == -2);
    EXPECT_TRUE(AParcel_readChar(p.get(), &c) == STATUS_OK && c == u'x');
    EXPECT_TRUE(AParcel_readInt64(p.get(), &l) == STATUS_OK && l == -5);
    EXPECT_TRUE(AParcel_readDouble(p.get(), &d) == STATUS_OK && d == 2.5);
    std::string read;
    EXPECT_TRUE(ndk::AParcel_readString(p.get(), &read) == STATUS_OK && read == text);
    std::optional<std::string> maybe = "set";
    EXPECT_TRUE(ndk::AParcel_readString(p.get(), &maybe) == STATUS_OK && !maybe.has_value());
    // A null string cannot become a non-nullable std::string, nor can missing data.
    EXPECT_EQ(ndk::AParcel_readString(p.get(), &read), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(ndk::AParcel_readString(p.get(), &read), STATUS_UNEXPECTED_NULL);
    int32_t past = 0;
    EXPECT_EQ(AParcel_readInt32(p.get(), &past), STATUS_NOT_ENOUGH_DATA);
    EXPECT_EQ(AParcel_setDataPosition(p.get(), -1), STATUS_BAD_VALUE);
}

TEST(Parcel, VectorsEnumsAndNullableForms) {
    ndk::ScopedAParcel p(AParcel_create());
    std::vector<int32_t> ints = {1, -2, 3};
    std::optional<std::vector<std::optional<std::string>>> nullableStrings =
        std::vector<std::optional<std::string>>{std::nullopt, "y"};
    std::vector<Mode> modes = {Mode::B, Mode::A};
    // An empty vector usually has a NULL data pointer; it must still be written as length 0.
    std::optional<std::vector<char16_t>> emptyChars = std::vector<char16_t>{};
    std::optional<std::vector<int32_t>> none;
    ASSERT_EQ(ndk::AParcel_writeData(p.get(), ints), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeNullableData(p.get(), nullableStrings), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeData(p.get(), modes), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeNullableData(p.get(), emptyChars), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeData(p.get(), std::vector<uint8_t>{}), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeNullableData(p.get(), none), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeNullableData(p.get(), none), STATUS_OK);
    rewind(p);
    std::vector<int32_t> ints2;
    std::optional<std::vector<std::optional<std::string>>> nullableStrings2;
    std::vector<Mode> modes2;
    std::optional<std::vector<char16_t>> chars;
    std::vector<uint8_t> bytes = {1};
    std::optional<std::vector<int32_t>> none2 = std::vector<int32_t>{9};
    ASSERT_EQ(ndk::AParcel_readData(p.get(), &ints2), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_readNullableData(p.get(), &nullableStrings2), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_readData(p.get(), &modes2), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_readNullableData(p.get(), &chars), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_readData(p.get(), &bytes), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_readNullableData(p.get(), &none2), STATUS_OK);
    std::vector<int32_t> required;
    EXPECT_EQ(ndk::AParcel_readData(p.get(), &required), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(std::tie(ints2, nullableStrings2, modes2, chars),
              std::tie(ints, nullableStrings, modes, emptyChars));
    EXPECT_TRUE(bytes.empty() && !none2.has_value());

    EXPECT_EQ(AParcel_writeInt32Array(p.get(), nullptr, 2), STATUS_BAD_VALUE);
    EXPECT_EQ(AParcel_writeInt32Array(p.get(), ints.data(), -1), STATUS_BAD_VALUE);
    EXPECT_EQ(AParcel_writeInt32Array(p.get(), nullptr, -2), STATUS_BAD_VALUE);
    // A length larger than the data left is refused before allocating.
    ndk::ScopedAParcel hostile(AParcel_create());
    ASSERT_EQ(AParcel_writeInt32(hostile.get(), 1 << 30), STATUS_OK);
    rewind(hostile);
    EXPECT_EQ(ndk::AParcel_readData(hostile.get(), &ints2), STATUS_NO_MEMORY);
}

TEST(Parcel, DescriptorsAreDuplicatedOnWriteAndOnEveryRead) {
    const int before = openFdCount();
    {
        std::vector<ndk::ScopedFileDescriptor> fds;
        fds.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
        fds.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
        ndk::ScopedAParcel p(AParcel_create());
        ASSERT_EQ(ndk::AParcel_writeData(p.get(), fds), STATUS_OK);
        EXPECT_EQ(openFdCount(), before + 4);  // the parcel holds its own duplicates
        EXPECT_EQ(AParcel_marshal(p.get(), nullptr, 0, 0), STATUS_INVALID_OPERATION);
        for (int round = 1; round <= 2; ++round) {
            rewind(p);
            std::vector<ndk::ScopedFileDescriptor> copy;
            ASSERT_EQ(ndk::AParcel_readData(p.get(), &copy), STATUS_OK);
            EXPECT_EQ(openFdCount(), before + 6);  // each read hands out another
            ASSERT_EQ(copy.size(), 2u);
            EXPECT_NE(copy[0].get(), fds[0].get());
            EXPECT_TRUE(fcntl(copy[0].get(), F_GETFD) & FD_CLOEXEC);
        }
        // A -1 element cannot be written as a required descriptor; -1 alone is "absent".
        fds.emplace_back();
        EXPECT_EQ(ndk::AParcel_writeData(p.get(), fds), STATUS_UNEXPECTED_NULL);
        EXPECT_EQ(AParcel_writeParcelFileDescriptor(p.get(), -2), STATUS_UNKNOWN_ERROR);
        const int32_t absentAt = AParcel_getDataPosition(p.get());
        EXPECT_EQ(AParcel_writeParcelFileDescriptor(p.get(), -1), STATUS_OK);
        ASSERT_EQ(AParcel_setDataPosition(p.get(), absentAt), STATUS_OK);
        int fd = 5;
        EXPECT_TRUE(AParcel_readParcelFileDescriptor(p.get(), &fd) == STATUS_OK && fd == -1);
    }
    EXPECT_EQ(openFdCount(), before);
}

TEST(Parcel, BinderObjectsHoldReferences) {
    ndk::SpAIBinder binder(AIBinder_new(Counted::clazz(), nullptr));
    ndk::ScopedAParcel p(AParcel_create());
    ASSERT_EQ(ndk::AParcel_writeData(p.get(), binder), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_writeNullableData(p.get(), ndk::SpAIBinder()), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_writeData(p.get(), ndk::SpAIBinder()), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), 2);
    rewind(p);
    ndk::SpAIBinder read;
    ASSERT_EQ(ndk::AParcel_readData(p.get(), &read), STATUS_OK);
    EXPECT_EQ(read.get(), binder.get());  // a local binder comes back as itself
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), 3);
    EXPECT_EQ(ndk::AParcel_readData(p.get(), &read), STATUS_UNEXPECTED_NULL);
    p.set(nullptr);
    read.set(nullptr);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), 1);
}

TEST(Parcel, StatusHeaderRoundTripAndMarshalling) {
    struct Case {
        AStatus* status;
        binder_status_t writeResult;
    } cases[] = {
        {AStatus_newOk(), STATUS_OK},
        {AStatus_fromServiceSpecificErrorWithMessage(-3, "svc"), STATUS_OK},
        {AStatus_fromExceptionCodeWithMessage(EX_NULL_POINTER, "np"), STATUS_OK},
        {AStatus_fromExceptionCode(EX_PARCELABLE), STATUS_OK},
        // Transaction failures are not written: the status itself is the result.
        {AStatus_fromStatus(STATUS_DEAD_OBJECT), STATUS_DEAD_OBJECT},
        {AStatus_fromExceptionCode(EX_TRANSACTION_FAILED), STATUS_FAILED_TRANSACTION},
    };
    for (const Case& c : cases) {
        ndk::ScopedAStatus original(c.status);
        ndk::ScopedAParcel p(AParcel_create());
        ASSERT_EQ(AParcel_writeStatusHeader(p.get(), original.get()), c.writeResult);
        ASSERT_EQ(AParcel_writeInt32(p.get(), 77), STATUS_OK);  // a trailing value
        rewind(p);
        if (c.writeResult != STATUS_OK) {
            EXPECT_EQ(AParcel_getDataSize(p.get()), 4);
            continue;
        }
        ndk::ScopedAStatus read;
        ASSERT_EQ(AParcel_readStatusHeader(p.get(), read.getR()), STATUS_OK);
        EXPECT_EQ(read.getDescription(), original.getDescription());
        int32_t trailing = 0;
        EXPECT_TRUE(AParcel_readInt32(p.get(), &trailing) == STATUS_OK && trailing == 77);
    }
    ndk::ScopedAParcel plain(AParcel_create());
    AStatus* untouched = nullptr;
    EXPECT_EQ(AParcel_readStatusHeader(plain.get(), &untouched), STATUS_NOT_ENOUGH_DATA);
    EXPECT_EQ(untouched, nullptr);

    // Data without objects marshals and unmarshals byte for byte.
    ASSERT_EQ(AParcel_writeInt32(plain.get(), 0x01020304), STATUS_OK);
    uint8_t bytes[4] = {};
    EXPECT_EQ(AParcel_marshal(plain.get(), bytes, 0, 4), STATUS_OK);
    EXPECT_EQ(AParcel_marshal(plain.get(), bytes, 2, 4), STATUS_BAD_VALUE);
    ndk::ScopedAParcel copy(AParcel_create());
    ASSERT_EQ(AParcel_unmarshal(copy.get(), bytes, 4), STATUS_OK);
    EXPECT_EQ(AParcel_getDataPosition(copy.get()), 4);
    rewind(copy);
    int32_t value = 0;
    EXPECT_TRUE(AParcel_readInt32(copy.get(), &value) == STATUS_OK && value == 0x01020304);
}

TEST(Status, PruningQueriesAndDescriptions) {
    struct Case {
        AStatus* status;
        binder_exception_t exception;
        binder_status_t transport;
        int32_t serviceSpecific;
        const char* description;
    } cases[] = {
        {AStatus_fromStatus(STATUS_OK), EX_NONE, STATUS_OK, 0, "No error"},
        {AStatus_fromStatus(STATUS_DEAD_OBJECT), EX_TRANSACTION_FAILED, STATUS_DEAD_OBJECT, 0,
         "Status(-129, EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '"},
        // Values outside the status table become STATUS_UNKNOWN_ERROR.
        {AStatus_fromStatus(-EBUSY), EX_TRANSACTION_FAILED, STATUS_UNKNOWN_ERROR, 0, nullptr},
        // Unknown exception codes become EX_TRANSACTION_FAILED carrying FAILED_TRANSACTION.
        {AStatus_fromExceptionCode(42), EX_TRANSACTION_FAILED, STATUS_FAILED_TRANSACTION, 0,
         nullptr},
        {AStatus_fromExceptionCode(EX_TRANSACTION_FAILED), EX_TRANSACTION_FAILED,
         STATUS_FAILED_TRANSACTION, 0,
         "Status(-129, EX_TRANSACTION_FAILED): 'FAILED_TRANSACTION: '"},
        // Only transaction failures carry a status.
        {AStatus_fromExceptionCodeWithMessage(EX_ILLEGAL_ARGUMENT, "width"), EX_ILLEGAL_ARGUMENT,
         STATUS_OK, 0, "Status(-3, EX_ILLEGAL_ARGUMENT): 'width'"},
        {AStatus_fromServiceSpecificError(0), EX_SERVICE_SPECIFIC, STATUS_OK, 0, nullptr},
        {AStatus_fromServiceSpecificErrorWithMessage(42, "boom"), EX_SERVICE_SPECIFIC, STATUS_OK,
         42, "Status(-8, EX_SERVICE_SPECIFIC): '42: boom'"},
    };
    for (const Case& c : cases) {
        ndk::ScopedAStatus status(c.status);
        SCOPED_TRACE(status.getDescription());
        EXPECT_EQ(status.isOk(), c.exception == EX_NONE);
        EXPECT_EQ(status.getExceptionCode(), c.exception);
        EXPECT_EQ(status.getStatus(), c.transport);
        EXPECT_EQ(status.getServiceSpecificError(), c.serviceSpecific);
        if (c.description != nullptr) {
            EXPECT_EQ(status.getDescription(), c.description);
        }
    }
    // The OK singleton is never freed; NULL is not OK.
    AStatus_delete(AStatus_newOk());
    EXPECT_TRUE(AStatus_isOk(AStatus_newOk()));
    EXPECT_FALSE(ndk::ScopedAStatus().isOk());
    EXPECT_STREQ(ndk::ScopedAStatus::fromServiceSpecificErrorWithMessage(-7, "x").getMessage(),
                 "x");
}

TEST(ScopedFileDescriptor, ClosesOnSetMoveAndDestructionButNotOnRelease) {
    const int before = openFdCount();
    int released = -1;
    {
        ndk::ScopedFileDescriptor fd(open("/dev/null", O_RDONLY | O_CLOEXEC));
        ndk::ScopedFileDescriptor copy = fd.dup();
        EXPECT_NE(copy.get(), fd.get());
        EXPECT_EQ(openFdCount(), before + 2);
        fd.set(open("/dev/null", O_RDONLY | O_CLOEXEC));  // the old one is closed
        EXPECT_EQ(openFdCount(), before + 2);
        ndk::ScopedFileDescriptor moved = std::move(fd);
        EXPECT_EQ(fd.get(), -1);
        copy = std::move(moved);  // closes copy's old descriptor first
        EXPECT_EQ(openFdCount(), before + 1);
        released = copy.release();
    }
    EXPECT_EQ(openFdCount(), before + 1);
    EXPECT_EQ(close(released), 0);
    EXPECT_EQ(ndk::ScopedFileDescriptor().dup().get(), -1);
}

TEST(ScopedFileDescriptor, FailedCloseIsLoggedAndSlotBecomesEmpty) {
    // syslog records mirrored to stderr; any descriptor syslog keeps is opened before counting.
    openlog("host_binder_test", LOG_PERROR, LOG_USER);
    syslog(LOG_DEBUG, "warm-up");
    const int before = openFdCount();
    // A number that is not open, high enough that nothing opened meanwhile gets it.
    const int stale = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 500);
    close(stale);
    ndk::ScopedFileDescriptor fd(stale);
    ::testing::internal::CaptureStderr();
    fd.set(-1);
    { ndk::ScopedFileDescriptor empty; }  // -1 is never closed, so nothing is logged for it
    const std::string logged = ::testing::internal::GetCapturedStderr();
    openlog(nullptr, 0, LOG_USER);
    EXPECT_EQ(fd.get(), -1);
    EXPECT_EQ(logged, "host_binder_test: Could not close FD " + std::to_string(stale) +
                          ": Bad file descriptor\n");
    EXPECT_EQ(openFdCount(), before);
}

}  // namespace
