#include "session/VantraUtils.h"

#include <algorithm>
#include <cstdio>
#include <optional>

#include "log/Log.h"
#include "session/VersionResource.h"
#include "settings/AgentProgram.h"
#include "settings/RegistryKey.h"
#include "util/HostProcess.h"
#include "util/Text.h"
#include "util/Windows.h"

namespace vantra::session {
namespace {

using settings::RegistryKey;
using util::ToUtf8;

constexpr std::string_view kSource = "..\\VantraUtils";
constexpr log::Message kNoUserBrowser{kSource, "Failt to read: HKEY_CURRENT_USER\\", 214};
constexpr log::Message kNoMachineBrowser{kSource, "Failt to read: HKEY_LOCAL_MACHINE\\", 221};
constexpr log::Message kNoBrowserCommand{kSource, "Failt to open: HKEY_LOCAL_MACHINE\\", 236};

constexpr wchar_t kProcessorKey[] = L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
constexpr wchar_t kBrowsersKey[] = L"Software\\Clients\\StartMenuInternet";

std::string Language(LCID locale) {
  char language[260];
  char country[260];
  if (GetLocaleInfoA(locale, LOCALE_SISO639LANGNAME, language, sizeof language) == 0 ||
      GetLocaleInfoA(locale, LOCALE_SISO3166CTRYNAME, country, sizeof country) == 0) {
    return {};
  }
  return std::string(language) + "-" + country;
}

std::optional<std::wstring> ProcessorValue(const wchar_t* name) {
  RegistryKey key = RegistryKey::LocalMachine();
  if (!key.Open(kProcessorKey, KEY_READ)) return {};
  return key.Query(name);
}

SYSTEM_INFO SystemInfo() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return info;
}

// The key's default value; empty when it cannot be read.
std::wstring DefaultValue(RegistryKey key, const std::wstring& path) {
  return key.Open(path, KEY_READ) ? key.Query(L"").value_or(L"") : std::wstring();
}

// Name of the default browser's client key: the user's choice, else the machine's.
std::wstring BrowserClient() {
  std::wstring client = DefaultValue(RegistryKey::CurrentUser(), kBrowsersKey);
  if (!client.empty()) return client;
  log::Debug(kNoUserBrowser, kBrowsersKey, ", wsData is:", client);
  client = DefaultValue(RegistryKey::LocalMachine(), kBrowsersKey);
  if (client.empty()) log::Debug(kNoMachineBrowser, kBrowsersKey, ", wsData is:", client);
  return client;
}

// The browser's command line without surrounding quotes. One with arguments names no file, and is returned as
// it is.
std::wstring BrowserExecutable() {
  const std::wstring path = std::wstring(kBrowsersKey) + L"\\" + BrowserClient() + L"\\shell\\open\\command";
  RegistryKey key = RegistryKey::LocalMachine();
  if (!key.Open(path, KEY_READ)) {
    log::Debug(kNoBrowserCommand, path);
    return {};
  }
  const std::wstring command = key.Query(L"").value_or(L"");
  wchar_t expanded[1024];
  const DWORD length = ExpandEnvironmentStringsW(command.c_str(), expanded, std::size(expanded));
  if (length == 0 || length > std::size(expanded)) return {};
  const std::wstring_view text = expanded;
  const size_t first = text.find_first_not_of(L'"');
  if (first == std::wstring_view::npos) return {};
  return std::wstring(text.substr(first, text.find_last_not_of(L'"') - first + 1));
}

VersionTexts HostVersion() { return KnownVersionTexts(util::HostExecutablePath()); }

}  // namespace

std::string OsVersion() {
  OSVERSIONINFOEXA version{};
  version.dwOSVersionInfoSize = sizeof version;
  auto* const basic = reinterpret_cast<OSVERSIONINFOA*>(&version);
  if (!GetVersionExA(basic)) {
    version.dwOSVersionInfoSize = sizeof(OSVERSIONINFOA);
    if (!GetVersionExA(basic)) return {};
  }
  DWORD build = version.dwBuildNumber;
  if (version.dwPlatformId != VER_PLATFORM_WIN32_NT) build &= 0xFFFF;
  char text[96];
  std::snprintf(text, sizeof text, "%d.%d.%d SP %d.%d PT %d", static_cast<int>(version.dwMajorVersion),
                static_cast<int>(version.dwMinorVersion), static_cast<int>(build), version.wServicePackMajor,
                version.wServicePackMinor, version.wProductType);
  return text;
}

std::string OsType() { return "64bit"; }

std::string OsLanguage() { return Language(LOCALE_SYSTEM_DEFAULT); }

std::string UserLanguage() { return Language(LOCALE_USER_DEFAULT); }

std::string ProcessorType() { return std::to_string(SystemInfo().dwProcessorType); }

std::string ProcessorName() { return ToUtf8(ProcessorValue(L"ProcessorNameString").value_or(L"")); }

std::string ProcessorModel() { return ToUtf8(ProcessorValue(L"Identifier").value_or(L"")); }

std::string ProcessorCount() { return std::to_string(static_cast<int>(SystemInfo().dwNumberOfProcessors)); }

std::string ProcessorSpeed() {
  const auto speed = ProcessorValue(L"~MHz");
  return speed ? ToUtf8(*speed) + " MHz" : std::string();
}

std::string Memory() {
  MEMORYSTATUSEX memory{};
  memory.dwLength = sizeof memory;
  if (!GlobalMemoryStatusEx(&memory)) return {};
  return std::to_string(static_cast<int>(memory.ullTotalPhys >> 20));
}

std::string MonitorCount() { return std::to_string(std::max(GetSystemMetrics(SM_CMONITORS), 0)); }

std::vector<MonitorSize> MonitorSizes() {
  std::vector<MonitorSize> sizes;
  const auto visit = [](HMONITOR monitor, HDC, LPRECT, LPARAM context) -> BOOL {
    MONITORINFO info{};
    info.cbSize = sizeof info;
    if (!GetMonitorInfoA(monitor, &info)) return TRUE;
    const RECT& area = info.rcMonitor;
    try {
      reinterpret_cast<std::vector<MonitorSize>*>(context)->push_back(
          {static_cast<uint32_t>(area.right - area.left), static_cast<uint32_t>(area.bottom - area.top)});
    } catch (...) {
      return FALSE;  // exceptions must not pass through the system's code
    }
    return TRUE;
  };
  EnumDisplayMonitors(nullptr, nullptr, visit, reinterpret_cast<LPARAM>(&sizes));
  return sizes;
}

std::string DefaultBrowser() {
  const VersionTexts version = KnownVersionTexts(BrowserExecutable());
  return version.productName + " " + version.productVersion;
}

std::string ExecutableName() { return HostVersion().productName; }

std::string ExecutableVersion() { return HostVersion().productVersion; }

std::string ExecutableBuild() { return HostVersion().privateBuild; }

std::string ExecutableLanguage() { return HostVersion().language; }

std::string AgentVersion() { return KnownVersionTexts(settings::GetAgentPath()).productVersion; }

std::string LibraryVersion() { return ReadVersionTexts(L"Vantra.dll").productVersion; }

}  // namespace vantra::session
