// The C++ against the .aidl sources: codes, vtable layout, hash, VppError, parcelable fields.
#include <aidl/vendor/zux/hardware/vpp/BnVppCallbacks.h>
#include <aidl/vendor/zux/hardware/vpp/BnVppService.h>
#include <aidl/vendor/zux/hardware/vpp/BnVppSession.h>
#include <aidl/vendor/zux/hardware/vpp/FlushDone.h>
#include <aidl/vendor/zux/hardware/vpp/ReconfigDone.h>
#include <aidl/vendor/zux/hardware/vpp/VppBuffer.h>
#include <aidl/vendor/zux/hardware/vpp/VppBufferMetadata.h>
#include <aidl/vendor/zux/hardware/vpp/VppBufferRequirements.h>
#include <aidl/vendor/zux/hardware/vpp/VppCtrlFrc.h>
#include <aidl/vendor/zux/hardware/vpp/VppError.h>
#include <aidl/vendor/zux/hardware/vpp/VppPortParam.h>
#include <aidl/vendor/zux/hardware/vpp/VppStats.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "aidl_text.h"

namespace vpp_aidl_test {
namespace {

using namespace ::aidl::vendor::zux::hardware::vpp;

// Vtable index of a virtual member function, read from its pointer-to-member representation
// (Itanium C++ ABI as used on x86: 1 + the byte offset of the slot); -1 where that does not apply.
template <typename Pmf>
std::ptrdiff_t vtableSlot(Pmf pmf) {
#if defined(__x86_64__) || defined(__i386__)
    static_assert(sizeof(Pmf) == 2 * sizeof(std::ptrdiff_t), "unexpected member pointer size");
    std::ptrdiff_t words[2];
    std::memcpy(words, &pmf, sizeof(words));
    if ((words[0] & 1) == 0) return -1;  // not virtual
    return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
#else
    (void)pmf;
    return -1;
#endif
}

constexpr bool kVtableKnown =
#if defined(__x86_64__) || defined(__i386__)
    true;
#else
    false;
#endif

// Slots taken by SharedRefBase/ICInterface before the first generated method: the destructor
// (two entries: complete and deleting), asBinder, isRemote, dump, handleShellCommand.
constexpr std::ptrdiff_t kFirstMethodSlot = 6;

uint32_t codeAt(int id) {
    return static_cast<uint32_t>(FIRST_CALL_TRANSACTION + id);
}

struct CppMethod {
    const char* name;
    uint32_t code;
    std::ptrdiff_t slot;
};

#define VPP_METHOD(Iface, method)                                        \
    CppMethod {                                                          \
#method, Iface::TRANSACTION_##method, vtableSlot(&Iface::method) \
    }

const std::vector<CppMethod>& sessionMethods() {
    static const std::vector<CppMethod> methods = {
        VPP_METHOD(IVppSession, close),
        VPP_METHOD(IVppSession, drain),
        VPP_METHOD(IVppSession, flush),
        VPP_METHOD(IVppSession, getBufferRequirements),
        VPP_METHOD(IVppSession, init),
        VPP_METHOD(IVppSession, open),
        VPP_METHOD(IVppSession, queueBuf),
        VPP_METHOD(IVppSession, getCtrlFrc),
        VPP_METHOD(IVppSession, getMode),
        VPP_METHOD(IVppSession, getParameter),
        VPP_METHOD(IVppSession, getState),
        VPP_METHOD(IVppSession, getStats),
        VPP_METHOD(IVppSession, reconfigure),
        VPP_METHOD(IVppSession, resetStats),
        VPP_METHOD(IVppSession, setCtrlFrc),
        VPP_METHOD(IVppSession, setDebugFlags),
        VPP_METHOD(IVppSession, setFrameRate),
        VPP_METHOD(IVppSession, setMaxQueuedBuffers),
        VPP_METHOD(IVppSession, setName),
        VPP_METHOD(IVppSession, setMode),
        VPP_METHOD(IVppSession, setParameter),
        VPP_METHOD(IVppSession, setPriority),
        VPP_METHOD(IVppSession, setTimestampMode),
        VPP_METHOD(IVppSession, setPassThrough),
        VPP_METHOD(IVppSession, ping),
        VPP_METHOD(IVppSession, term),
    };
    return methods;
}

const std::vector<CppMethod>& callbackMethods() {
    static const std::vector<CppMethod> methods = {
        VPP_METHOD(IVppCallbacks, eventDrainDone),  VPP_METHOD(IVppCallbacks, eventError),
        VPP_METHOD(IVppCallbacks, eventFlushDone),  VPP_METHOD(IVppCallbacks, eventReconfigDone),
        VPP_METHOD(IVppCallbacks, inputBufferDone), VPP_METHOD(IVppCallbacks, outputBufferDone),
    };
    return methods;
}

const std::vector<CppMethod>& serviceMethods() {
    static const std::vector<CppMethod> methods = {
        VPP_METHOD(IVppService, getNewVppSession),
    };
    return methods;
}

// The C++ methods, listed by name, must be exactly the AIDL ones: same codes, and vtable slots in
// AIDL declaration order with the version and hash queries right after them.
template <typename Iface>
void expectMatchesAidl(const std::string& name, const std::vector<CppMethod>& cpp) {
    SCOPED_TRACE(name);
    const std::vector<AidlMethod> aidl =
        parseInterfaceMethods(readAidlWithoutComments(aidlPath(name + ".aidl")), name);
    ASSERT_FALSE(aidl.empty()) << "no methods read from " << aidlPath(name + ".aidl");

    std::map<std::string, const CppMethod*> byName;
    for (const CppMethod& method : cpp) byName[method.name] = &method;
    EXPECT_EQ(aidl.size(), cpp.size()) << "method count differs between the .aidl and the C++";
    for (size_t i = 0; i < aidl.size(); i++) {
        auto found = byName.find(aidl[i].name);
        if (found == byName.end()) {
            ADD_FAILURE() << aidl[i].name << " is in the .aidl but not in the C++ table";
            continue;
        }
        EXPECT_EQ(found->second->code, codeAt(aidl[i].id)) << aidl[i].name;
        if (kVtableKnown) {
            EXPECT_EQ(found->second->slot, kFirstMethodSlot + static_cast<std::ptrdiff_t>(i))
                << aidl[i].name << " is not in declaration order in the vtable";
        }
    }
    if (kVtableKnown) {
        // A method declared in C++ only would push these two down.
        const std::ptrdiff_t afterMethods =
            kFirstMethodSlot + static_cast<std::ptrdiff_t>(aidl.size());
        EXPECT_EQ(vtableSlot(&Iface::getInterfaceVersion), afterMethods);
        EXPECT_EQ(vtableSlot(&Iface::getInterfaceHash), afterMethods + 1);
    }
    EXPECT_EQ(Iface::TRANSACTION_getInterfaceVersion, 0x00ffffffu);
    EXPECT_EQ(Iface::TRANSACTION_getInterfaceHash, 0x00fffffeu);
}

TEST(TransactionOrder, SessionMatchesAidl) {
    expectMatchesAidl<IVppSession>("IVppSession", sessionMethods());
}

TEST(TransactionOrder, CallbacksMatchAidl) {
    expectMatchesAidl<IVppCallbacks>("IVppCallbacks", callbackMethods());
}

TEST(TransactionOrder, ServiceMatchesAidl) {
    expectMatchesAidl<IVppService>("IVppService", serviceMethods());
}

// These positions are fixed for every VPP service, whatever else the interface grows.
TEST(TransactionOrder, SessionFixedPositions) {
    const std::map<std::string, int> fixed = {
        {"close", 0},       {"flush", 2},    {"init", 4},          {"open", 5},  {"queueBuf", 6},
        {"setCtrlFrc", 14}, {"setMode", 19}, {"setParameter", 20}, {"term", 25},
    };
    const std::vector<AidlMethod> aidl =
        parseInterfaceMethods(readAidlWithoutComments(aidlPath("IVppSession.aidl")), "IVppSession");
    for (const AidlMethod& method : aidl) {
        auto position = fixed.find(method.name);
        if (position != fixed.end()) {
            EXPECT_EQ(method.id, position->second) << method.name;
        }
    }
    EXPECT_EQ(IVppSession::TRANSACTION_close, codeAt(0));
    EXPECT_EQ(IVppSession::TRANSACTION_flush, codeAt(2));
    EXPECT_EQ(IVppSession::TRANSACTION_init, codeAt(4));
    EXPECT_EQ(IVppSession::TRANSACTION_open, codeAt(5));
    EXPECT_EQ(IVppSession::TRANSACTION_queueBuf, codeAt(6));
    EXPECT_EQ(IVppSession::TRANSACTION_setCtrlFrc, codeAt(14));
    EXPECT_EQ(IVppSession::TRANSACTION_setMode, codeAt(19));
    EXPECT_EQ(IVppSession::TRANSACTION_setParameter, codeAt(20));
    EXPECT_EQ(IVppSession::TRANSACTION_term, codeAt(25));
}

// A stub class for reaching the protected createBinder's slot.
class CallbacksStubSlots : public BnVppCallbacks {
  public:
    static std::ptrdiff_t createBinderSlot() {
        return vtableSlot(&CallbacksStubSlots::createBinder);
    }
};

// Binary clients of the callbacks interface depend on this exact layout.
TEST(VtableLayout, CallbacksAfterInterfaceBase) {
    if (!kVtableKnown) GTEST_SKIP() << "vtable layout is only read on x86";
    EXPECT_EQ(vtableSlot(&IVppCallbacks::asBinder), 2);
    EXPECT_EQ(vtableSlot(&IVppCallbacks::isRemote), 3);
    EXPECT_EQ(vtableSlot(&IVppCallbacks::dump), 4);
    EXPECT_EQ(vtableSlot(&IVppCallbacks::handleShellCommand), 5);
    EXPECT_EQ(vtableSlot(&IVppCallbacks::eventDrainDone), 6);
    EXPECT_EQ(vtableSlot(&IVppCallbacks::outputBufferDone), 11);
    EXPECT_EQ(vtableSlot(&IVppCallbacks::getInterfaceVersion), 12);
    EXPECT_EQ(vtableSlot(&IVppCallbacks::getInterfaceHash), 13);
    EXPECT_EQ(CallbacksStubSlots::createBinderSlot(), 14);
}

bool isLowerHexSha1(const std::string& s) {
    if (s.size() != 40) return false;
    for (char c : s) {
        if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'))) return false;
    }
    return true;
}

// VPP_AIDL_PACKAGE_SHA1 is computed by the build from the package's .aidl files.
TEST(InterfaceHash, MatchesAidlText) {
    const std::string expected = VPP_AIDL_PACKAGE_SHA1;
    ASSERT_TRUE(isLowerHexSha1(expected)) << expected;
    EXPECT_TRUE(isLowerHexSha1(IVppSession::hash)) << IVppSession::hash;
    EXPECT_EQ(IVppSession::hash, expected) << "the .aidl files changed: update the hash";
    EXPECT_EQ(IVppCallbacks::hash, expected);
    EXPECT_EQ(IVppService::hash, expected);
    EXPECT_EQ(IVppSession::version, 1);
    EXPECT_EQ(IVppCallbacks::version, 1);
    EXPECT_EQ(IVppService::version, 1);
}

TEST(VppErrorEnum, NamesAndValuesMatchAidl) {
    const std::vector<AidlEnumerator> aidl =
        parseEnumerators(readAidlWithoutComments(aidlPath("VppError.aidl")), "VppError");
    ASSERT_FALSE(aidl.empty());
    std::vector<AidlEnumerator> cpp;
    for (VppError value : ::ndk::enum_range<VppError>()) {
        cpp.push_back({toString(value), static_cast<long>(value)});
    }
    ASSERT_EQ(cpp.size(), aidl.size());
    for (size_t i = 0; i < aidl.size(); i++) {
        EXPECT_EQ(cpp[i].name, aidl[i].name);
        EXPECT_EQ(cpp[i].value, aidl[i].value) << aidl[i].name;
    }
}

TEST(VppErrorEnum, UnnamedValuesPrintAsNumbers) {
    EXPECT_EQ(toString(VppError::VPP_OK), "VPP_OK");
    EXPECT_EQ(toString(VppError::VPP_ERR_FATAL), "VPP_ERR_FATAL");
    EXPECT_EQ(toString(static_cast<VppError>(10)), "10");
    EXPECT_EQ(toString(static_cast<VppError>(-1)), "-1");
    EXPECT_EQ(toString(static_cast<VppError>(INT32_MIN)), "-2147483648");
    static_assert(std::is_same_v<std::underlying_type_t<VppError>, int32_t>);
}

// Field names in the order toString() prints them (top level of "Name{a: x, b: {..}, c: [..]}").
std::vector<std::string> printedFields(const std::string& printed) {
    std::vector<std::string> fields;
    size_t open = printed.find('{');
    int depth = 0;
    std::string current;
    bool inName = true;
    for (size_t i = open + 1; i + 1 < printed.size(); i++) {
        char c = printed[i];
        if (c == '{' || c == '[') depth++;
        if (c == '}' || c == ']') depth--;
        if (depth == 0 && c == ':' && inName) {
            fields.push_back(current);
            current.clear();
            inName = false;
        } else if (depth == 0 && c == ',') {
            inName = true;
        } else if (inName && c != ' ') {
            current += c;
        }
    }
    return fields;
}

template <typename Parcelable>
void expectFieldsMatchAidl(const std::string& name) {
    SCOPED_TRACE(name);
    const std::vector<std::string> aidl =
        parseParcelableFields(readAidlWithoutComments(aidlPath(name + ".aidl")), name);
    ASSERT_FALSE(aidl.empty());
    const std::string printed = Parcelable().toString();
    EXPECT_EQ(printed.rfind(name + "{", 0), 0u) << printed;
    EXPECT_EQ(printedFields(printed), aidl) << printed;
    EXPECT_EQ(std::string(Parcelable::descriptor), "vendor.zux.hardware.vpp." + name);
    EXPECT_EQ(Parcelable::_aidl_stability, ::ndk::STABILITY_VINTF);
}

TEST(Parcelables, FieldsInAidlOrder) {
    expectFieldsMatchAidl<FlushDone>("FlushDone");
    expectFieldsMatchAidl<ReconfigDone>("ReconfigDone");
    expectFieldsMatchAidl<VppBuffer>("VppBuffer");
    expectFieldsMatchAidl<VppBufferMetadata>("VppBufferMetadata");
    expectFieldsMatchAidl<VppBufferRequirements>("VppBufferRequirements");
    expectFieldsMatchAidl<VppCtrlFrc>("VppCtrlFrc");
    expectFieldsMatchAidl<VppPortParam>("VppPortParam");
    expectFieldsMatchAidl<VppStats>("VppStats");
}

// Parcelables that hold descriptors cannot be copied (a copy would close them twice).
static_assert(!std::is_copy_constructible_v<VppBuffer>);
static_assert(!std::is_copy_assignable_v<VppBufferMetadata>);
static_assert(std::is_nothrow_move_constructible_v<VppBuffer>);
static_assert(std::is_copy_constructible_v<ReconfigDone>);

TEST(Parcelables, DefaultsAndComparisons) {
    ReconfigDone done;
    EXPECT_EQ(done.status, VppError(0));
    EXPECT_EQ(done.inputParam, VppPortParam());
    EXPECT_EQ(done.toString(),
              "ReconfigDone{status: VPP_OK, inputParam: VppPortParam{height: 0, width: 0, "
              "stride: 0, scanlines: 0, colorFormat: 0}, outputParam: VppPortParam{height: 0, "
              "width: 0, stride: 0, scanlines: 0, colorFormat: 0}}");

    // Fields compare in declaration order: the first differing field decides.
    VppPortParam a;
    VppPortParam b;
    a.height = 1;
    b.width = 100;
    EXPECT_LT(b, a);
    EXPECT_GT(a, b);
    EXPECT_NE(a, b);
    EXPECT_LE(a, a);
    EXPECT_GE(a, a);

    VppBuffer first;
    VppBuffer second;
    second.cookie = 7;
    EXPECT_LT(first, second);
    first.cookie = 7;
    EXPECT_EQ(first, second);
}

}  // namespace
}  // namespace vpp_aidl_test
