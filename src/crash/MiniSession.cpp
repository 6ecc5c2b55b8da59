#include "crash/MiniSession.h"

#include <charconv>

#include "log/Logger.h"
#include "session/DocumentName.h"
#include "session/Obfuscation.h"
#include "settings/OptInPolicy.h"
#include "util/Clock.h"
#include "util/Files.h"

namespace vantra::crash {
namespace {

using util::Literal;
using util::Raw;

const log::LoggerPointer logger("Vantra");

constexpr std::string_view kSource = "..\\MiniSession";
constexpr int kCreateCrashFileLine = 61;
constexpr int kCreateOptInRateFileLine = 104;
constexpr int kWriteLine = 172;
constexpr int kOpenFailedLine = 186;
constexpr int kWriteFailedLine = 197;

constexpr std::string_view kSkylamp = "Skylamp";

void AppendUtf8(util::TextBuffer& out, std::wstring_view text) {
  constexpr size_t kMostBytesAUnit = 3;
  const size_t room = text.size() * kMostBytesAUnit;
  char* const at = out.Reserve(room);
  out.Commit(at + WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), at,
                                      static_cast<int>(room), nullptr, nullptr));
}

// False when the path has no room, or the name is no text.
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
  logger->Info("MiniSession::CreateCrashFile", kSource, kCreateCrashFileLine);
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
  logger->Info("MiniSession::CreateOptInRateFile", kSource, kCreateOptInRateFileLine);
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
  util::TextBuffer message(buffers_.message);
  util::Append(message, Literal{"Open file: "});
  AppendUtf8(message, folder_);
  const size_t nameStart = message.Text().size();
  const bool isName =
      session::AppendDocumentName(message, texts_.first, texts_.second, texts_.user, texts_.third);
  util::Append(message, Literal{obfuscate_ ? ".rdy" : ".xml"});

  // A lone backslash is a folder that could not be found.
  if (isName && folder_.size() > 1 && SetPath(buffers_.path, folder_, message.Text().substr(nameStart))) {
    file_.Reset(CreateFileW(buffers_.path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                            CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  }
  if (!file_) {
    logger->Debug(message.Text(), kSource, kOpenFailedLine);
  } else if (obfuscate_) {
    Append(session::kObfuscationMarker);
  }
}

void MiniSession::Append(std::string_view bytes) {
  if (!file_ || util::WriteAll(file_.Get(), bytes) || !logger->IsOn()) return;
  util::TextBuffer message(buffers_.message);
  util::Append(message, Literal{"Write file: "}, Raw{bytes});
  logger->Debug(message.Text(), kSource, kWriteFailedLine);
}

void MiniSession::Write() {
  logger->Info("MiniSession::Write", kSource, kWriteLine);
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
