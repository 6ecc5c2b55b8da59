#include "Gates.h"

#include <optional>

#include "api/Messages.h"
#include "api/Validation.h"
#include "log/LogFiles.h"
#include "session/DocumentName.h"
#include "session/UsageSession.h"
#include "settings/AgentConfigFile.h"
#include "settings/AgentFolders.h"
#include "settings/AgentProgram.h"
#include "settings/OptInPolicy.h"
#include "settings/RegistryKey.h"
#include "settings/UsageSettings.h"
#include "util/Files.h"
#include "util/HostProcess.h"
#include "util/Paths.h"
#include "util/Text.h"

namespace vantra::inspect {
namespace {

using settings::ConfigStatus;
using util::FromUtf8;
using util::ToUtf8;

constexpr std::string_view kSection = "ulog";

// A copy of the user's configuration in a temporary folder, for library code that writes what it checks.
class ConfigCopy {
 public:
  explicit ConfigCopy(const std::wstring& dataFolder) {
    if (!MakeFolder()) return;
    const std::wstring from = util::JoinPath(dataFolder, L"Sendrix2.cfg");
    const std::wstring to = util::JoinPath(folder_, L"Sendrix2.cfg");
    // With its time and attributes: one that is read-only is not brought up to date.
    isMade_ = util::IsFolder(from) ? util::EnsureFolder(to)
                                   : !util::IsFile(from) || CopyFileW(from.c_str(), to.c_str(), TRUE);
  }
  ConfigCopy(const ConfigCopy&) = delete;
  ConfigCopy& operator=(const ConfigCopy&) = delete;
  ~ConfigCopy() {
    if (folder_.empty()) return;
    SetFileAttributesW(util::JoinPath(folder_, L"Sendrix2.cfg").c_str(), FILE_ATTRIBUTE_NORMAL);
    static_cast<void>(util::RemoveFolderTree(folder_));
  }

  // False when the configuration exists but cannot be copied.
  [[nodiscard]] bool IsMade() const noexcept { return isMade_; }
  [[nodiscard]] const std::wstring& Folder() const noexcept { return folder_; }

 private:
  // A new one, whoever else has one there or has left one behind.
  bool MakeFolder() {
    wchar_t temporary[MAX_PATH + 1];
    if (GetTempPathW(MAX_PATH, temporary) == 0) return false;
    const std::wstring name = temporary + (L"vantra-doctor-" + std::to_wstring(GetCurrentProcessId()) + L"-");
    for (int i = 0;; ++i) {
      const std::wstring folder = name + std::to_wstring(i);
      if (CreateDirectoryW(folder.c_str(), nullptr)) {
        folder_ = folder;
        return true;
      }
      if (GetLastError() != ERROR_ALREADY_EXISTS) return false;
    }
  }

  std::wstring folder_;
  bool isMade_ = false;
};

class Examination {
 public:
  explicit Examination(const Host& host)
      : host_(host),
        hostFolder_(host.folder.empty() ? util::HostFolder() : util::FullPath(FromUtf8(host.folder))),
        folders_(settings::GetAgentFolders()) {
    if (!host.agentFolder.empty()) settings::SetAgentFolder(host.agentFolder.c_str());
  }

  [[nodiscard]] std::vector<Gate> Run() {
    ExamineConfig();
    ExamineKey();
    ExamineIdentifier();
    ExamineAgent();
    ExaminePolicy();
    ExamineConsent();
    ExamineLogs();
    ExamineDisk();
    ExamineLogSwitch();
    return std::move(gates_);
  }

 private:
  void Add(Gate gate) { gates_.push_back(std::move(gate)); }

  // The text after UTStartSession's check.
  static std::string Checked(const std::string& text) {
    return std::string(api::CheckedText(text.c_str(), api::CheckFor(api::kValue)).Value().Text());
  }

  void ExamineConfig() {
    const ConfigCopy copy(folders_.data);
    const std::string file = ToUtf8(util::JoinPath(folders_.data, L"Sendrix2.cfg"));
    if (!copy.IsMade()) {
      Add({"status", Verdict::Notes, "cannot be read, which counts as Active: " + file,
           "See which program holds the file, and whether it is one."});
      return Add({"pause", Verdict::Notes, "cannot be read, which counts as no pause"});
    }
    const std::wstring path = settings::GetAgentConfigPath(copy.Folder(), hostFolder_);
    if (!IsUsable(path)) {
      Add({"status", Verdict::Notes,
           "cannot be used, which counts as Active: " +
               (path.empty() ? ToUtf8(util::JoinPath(hostFolder_, L"Sendrix2.cfg")) : file),
           "It must be a text file of 1 MiB at most. What the vendor has switched off or paused there is "
           "not."});
      return Add({"pause", Verdict::Notes, "cannot be read, which counts as no pause"});
    }
    ExamineStatus(settings::VerifyConfigStatus({}, {}, path, kSection), path, file);
  }

