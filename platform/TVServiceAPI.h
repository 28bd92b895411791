#pragma once

#include "Export.h"

class ISectionSubscriber;

/// The part of the receiver that a section subscriber serves. The SI layer always passes this
/// value.
enum EProfile { PROFILE_MAIN = 1 };

/// Entry point of the SI service library.
class TVSERVICE_API TVServiceAPI {
  public:
    /// The platform calls it for every section that matches a filter, on a thread of its own, one
    /// section at a time. `data` has `length` bytes, table_id first; the platform owns them, and
    /// they are valid during the call only. `id` is the id of the subscription. The SI layer
    /// ignores the first argument. The callback may call the subscriber.
    using SectionCallback = void (*)(bool, unsigned short length, unsigned char* data, int id);

    /// Makes the subscriber through which filters are set.
    ///
    /// @param callback    never null; valid as long as the process
    /// @param profile     `PROFILE_MAIN`
    /// @param parameter   0
    /// @param subscriber  never null; receives the subscriber, or null when there is none
    /// @return 1 on success; the SI layer ignores it and looks at the pointer instead
    ///
    /// It must not call `callback` on the calling thread before it returns.
    static int CreateSectionSubscriber(SectionCallback callback, EProfile profile, int parameter,
                                       ISectionSubscriber** subscriber);
};
