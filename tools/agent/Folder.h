// The agent's folders and the documents in them. A document is identified by its file name in UTF-8; files
// whose names cannot be converted are ignored. Not thread-safe.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/Queue.h"
#include "settings/AgentConfig.h"
#include "util/UniqueHandle.h"

namespace vantra::agent {

// The result of an operation on a file. kGone and kInUse are no failures: a withdrawal of consent deletes
// documents, and the library or another agent may be using one.
enum class Taken { kDone, kGone, kInUse, kFailed };

class Folder {
 public:
  // The folders of this user. Creates nothing.
  Folder();

  // Creates the data folder and Logs. False when they cannot be used.
  [[nodiscard]] bool Make() const;

  // Takes the lock that only one agent of this user can hold; held as long as the handle is open. kInUse when
  // another agent has it.
  [[nodiscard]] Taken Lock(util::UniqueFile& lock) const;

  // Reads and atomically replaces a file of the data folder.
  [[nodiscard]] std::optional<std::string> ReadOwn(std::wstring_view name) const;
  [[nodiscard]] bool WriteOwn(std::wstring_view name, std::string_view content) const;

  // The entries of Sendrix2.cfg; the defaults when it does not exist, empty when it cannot be read. isThere
  // receives whether it exists.
  [[nodiscard]] std::optional<settings::ConfigMap> ReadConfig(bool& isThere) const;

  // In no order.
  [[nodiscard]] std::vector<Document> ListFinished() const;
  [[nodiscard]] std::vector<Document> ListRefused() const;

  // Gives temporary documents their final names if nobody has them open and they have not changed for this
  // long. Asks isAllowed before each. Returns how many were renamed.
  size_t FinishAbandoned(std::chrono::seconds age, bool (*isAllowed)()) const;

  // Reads a whole document and closes it.
  [[nodiscard]] Taken Read(const std::string& name, std::string& content) const;
  // Delete a document, or move it to the folder Refused, if it still has this content; else kInUse.
  [[nodiscard]] Taken Delete(const std::string& name, std::string_view content) const;
  [[nodiscard]] Taken PutAside(const std::string& name, std::string_view content) const;
  // Moves a document into any folder, creating that if necessary. A file there is never replaced: a document
  // of the same name gets a number.
  [[nodiscard]] Taken MoveTo(const std::string& name, const std::wstring& folder) const;

  // Whether a file can be created in the folder.
  [[nodiscard]] static bool CanWrite(const std::wstring& folder);

  // Deletes the oldest finished and refused documents until the others take up at most this many bytes.
  // Returns how many were deleted.
  size_t HoldBudget(uint64_t bytes) const;

  [[nodiscard]] const std::wstring& Logs() const noexcept { return logs_; }

 private:
  std::wstring data_;
  std::wstring logs_;
  std::wstring refused_;
};

}  // namespace vantra::agent
