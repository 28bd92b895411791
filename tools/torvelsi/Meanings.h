#pragma once

#include <string>

namespace tool {

// The meaning of coded values in words. A value without a known meaning is returned as a number.

/// stream_type (ISO/IEC 13818-1 table 2-34).
std::string StreamTypeMeaning(unsigned int streamType);

/// service_type (ETSI EN 300 468 table 87).
std::string ServiceTypeMeaning(unsigned int serviceType);

/// running_status (ETSI EN 300 468 table 6).
std::string RunningStatusMeaning(unsigned int runningStatus);

/// The meaning of a field of a delivery system descriptor. `system` and `field` have the names of
/// `scan --format json`; a flag has the value 0 or 1. A field that codes a number gives the number.
std::string DeliveryMeaning(const std::string& system, const std::string& field,
                            unsigned int value);

}  // namespace tool
