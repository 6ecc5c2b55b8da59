// One session: a run of a host product's recording, from its start call to its close call.
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

// A session records only if more than this many bytes are free at its start.
constexpr uint64_t kLeastFreeSpace = 10'485'760;

// Builds, numbers and writes the records. Every call writes its record to the file before it returns. A
// session that cannot write disables itself for good; its operations then do nothing. Not thread-safe: the
// lock of the exported functions is held across each call.
class UsageSession {
 public:
  // Creates a session and writes the start of its document: prologue, StartSession and the header blocks. The
  // texts are copied. An empty logsFolder stands for an unknown one. Never null; the session may be disabled.
  [[nodiscard]] static std::unique_ptr<UsageSession> Create(const ProductTexts& product,
                                                            const std::wstring& logsFolder);

  UsageSession(const UsageSession&) = delete;
  UsageSession& operator=(const UsageSession&) = delete;
  // Closes an open file, which keeps its temporary name.
  ~UsageSession() = default;

  void LogEvent(const Labels& labels);

  // Opens a group. Returns its number, or -1 when the session is disabled.
  int32_t NewGroup(const Labels& labels);

  // Adds a value to a group, unless name or value is absent. The number is not checked.
  void AddToGroup(int32_t group, const FreeText& name, const FreeText& value);

  // Ends the document and delivers or deletes its file. If the user has withdrawn consent, empties the folder
  // even when no file is open.
  void Close();

  // Closes the file and records nothing from now on. The crash filter may call it in the middle of another
  // thread's call.
  void Silence() noexcept;

  // True for the first caller only, which then writes the session's crash document. Thread-safe.
  [[nodiscard]] bool ClaimCrashDocument() noexcept { return !isCrashDocumentClaimed_.test_and_set(); }

  [[nodiscard]] bool IsEnabled() const noexcept { return enabled_; }
  // The group of the session's own values.
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
  // The current time and the next record's number, valid until that record is written.
  [[nodiscard]] const RecordStamp& Stamp() noexcept;
  void Start();
  void EndSession();
  void Split();

  // The record buffer, cleared.
  [[nodiscard]] util::TextBuffer& ClearedRecord() noexcept;
  // Writes and counts the built record. False when the write failed, which disables the session.
  bool Write();
  // Writes the built record, and splits the document when it is large enough.
  void Record();
  [[nodiscard]] bool IsDeliveryAllowed() const;
  // Delivers or deletes the document; its file must be closed.
  void FinishDocument();

  SessionFile file_;
  // The key declared when the session started.
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
