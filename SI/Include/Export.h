#pragma once

// Marks what libtorvelsi offers to its clients. Everything else in it is hidden.
#if defined(__GNUC__)
#define TORVELSI_API __attribute__((visibility("default")))
#else
#define TORVELSI_API
#endif
