// Binder NDK C++ interface base classes: SharedRefBase, ICInterface, BnCInterface, BpCInterface.
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>

#if __has_include(<android/binder_shell.h>)
#include <android/binder_shell.h>
#define HAS_BINDER_SHELL_COMMAND
#endif

#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <type_traits>

namespace ndk {

// Base of every object shared through std::shared_ptr and binders. Create only with make<T>().
class SharedRefBase {
  public:
    SharedRefBase() {}
    virtual ~SharedRefBase() {
        std::call_once(mFlagThis, [&]() {
            internal::assertFailed(__FILE__, "SharedRefBase: no ref created during lifetime");
        });
        if (ref() != nullptr) {
            internal::assertFailed(__FILE__,
                                   "SharedRefBase: destructed but still able to lock weak_ptr. Is "
                                   "this object double-owned?");
        }
    }

    // The shared_ptr that owns this object; the first call creates it.
    std::shared_ptr<SharedRefBase> ref() {
        std::shared_ptr<SharedRefBase> thiz = mThis.lock();
        std::call_once(mFlagThis, [&]() { mThis = thiz = std::shared_ptr<SharedRefBase>(this); });
        return thiz;
    }

    template <typename CHILD>
    std::shared_ptr<CHILD> ref() {
        return std::static_pointer_cast<CHILD>(ref());
    }

    // The weak side of ref(): does not keep the object alive.
    std::weak_ptr<SharedRefBase> weakRef() {
        ref();
        return mThis;
    }

    // The only supported way to create a SharedRefBase-derived object.
    template <class T, class... Args>
    static std::shared_ptr<T> make(Args&&... args) {
        T* t = new T(std::forward<Args>(args)...);
        return t->template ref<T>();
    }

    static void operator delete(void* p) { std::free(p); }

  private:
    // Private so that objects cannot be created outside make() and then double-owned.
    static void* operator new(size_t s) { return std::malloc(s); }

    std::once_flag mFlagThis;
    std::weak_ptr<SharedRefBase> mThis;
};

// Base of every generated interface, local or remote.
class ICInterface : public SharedRefBase {
  public:
    ICInterface() {}
    virtual ~ICInterface() {}

    virtual SpAIBinder asBinder() = 0;
    virtual bool isRemote() = 0;

    // Dumps the object; the fd is not owned.
    virtual inline binder_status_t dump(int fd, const char** args, uint32_t numArgs);

#ifdef HAS_BINDER_SHELL_COMMAND
    virtual inline binder_status_t handleShellCommand(int in, int out, int err, const char** argv,
                                                      uint32_t argc);
#endif

    // The local implementation behind binder, or NULL (always NULL for remote binders). Only
    // valid after AIBinder_associateClass succeeded with this interface's class.
    static inline std::shared_ptr<ICInterface> asInterface(AIBinder* binder);

    // Defines a binder class whose instances forward to an ICInterface.
    static inline AIBinder_Class* defineClass(const char* interfaceDescriptor,
                                              AIBinder_Class_onTransact onTransact);

  private:
    // User data of a local binder: keeps the implementation alive as long as the binder.
    class ICInterfaceData {
      public:
        std::shared_ptr<ICInterface> interface;

        static inline std::shared_ptr<ICInterface> getInterface(AIBinder* binder);
        static inline void* onCreate(void* args);
        static inline void onDestroy(void* userData);
        static inline binder_status_t onDump(AIBinder* binder, int fd, const char** args,
                                             uint32_t numArgs);
#ifdef HAS_BINDER_SHELL_COMMAND
        static inline binder_status_t handleShellCommand(AIBinder* binder, int in, int out, int err,
                                                         const char** argv, uint32_t argc);
#endif
    };
};

// Local (server) side of interface INTERFACE; the binder is created lazily and shared.
template <typename INTERFACE>
class BnCInterface : public INTERFACE {
  public:
    BnCInterface() {}
    virtual ~BnCInterface() {}

    SpAIBinder asBinder() override final;
    bool isRemote() override final { return false; }

    static std::string makeServiceName(std::string_view instance) {
        return (std::string(INTERFACE::descriptor) + "/").append(instance);
    }

  protected:
    // Creates a new binder whose user data refers to this object.
    virtual SpAIBinder createBinder() = 0;

  private:
    std::mutex mMutex;
    ScopedAIBinder_Weak mWeakBinder;
};

// Remote (proxy) side of interface INTERFACE.
template <typename INTERFACE>
class BpCInterface : public INTERFACE {
  public:
    explicit BpCInterface(const SpAIBinder& binder) : mBinder(binder) {}
    virtual ~BpCInterface() {}

    SpAIBinder asBinder() override final { return mBinder; }
    bool isRemote() override final { return AIBinder_isRemote(mBinder.get()); }

    binder_status_t dump(int fd, const char** args, uint32_t numArgs) override {
        return AIBinder_dump(asBinder().get(), fd, args, numArgs);
    }

