// Keeps a Logs folder that no agent can empty within its budget.
#pragma once

#include <string>

namespace vantra::settings {

// Deletes the oldest ".log" files until the rest take up 10 MiB at most. A file that cannot be read is
// neither counted nor deleted.
void TidyLogsFolder(const std::wstring& logsFolder);

}  // namespace vantra::settings
