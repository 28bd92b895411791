#pragma once

// Annotations that say which lock protects what. Clang checks them with -Wthread-safety; other
// compilers see nothing of them.

#if defined(__clang__)
#define TV_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define TV_THREAD_ATTRIBUTE(x)
#endif

// On a type: it is a lock, or it holds one for as long as it lives.
#define TV_CAPABILITY(name) TV_THREAD_ATTRIBUTE(capability(name))
#define TV_SCOPED_CAPABILITY TV_THREAD_ATTRIBUTE(scoped_lockable)

// On a data member: it is read and written only under the lock. The PT form is for what a pointer
// points to.
#define TV_GUARDED_BY(lock) TV_THREAD_ATTRIBUTE(guarded_by(lock))
#define TV_PT_GUARDED_BY(lock) TV_THREAD_ATTRIBUTE(pt_guarded_by(lock))

// On a function: its caller must hold the lock, or must not hold it.
#define TV_REQUIRES(...) TV_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define TV_EXCLUDES(...) TV_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))

// On a function: it locks or unlocks.
#define TV_ACQUIRE(...) TV_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define TV_TRY_ACQUIRE(...) TV_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define TV_RELEASE(...) TV_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))

// On a function that returns a reference to the lock.
#define TV_RETURN_CAPABILITY(lock) TV_THREAD_ATTRIBUTE(lock_returned(lock))

// On a function whose locking the analysis cannot follow; a comment says why.
#define TV_NO_THREAD_SAFETY_ANALYSIS TV_THREAD_ATTRIBUTE(no_thread_safety_analysis)
