// Keeps the Logs folder small where no agent can be started.
#pragma once

#include <string>

namespace vantra::settings {

// Deletes the oldest ".log" files until the others take up at most 10 MiB. A file that cannot be opened is
// neither counted nor deleted.
void TidyLogsFolder(const std::wstring& logsFolder);

}  // namespace vantra::settings
