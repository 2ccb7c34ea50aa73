// A check that a message or an output holds the parts a test expects, showing it when not.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace testsupport {

// Whether text holds every '|'-separated part; a failure names the first missing one.
inline ::testing::AssertionResult Has(const std::string& text, const std::string& parts) {
    std::istringstream list(parts);
    for (std::string part; std::getline(list, part, '|');) {
        if (text.find(part) == std::string::npos) {
            return ::testing::AssertionFailure() << "no '" << part << "' in: " << text;
        }
    }
    return ::testing::AssertionSuccess();
}

}  // namespace testsupport
