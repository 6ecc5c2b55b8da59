// Disks that fail, through the system below Wine. False where that is not there or does not allow it.
#pragma once

#include "stage/Case.h"

namespace vantra::stage {

// From now on no file of this process grows beyond so many bytes: a write across the limit is cut short, the
// next one fails.
[[nodiscard]] bool LimitFiles(uint64_t bytes);

// An empty volume of that size over the folder, until it is unmounted.
[[nodiscard]] bool MountVolume(const Path& folder, uint64_t bytes);
bool Unmount(const Path& folder);

// Whether entries of the folder can be made, removed and renamed.
[[nodiscard]] bool SetWritable(const Path& folder, bool isWritable);

}  // namespace vantra::stage
