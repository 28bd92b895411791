// The groups of declarations, one a file of this folder.
#pragma once

#include "syntax/Declare.h"

namespace syntax {

GroupView MpegTables();
GroupView DvbTables();
GroupView OtherTables();
GroupView MpegDescriptors();
GroupView DvbDescriptors();

}  // namespace syntax
