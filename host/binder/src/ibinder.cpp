// Binders: classes, creation, reference counts, weak handles, extensions, death links and
// transactions. A proxy is a binder whose object lives in another process (see rpc/).
#include <android/binder_ibinder.h>
#include <android/binder_shell.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "binder_internal.h"
#include "parcel_internal.h"
#include "rpc/rpc.h"

using binder_host::BinderIdentity;
using binder_host::DeathLink;
using binder_host::logMessage;
using binder_host::pruneStatus;
using binder_host::RecipientCore;

namespace {

std::atomic<uint64_t> gNextBinderId{1};

// Removes link from its recipient's list if it is still there. Exactly one caller wins for a
// given link; that caller ends the link (and runs onUnlinked) after releasing every lock.
bool detachLink(const std::shared_ptr<DeathLink>& link,
                std::shared_ptr<RecipientCore>* coreOut = nullptr) {
    std::shared_ptr<RecipientCore> core = link->recipient.lock();
    if (core == nullptr) {
        return false;
    }
    std::lock_guard<std::mutex> lock(core->mutex);
    auto it = std::find(core->links.begin(), core->links.end(), link);
    if (it == core->links.end()) {
        return false;
    }
    core->links.erase(it);
    if (coreOut != nullptr) {
        *coreOut = core;
    }
    return true;
}

void fireUnlinked(const DeathLink& link) {
    if (link.onUnlinked != nullptr) {
        link.onUnlinked(link.cookie);
    }
}

// Runs on a pool thread: onBinderDied, then the link ends and onUnlinked runs. No binder lock
// is held, so the callbacks may link, unlink or delete recipients themselves.
void deliverDeath(const std::weak_ptr<DeathLink>& weakLink) {
    std::shared_ptr<DeathLink> link = weakLink.lock();
    if (link == nullptr) {
        return;
    }
    std::shared_ptr<RecipientCore> core = link->recipient.lock();
    if (core == nullptr) {
        return;
    }
    {
        std::lock_guard<std::mutex> lock(core->mutex);
        auto it = std::find(core->links.begin(), core->links.end(), link);
        if (core->deleted || it == core->links.end()) {
            return;
        }
        core->links.erase(it);
        core->delivering.push_back(std::this_thread::get_id());
    }
    core->onBinderDied(link->cookie);
    fireUnlinked(*link);
    {
        std::lock_guard<std::mutex> lock(core->mutex);
        auto it =
            std::find(core->delivering.begin(), core->delivering.end(), std::this_thread::get_id());
        core->delivering.erase(it);
    }
    core->deliveryDone.notify_all();
}

// Last strong reference gone: end the remaining links (no death), then destroy the object.
void destroyBinder(AIBinder* binder) {
    {
        std::lock_guard<std::mutex> lock(binder->identity->mutex);
        binder->identity->binder = nullptr;
    }
    std::vector<std::weak_ptr<DeathLink>> links;
    AIBinder* extension = nullptr;
    {
        std::lock_guard<std::mutex> lock(binder->mutex);
        links.swap(binder->links);
        std::swap(extension, binder->extension);
    }
    for (const auto& weakLink : links) {
        std::shared_ptr<DeathLink> link = weakLink.lock();
        if (link != nullptr && detachLink(link)) {
            fireUnlinked(*link);
        }
    }
    if (extension != nullptr) {
        AIBinder_decStrong(extension);
    }
    if (binder->proxy != nullptr) {
        binder_host::rpc::proxyDestroyed(binder);
    } else if (binder->clazz->onDestroy != nullptr) {
        binder->clazz->onDestroy(binder->userData);
    }
    delete binder;
}

}  // namespace

namespace binder_host {

binder_status_t markDead(AIBinder* binder) {
    std::vector<std::weak_ptr<DeathLink>> links;
    {
        std::lock_guard<std::mutex> lock(binder->mutex);
        if (binder->dead.exchange(true)) {
            return STATUS_DEAD_OBJECT;
        }
        links.swap(binder->links);
    }
    for (auto& link : links) {
        postToPool([link = std::move(link)]() { deliverDeath(link); });
    }
    return STATUS_OK;
}

bool tryIncStrong(AIBinder* binder) {
    int32_t count = binder->strong.load(std::memory_order_relaxed);
    while (count > 0) {
        if (binder->strong.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel)) {
            return true;
        }
    }
    return false;
}

