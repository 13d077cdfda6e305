// Looking for processes that use the region without its locks.
#pragma once

namespace nuv {

/// Whether some living process may have the region open without its presence lock, as a library
/// that was built before these locks has, or mapped without any descriptor of it. Where a process
/// of another user cannot be examined, the answer is yes unless it has no shared-memory page at
/// all.
bool may_have_old_neighbours(int region_fd);

}  // namespace nuv
