#include "softplatform/input/dvb/DvbSource.h"

#include <cerrno>
#include <functional>
#include <optional>

#include "softplatform/input/ErrorText.h"
#include "softplatform/input/dvb/DvbAddress.h"
#include "softplatform/input/dvb/KernelDemuxDevice.h"

namespace tvservice {

std::shared_ptr<DvbSource> DvbSource::Open(const std::string& uri, std::string& error) {
    const std::optional<DvbPaths> paths = ParseDvbAddress(uri, error);
    if (!paths) {
        return nullptr;
    }
    auto source = std::make_shared<DvbSource>(uri, paths->demux, KernelDemuxDevice::Open);
    return source->Probe(error) ? source : nullptr;
}

std::unique_ptr<DvbDemux> DvbSource::OpenDemux(DvbDemuxSink& sink) const {
    return std::make_unique<DvbDemux>(path_, open_, sink, std::function<void()>());
}

bool DvbSource::Probe(std::string& error) const {
    int reason = EINTR;
    while (reason == EINTR) {
        reason = 0;
        open_(path_, reason);
    }
    if (reason != 0) {
        error = OpenErrorText(path_, reason);
    }
    return reason == 0;
}

}  // namespace tvservice
