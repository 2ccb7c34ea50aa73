// Tests of the C++ interface layer: SharedRefBase, BnCInterface binder identity and lifetime,
// fromBinder-style local lookup, proxies over local transactions, ToString and enum ranges.
#include <android/binder_auto_utils.h>
#include <android/binder_enums.h>
#include <android/binder_interface_utils.h>
#include <android/binder_parcel_utils.h>
#include <android/binder_to_string.h>
#include <gtest/gtest.h>
#include <syslog.h>

#include <atomic>
#include <optional>
#include <string>
#include <vector>

namespace {

// ---- A small interface written the way the AIDL NDK backend writes one ----

class IEcho : public ndk::ICInterface {
  public:
    static const char* descriptor;
    static constexpr uint32_t TRANSACTION_echo = FIRST_CALL_TRANSACTION + 0;
    static constexpr uint32_t TRANSACTION_fail = FIRST_CALL_TRANSACTION + 1;

    static std::shared_ptr<IEcho> fromBinder(const ndk::SpAIBinder& binder);

    virtual ndk::ScopedAStatus echo(const std::string& in_text, std::string* _aidl_return) = 0;
    virtual ndk::ScopedAStatus fail(int32_t in_kind) = 0;
};
const char* IEcho::descriptor = "test.IEcho";

class BnEcho : public ndk::BnCInterface<IEcho> {
  protected:
    ndk::SpAIBinder createBinder() override;
};

class BpEcho : public ndk::BpCInterface<IEcho> {
  public:
    explicit BpEcho(const ndk::SpAIBinder& binder) : BpCInterface(binder) {}

    ndk::ScopedAStatus echo(const std::string& in_text, std::string* _aidl_return) override {
        ndk::ScopedAParcel in;
        ndk::ScopedAParcel out;
        ndk::ScopedAStatus status;
        binder_status_t ret = AIBinder_prepareTransaction(asBinder().get(), in.getR());
        if (ret == STATUS_OK) ret = ndk::AParcel_writeData(in.get(), in_text);
        if (ret == STATUS_OK) {
            ret = AIBinder_transact(asBinder().get(), TRANSACTION_echo, in.getR(), out.getR(), 0);
        }
        if (ret == STATUS_OK) ret = AParcel_readStatusHeader(out.get(), status.getR());
        if (ret == STATUS_OK && !status.isOk()) return status;
        if (ret == STATUS_OK) ret = ndk::AParcel_readData(out.get(), _aidl_return);
        return ndk::ScopedAStatus::fromStatus(ret);
    }
    ndk::ScopedAStatus fail(int32_t in_kind) override {
        ndk::ScopedAParcel in;
        ndk::ScopedAParcel out;
        ndk::ScopedAStatus status;
        binder_status_t ret = AIBinder_prepareTransaction(asBinder().get(), in.getR());
        if (ret == STATUS_OK) ret = ndk::AParcel_writeData(in.get(), in_kind);
        if (ret == STATUS_OK) {
            ret = AIBinder_transact(asBinder().get(), TRANSACTION_fail, in.getR(), out.getR(), 0);
        }
        if (ret == STATUS_OK) ret = AParcel_readStatusHeader(out.get(), status.getR());
        if (ret == STATUS_OK) return status;
        return ndk::ScopedAStatus::fromStatus(ret);
    }
};

binder_status_t echoOnTransact(AIBinder* binder, transaction_code_t code, const AParcel* in,
                               AParcel* out) {
    auto impl = std::static_pointer_cast<BnEcho>(ndk::ICInterface::asInterface(binder));
    binder_status_t ret = STATUS_UNKNOWN_TRANSACTION;
    switch (code) {
        case IEcho::TRANSACTION_echo: {
            std::string text;
            std::string result;
            ret = ndk::AParcel_readData(in, &text);
            if (ret != STATUS_OK) break;
            ndk::ScopedAStatus status = impl->echo(text, &result);
            ret = AParcel_writeStatusHeader(out, status.get());
            if (ret != STATUS_OK || !status.isOk()) break;
            ret = ndk::AParcel_writeData(out, result);
            break;
        }
        case IEcho::TRANSACTION_fail: {
            int32_t kind = 0;
            ret = ndk::AParcel_readData(in, &kind);
            if (ret != STATUS_OK) break;
            ndk::ScopedAStatus status = impl->fail(kind);
            ret = AParcel_writeStatusHeader(out, status.get());
            break;
        }
    }
    return ret;
}

AIBinder_Class* echoClass() {
    static AIBinder_Class* clazz = ndk::ICInterface::defineClass(IEcho::descriptor, echoOnTransact);
    return clazz;
}

ndk::SpAIBinder BnEcho::createBinder() {
    return ndk::SpAIBinder(AIBinder_new(echoClass(), static_cast<void*>(this)));
}

std::shared_ptr<IEcho> IEcho::fromBinder(const ndk::SpAIBinder& binder) {
    if (!AIBinder_associateClass(binder.get(), echoClass())) {
        return nullptr;
    }
    std::shared_ptr<ndk::ICInterface> local = ndk::ICInterface::asInterface(binder.get());
    if (local) {
        return std::static_pointer_cast<IEcho>(local);
    }
    return ndk::SharedRefBase::make<BpEcho>(binder);
}

// The implementation: counts live instances and answers each failure kind differently.
class Echo : public BnEcho {
  public:
    static std::atomic<int> live;
    Echo() { live++; }
    ~Echo() override { live--; }

