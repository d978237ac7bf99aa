#pragma once

#include <cassert>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <type_traits>

namespace zefa::pelno {

/// Creation policy: the object lives in static storage reserved for its type, so making
/// it allocates nothing. A type without a default constructor is built from a null
/// pointer, which suits QObject classes whose constructor takes the parent.
template <class T> struct CreateStatic {
    static T* create() { return construct<T>(0); }
    static void destroy(T* object) { object->~T(); }

private:
    static void* storage()
    {
        alignas(T) static unsigned char buffer[sizeof(T)];
        return buffer;
    }

    template <class U> static auto construct(int) -> decltype(::new (storage()) U())
    {
        return ::new (storage()) U();
    }

    template <class U> static auto construct(long) -> decltype(::new (storage()) U(nullptr))
    {
        return ::new (storage()) U(nullptr);
    }
};

/// Lifetime policy: destroyed at process exit through `atexit`, in the reverse order of
/// creation like any other static object. Using the object after that is a programming
/// error and throws std::logic_error("Dead Reference Detected").
template <class T> struct DefaultLifetime {
    static void scheduleDestruction(T*, void (*destroy)()) { std::atexit(destroy); }
    [[noreturn]] static void onDeadReference()
    {
        throw std::logic_error("Dead Reference Detected");
    }
};

/// Threading policy: no lock at all. The first use must happen in the thread that uses
/// the object ever after.
template <class T> struct SingleThreaded {
    struct Lock {
        Lock() = default;
    };
};

/// A process-wide instance of T, made on first use by the creation policy and destroyed
/// when the lifetime policy says.
///
/// Example: `SingletonHolder<Manager>::instance()` returns the one Manager, built in static
/// storage at the first call and destroyed at exit. A call after that destruction throws
/// "Dead Reference Detected" once and forgets that the object died, so the next call
/// builds a new one. Destroying twice fails the assertion "!destroyed_".
template <class T, template <class> class CreationPolicy = CreateStatic,
    template <class> class LifetimePolicy = DefaultLifetime,
    template <class> class ThreadingModel = SingleThreaded>
class SingletonHolder {
public:
    using ObjectType = T;

    static T& instance()
    {
        if (instance_ == nullptr) {
            typename ThreadingModel<T>::Lock guard;
            (void)guard;
            if (instance_ == nullptr) {
                if (destroyed_) {
                    destroyed_ = false;
                    LifetimePolicy<T>::onDeadReference();
                }
                instance_ = CreationPolicy<T>::create();
                LifetimePolicy<T>::scheduleDestruction(instance_, &destroySingleton);
            }
        }
        return *instance_;
    }

    SingletonHolder() = delete;

private:
    static void destroySingleton()
    {
        assert(!destroyed_);
        CreationPolicy<T>::destroy(instance_);
        instance_ = nullptr;
        destroyed_ = true;
    }

    static inline T* instance_ = nullptr;
    static inline bool destroyed_ = false;
};

} // namespace zefa::pelno
