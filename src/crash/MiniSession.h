// Small complete documents, each written in one go: of a crash, and of a product's changed opt-in.
#pragma once

#include <cstdint>
#include <string_view>

#include "session/UsageDocument.h"
#include "util/TextBuffer.h"
#include "util/UniqueHandle.h"

namespace vantra::crash {

// The working memory of a mini session, provided by its user so that a crashing process need not allocate.
struct MiniSessionBuffers {
  char record[16 * 1024];
  char name[4 * 1024];
  wchar_t path[1024];
};

struct MiniSessionTexts {
  std::string_view first;   // recorded as the product's family
  std::string_view second;  // recorded as the product's name
  std::string_view third;   // the session id in records, and the last part of the file name
  std::string_view user;
};

// What an opt-in rate file records.
struct OptInRate {
  std::string_view usageKey;
  int32_t baseCount;
  int32_t optInCount;
  uint32_t releaseState;
  std::string_view family;
  std::string_view name;
  std::string_view version;
};

// Writes straight to the final file name, replacing any file there. Failures are logged and otherwise
// ignored. Texts and buffers must outlive the object. Not thread-safe.
class MiniSession {
 public:
  // The folder must end in a backslash.
  MiniSession(const MiniSessionTexts& texts, bool obfuscate, std::wstring_view folder,
              MiniSessionBuffers& buffers);

  // Each writes its document. Always 0.
  int CreateCrashFile();
  int CreateOptInRateFile(const OptInRate& rate);

 private:
  void Open();
  void Append(std::string_view bytes);
  void OpenGroup(std::string_view category, std::string_view subcategory, std::string_view name);
  void AddData(std::string_view name, std::string_view value);
  void AddData(std::string_view name, int32_t number);
  void Start();
  void End();
  // Appends the built record to the file and clears the buffer.
  void Write();

  // The current time and the next record's number, valid until that record is written.
  [[nodiscard]] const session::RecordStamp& Stamp() noexcept;

  MiniSessionTexts texts_;
  bool obfuscate_;
  std::wstring_view folder_;
  MiniSessionBuffers& buffers_;
  util::Counter group_{0};
  util::UniqueFile file_;
  util::TextBuffer record_;
  session::RecordStamp stamp_;
};

}  // namespace vantra::crash