    ndk::ScopedAStatus echo(const std::string& text, std::string* result) override {
        *result = text + text;
        return ndk::ScopedAStatus::ok();
    }
    ndk::ScopedAStatus fail(int32_t kind) override {
        switch (kind) {
            case 0:
                return ndk::ScopedAStatus::fromServiceSpecificErrorWithMessage(7, "seven");
            case 1:
                return ndk::ScopedAStatus::fromExceptionCodeWithMessage(EX_ILLEGAL_STATE, "why");
            default:
                return ndk::ScopedAStatus::fromStatus(STATUS_NO_INIT);
        }
    }
    binder_status_t dump(int fd, const char**, uint32_t numArgs) override {
        return fd == 3 && numArgs == 0 ? STATUS_OK : STATUS_BAD_VALUE;
    }
};
std::atomic<int> Echo::live{0};

TEST(Interface, AsBinderIsSharedWhileHeldAndRecreatedAfterwards) {
    std::shared_ptr<Echo> echo = ndk::SharedRefBase::make<Echo>();
    ndk::SpAIBinder first = echo->asBinder();
    ndk::SpAIBinder again = echo->asBinder();
    EXPECT_EQ(first.get(), again.get());
    EXPECT_EQ(AIBinder_debugGetRefCount(first.get()), 2);
    EXPECT_FALSE(echo->isRemote());

    ndk::ScopedAIBinder_Weak weak(AIBinder_Weak_new(first.get()));
    first.set(nullptr);
    again.set(nullptr);
    EXPECT_EQ(weak.promote().get(), nullptr);  // the binder died with its last holder
    ndk::SpAIBinder fresh = echo->asBinder();
    ASSERT_NE(fresh.get(), nullptr);
    ndk::ScopedAIBinder_Weak freshWeak(AIBinder_Weak_new(fresh.get()));
    EXPECT_TRUE(AIBinder_Weak_lt(weak.get(), freshWeak.get()));
}

TEST(Interface, BinderKeepsImplementationAlive) {
    const int before = Echo::live;
    ndk::SpAIBinder binder;
    {
        std::shared_ptr<Echo> echo = ndk::SharedRefBase::make<Echo>();
        binder = echo->asBinder();
    }
    EXPECT_EQ(Echo::live, before + 1);
    std::shared_ptr<IEcho> local = IEcho::fromBinder(binder);
    ASSERT_NE(local, nullptr);
    EXPECT_FALSE(local->isRemote());
    std::string result;
    EXPECT_TRUE(local->echo("ab", &result).isOk());
    EXPECT_EQ(result, "abab");
    local.reset();
    binder.set(nullptr);
    EXPECT_EQ(Echo::live, before);
}

TEST(Interface, FromBinderFindsTheLocalImplementation) {
    std::shared_ptr<Echo> echo = ndk::SharedRefBase::make<Echo>();
    std::shared_ptr<IEcho> found = IEcho::fromBinder(echo->asBinder());
    EXPECT_EQ(found.get(), echo.get());
    EXPECT_EQ(IEcho::fromBinder(ndk::SpAIBinder()), nullptr);
    EXPECT_EQ(ndk::ICInterface::asInterface(nullptr), nullptr);

    // A status built by the implementation reaches a local caller unchanged, message included.
    ndk::ScopedAStatus status = found->fail(2);
    EXPECT_EQ(status.getStatus(), STATUS_NO_INIT);
    EXPECT_EQ(BnEcho::makeServiceName("default"), "test.IEcho/default");
}

TEST(Interface, ProxyCallsGoThroughTheStub) {
    std::shared_ptr<Echo> echo = ndk::SharedRefBase::make<Echo>();
    std::shared_ptr<BpEcho> proxy = ndk::SharedRefBase::make<BpEcho>(echo->asBinder());
    EXPECT_FALSE(proxy->isRemote());
    EXPECT_EQ(proxy->asBinder().get(), echo->asBinder().get());

    std::string result;
    ASSERT_TRUE(proxy->echo("h\xc3\xa9llo \xf0\x9f\x98\x80", &result).isOk());
    EXPECT_EQ(result, "h\xc3\xa9llo \xf0\x9f\x98\x80h\xc3\xa9llo \xf0\x9f\x98\x80");

    ndk::ScopedAStatus specific = proxy->fail(0);
    EXPECT_EQ(specific.getExceptionCode(), EX_SERVICE_SPECIFIC);
    EXPECT_EQ(specific.getServiceSpecificError(), 7);
    EXPECT_STREQ(specific.getMessage(), "seven");
    ndk::ScopedAStatus illegal = proxy->fail(1);
    EXPECT_EQ(illegal.getExceptionCode(), EX_ILLEGAL_STATE);
    EXPECT_STREQ(illegal.getMessage(), "why");
    // A transport status travels as the stub's return value.
    ndk::ScopedAStatus noInit = proxy->fail(2);
    EXPECT_EQ(noInit.getStatus(), STATUS_NO_INIT);

    EXPECT_EQ(proxy->dump(3, nullptr, 0), STATUS_OK);  // forwarded to Echo::dump
    EXPECT_EQ(proxy->dump(4, nullptr, 0), STATUS_BAD_VALUE);
}

TEST(Interface, DestroyingADoubleOwnedObjectAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            openlog("host_binder_test", LOG_PERROR, LOG_USER);
            std::shared_ptr<Echo> echo = ndk::SharedRefBase::make<Echo>();
            delete echo.get();
        },
        "double-owned");
}

