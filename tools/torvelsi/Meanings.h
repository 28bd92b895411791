#pragma once

#include <string>

namespace tool {

// What coded values mean, in words; a number for values that have no meaning yet.

/// stream_type (ISO/IEC 13818-1 table 2-34).
std::string StreamTypeMeaning(unsigned int streamType);

/// service_type (ETSI EN 300 468 table 87).
std::string ServiceTypeMeaning(unsigned int serviceType);

/// running_status (ETSI EN 300 468 table 6).
std::string RunningStatusMeaning(unsigned int runningStatus);

/// The value of a field of a delivery system descriptor, both as in `scan --format json`, of
/// a flag 0 or 1; the number alone for fields that code a number.
std::string DeliveryMeaning(const std::string& system, const std::string& field,
                            unsigned int value);

}  // namespace tool
