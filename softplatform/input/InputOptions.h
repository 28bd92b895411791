#pragma once

#include <memory>
#include <string>

#include "softplatform/input/Source.h"

namespace tvservice {

// How an input is read beside the usual way.
struct InputOptions {
    bool loop = false;    // starts again at its end, see LoopSource
    bool follow = false;  // waits for more at its end, see FollowSource
    double pace = 0;  // times real time by its PCRs, see PaceSource; 0: as fast as it can be read
    bool dvr =
        false;  // of a DVB adapter the packets of its dvr device, not the sections of a demux
};

// `source` with the options put around it; it becomes the result's alone. Null on failure: a source
// that cannot be read again is not looped or followed, one that is live is not looped, followed or
// paced, and none is both looped and followed; `error` then receives one line that names the source
// and the reason. Otherwise `error` is left alone.
std::shared_ptr<Source> WithOptions(std::shared_ptr<Source> source, const InputOptions& options,
                                    std::string& error);

}  // namespace tvservice
