// Tests of hostile input on the transport: malformed messages sent on a raw socket to a published
// service drop that connection without leaking descriptors, and the service keeps serving; the
// service folder's and sockets' permissions.
#include "rpc/wire.h"

#include <poll.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "test_support.h"

namespace {

using binder_host::rpc::WireHeader;
using binder_host::rpc::WireObject;
using binder_test::Counted;
using binder_test::openFdCount;
namespace wire = binder_host::rpc;

constexpr const char* kInstance = "test.wire/default";

std::string folder() {
    const char* dir = getenv("BINDER_HOST_DIR");
    return dir == nullptr ? "" : dir;
}

int connectRaw(const std::string& path) {
    ndk::ScopedFileDescriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    if (connect(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) return -1;
    return fd.release();
}

// Sends bytes with fds attached to the first byte.
bool sendRaw(int socket, const std::vector<uint8_t>& bytes, const std::vector<int>& fds) {
    iovec iov{const_cast<uint8_t*>(bytes.data()), bytes.size()};
    msghdr msg{};
    msg.msg_iov = &iov;
    msg.msg_iovlen = 1;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * 16)];
    if (!fds.empty()) {
        msg.msg_control = control;
        msg.msg_controllen = CMSG_SPACE(sizeof(int) * fds.size());
        cmsghdr* c = CMSG_FIRSTHDR(&msg);
        c->cmsg_level = SOL_SOCKET;
        c->cmsg_type = SCM_RIGHTS;
        c->cmsg_len = CMSG_LEN(sizeof(int) * fds.size());
        memcpy(CMSG_DATA(c), fds.data(), sizeof(int) * fds.size());
    }
    return sendmsg(socket, &msg, MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

// True when the other end closes the connection within two seconds.
bool closedByPeer(int socket) {
    pollfd pfd{socket, POLLIN, 0};
    for (;;) {
        if (poll(&pfd, 1, 2000) != 1) return false;
        char buffer[256];
        ssize_t n = recv(socket, buffer, sizeof(buffer), 0);
        if (n == 0 || (n < 0 && errno == ECONNRESET)) return true;
        if (n < 0) return false;
    }
}

WireHeader header(uint32_t type, uint32_t objects = 0, uint32_t fds = 0, uint32_t size = 0,
                  uint64_t target = 0, uint32_t code = FIRST_CALL_TRANSACTION) {
    WireHeader h{};
    h.magic = wire::kWireMagic;
    h.type = type;
    h.id = 1;
    h.code = code;
    h.target = target;
    std::tie(h.objectCount, h.fdCount, h.dataSize) = std::tie(objects, fds, size);
    return h;
}

std::vector<uint8_t> message(const WireHeader& h, const std::vector<WireObject>& objects,
                             std::vector<uint8_t> data) {
    std::vector<uint8_t> bytes(sizeof(h));
    memcpy(bytes.data(), &h, sizeof(h));
    for (const WireObject& o : objects) {
        const auto* p = reinterpret_cast<const uint8_t*>(&o);
        bytes.insert(bytes.end(), p, p + sizeof(o));
    }
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

// Gives the service a call channel on the control connection: our end, or -1.
int openCallChannel(int control) {
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) return -1;
    ndk::ScopedFileDescriptor ours(pair[0]);
    ndk::ScopedFileDescriptor theirs(pair[1]);
    const WireHeader channel = header(wire::kMessageChannel, 1, 1, wire::kObjectRecordBytes);
    return sendRaw(control, message(channel, {{0, wire::kWireFd, 0}}, std::vector<uint8_t>(8)),
                   {theirs.get()})
               ? ours.release()
               : -1;
}

class WireTest : public binder_test::PoolTest {
  protected:
    void SetUp() override {
        PoolTest::SetUp();
        service_ = publish(kInstance);
        path_ = folder() + "/test.wire%2Fdefault";
    }

    ndk::SpAIBinder service_;
    std::string path_;
};

// Each bad message drops the connection (call channel and control socket alike), closes every
// descriptor that came with it, and leaves the service serving.
TEST_F(WireTest, MalformedMessagesDropTheConnectionWithoutLeaks) {
    const uint32_t kTransact = wire::kMessageTransact;
    const std::vector<uint8_t> data16(16, 0);
    WireHeader badMagic = header(kTransact);
    badMagic.magic = 0;
    const uint32_t fdKind = wire::kWireFd;
    const struct {
        const char* name;
        std::vector<uint8_t> bytes;
        int fdsToSend;
    } cases[] = {
        {"bad magic", message(badMagic, {}, {}), 0},
        {"unknown type", message(header(99), {}, {}), 0},
        {"data over the limit", message(header(kTransact, 0, 0, 2 * 1024 * 1024), {}, {}), 0},
        {"object past the data", message(header(kTransact, 1, 0, 16), {{12, 1, 5}}, data16), 0},
        {"misaligned object", message(header(kTransact, 1, 0, 16), {{2, 1, 5}}, data16), 0},
        {"overlapping objects",
         message(header(kTransact, 2, 0, 16), {{0, 1, 5}, {4, 1, 6}}, data16), 0},
        {"unknown object kind", message(header(kTransact, 1, 0, 16), {{0, 9, 5}}, data16), 0},
        {"unknown handle coming home", message(header(kTransact, 1, 0, 16), {{0, 2, 77}}, data16),
         0},
        {"descriptor where data was expected", message(header(kTransact, 0, 0, 16), {}, data16), 1},
        {"descriptor record without descriptor",
         message(header(kTransact, 1, 1, 16), {{0, fdKind, 0}}, data16), 0},
        {"more descriptors than records",
         message(header(kTransact, 1, 1, 16), {{0, fdKind, 0}}, data16), 3},
        {"call to an unknown object", message(header(kTransact, 0, 0, 0, 0x12345), {}, {}), 0},
        {"release of a reference never sent",
         message(header(wire::kMessageDecRef, 0, 0, 0, 0x12345, 1), {}, {}), 0},
        {"reply nobody waits for", message(header(wire::kMessageReply), {}, {}), 0},
        {"message cut short", message(header(kTransact, 0, 0, 64), {}, data16), 0},
    };

    ndk::ScopedFileDescriptor file(memfd_create("wire-test", MFD_CLOEXEC));
    const int before = openFdCount();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ndk::ScopedFileDescriptor control(connectRaw(path_));
        ASSERT_GE(control.get(), 0);
        ndk::ScopedFileDescriptor channel(openCallChannel(control.get()));
        ASSERT_GE(channel.get(), 0);
        std::vector<int> fds(static_cast<size_t>(c.fdsToSend), file.get());
        ASSERT_TRUE(sendRaw(channel.get(), c.bytes, fds));
        if (std::string(c.name) == "message cut short") shutdown(channel.get(), SHUT_WR);
        EXPECT_TRUE(closedByPeer(channel.get()));
        EXPECT_TRUE(closedByPeer(control.get()));
    }
    // On the control channel: a call, and a channel message without its descriptor.
    for (const auto& bytes :
         {message(header(kTransact), {}, {}), message(header(wire::kMessageChannel, 1, 0, 8),
                                                      {{0, fdKind, 0}}, std::vector<uint8_t>(8))}) {
        ndk::ScopedFileDescriptor control(connectRaw(path_));
        ASSERT_GE(control.get(), 0);
        ASSERT_TRUE(sendRaw(control.get(), bytes, {}));
        EXPECT_TRUE(closedByPeer(control.get()));
    }
    {
        SCOPED_TRACE("too many channels");
        ndk::ScopedFileDescriptor control(connectRaw(path_));
        ASSERT_GE(control.get(), 0);
        std::vector<ndk::ScopedFileDescriptor> channels;
        for (int i = 0; i < 64; ++i) channels.emplace_back(openCallChannel(control.get()));
        EXPECT_TRUE(closedByPeer(control.get()));
    }
    EXPECT_TRUE(binder_test::waitFor([&] { return openFdCount() == before; }));
    EXPECT_EQ(ndk::SpAIBinder(AServiceManager_checkService(kInstance)).get(), service_.get());
}

// The folder is 0700 and each socket 0600; unsafe folders (open to others, or a symbolic link)
// leave a service local; a stale socket file is replaced; unregistering removes the socket.
TEST_F(WireTest, FolderAndSocketsArePrivateAndStaleOnesAreReplaced) {
    struct stat st;
    ASSERT_EQ(lstat(folder().c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u);
    ASSERT_EQ(lstat(path_.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & (S_IFMT | 0777), S_IFSOCK | 0600u);
    ASSERT_EQ(ABinderHost_removeService(kInstance), STATUS_OK);
    EXPECT_NE(lstat(path_.c_str(), &st), 0);

    const std::string saved = folder();
    const std::string open = saved + "/open";
    const std::string link = saved + "/link";
    ASSERT_EQ(mkdir(open.c_str(), 0700), 0);
    ASSERT_EQ(chmod(open.c_str(), 0755), 0);
    ASSERT_EQ(symlink(saved.c_str(), link.c_str()), 0);
    ndk::SpAIBinder local(AIBinder_new(Counted::clazz(), nullptr));
    for (const std::string& unsafe : {open, link}) {
        SCOPED_TRACE(unsafe);
        setenv("BINDER_HOST_DIR", unsafe.c_str(), 1);
        EXPECT_EQ(AServiceManager_addService(local.get(), "test.wire/unsafe"), EX_NONE);
        EXPECT_EQ(ndk::SpAIBinder(AServiceManager_checkService("test.wire/unsafe")).get(),
                  local.get());
        ASSERT_EQ(ABinderHost_removeService("test.wire/unsafe"), STATUS_OK);
    }
    setenv("BINDER_HOST_DIR", saved.c_str(), 1);
    EXPECT_NE(lstat((open + "/test.wire%2Funsafe").c_str(), &st), 0);
    rmdir(open.c_str());
    unlink(link.c_str());

    // A socket file nobody listens on, left by a process that died.
    const std::string stalePath = saved + "/test.wire%2Fstale";
    {
        ndk::ScopedFileDescriptor stale(socket(AF_UNIX, SOCK_STREAM, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        strncpy(address.sun_path, stalePath.c_str(), sizeof(address.sun_path) - 1);
        ASSERT_EQ(bind(stale.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    }
    ASSERT_EQ(AServiceManager_addService(local.get(), "test.wire/stale"), EX_NONE);
    EXPECT_GE(ndk::ScopedFileDescriptor(connectRaw(stalePath)).get(), 0);
}

}  // namespace
