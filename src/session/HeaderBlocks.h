// The groups with which every session describes itself, its machine and its host.
#pragma once

namespace vantra::session {

class UsageSession;

// Writes all blocks in their order and tells the session which group its own block is.
void WriteHeaderBlocks(UsageSession& session);

}  // namespace vantra::session
