// A small reader for the subset of AIDL syntax the package uses.
#include "aidl_text.h"

#include <cctype>
#include <fstream>
#include <sstream>

namespace vpp_aidl_test {
namespace {

std::string trim(const std::string& s) {
    size_t begin = 0;
    size_t end = s.size();
    while (begin < end && std::isspace(static_cast<unsigned char>(s[begin]))) begin++;
    while (end > begin && std::isspace(static_cast<unsigned char>(s[end - 1]))) end--;
    return s.substr(begin, end - begin);
}

// The text between the braces that follow "<keyword> <name>", or empty if there is none.
std::string body(const std::string& text, const std::string& keyword, const std::string& name) {
    size_t searchFrom = 0;
    for (;;) {
        size_t at = text.find(keyword, searchFrom);
        if (at == std::string::npos) return "";
        size_t afterKeyword = at + keyword.size();
        size_t open = text.find('{', afterKeyword);
        if (open == std::string::npos) return "";
        bool standalone = (at == 0 || std::isspace(static_cast<unsigned char>(text[at - 1])));
        if (standalone && trim(text.substr(afterKeyword, open - afterKeyword)) == name) {
            size_t close = text.find('}', open);
            if (close == std::string::npos) return "";
            return text.substr(open + 1, close - open - 1);
        }
        searchFrom = afterKeyword;
    }
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::string part;
    std::istringstream in(text);
    while (std::getline(in, part, separator)) {
        part = trim(part);
        if (!part.empty()) parts.push_back(part);
    }
    return parts;
}

// The last identifier of `s`.
std::string lastIdentifier(const std::string& s) {
    size_t end = s.size();
    while (end > 0 && !(std::isalnum(static_cast<unsigned char>(s[end - 1])) || s[end - 1] == '_'))
        end--;
    size_t begin = end;
    while (begin > 0 &&
           (std::isalnum(static_cast<unsigned char>(s[begin - 1])) || s[begin - 1] == '_'))
        begin--;
    return s.substr(begin, end - begin);
}

}  // namespace

std::string aidlPath(const std::string& fileName) {
    return std::string(VPP_AIDL_DIR) + "/vendor/zux/hardware/vpp/" + fileName;
}

std::string readAidlWithoutComments(const std::string& path) {
    std::ifstream in(path);
    std::stringstream raw;
    raw << in.rdbuf();
    const std::string text = raw.str();
    std::string out;
    for (size_t i = 0; i < text.size();) {
        if (text.compare(i, 2, "//") == 0) {
            i = text.find('\n', i);
            if (i == std::string::npos) break;
        } else if (text.compare(i, 2, "/*") == 0) {
            size_t end = text.find("*/", i + 2);
            i = (end == std::string::npos) ? text.size() : end + 2;
            out += ' ';
        } else {
            out += text[i++];
        }
    }
    return out;
}

std::vector<AidlMethod> parseInterfaceMethods(const std::string& text, const std::string& name) {
    std::vector<AidlMethod> methods;
    for (const std::string& declaration : split(body(text, "interface", name), ';')) {
        size_t paren = declaration.find('(');
        if (paren == std::string::npos || declaration.rfind("const ", 0) == 0) continue;
        AidlMethod method{lastIdentifier(declaration.substr(0, paren)),
                          static_cast<int>(methods.size())};
        size_t close = declaration.rfind(')');
        size_t equals = declaration.find('=', close);
        if (equals != std::string::npos) method.id = std::stoi(declaration.substr(equals + 1));
        methods.push_back(method);
    }
    return methods;
}

std::vector<AidlEnumerator> parseEnumerators(const std::string& text, const std::string& name) {
    std::vector<AidlEnumerator> enumerators;
    long next = 0;
    for (const std::string& item : split(body(text, "enum", name), ',')) {
        size_t equals = item.find('=');
        AidlEnumerator enumerator{trim(item.substr(0, equals)), next};
        if (equals != std::string::npos) enumerator.value = std::stol(item.substr(equals + 1));
        next = enumerator.value + 1;
        enumerators.push_back(enumerator);
    }
    return enumerators;
}

std::vector<std::string> parseParcelableFields(const std::string& text, const std::string& name) {
    std::vector<std::string> fields;
    for (const std::string& declaration : split(body(text, "parcelable", name), ';')) {
        fields.push_back(lastIdentifier(declaration.substr(0, declaration.find('='))));
    }
    return fields;
}

}  // namespace vpp_aidl_test
