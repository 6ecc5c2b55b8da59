#include "crash/MiniSession.h"

#include <charconv>

#include "log/Log.h"
#include "session/DocumentName.h"
#include "session/Obfuscation.h"
#include "settings/OptInPolicy.h"
#include "util/Clock.h"
#include "util/Files.h"

namespace vantra::crash {
namespace {

using util::Literal;

constexpr std::string_view kSource = "..\\MiniSession";
constexpr log::Message kCreateCrashFile{kSource, "MiniSession::CreateCrashFile", 61};
constexpr log::Message kCreateOptInRateFile{kSource, "MiniSession::CreateOptInRateFile", 104};
constexpr log::Message kWrite{kSource, "MiniSession::Write", 172};
constexpr log::Message kOpenFailed{kSource, "Open file: ", 186};
constexpr log::Message kWriteFailed{kSource, "Write file: ", 197};

constexpr std::string_view kSkylamp = "Skylamp";

// False when the buffer is too small or the name cannot be converted.
template <size_t N>
bool SetPath(wchar_t (&path)[N], std::wstring_view folder, std::string_view name) {
  if (folder.size() + 1 >= N) return false;
  wchar_t* const at = path + folder.copy(path, folder.size());
  const auto room = static_cast<int>(path + N - 1 - at);
  const int length = MultiByteToWideChar(CP_UTF8, 0, name.data(), static_cast<int>(name.size()), at, room);
  at[length] = L'\0';
  return length != 0;
}

}  // namespace

MiniSession::MiniSession(const MiniSessionTexts& texts, bool obfuscate, std::wstring_view folder,
                         MiniSessionBuffers& buffers)
    : texts_(texts), obfuscate_(obfuscate), folder_(folder), buffers_(buffers), record_(buffers.record) {}

int MiniSession::CreateCrashFile() {
  log::Info(kCreateCrashFile);
  Start();
  OpenGroup(kSkylamp, "Crash", "Session");
  AddData("ProductFamily", kSkylamp);
  AddData("ProductName", "AppCrash");
  OpenGroup("AppExit", "Crash", "ExitInfo");
  AddData("ExitType", "Crash");
  AddData("CrashProductName", texts_.second);
  AddData("CrashProductFamily", texts_.first);
  AddData("UserID", texts_.user);
  End();
  return 0;
}

int MiniSession::CreateOptInRateFile(const OptInRate& rate) {
  log::Info(kCreateOptInRateFile);
  constexpr std::string_view kOptInRate = "OptinRate";
  Start();
  OpenGroup(kSkylamp, kOptInRate, "Session");
  AddData("ProductFamily", texts_.first);
  AddData("ProductName", texts_.second);
  OpenGroup(kSkylamp, kOptInRate, "OptinProductInfo");
  AddData("OptinProductFamily", rate.family);
  AddData("OptinProductName", rate.name);
  AddData("OptinProductVersion", rate.version);
  AddData("OptinProductSerializationState", settings::ReleaseStateWord(rate.releaseState));
  AddData("OptinKey", rate.usageKey);
  OpenGroup(kSkylamp, kOptInRate, "OptInInfo");
  AddData("BaseCount", rate.baseCount);
  AddData("OptInCount", rate.optInCount);
  End();
  return 0;
}

void MiniSession::Open() {
  util::TextBuffer name(buffers_.name);
  const bool isName =
      session::AppendDocumentName(name, texts_.first, texts_.second, texts_.user, texts_.third);
  util::Append(name, Literal{obfuscate_ ? ".rdy" : ".xml"});

  // A lone backslash stands for an unknown folder.
  if (isName && folder_.size() > 1 && SetPath(buffers_.path, folder_, name.Text())) {
    file_.Reset(CreateFileW(buffers_.path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                            CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  }
  if (!file_) {
    log::Debug(kOpenFailed, folder_, name.Text());
  } else if (obfuscate_) {
    Append(session::kObfuscationMarker);
  }
}

void MiniSession::Append(std::string_view bytes) {
  if (file_ && !util::WriteAll(file_.Get(), bytes)) log::Debug(kWriteFailed, bytes);
}

void MiniSession::Write() {
  log::Info(kWrite);
  stamp_.seq.Increment();
  if (obfuscate_) session::Obfuscate(record_.Bytes());
  Append(record_.Text());
  record_.Clear();
}

void MiniSession::Start() {
  Open();
  const session::RecordStamp& stamp = Stamp();
  session::AppendPrologue(record_);
  session::AppendStartSession(record_, texts_.third, stamp);
  Write();
}

void MiniSession::End() {
  session::AppendEndSession(record_, texts_.third, Stamp());
  Write();
  file_.Reset();
}

void MiniSession::OpenGroup(std::string_view category, std::string_view subcategory, std::string_view name) {
  group_.Increment();
  session::AppendNewGroupWithoutDoc(
      record_, {.category = category, .subcategory = subcategory, .name = name, .doc = {}}, group_, Stamp());
  Write();
}

void MiniSession::AddData(std::string_view name, std::string_view value) {
  session::AppendDataRec(record_, group_.Value(), name, value, Stamp());
  Write();
}

void MiniSession::AddData(std::string_view name, int32_t number) {
  char text[12];
  AddData(name, {text, std::to_chars(text, text + sizeof text, number).ptr});
}

const session::RecordStamp& MiniSession::Stamp() noexcept {
  stamp_.time.Set(util::UtcSeconds());
  return stamp_;
}

}  // namespace vantra::crash