enum class Color : int8_t { RED = 1, GREEN = 5 };

[[nodiscard]] std::string toString(Color c) {
    return c == Color::RED ? "RED" : c == Color::GREEN ? "GREEN" : std::to_string(int(c));
}

struct Point {
    int32_t x = 0;
    std::string toString() const { return "Point{x: " + std::to_string(x) + "}"; }
};

}  // namespace

template <>
constexpr inline std::array<Color, 2> ndk::internal::enum_values<Color> = {Color::RED,
                                                                           Color::GREEN};

namespace {

TEST(Interface, ToStringAndEnumRange) {
    using android::internal::ToString;
    EXPECT_EQ(ToString(true), "true");
    EXPECT_EQ(ToString(int32_t{-3}), "-3");
    EXPECT_EQ(ToString(u'\u00e9'), "\xc3\xa9");
    EXPECT_EQ(ToString(std::string("s")), "s");
    EXPECT_EQ(ToString(ndk::ScopedFileDescriptor()), "fd:-1");
    EXPECT_EQ(ToString(std::optional<int32_t>()), "(null)");
    EXPECT_EQ(ToString(std::vector<Color>{Color::GREEN, Color(9)}), "[GREEN, 9]");
    EXPECT_EQ(ToString(std::vector<Point>{{1}, {2}}), "[Point{x: 1}, Point{x: 2}]");
    std::shared_ptr<Echo> echo = ndk::SharedRefBase::make<Echo>();
    EXPECT_EQ(ToString(echo), "<interface>");

    std::vector<Color> all;
    for (Color c : ndk::enum_range<Color>()) {
        all.push_back(c);
    }
    EXPECT_EQ(all, (std::vector<Color>{Color::RED, Color::GREEN}));
}

}  // namespace
