// The C++ against the .aidl sources: codes, vtable layout, hash, VppError, parcelable fields.
#include <aidl/vendor/zux/hardware/vpp/BnVppCallbacks.h>
#include <aidl/vendor/zux/hardware/vpp/BnVppService.h>
#include <aidl/vendor/zux/hardware/vpp/BnVppSession.h>
#include <aidl/vendor/zux/hardware/vpp/VppBufferMetadata.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace vpp_aidl_test {
namespace {

using namespace ::aidl::vendor::zux::hardware::vpp;

// ---- A reader for the subset of AIDL syntax the package uses ----

// The declarations of `<keyword> <name> { ... }` in a file of the package, comments removed,
// split at the separator and trimmed.
std::vector<std::string> aidlItems(const std::string& file, const std::string& keyword,
                                   const std::string& name, char separator) {
    std::ifstream in(std::string(VPP_AIDL_DIR) + "/vendor/zux/hardware/vpp/" + file);
    std::stringstream raw;
    raw << in.rdbuf();
    const std::string text =
        std::regex_replace(raw.str(), std::regex(R"(//[^\n]*|/\*[\s\S]*?\*/)"), " ");
    std::smatch body;
    const std::regex declaration("(^|\\s)" + keyword + "\\s+" + name + "\\s*\\{([^}]*)\\}");
    std::vector<std::string> items;
    if (!std::regex_search(text, body, declaration)) return items;
    std::istringstream parts(body[2].str());
    for (std::string part; std::getline(parts, part, separator);) {
        const size_t begin = part.find_first_not_of(" \t\r\n");
        const size_t end = part.find_last_not_of(" \t\r\n");
        if (begin != std::string::npos) items.push_back(part.substr(begin, end - begin + 1));
    }
    return items;
}

// The last identifier before position end of s.
std::string identifierBefore(const std::string& s, size_t end) {
    std::smatch match;
    const std::string head = s.substr(0, end);
    return std::regex_search(head, match, std::regex(R"((\w+)\W*$)")) ? match[1].str() : "";
}

struct AidlMethod {
    std::string name;
    int id;  // Explicit "= N" id, or the declaration index.
};

// Methods of `interface <name>` in declaration order (constants are skipped).
std::vector<AidlMethod> aidlMethods(const std::string& name) {
    std::vector<AidlMethod> methods;
    for (const std::string& item : aidlItems(name + ".aidl", "interface", name, ';')) {
        const size_t paren = item.find('(');
        if (paren == std::string::npos || item.rfind("const ", 0) == 0) continue;
        const size_t equals = item.find('=', item.rfind(')'));
        methods.push_back({identifierBefore(item, paren),
                           equals == std::string::npos ? static_cast<int>(methods.size())
                                                       : std::stoi(item.substr(equals + 1))});
    }
    return methods;
}

// Vtable index of a virtual member function, read from its pointer-to-member representation
// (Itanium C++ ABI as used on x86: 1 + the byte offset of the slot); -1 where that does not apply.
#if defined(__x86_64__) || defined(__i386__)
constexpr bool kVtableKnown = true;
template <typename Pmf>
std::ptrdiff_t vtableSlot(Pmf pmf) {
    static_assert(sizeof(Pmf) == 2 * sizeof(std::ptrdiff_t), "unexpected member pointer size");
    std::ptrdiff_t words[2];
    std::memcpy(words, &pmf, sizeof(words));
    if ((words[0] & 1) == 0) return -1;  // not virtual
    return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}
#else
constexpr bool kVtableKnown = false;
template <typename Pmf>
std::ptrdiff_t vtableSlot(Pmf) {
    return -1;
}
#endif

// Slots taken by SharedRefBase/ICInterface before the first generated method: the destructor
// (two entries: complete and deleting), asBinder, isRemote, dump, handleShellCommand.
constexpr std::ptrdiff_t kFirstMethodSlot = 6;

struct CppMethod {
    uint32_t code;
    std::ptrdiff_t slot;
};
using Methods = std::map<std::string, CppMethod>;

std::pair<const std::string, CppMethod> entry(const char* name, uint32_t code,
                                              std::ptrdiff_t slot) {
    return {name, {code, slot}};
}

#define VPP_METHOD(Iface, method) \
    entry(#method, Iface::TRANSACTION_##method, vtableSlot(&Iface::method))

// clang-format off
const Methods kSessionMethods = {
    VPP_METHOD(IVppSession, close),            VPP_METHOD(IVppSession, drain),
    VPP_METHOD(IVppSession, flush),            VPP_METHOD(IVppSession, getBufferRequirements),
    VPP_METHOD(IVppSession, init),             VPP_METHOD(IVppSession, open),
    VPP_METHOD(IVppSession, queueBuf),         VPP_METHOD(IVppSession, getCtrlFrc),
    VPP_METHOD(IVppSession, getMode),          VPP_METHOD(IVppSession, getParameter),
    VPP_METHOD(IVppSession, getState),         VPP_METHOD(IVppSession, getStats),
    VPP_METHOD(IVppSession, reconfigure),      VPP_METHOD(IVppSession, resetStats),
    VPP_METHOD(IVppSession, setCtrlFrc),       VPP_METHOD(IVppSession, setDebugFlags),
    VPP_METHOD(IVppSession, setFrameRate),     VPP_METHOD(IVppSession, setMaxQueuedBuffers),
    VPP_METHOD(IVppSession, setName),          VPP_METHOD(IVppSession, setMode),
    VPP_METHOD(IVppSession, setParameter),     VPP_METHOD(IVppSession, setPriority),
    VPP_METHOD(IVppSession, setTimestampMode), VPP_METHOD(IVppSession, setPassThrough),
    VPP_METHOD(IVppSession, ping),             VPP_METHOD(IVppSession, term)};
// clang-format on

// The C++ methods must be exactly the AIDL ones: same codes, and vtable slots in AIDL
// declaration order with the version and hash queries right after them.
template <typename Iface>
void expectMatchesAidl(const std::string& name, const Methods& cpp) {
    SCOPED_TRACE(name);
    const std::vector<AidlMethod> aidl = aidlMethods(name);
    ASSERT_FALSE(aidl.empty()) << "no methods read from " << name << ".aidl";
    EXPECT_EQ(aidl.size(), cpp.size()) << "method count differs between the .aidl and the C++";
    for (size_t i = 0; i < aidl.size(); i++) {
        auto found = cpp.find(aidl[i].name);
        if (found == cpp.end()) {
            ADD_FAILURE() << aidl[i].name << " is in the .aidl but not in the C++ table";
            continue;
        }
        EXPECT_EQ(found->second.code, static_cast<uint32_t>(FIRST_CALL_TRANSACTION + aidl[i].id))
            << aidl[i].name;
        if (kVtableKnown) {
            EXPECT_EQ(found->second.slot, kFirstMethodSlot + static_cast<std::ptrdiff_t>(i))
                << aidl[i].name << " is not in declaration order in the vtable";
        }
    }
    if (kVtableKnown) {
        // A method declared in C++ only would push these two down.
        const std::ptrdiff_t after = kFirstMethodSlot + static_cast<std::ptrdiff_t>(aidl.size());
        EXPECT_EQ(vtableSlot(&Iface::getInterfaceVersion), after);
        EXPECT_EQ(vtableSlot(&Iface::getInterfaceHash), after + 1);
    }
    EXPECT_EQ(Iface::TRANSACTION_getInterfaceVersion, 0x00ffffffu);
    EXPECT_EQ(Iface::TRANSACTION_getInterfaceHash, 0x00fffffeu);
}

// A stub class for reaching the protected createBinder's slot.
class CallbacksStubSlots : public BnVppCallbacks {
  public:
    static std::ptrdiff_t createBinderSlot() {
        return vtableSlot(&CallbacksStubSlots::createBinder);
    }
};

TEST(InterfaceContract, TransactionCodesAndVtablesFollowTheAidl) {
    expectMatchesAidl<IVppSession>("IVppSession", kSessionMethods);
    expectMatchesAidl<IVppCallbacks>(
        "IVppCallbacks",
        {VPP_METHOD(IVppCallbacks, eventDrainDone), VPP_METHOD(IVppCallbacks, eventError),
         VPP_METHOD(IVppCallbacks, eventFlushDone), VPP_METHOD(IVppCallbacks, eventReconfigDone),
         VPP_METHOD(IVppCallbacks, inputBufferDone), VPP_METHOD(IVppCallbacks, outputBufferDone)});
    expectMatchesAidl<IVppService>("IVppService", {VPP_METHOD(IVppService, getNewVppSession)});

    // These session positions are fixed for every VPP service, whatever else the interface grows.
    const std::map<std::string, int> fixed = {
        {"close", 0},       {"flush", 2},    {"init", 4},          {"open", 5},  {"queueBuf", 6},
        {"setCtrlFrc", 14}, {"setMode", 19}, {"setParameter", 20}, {"term", 25},
    };
    for (const auto& [name, id] : fixed) {
        EXPECT_EQ(kSessionMethods.at(name).code, static_cast<uint32_t>(FIRST_CALL_TRANSACTION + id))
            << name;
    }

    // Binary clients of the callbacks interface depend on the base's slots too.
    if (kVtableKnown) {
        EXPECT_EQ(
            std::vector<std::ptrdiff_t>(
                {vtableSlot(&IVppCallbacks::asBinder), vtableSlot(&IVppCallbacks::isRemote),
                 vtableSlot(&IVppCallbacks::dump), vtableSlot(&IVppCallbacks::handleShellCommand),
                 CallbacksStubSlots::createBinderSlot()}),
            std::vector<std::ptrdiff_t>({2, 3, 4, 5, 14}));
    }
}

// VPP_AIDL_PACKAGE_SHA1 is computed by the build from the package's .aidl files.
TEST(InterfaceContract, HashMatchesTheAidlText) {
    const std::string expected = VPP_AIDL_PACKAGE_SHA1;
    ASSERT_EQ(expected.size(), 40u);
    EXPECT_EQ(expected.find_first_not_of("0123456789abcdef"), std::string::npos) << expected;
    for (const std::string& hash : {IVppSession::hash, IVppCallbacks::hash, IVppService::hash}) {
        EXPECT_EQ(hash, expected) << "the .aidl files changed: update the hash";
    }
    EXPECT_TRUE(IVppSession::version == 1 && IVppCallbacks::version == 1 &&
                IVppService::version == 1);
}

TEST(InterfaceContract, VppErrorNamesAndValuesMatchTheAidl) {
    // Values without "=" follow on from the one before.
    std::vector<std::string> expected;
    long next = 0;
    for (const std::string& item : aidlItems("VppError.aidl", "enum", "VppError", ',')) {
        const size_t equals = item.find('=');
        if (equals != std::string::npos) next = std::stol(item.substr(equals + 1));
        expected.push_back(identifierBefore(item, equals) + "=" + std::to_string(next++));
    }
    std::vector<std::string> cpp;
    for (VppError value : ::ndk::enum_range<VppError>()) {
        cpp.push_back(toString(value) + "=" + std::to_string(static_cast<long>(value)));
    }
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(cpp, expected);
    // Unnamed values print as numbers.
    EXPECT_EQ(toString(static_cast<VppError>(10)), "10");
    EXPECT_EQ(toString(static_cast<VppError>(INT32_MIN)), "-2147483648");
    static_assert(std::is_same_v<std::underlying_type_t<VppError>, int32_t>);
}

// Field names in the order toString() prints them: "Name{a: x, b: Inner{..}, c: [..]}" with
// the nested braces and brackets taken out first.
std::vector<std::string> printedFields(std::string printed) {
    printed = printed.substr(printed.find('{') + 1);
    const std::regex nested(R"(\{[^{}\[\]]*\}|\[[^{}\[\]]*\])");
    for (std::string before; before != printed;) {
        before = printed;
        printed = std::regex_replace(printed, nested, "");
    }
    std::vector<std::string> fields;
    const std::regex field(R"((\w+): )");
    for (std::sregex_iterator it(printed.begin(), printed.end(), field), end; it != end; ++it) {
        fields.push_back((*it)[1].str());
    }
    return fields;
}

template <typename Parcelable>
void expectFieldsMatchAidl(const std::string& name) {
    SCOPED_TRACE(name);
    std::vector<std::string> aidl;
    for (const std::string& item : aidlItems(name + ".aidl", "parcelable", name, ';')) {
        aidl.push_back(identifierBefore(item, item.find('=')));
    }
    ASSERT_FALSE(aidl.empty());
    const std::string printed = Parcelable().toString();
    EXPECT_EQ(printed.rfind(name + "{", 0), 0u) << printed;
    EXPECT_EQ(printedFields(printed), aidl) << printed;
    EXPECT_EQ(std::string(Parcelable::descriptor), "vendor.zux.hardware.vpp." + name);
    EXPECT_EQ(Parcelable::_aidl_stability, ::ndk::STABILITY_VINTF);
}

// Parcelables that hold descriptors cannot be copied (a copy would close them twice).
static_assert(!std::is_copy_constructible_v<VppBuffer>);
static_assert(!std::is_copy_assignable_v<VppBufferMetadata>);
static_assert(std::is_nothrow_move_constructible_v<VppBuffer>);

TEST(InterfaceContract, ParcelableFieldsInAidlOrderDefaultsAndComparisons) {
    expectFieldsMatchAidl<FlushDone>("FlushDone");
    expectFieldsMatchAidl<ReconfigDone>("ReconfigDone");
    expectFieldsMatchAidl<VppBuffer>("VppBuffer");
    expectFieldsMatchAidl<VppBufferMetadata>("VppBufferMetadata");
    expectFieldsMatchAidl<VppBufferRequirements>("VppBufferRequirements");
    expectFieldsMatchAidl<VppCtrlFrc>("VppCtrlFrc");
    expectFieldsMatchAidl<VppPortParam>("VppPortParam");
    expectFieldsMatchAidl<VppStats>("VppStats");

    EXPECT_EQ(ReconfigDone().toString(),
              "ReconfigDone{status: VPP_OK, inputParam: VppPortParam{height: 0, width: 0, "
              "stride: 0, scanlines: 0, colorFormat: 0}, outputParam: VppPortParam{height: 0, "
              "width: 0, stride: 0, scanlines: 0, colorFormat: 0}}");
    // Fields compare in declaration order: the first differing field decides.
    VppPortParam a;
    VppPortParam b;
    a.height = 1;
    b.width = 100;
    EXPECT_TRUE(b < a && a > b && a != b && a <= a && a >= a);
    VppBuffer first;
    VppBuffer second;
    second.cookie = 7;
    EXPECT_LT(first, second);
    first.cookie = 7;
    EXPECT_EQ(first, second);
}

}  // namespace
}  // namespace vpp_aidl_test