  private:
    SpAIBinder mBinder;
};

binder_status_t ICInterface::dump(int /*fd*/, const char** /*args*/, uint32_t /*numArgs*/) {
    return STATUS_OK;
}

#ifdef HAS_BINDER_SHELL_COMMAND
binder_status_t ICInterface::handleShellCommand(int /*in*/, int /*out*/, int /*err*/,
                                                const char** /*argv*/, uint32_t /*argc*/) {
    return STATUS_OK;
}
#endif

std::shared_ptr<ICInterface> ICInterface::asInterface(AIBinder* binder) {
    return ICInterfaceData::getInterface(binder);
}

AIBinder_Class* ICInterface::defineClass(const char* interfaceDescriptor,
                                         AIBinder_Class_onTransact onTransact) {
    AIBinder_Class* clazz = AIBinder_Class_define(interfaceDescriptor, ICInterfaceData::onCreate,
                                                  ICInterfaceData::onDestroy, onTransact);
    if (clazz == nullptr) {
        return nullptr;
    }
    AIBinder_Class_setOnDump(clazz, ICInterfaceData::onDump);
#ifdef HAS_BINDER_SHELL_COMMAND
    AIBinder_Class_setHandleShellCommand(clazz, ICInterfaceData::handleShellCommand);
#endif
    return clazz;
}

std::shared_ptr<ICInterface> ICInterface::ICInterfaceData::getInterface(AIBinder* binder) {
    if (binder == nullptr) {
        return nullptr;
    }
    void* userData = AIBinder_getUserData(binder);
    if (userData == nullptr) {
        return nullptr;
    }
    return static_cast<ICInterfaceData*>(userData)->interface;
}

void* ICInterface::ICInterfaceData::onCreate(void* args) {
    std::shared_ptr<ICInterface> interface = static_cast<ICInterface*>(args)->ref<ICInterface>();
    ICInterfaceData* data = new ICInterfaceData{interface};
    return static_cast<void*>(data);
}

void ICInterface::ICInterfaceData::onDestroy(void* userData) {
    delete static_cast<ICInterfaceData*>(userData);
}

binder_status_t ICInterface::ICInterfaceData::onDump(AIBinder* binder, int fd, const char** args,
                                                     uint32_t numArgs) {
    std::shared_ptr<ICInterface> interface = getInterface(binder);
    if (interface != nullptr) {
        return interface->dump(fd, args, numArgs);
    }
    return STATUS_DEAD_OBJECT;
}

#ifdef HAS_BINDER_SHELL_COMMAND
binder_status_t ICInterface::ICInterfaceData::handleShellCommand(AIBinder* binder, int in, int out,
                                                                 int err, const char** argv,
                                                                 uint32_t argc) {
    std::shared_ptr<ICInterface> interface = getInterface(binder);
    if (interface != nullptr) {
        return interface->handleShellCommand(in, out, err, argv, argc);
    }
    return STATUS_DEAD_OBJECT;
}
#endif

template <typename INTERFACE>
SpAIBinder BnCInterface<INTERFACE>::asBinder() {
    std::lock_guard<std::mutex> l(mMutex);

    SpAIBinder binder;
    if (mWeakBinder.get() != nullptr) {
        binder.set(AIBinder_Weak_promote(mWeakBinder.get()));
    }
    if (binder.get() == nullptr) {
        binder = createBinder();
        mWeakBinder.set(AIBinder_Weak_new(binder.get()));
    }
    return binder;
}

namespace internal {

template <typename T, typename = void>
struct is_complete_type : std::false_type {};

template <typename T>
struct is_complete_type<T, std::void_t<decltype(sizeof(T))>> : std::true_type {};

template <typename T>
inline constexpr bool is_shared_ref_base_v =
    std::conjunction_v<is_complete_type<T>, std::is_base_of<SharedRefBase, T>>;

}  // namespace internal

}  // namespace ndk

// Misuse traps: these objects must be created with SharedRefBase::make, never with the standard
// factories, which would give them a second owner.
namespace std {

template <typename T, typename... Args,
          typename = std::enable_if_t<::ndk::internal::is_shared_ref_base_v<T>>>
shared_ptr<T> make_shared(Args&&...) {  // SEE COMMENT ABOVE
    static_assert(!::ndk::internal::is_shared_ref_base_v<T>,
                  "use ndk::SharedRefBase::make<T>() to create SharedRefBase objects");
    return nullptr;
}

template <typename T, typename... Args,
          typename = std::enable_if_t<::ndk::internal::is_shared_ref_base_v<T>>>
unique_ptr<T> make_unique(Args&&...) {  // SEE COMMENT ABOVE
    static_assert(!::ndk::internal::is_shared_ref_base_v<T>,
                  "use ndk::SharedRefBase::make<T>() to create SharedRefBase objects");
    return nullptr;
}

}  // namespace std
