// The groups in which every session describes itself, its machine and its host.
#pragma once

namespace vantra::session {

class UsageSession;

// Writes all blocks in their fixed order. The first one fills the group that the session has opened for its
// own values.
void WriteHeaderBlocks(UsageSession& session);

}  // namespace vantra::session
