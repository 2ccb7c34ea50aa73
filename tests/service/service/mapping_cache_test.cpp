// The session's cache of buffer mappings: reuse by file identity, retirement of idle mappings
// beyond its limits, and nothing left mapped or open once it is dropped.
#include "mapped_frame.h"
#include "service_test_util.h"

namespace svctest {
namespace {

using vppservice::Mapping;
using vppservice::MappingCache;

constexpr size_t kSize = 8192;

std::shared_ptr<Mapping> Acquire(MappingCache& cache, int fd) {
    struct stat info {};
    EXPECT_EQ(fstat(fd, &info), 0);
    return cache.Acquire(fd, info, 0, kSize, false);
}

TEST(MappingCacheTest, ReusesByFileRetiresLeastRecentlyUsedIdleMappingsAndUnmapsOnDrop) {
    const int fds = testsupport::OpenDescriptorCount();
    const int mappings = FrameMappingCount();
    auto frames = Frames(MappingCache::kMaxIdle + 4, kSize);
    const int own = FrameMappingCount();
    {
        MappingCache cache;
        // Another descriptor of the same file finds the same mapping.
        std::shared_ptr<Mapping> held = Acquire(cache, frames[0]->fd);
        const int dup = fcntl(frames[0]->fd, F_DUPFD_CLOEXEC, 0);
        EXPECT_EQ(Acquire(cache, dup)->address(), held->address());
        close(dup);
        EXPECT_EQ(cache.size(), 1u);
        // A writable mapping is another one.
        struct stat info {};
        ASSERT_EQ(fstat(frames[0]->fd, &info), 0);
        EXPECT_NE(cache.Acquire(frames[0]->fd, info, 0, kSize, true)->address(), held->address());
        EXPECT_EQ(cache.size(), 2u);

        // Idle mappings of the other files beyond the limit: the least recently used go, the
        // held one stays whatever its age. Frame 1, used again and again, stays mapped.
        uint8_t* recent = Acquire(cache, frames[1]->fd)->address();
        for (size_t i = 2; i < frames.size(); ++i) {
            Acquire(cache, frames[i]->fd);
            EXPECT_EQ(Acquire(cache, frames[1]->fd)->address(), recent) << i;
        }
        EXPECT_EQ(cache.size(), MappingCache::kMaxIdle + 1);
        EXPECT_EQ(FrameMappingCount() - own, static_cast<int>(MappingCache::kMaxIdle + 1));

        cache.DropIdle();
        EXPECT_EQ(cache.size(), 1u);
        EXPECT_EQ(FrameMappingCount() - own, 1);
        // Clear forgets it; the holder's mapping stays valid until it lets go.
        cache.Clear();
        EXPECT_EQ(cache.size(), 0u);
        frames[0]->data[0] = 42;
        EXPECT_EQ(held->address()[0], 42);
        EXPECT_EQ(FrameMappingCount() - own, 1);
        held.reset();
        EXPECT_EQ(FrameMappingCount(), own);
    }
    frames.clear();
    EXPECT_EQ(FrameMappingCount(), mappings);
    EXPECT_EQ(testsupport::OpenDescriptorCount(), fds);
}

}  // namespace
}  // namespace svctest
