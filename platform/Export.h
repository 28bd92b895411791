#pragma once

// Marks what a platform library offers to its clients. Everything else in such a library is hidden.
#if defined(__GNUC__)
#define TVSERVICE_API __attribute__((visibility("default")))
#else
#define TVSERVICE_API
#endif

/// The platform's own door to the private parts of the classes that these headers declare.
///
/// Every class befriends this one struct and nothing else. A platform defines it for itself, as it
/// likes, beside its definitions of the nested `Impl` structs; clients never see it.
struct TVServiceInternals;
