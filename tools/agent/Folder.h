// The agent's folders and the documents in them. A document is named by its file's name in UTF-8; files whose
// names are no text are nobody's documents.
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

// What became of an attempt to take a document. kGone and kInUse are no failures: a withdrawal deletes
// documents, and the library or another agent may be at one.
enum class Taken { kDone, kGone, kInUse, kFailed };

class Folder {
 public:
  // The folders of this user; nothing is made.
  Folder();

  // Makes the data folder and Logs. False when they cannot be used.
  [[nodiscard]] bool Make() const;

  // Takes the lock of the one agent that works here, for as long as the handle lives. kInUse when another has
  // it.
  [[nodiscard]] Taken Lock(util::UniqueFile& lock) const;

  // Content of a file of the data folder, and its replacement in one step.
  [[nodiscard]] std::optional<std::string> ReadOwn(std::wstring_view name) const;
  [[nodiscard]] bool WriteOwn(std::wstring_view name, std::string_view content) const;

  // What Sendrix2.cfg says; the defaults when it is not there, nothing when it cannot be read.
  [[nodiscard]] std::optional<settings::ConfigMap> ReadConfig(bool& isThere) const;

  // In no order.
  [[nodiscard]] std::vector<Document> ListFinished() const;
  [[nodiscard]] std::vector<Document> ListRefused() const;

  // Gives the temporary documents that nobody holds open, and that have not changed for so long, their final
  // names, as long as it is allowed. Returns how many.
  size_t FinishAbandoned(std::chrono::seconds age, bool (*isAllowed)()) const;

  // Reads a document whole; no handle stays.
  [[nodiscard]] Taken Read(const std::string& name, std::string& content) const;
  // Delete a document, or move it to the folder Refused, if it still has that content.
  [[nodiscard]] Taken Delete(const std::string& name, std::string_view content) const;
  [[nodiscard]] Taken PutAside(const std::string& name, std::string_view content) const;
  // Moves a document into a folder of the file system, which is made. A name that the folder has already is
  // never replaced: the newcomer's gets a number.
  [[nodiscard]] Taken MoveTo(const std::string& name, const std::wstring& folder) const;

  // Whether a file can be made in a folder of the file system.
  [[nodiscard]] static bool CanWrite(const std::wstring& folder);

  // Deletes the oldest of the finished and the refused documents until the rest fit. Returns how many went.
  size_t HoldBudget(uint64_t bytes) const;

  [[nodiscard]] const std::wstring& Logs() const noexcept { return logs_; }

 private:
  std::wstring data_;
  std::wstring logs_;
  std::wstring refused_;
};

}  // namespace vantra::agent
