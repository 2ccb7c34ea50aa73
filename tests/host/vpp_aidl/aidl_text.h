// Reads the declarations the tests compare the C++ against out of the package's .aidl files.
#pragma once

#include <string>
#include <vector>

namespace vpp_aidl_test {

struct AidlMethod {
    std::string name;
    int id;  // Explicit "= N" id, or the declaration index.
};

struct AidlEnumerator {
    std::string name;
    long value;
};

// Full path of a file of package vendor.zux.hardware.vpp, e.g. "IVppSession.aidl".
std::string aidlPath(const std::string& fileName);

// The text of the file with // and /* */ comments removed; empty if it cannot be read.
std::string readAidlWithoutComments(const std::string& path);

// Methods of `interface <name> { ... }` in declaration order (constants are skipped).
std::vector<AidlMethod> parseInterfaceMethods(const std::string& text, const std::string& name);

// Enumerators of `enum <name> { ... }` in declaration order; values without "=" follow on.
std::vector<AidlEnumerator> parseEnumerators(const std::string& text, const std::string& name);

// Field names of `parcelable <name> { ... }` in declaration order.
std::vector<std::string> parseParcelableFields(const std::string& text, const std::string& name);

}  // namespace vpp_aidl_test
