#pragma once

#include "Export.h"

class ISectionSubscriber;

/// Which part of the receiver a section subscriber serves. The SI layer always passes this value.
enum EProfile { PROFILE_MAIN = 1 };

/// Entry point of the SI service library.
class TVSERVICE_API TVServiceAPI {
  public:
    /// Called for every section that matches a filter, on a thread of the platform's own, one
    /// section at a time. `length` bytes at `data`, from table_id on, are the platform's and valid
    /// during the call only. `id` is what the subscription named. The first argument has no
    /// meaning for the SI layer. A callback may call the subscriber.
    using SectionCallback = void (*)(bool, unsigned short length, unsigned char* data, int id);

    /// Makes the subscriber through which filters are set.
    ///
    /// @param callback    never null; valid as long as the process
    /// @param profile     `PROFILE_MAIN`
    /// @param parameter   0
    /// @param subscriber  never null; receives the subscriber, or null when there is none
    /// @return 1 on success; the SI layer ignores it and looks at the pointer instead
    ///
    /// Must not call `callback` from inside this call on the calling thread.
    static int CreateSectionSubscriber(SectionCallback callback, EProfile profile, int parameter,
                                       ISectionSubscriber** subscriber);
};
