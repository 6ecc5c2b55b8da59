// Small complete documents that are written at one go: of a crash, and of a change of a product's opt-in.
#pragma once

#include <cstdint>
#include <string_view>

#include "session/UsageDocument.h"
#include "util/TextBuffer.h"
#include "util/UniqueHandle.h"

namespace vantra::crash {

// All the memory that a mini session works in, provided by its user so that a crashing process needs none.
struct MiniSessionBuffers {
  char record[16 * 1024];
  char name[4 * 1024];
  wchar_t path[1024];
};

struct MiniSessionTexts {
  std::string_view first;   // recorded as the product's family
  std::string_view second;  // recorded as the product's name
  std::string_view third;   // the identifier of the records and the last part of the file name
  std::string_view user;
};

// What an opt-in rate file tells.
struct OptInRate {
  std::string_view usageKey;
  int32_t baseCount;
  int32_t optInCount;
  uint32_t releaseState;
  std::string_view family;
  std::string_view name;
  std::string_view version;
};

// Writes straight to the final name, replacing what is there. Every failure is logged and passed over. Texts
// and buffers must outlive the object.
class MiniSession {
 public:
  // The folder ends in a backslash.
  MiniSession(const MiniSessionTexts& texts, bool obfuscate, std::wstring_view folder,
              MiniSessionBuffers& buffers);

  // Each writes its document and returns 0.
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
  // Appends the record that was built, and makes room for the next.
  void Write();

  // The present time and the number of the next record, good until it is written.
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
