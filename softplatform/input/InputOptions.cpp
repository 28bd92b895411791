#include "softplatform/input/InputOptions.h"

#include <cmath>
#include <system_error>
#include <utility>

#include "softplatform/input/ErrorText.h"
#include "softplatform/input/FollowSource.h"
#include "softplatform/input/LoopSource.h"
#include "softplatform/input/PaceSource.h"
#include "softplatform/input/Timer.h"

namespace tvservice {

namespace {

// Why not; null when nothing speaks against it.
const char* Objection(const Source& source, const InputOptions& options) {
    if (options.loop && options.follow) {
        return ": it is either looped or followed";
    }
    if (source.live() && (options.loop || options.follow)) {
        return ": it has no end at which to go on";
    }
    if (!source.rewindable() && options.loop) {
        return ": what cannot be read again cannot be looped";
    }
    if (!source.rewindable() && options.follow) {
        return ": only a file can be followed";
    }
    if (source.live() && options.pace != 0) {
        return ": it comes at a pace of its own";
    }
    if (options.pace < 0 || !std::isfinite(options.pace)) {
        return ": the pace is no number above 0";
    }
    return nullptr;
}

}  // namespace

std::shared_ptr<Source> WithOptions(std::shared_ptr<Source> source, const InputOptions& options,
                                    std::string& error) {
    if (const char* objection = Objection(*source, options)) {
        error = "cannot open " + Visible(source->name()) + objection;
        return nullptr;
    }
    try {
        if (options.loop) {
            source = std::make_shared<LoopSource>(std::move(source));
        }
        if (options.follow) {
            source =
                std::make_shared<FollowSource>(std::move(source), std::make_unique<SystemTimer>());
        }
        if (options.pace != 0) {
            source = std::make_shared<PaceSource>(std::move(source),
                                                  std::make_unique<SystemTimer>(), options.pace);
        }
    } catch (const std::system_error& noTimer) {
        error = OpenErrorText(source->name(), noTimer.code().value());
        return nullptr;
    }
    return source;
}

}  // namespace tvservice