  // Whether the library finds entries there. A missing file has none.
  static bool IsUsable(const std::wstring& path) {
    if (path.empty()) return false;
    const auto file = util::TakeSnapshot(path, settings::kLargestConfig);
    return file && settings::ParseConfig(file->text);
  }

  void ExamineStatus(ConfigStatus status, const std::wstring& path, const std::string& file) {
    if (status == ConfigStatus::kActive) {
      const bool isThere = util::IsFile(FromUtf8(file));
      Add({"status", Verdict::Open, isThere ? "active by " + file : "active; the next start makes " + file});
      return ExaminePause(path, file);
    }
    const settings::ConfigMap entries =
        settings::ParseConfig(util::ReadWholeFile(path).value_or("")).value_or(settings::ConfigMap());
    const bool isDisabled = status == ConfigStatus::kDisabled;
    Add({"status", Verdict::Refuses,
         isDisabled
             ? "Disabled in " + file
             : "Hibernate until " + settings::GetEntry(entries, kSection, "wakeupdate") + " in " + file,
         isDisabled ? "The vendor has switched recording off. To switch it on for this user, set "
                      "status=Active in the section [ulog] of that file."
                    : "The vendor has paused recording. It goes on after that date.",
         api::refusal::kConfigStatus.text});
    Add({"pause", Verdict::Unknown, "not looked at while the status refuses"});
  }

  void ExaminePause(const std::wstring& path, const std::string& file) {
    if (host_.family.empty() || host_.product.empty())
      return Add(
          {"pause", Verdict::Unknown, "pauses of single products are found with --family and --product"});
    const std::string family = Checked(host_.family);
    const std::string product = Checked(host_.product);
    if (settings::VerifyConfigStatus(family, product, path, kSection) == ConfigStatus::kActive)
      return Add({"pause", Verdict::Open, "none for " + family + " " + product});
    const settings::ConfigMap entries =
        settings::ParseConfig(util::ReadWholeFile(path).value_or("")).value_or(settings::ConfigMap());
    const std::string entry = family + "_" + product;
    Add({"pause", Verdict::Refuses,
         entry + "=" + settings::GetEntry(entries, "hibernate", entry) + " in " + file,
         "The vendor has paused this product. It records again after that date, or when the entry in the "
         "section [hibernate] is gone.",
         api::refusal::kConfigStatus.text});
  }

  void ExamineKey() {
    if (host_.usageKey.empty())
      return Add({"key", Verdict::Unknown, "give the usage key of UTInitialize with --key"});
    const api::CheckedText key(host_.usageKey.c_str(), api::CheckFor(api::kUsageKey));
    if (!key.IsAccepted())
      return Add({"key", Verdict::Refuses, "a usage key must not hold a backslash: " + host_.usageKey,
                  "Let the host pass another key to UTInitialize.", api::refusal::kStoredUsageKey.text});
    key_ = key.Value().Text();
    if (key.Code() == api::TextCode::kCut)
      return Add({"key", Verdict::Notes, "longer than 64 bytes, so it becomes " + *key_,
                  "Let the host pass a shorter key to UTInitialize."});
    Add({"key", Verdict::Open, *key_});
  }

  void ExamineIdentifier() {
    if (settings::HasUserIdentifier())
      return Add({"identifier", Verdict::Open, settings::EnsureUserIdentifier()});
    // As changes are forbidden, this is empty only when the Usage key cannot be opened for writing.
    settings::RegistryKey key = settings::RegistryKey::CurrentUser();
    if (settings::EnsureUserIdentifier().empty() && key.Open(settings::kUsageKey, KEY_READ))
      return Add({"identifier", Verdict::Notes,
                  "the Usage key cannot be written, so there is none: doc is NOVALUE in documents",
                  "Look at the rights of HKEY_CURRENT_USER\\" + ToUtf8(settings::kUsageKey) + "."});
    Add({"identifier", Verdict::Open, "none yet; the next start makes one"});
  }

  // Where the agent was looked for.
  [[nodiscard]] std::string AgentPlaces() const {
    std::string text;
    for (const settings::AgentPlace& place : settings::AgentPlaces()) {
      const std::wstring folder = place.folder(hostFolder_);
      text.append(text.empty() ? " in " : ", ").append(place.name);
      text.append(" (").append(folder.empty() ? "none" : ToUtf8(folder)).append(")");
    }
    return text;
  }

