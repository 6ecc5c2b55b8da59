#include "crash/MiniSession.h"

#include <algorithm>
#include <charconv>

#include "log/Logger.h"
#include "session/DocumentName.h"
#include "session/Obfuscation.h"
#include "settings/OptInPolicy.h"
#include "util/Clock.h"
#include "util/Files.h"

namespace vantra::crash {
namespace {

using util::Raw;

const log::LoggerPointer logger("Vantra");

constexpr std::string_view kSource = "..\\MiniSession";
constexpr int kCreateCrashFileLine = 61;
constexpr int kCreateOptInRateFileLine = 104;
constexpr int kWriteLine = 172;
constexpr int kOpenFailedLine = 186;
constexpr int kWriteFailedLine = 197;

constexpr std::string_view kSkylamp = "Skylamp";

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

bool MiniSession::BuildPath() {
  wchar_t* at = buffers_.path;
  const wchar_t* const end = at + std::size(buffers_.path) - 1;
  const size_t folderSize = std::min(folder_.size(), std::size(buffers_.path) - 1);
  at += folder_.copy(at, folderSize);

  util::TextBuffer name(buffers_.message);
  const bool isName =
      session::AppendDocumentName(name, texts_.first, texts_.second, texts_.user, texts_.third);
  util::Append(name, Raw{obfuscate_ ? ".rdy" : ".xml"});
  const std::string_view text = name.Text();
  const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), at,
                                         static_cast<int>(end - at));
  at[length] = L'\0';
  // A lone backslash is a folder that could not be found.
  return isName && length != 0 && folder_.size() > 1;
}

void MiniSession::Open() {
  if (BuildPath()) {
    file_.Reset(CreateFileW(buffers_.path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                            CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  }
  if (file_) {
    if (obfuscate_) Append(session::kObfuscationMarker);
    return;
  }
  if (!logger->IsOn()) return;
  constexpr int kMostBytesAUnit = 3;
  util::TextBuffer message(buffers_.message);
  util::Append(message, Raw{"Open file: "});
  const auto room = static_cast<int>(std::size(buffers_.path)) * kMostBytesAUnit;
  char* const at = message.Reserve(static_cast<size_t>(room));
  const int size = WideCharToMultiByte(CP_UTF8, 0, buffers_.path, -1, at, room, nullptr, nullptr);
  if (size > 0) message.Commit(at + size - 1);
  logger->Debug(message.Text(), kSource, kOpenFailedLine);
}

void MiniSession::Append(std::string_view bytes) {
  if (!file_ || util::WriteAll(file_.Get(), bytes) || !logger->IsOn()) return;
  util::TextBuffer message(buffers_.message);
  util::Append(message, Raw{"Write file: "}, Raw{bytes});
  logger->Debug(message.Text(), kSource, kWriteFailedLine);
}

void MiniSession::Write() {
  logger->Info("MiniSession::Write", kSource, kWriteLine);
  if (obfuscate_) session::Obfuscate(record_.Bytes());
  Append(record_.Text());
  record_.Clear();
}

void MiniSession::Start() {
  Open();
  const session::RecordStamp stamp = NextStamp();
  session::AppendPrologue(record_);
  session::AppendStartSession(record_, texts_.third, stamp);
  Write();
}

void MiniSession::End() {
  session::AppendEndSession(record_, texts_.third, NextStamp());
  Write();
  file_.Reset();
}

void MiniSession::OpenGroup(std::string_view category, std::string_view subcategory, std::string_view name) {
  session::AppendNewGroupWithoutDoc(
      record_, {.category = category, .subcategory = subcategory, .name = name, .doc = {}}, ++group_,
      NextStamp());
  Write();
}

void MiniSession::AddData(std::string_view name, std::string_view value) {
  session::AppendDataRec(record_, group_, name, value, NextStamp());
  Write();
}

void MiniSession::AddData(std::string_view name, int32_t number) {
  char text[12];
  AddData(name, {text, std::to_chars(text, text + sizeof text, number).ptr});
}

session::RecordStamp MiniSession::NextStamp() noexcept { return {time_.At(util::UtcSeconds()), ++sequence_}; }

}  // namespace vantra::crash
