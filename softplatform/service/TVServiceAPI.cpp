#include "platform/TVServiceAPI.h"

#include "softplatform/service/Receiver.h"

int TVServiceAPI::CreateSectionSubscriber(SectionCallback callback, EProfile profile, int,
                                          ISectionSubscriber** subscriber) {
    *subscriber = nullptr;
    if (callback == nullptr || profile != PROFILE_MAIN) {
        return 0;
    }
    *subscriber = &tvservice::Receiver::Instance().MakeSubscriber(callback);
    return 1;
}
