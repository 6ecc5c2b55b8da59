// One run of a host product's recording, from its start call to its close call.
#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <string_view>

#include "session/DocumentSeries.h"
#include "session/SessionFile.h"
#include "session/UsageDocument.h"
#include "util/Counter.h"
#include "util/TextBuffer.h"
#include "util/TimeStamp.h"

namespace vantra::session {

// A session records only when more bytes than these are free as it starts.
constexpr uint64_t kLeastFreeSpace = 10'485'760;

// Builds the records and counts them; every call goes to the disk in one write before it returns. A session
// that cannot write disables itself for good, and its operations then do nothing. Not thread-safe: the lock
// of the exported functions is held across each call.
class UsageSession {
 public:
  // Starts a session with its document: prologue, StartSession and the header blocks. The texts are copied;
  // an empty folder is one that could not be found.
  [[nodiscard]] static std::unique_ptr<UsageSession> Create(const ProductTexts& product,
                                                            const std::wstring& logsFolder);

  UsageSession(const UsageSession&) = delete;
  UsageSession& operator=(const UsageSession&) = delete;
  // Closes an open file, which keeps its temporary name.
  ~UsageSession() = default;

  void LogEvent(const Labels& labels);

  // The new group's number, or -1 when the session is disabled.
  int32_t NewGroup(const Labels& labels);

  // Writes nothing when name or value is absent. The group's number is not checked.
  void AddToGroup(int32_t group, const FreeText& name, const FreeText& value);

  // Ends the document and finishes its file, when there is one. A user who has withdrawn is heeded in any
  // case.
  void Close();

  // Closes the file and records nothing from now on. Also for the crash filter, which may come in the middle
  // of another thread's call.
  void Silence() noexcept;

  // True for the first caller, which writes the session's crash document.
  [[nodiscard]] bool ClaimCrashDocument() noexcept { return !isCrashDocumentClaimed_.test_and_set(); }

  [[nodiscard]] bool IsEnabled() const noexcept { return enabled_; }
  // The group of the session's own values, opened by its start.
  [[nodiscard]] int32_t SessionGroup() const noexcept { return group_; }
  [[nodiscard]] int32_t LastGroup() const noexcept { return lastGroup_.Value(); }

  [[nodiscard]] ProductTexts Product() const noexcept;
  [[nodiscard]] const std::string& User() const noexcept { return user_; }
  [[nodiscard]] const std::string& Id() const noexcept { return id_; }
  [[nodiscard]] SessionFile& File() noexcept { return file_; }
  [[nodiscard]] const SessionFile& File() const noexcept { return file_; }

 private:
  UsageSession(const ProductTexts& product, std::wstring logsFolder, bool enabled, std::string user,
               std::string id);

  [[nodiscard]] bool IsWriting() const noexcept { return enabled_ && file_.IsOpen(); }
  // The present time and the number of the next record, good until it is written.
  [[nodiscard]] const RecordStamp& Stamp() noexcept;
  void Start();
  void EndSession();
  void Split();

  // The buffer for a new record, whatever became of the last one.
  [[nodiscard]] util::TextBuffer& Fresh() noexcept;
  // Writes the built record and counts it; false when that failed and the session is disabled now.
  bool Write();
  // Writes the built record, and splits the document when that is due.
  void Record();
  [[nodiscard]] bool IsDeliveryAllowed() const;
  // Delivers or deletes the document whose file has just been closed.
  void FinishDocument();

  SessionFile file_;
  // Under which the session was started.
  std::string usageKey_;
  bool enabled_;
  util::Counter lastGroup_{0};
  int32_t group_ = 0;
  DocumentSeries documents_;
  std::string id_;
  std::string user_;
  std::string family_;
  std::string name_;
  std::string version_;
  std::string build_;
  std::string language_;
  std::string startTime_;
  util::TextBuffer record_;
  RecordStamp stamp_;
  std::atomic_flag isCrashDocumentClaimed_;
};

// The open sessions of the process, in the order of their starts.
using SessionList = std::list<UsageSession*>;

}  // namespace vantra::session