AIBinder* newProxyBinder(std::shared_ptr<rpc::ProxyState> state) {
    AIBinder* binder = new AIBinder();
    binder->proxy = std::move(state);
    binder->identity = std::make_shared<BinderIdentity>();
    binder->identity->binder = binder;
    binder->identity->id = gNextBinderId.fetch_add(1);
    return binder;
}

binder_status_t transactLocal(AIBinder* binder, transaction_code_t code, const AParcel* in,
                              AParcel* out) {
    AParcel_setDataPosition(in, 0);
    const AIBinder_Class* clazz = binder->clazz;
    if (clazz->writeHeader.load() && !checkInterfaceToken(in, clazz->descriptor)) {
        logMessage(LOG_ERR, "Interface token mismatch for '%s'", clazz->descriptor.c_str());
        return STATUS_BAD_TYPE;
    }
    binder_status_t status = clazz->onTransact(binder, code, in, out);
    AParcel_setDataPosition(out, 0);
    return pruneStatus(status);
}

}  // namespace binder_host

AIBinder_Class* AIBinder_Class_define(const char* interfaceDescriptor,
                                      AIBinder_Class_onCreate onCreate,
                                      AIBinder_Class_onDestroy onDestroy,
                                      AIBinder_Class_onTransact onTransact) {
    if (interfaceDescriptor == nullptr || onCreate == nullptr || onDestroy == nullptr ||
        onTransact == nullptr) {
        return nullptr;
    }
    // Classes live for the whole process, like the device's; the list keeps them reachable.
    static std::mutex* const classesMutex = new std::mutex();
    static std::vector<AIBinder_Class*>* const classes = new std::vector<AIBinder_Class*>();
    AIBinder_Class* clazz = new AIBinder_Class();
    {
        std::lock_guard<std::mutex> lock(*classesMutex);
        classes->push_back(clazz);
    }
    clazz->descriptor = interfaceDescriptor;
    clazz->onCreate = onCreate;
    clazz->onDestroy = onDestroy;
    clazz->onTransact = onTransact;
    return clazz;
}

void AIBinder_Class_setOnDump(AIBinder_Class* clazz, AIBinder_onDump onDump) {
    if (clazz == nullptr) {
        logMessage(LOG_ERR, "AIBinder_Class_setOnDump: null class");
        abort();
    }
    clazz->onDump.store(onDump);
}

void AIBinder_Class_disableInterfaceTokenHeader(AIBinder_Class* clazz) {
    if (clazz == nullptr) {
        logMessage(LOG_ERR, "AIBinder_Class_disableInterfaceTokenHeader: null class");
        abort();
    }
    clazz->writeHeader.store(false);
}

const char* AIBinder_Class_getDescriptor(const AIBinder_Class* clazz) {
    if (clazz == nullptr) {
        logMessage(LOG_ERR, "AIBinder_Class_getDescriptor: null class");
        abort();
    }
    return clazz->descriptor.c_str();
}

void AIBinder_Class_setHandleShellCommand(AIBinder_Class* clazz,
                                          AIBinder_handleShellCommand handleShellCommand) {
    if (clazz == nullptr) {
        logMessage(LOG_ERR, "AIBinder_Class_setHandleShellCommand: null class");
        abort();
    }
    clazz->handleShellCommand.store(handleShellCommand);
}

AIBinder* AIBinder_new(const AIBinder_Class* clazz, void* args) {
    if (clazz == nullptr) {
        logMessage(LOG_ERR, "AIBinder_new: must provide a class");
        return nullptr;
    }
    void* userData = clazz->onCreate(args);
    AIBinder* binder = new AIBinder();
    binder->clazz = clazz;
    binder->userData = userData;
    binder->identity = std::make_shared<BinderIdentity>();
    binder->identity->binder = binder;
    binder->identity->id = gNextBinderId.fetch_add(1);
    return binder;
}

bool AIBinder_isRemote(const AIBinder* binder) {
    return binder != nullptr && binder->proxy != nullptr;
}

bool AIBinder_isAlive(const AIBinder* binder) {
    return binder != nullptr && !binder->dead.load();
}

