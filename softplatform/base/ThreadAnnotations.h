#pragma once

// What a lock protects, said so that Clang's -Wthread-safety checks it; nothing elsewhere.

#if defined(__clang__)
#define TV_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define TV_THREAD_ATTRIBUTE(x)
#endif

// On a type: it is a lock, or holds one for its lifetime.
#define TV_CAPABILITY(name) TV_THREAD_ATTRIBUTE(capability(name))
#define TV_SCOPED_CAPABILITY TV_THREAD_ATTRIBUTE(scoped_lockable)

// On a data member: only read or written (the pointee: only through the pointer) under the lock.
#define TV_GUARDED_BY(lock) TV_THREAD_ATTRIBUTE(guarded_by(lock))
#define TV_PT_GUARDED_BY(lock) TV_THREAD_ATTRIBUTE(pt_guarded_by(lock))

// On a function: its caller holds the lock, or must not hold it.
#define TV_REQUIRES(...) TV_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define TV_EXCLUDES(...) TV_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))

// On a function: it takes or gives up the lock.
#define TV_ACQUIRE(...) TV_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define TV_TRY_ACQUIRE(...) TV_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define TV_RELEASE(...) TV_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))

// On a function that returns a reference to the lock.
#define TV_RETURN_CAPABILITY(lock) TV_THREAD_ATTRIBUTE(lock_returned(lock))

// On a function whose locking the analysis cannot follow; a comment says why.
#define TV_NO_THREAD_SAFETY_ANALYSIS TV_THREAD_ATTRIBUTE(no_thread_safety_analysis)