  void ExamineAgent() {
    const std::wstring path = settings::GetAgentPath(hostFolder_);
    if (path.empty())
      return Add({"agent", Verdict::Refuses, "no Sendrix2.exe" + AgentPlaces(),
                  "Install Sendrix2.exe into one of these. When the host gives a folder to UTInitialize, "
                  "name it with --agent; name the host with --host.",
                  api::refusal::kTransAgentExist.text});
    if (!settings::IsSendOn())
      return Add({"agent", Verdict::Notes, ToUtf8(path) + "; the value send is 0, so it is never started",
                  "Documents stay on this machine until the value send of the Usage key is gone."});
    Add({"agent", Verdict::Open, ToUtf8(path)});
  }

  void ExaminePolicy() {
    if (settings::OptInPolicy::IsAllowedByGroupPolicy())
      return Add({"policy", Verdict::Open, "does not forbid recording"});
    Add({"policy", Verdict::Refuses, "the administrator forbids recording on this machine",
         "That stands: only an administrator can take back the value enabled of "
         "HKEY_LOCAL_MACHINE\\SOFTWARE\\Policies\\Tolvex\\ORPIX.",
         api::refusal::kGroupPolicy.text});
  }

  void ExamineConsent() {
    if (!key_) return Add({"consent", Verdict::Unknown, "stored for each usage key: give it with --key"});
    settings::OptInPolicy& policy = settings::OptInPolicy::Instance();
    policy.SetUsageKey(*key_);
    policy.SetReleaseState(host_.releaseState);
    policy.SetOptIn(settings::GetOptIn(*key_));
    const std::string word(settings::ReleaseStateWord(policy.ReleaseState()));
    const bool isUndecided = policy.OptIn() == settings::kUndecided;
    const std::string finding = isUndecided ? "the user has not chosen, and the release state is " + word
                                : policy.OptIn() == settings::kOptedIn ? "the user has opted in"
                                                                       : "the user has opted out";
    if (policy.IsConsentGiven()) return Add({"consent", Verdict::Open, finding});
    Add({"consent", Verdict::Refuses, finding,
         isUndecided ? "Let the host ask the user, and call UTSetOptIn(1) after a yes."
                     : "That is the user's choice. Only the user can take it back.",
         api::refusal::kConsent.text});
  }

  void ExamineLogs() {
    const std::string logs = ToUtf8(folders_.logs);
    if (!util::IsFolder(folders_.logs))
      return Add({"Logs", Verdict::Drops,
                  logs.empty() ? "the user has no folder for it" : "does not exist: " + logs,
                  "Start Sendrix2.exe once as this user: it makes the folder."});
    util::TextBuffer name;
    if (!session::AppendDocumentName(name, Checked(host_.family), Checked(host_.product), {}, {}))
      return Add({"Logs", Verdict::Drops, "family or product cannot be part of a file's name",
                  "Keep to letters, digits, '.', '-' and space in both."});
    Add({"Logs", Verdict::Open, logs});
  }

  void ExamineDisk() {
    const uint64_t space = util::FreeDiskSpace(util::WithTrailingBackslash(folders_.logs)).value_or(0);
    constexpr uint64_t kMebi = uint64_t{1} << 20;
    const std::string finding = std::to_string(space / kMebi) + " MiB are free";
    if (space > session::kLeastFreeSpace) return Add({"disk", Verdict::Open, finding});
    Add({"disk", Verdict::Drops,
         finding + ", and more than " + std::to_string(session::kLeastFreeSpace / kMebi) + " are needed",
         "Free some space on the volume of " + ToUtf8(folders_.logs) + "."});
  }

  void ExamineLogSwitch() {
    const std::wstring path = log::SwitchPath(hostFolder_);
    const std::string logFile = ToUtf8(log::LogPath("Vantra"));
    if (util::IsFile(path)) return Add({"log", Verdict::Open, "on by " + ToUtf8(path) + "; read " + logFile});
    if (util::IsFolder(path))
      return Add(
          {"log", Verdict::Notes, "off, since this is a folder: " + ToUtf8(path), "Put a file there."});
    Add({"log", Verdict::Open, "off; an empty file " + ToUtf8(path) + " switches it on"});
  }

  const Host& host_;
  std::wstring hostFolder_;
  settings::AgentFolders folders_;
  std::optional<std::string> key_;
  std::vector<Gate> gates_;
};

}  // namespace

std::string_view NameOf(Verdict verdict) noexcept {
  constexpr std::string_view kNames[] = {"open", "refuses", "drops", "note", "unknown"};
  return kNames[static_cast<size_t>(verdict)];
}

std::vector<Gate> ExamineGates(const Host& host) {
  settings::RegistryKey::ForbidChanges();
  return Examination(host).Run();
}

}  // namespace vantra::inspect
