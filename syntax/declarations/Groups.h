// The groups of declarations, and the file in this folder that has each.
#pragma once

#include "syntax/Declare.h"

namespace syntax {

GroupView MpegTables();
GroupView DvbTables();
GroupView OtherTables();
GroupView MpegDescriptors();
GroupView MpegExtensionDescriptors();  // MpegDescriptors.cpp
GroupView DvbDescriptors();
GroupView DvbExtensionDescriptors();  // DvbExtensions.cpp
GroupView ApplicationDescriptors();   // Applications.cpp
GroupView PrivateDescriptors();       // Private.cpp
GroupView IsdbDescriptors();
GroupView AtscDescriptors();
// In OtherTables.cpp
GroupView UpdateDescriptors();
GroupView IpMacDescriptors();
GroupView CarouselDescriptors();
GroupView SpliceDescriptors();
GroupView ResolutionDescriptors();

}  // namespace syntax
