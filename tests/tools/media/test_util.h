// Helpers shared by the media tests: the shared test support and deterministic test bytes.
#pragma once

#include <cstdint>
#include <vector>

#include "descriptors.h"
#include "temp_dir.h"

namespace media_test {

// Deterministic pseudo-random bytes.
inline std::vector<uint8_t> Pattern(size_t size, uint32_t seed) {
    std::vector<uint8_t> bytes(size);
    uint32_t state = seed * 2654435761u + 1;
    for (auto& b : bytes) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        b = static_cast<uint8_t>(state >> 24);
    }
    return bytes;
}

}  // namespace media_test
