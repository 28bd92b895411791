#pragma once

// Marks what a platform library offers to its clients. Everything else in such a library is hidden.
#if defined(__GNUC__)
#define TVSERVICE_API __attribute__((visibility("default")))
#else
#define TVSERVICE_API
#endif

/// The platform's access to the private members of the classes that these headers declare.
///
/// Every class befriends this struct and nothing else. Each platform defines it in its own way,
/// beside its definitions of the nested `Impl` structs. Clients never see the definition.
struct TVServiceInternals;