binder_status_t AIBinder_ping(AIBinder* binder) {
    if (binder == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    if (binder->dead.load()) {
        return STATUS_DEAD_OBJECT;
    }
    return binder->proxy != nullptr ? binder_host::rpc::ping(binder) : STATUS_OK;
}

binder_status_t AIBinder_dump(AIBinder* binder, int fd, const char** args, uint32_t numArgs) {
    if (binder == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    if (binder->dead.load()) {
        return STATUS_DEAD_OBJECT;
    }
    if (binder->proxy != nullptr) {
        return binder_host::rpc::dump(binder, fd, args, numArgs);
    }
    AIBinder_onDump onDump = binder->clazz->onDump.load();
    if (onDump == nullptr) {
        return STATUS_OK;
    }
    return pruneStatus(onDump(binder, fd, args, numArgs));
}

binder_status_t AIBinder_linkToDeath(AIBinder* binder, AIBinder_DeathRecipient* recipient,
                                     void* cookie) {
    if (binder == nullptr || recipient == nullptr) {
        logMessage(LOG_ERR, "AIBinder_linkToDeath: must provide binder (%p) and recipient (%p)",
                   static_cast<void*>(binder), static_cast<void*>(recipient));
        return STATUS_UNEXPECTED_NULL;
    }
    const std::shared_ptr<RecipientCore>& core = recipient->core;
    auto link = std::make_shared<DeathLink>();
    link->recipient = core;
    link->binder = binder;
    link->cookie = cookie;
    link->onUnlinked = core->onUnlinked.load();
    {
        std::lock_guard<std::mutex> binderLock(binder->mutex);
        if (!binder->dead.load()) {
            {
                std::lock_guard<std::mutex> coreLock(core->mutex);
                core->links.push_back(link);
            }
            auto expired = [](const std::weak_ptr<DeathLink>& l) { return l.expired(); };
            binder->links.erase(std::remove_if(binder->links.begin(), binder->links.end(), expired),
                                binder->links.end());
            binder->links.push_back(link);
            return STATUS_OK;
        }
    }
    // A failed link ends at once.
    fireUnlinked(*link);
    return STATUS_DEAD_OBJECT;
}

binder_status_t AIBinder_unlinkToDeath(AIBinder* binder, AIBinder_DeathRecipient* recipient,
                                       void* cookie) {
    if (binder == nullptr || recipient == nullptr) {
        logMessage(LOG_ERR, "AIBinder_unlinkToDeath: must provide binder (%p) and recipient (%p)",
                   static_cast<void*>(binder), static_cast<void*>(recipient));
        return STATUS_UNEXPECTED_NULL;
    }
    std::shared_ptr<DeathLink> link;
    {
        RecipientCore& core = *recipient->core;
        std::lock_guard<std::mutex> lock(core.mutex);
        // Newest first, like the device.
        for (auto it = core.links.rbegin(); it != core.links.rend(); ++it) {
            if ((*it)->binder == binder && (*it)->cookie == cookie) {
                link = *it;
                core.links.erase(std::next(it).base());
                break;
            }
        }
    }
    if (link == nullptr) {
        return STATUS_NAME_NOT_FOUND;
    }
    fireUnlinked(*link);
    if (binder->dead.load()) {
        logMessage(LOG_ERR, "AIBinder_unlinkToDeath: binder %p is already dead",
                   static_cast<void*>(binder));
        return STATUS_DEAD_OBJECT;
    }
    return STATUS_OK;
}

uid_t AIBinder_getCallingUid() {
    pid_t pid;
    uid_t uid;
    return binder_host::rpc::callingIdentity(&pid, &uid) ? uid : getuid();
}

pid_t AIBinder_getCallingPid() {
    pid_t pid;
    uid_t uid;
    return binder_host::rpc::callingIdentity(&pid, &uid) ? pid : getpid();
}

bool AIBinder_isHandlingTransaction() {
    pid_t pid;
    uid_t uid;
    return binder_host::rpc::callingIdentity(&pid, &uid);
}

void AIBinder_incStrong(AIBinder* binder) {
    if (binder == nullptr) {
        return;
    }
    binder->strong.fetch_add(1, std::memory_order_relaxed);
}

void AIBinder_decStrong(AIBinder* binder) {
    if (binder == nullptr) {
        logMessage(LOG_ERR, "AIBinder_decStrong: on null binder");
        return;
    }
    const int32_t before = binder->strong.fetch_sub(1, std::memory_order_acq_rel);
    if (before == 1) {
        destroyBinder(binder);
    } else if (before <= 0) {
        logMessage(LOG_ERR, "AIBinder_decStrong: binder %p has no strong reference left",
                   static_cast<void*>(binder));
        abort();
    }
}

int32_t AIBinder_debugGetRefCount(AIBinder* binder) {
    if (binder == nullptr) {
        return -1;
    }
    return binder->strong.load(std::memory_order_relaxed);
}

bool AIBinder_associateClass(AIBinder* binder, const AIBinder_Class* clazz) {
    if (binder == nullptr || clazz == nullptr) {
        return false;
    }
    if (binder->proxy != nullptr) {
        // A proxy takes the first class whose descriptor matches the remote object's.
        std::string descriptor;
        if (binder_host::rpc::remoteDescriptor(binder, &descriptor) != STATUS_OK ||
            descriptor != clazz->descriptor) {
            return false;
        }
        std::lock_guard<std::mutex> lock(binder->mutex);
        if (binder->clazz == nullptr) {
            binder->clazz = clazz;
        }
        return true;
    }
    if (binder->clazz == clazz) {
        return true;
    }
    // A local binder's class is fixed when it is created.
    logMessage(LOG_ERR, "AIBinder_associateClass: binder of class '%s' cannot become '%s'",
               binder->clazz->descriptor.c_str(), clazz->descriptor.c_str());
    return false;
}

const AIBinder_Class* AIBinder_getClass(AIBinder* binder) {
    if (binder == nullptr) {
        return nullptr;
    }
    std::lock_guard<std::mutex> lock(binder->mutex);
    return binder->clazz;
}

void* AIBinder_getUserData(AIBinder* binder) {
    return binder == nullptr ? nullptr : binder->userData;
}

AIBinder_Weak* AIBinder_Weak_new(AIBinder* binder) {
    if (binder == nullptr) {
        return nullptr;
    }
    return new AIBinder_Weak{binder->identity};
}

void AIBinder_Weak_delete(AIBinder_Weak* weakBinder) {
    delete weakBinder;
}

AIBinder* AIBinder_Weak_promote(AIBinder_Weak* weakBinder) {
    if (weakBinder == nullptr) {
        return nullptr;
    }
    BinderIdentity& identity = *weakBinder->identity;
    std::lock_guard<std::mutex> lock(identity.mutex);
    AIBinder* binder = identity.binder;
    // A count that reached zero belongs to a binder that is being destroyed.
    return binder != nullptr && binder_host::tryIncStrong(binder) ? binder : nullptr;
}

AIBinder_Weak* AIBinder_Weak_clone(const AIBinder_Weak* weak) {
    if (weak == nullptr) {
        return nullptr;
    }
    return new AIBinder_Weak{weak->identity};
}

bool AIBinder_Weak_lt(const AIBinder_Weak* lhs, const AIBinder_Weak* rhs) {
    if (lhs == nullptr || rhs == nullptr) {
        return lhs == nullptr && rhs != nullptr;
    }
    return lhs->identity->id < rhs->identity->id;
}

bool AIBinder_lt(const AIBinder* lhs, const AIBinder* rhs) {
    if (lhs == nullptr || rhs == nullptr) {
        return lhs == nullptr && rhs != nullptr;
    }
    return lhs->identity->id < rhs->identity->id;
}

AIBinder_DeathRecipient* AIBinder_DeathRecipient_new(
    AIBinder_DeathRecipient_onBinderDied onBinderDied) {
    if (onBinderDied == nullptr) {
        logMessage(LOG_ERR, "AIBinder_DeathRecipient_new: requires a non-null callback");
        return nullptr;
    }
    auto* recipient = new AIBinder_DeathRecipient();
    recipient->core = std::make_shared<RecipientCore>();
    recipient->core->onBinderDied = onBinderDied;
    return recipient;
}

void AIBinder_DeathRecipient_setOnUnlinked(AIBinder_DeathRecipient* recipient,
                                           AIBinder_DeathRecipient_onBinderUnlinked onUnlinked) {
    if (recipient == nullptr) {
        return;
    }
    recipient->core->onUnlinked.store(onUnlinked);
}

void AIBinder_DeathRecipient_delete(AIBinder_DeathRecipient* recipient) {
    if (recipient == nullptr) {
        return;
    }
    std::shared_ptr<RecipientCore> core = std::move(recipient->core);
    delete recipient;

    std::vector<std::shared_ptr<DeathLink>> links;
    {
        std::unique_lock<std::mutex> lock(core->mutex);
        core->deleted = true;
        links.swap(core->links);
        // Once delete returns, no callback of this recipient runs on another thread. A callback
        // that deletes its own recipient is not waited for.
        const std::thread::id self = std::this_thread::get_id();
        core->deliveryDone.wait(lock, [&]() {
            return std::all_of(core->delivering.begin(), core->delivering.end(),
                               [&](const std::thread::id& id) { return id == self; });
        });
    }
    for (const auto& link : links) {
        fireUnlinked(*link);
    }
}

binder_status_t AIBinder_getExtension(AIBinder* binder, AIBinder** outExt) {
    if (outExt == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    if (binder == nullptr) {
        *outExt = nullptr;
        return STATUS_UNEXPECTED_NULL;
    }
    std::lock_guard<std::mutex> lock(binder->mutex);
    *outExt = binder->extension;
    AIBinder_incStrong(*outExt);
    return STATUS_OK;
}

binder_status_t AIBinder_setExtension(AIBinder* binder, AIBinder* ext) {
    if (binder == nullptr || ext == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    AIBinder_incStrong(ext);
    AIBinder* old = nullptr;
    {
        std::lock_guard<std::mutex> lock(binder->mutex);
        old = binder->extension;
        binder->extension = ext;
    }
    if (old != nullptr) {
        AIBinder_decStrong(old);
    }
    return STATUS_OK;
}

binder_status_t AIBinder_prepareTransaction(AIBinder* binder, AParcel** in) {
    if (binder == nullptr || in == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    const AIBinder_Class* clazz = AIBinder_getClass(binder);
    if (clazz == nullptr) {
        return STATUS_INVALID_OPERATION;
    }
    AParcel* parcel = binder_host::newParcelFor(binder);
    if (clazz->writeHeader.load()) {
        binder_status_t status = binder_host::writeInterfaceToken(parcel, clazz->descriptor);
        if (status != STATUS_OK) {
            AParcel_delete(parcel);
            *in = nullptr;
            return status;
        }
    }
    *in = parcel;
    return STATUS_OK;
}

binder_status_t AIBinder_transact(AIBinder* binder, transaction_code_t code, AParcel** in,
                                  AParcel** out, binder_flags_t flags) {
    if (in == nullptr) {
        logMessage(LOG_ERR, "AIBinder_transact: requires a non-null in parameter");
        return STATUS_UNEXPECTED_NULL;
    }
    // The input parcel is consumed on every path.
    std::unique_ptr<AParcel, void (*)(AParcel*)> input(*in, AParcel_delete);
    *in = nullptr;
    if (out != nullptr) {
        *out = nullptr;
    }
    if (code < FIRST_CALL_TRANSACTION || code > LAST_CALL_TRANSACTION) {
        return STATUS_UNKNOWN_TRANSACTION;
    }
    constexpr binder_flags_t kAllowedFlags =
        FLAG_ONEWAY | 0x20 /* clear buf */ | 0x10000000 /* private vendor */;
    if ((flags & ~kAllowedFlags) != 0) {
        logMessage(LOG_ERR, "AIBinder_transact: unknown flags 0x%x", flags);
        return STATUS_BAD_VALUE;
    }
    if (binder == nullptr || input == nullptr || out == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    if (binder_host::parcelTarget(input.get()) != binder) {
        logMessage(LOG_ERR, "AIBinder_transact: parcel was not prepared for this binder");
        return STATUS_BAD_VALUE;
    }
    if (binder->dead.load()) {
        return STATUS_DEAD_OBJECT;
    }
    if (binder->proxy != nullptr) {
        return binder_host::rpc::transact(binder, code, input.get(), out, flags);
    }
    // A local target runs its stub synchronously on this thread, oneway included.
    AParcel* reply = binder_host::newParcelFor(nullptr);
    binder_status_t status = binder_host::transactLocal(binder, code, input.get(), reply);
    if (status != STATUS_OK) {
        AParcel_delete(reply);
        return pruneStatus(status);
    }
    *out = reply;
    return STATUS_OK;
}
