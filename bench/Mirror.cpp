#include "Mirror.h"

#include <objbase.h>
#include <shlobj.h>

namespace vantra::bench {
namespace {

constexpr wchar_t kUsageKey[] = L"Software\\Tolvex\\CommonFiles\\Usage";
constexpr wchar_t kUsage[] = L"VantraBench";
constexpr char kBytes[4096] = {};

void Write(HANDLE file, DWORD size) {
  DWORD written = 0;
  WriteFile(file, kBytes, size, &written, nullptr);
}

void Look(const std::wstring& path) { GetFileAttributesW(path.c_str()); }

void Query(HKEY key, const wchar_t* name) {
  DWORD type = 0;
  wchar_t value[513] = {};
  DWORD size = 1024;
  RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(value), &size);
}

HKEY Create(HKEY parent, const wchar_t* name) {
  HKEY key = nullptr;
  RegCreateKeyExW(parent, name, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  return key;
}

void TryOpen(HKEY parent, const wchar_t* name) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(parent, name, 0, KEY_READ, &key) == ERROR_SUCCESS) RegCloseKey(key);
}

BOOL CALLBACK AskMonitor(HMONITOR monitor, HDC, LPRECT, LPARAM) {
  MONITORINFO info{};
  info.cbSize = sizeof info;
  return GetMonitorInfoA(monitor, &info);
}

void AskLanguage() {
  char text[260];
  GetLocaleInfoA(LOCALE_USER_DEFAULT, LOCALE_SISO639LANGNAME, text, sizeof text);
  GetLocaleInfoA(LOCALE_USER_DEFAULT, LOCALE_SISO3166CTRYNAME, text, sizeof text);
}

}  // namespace

Mirror::Mirror(const World& world)
    : agent_((world.Folder() / "Sendrix2.exe").wstring()),
      agentFolder_(world.AgentFolder().wstring()),
      logs_(world.Logs().wstring() + L"\\"),
      config_((world.AgentFolder() / "Mirror.cfg").wstring()) {
  const HANDLE file = CreateFileW(config_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  Write(file, 130);
  CloseHandle(file);
}

void Mirror::QueryValue(const wchar_t* subkey, const wchar_t* name) {
  HKEY key = Create(HKEY_CURRENT_USER, kUsageKey);
  if (subkey != nullptr) {
    const HKEY below = Create(key, subkey);
    RegCloseKey(key);
    key = below;
  }
  Query(key, name);
  RegCloseKey(key);
}

void Mirror::ReadOptIn(const wchar_t* subkey) { QueryValue(subkey, L"OptIn"); }

// Finds the user's folder, compares the age of both copies, reads the content and sets the file's time.
void Mirror::CheckConfiguration() {
  wchar_t path[MAX_PATH];
  SHGetFolderPathW(nullptr, CSIDL_APPDATA | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, path);
  WIN32_FILE_ATTRIBUTE_DATA data;
  GetFileAttributesExW((logs_ + L"shipped.cfg").c_str(), GetFileExInfoStandard, &data);
  GetFileAttributesExW(config_.c_str(), GetFileExInfoStandard, &data);
  HANDLE file =
      CreateFileW(config_.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  LARGE_INTEGER size;
  GetFileSizeEx(file, &size);
  char content[4096];
  DWORD read = 0;
  ReadFile(file, content, static_cast<DWORD>(size.QuadPart), &read, nullptr);
  CloseHandle(file);
  SYSTEMTIME today;
  GetLocalTime(&today);
  file = CreateFileW(config_.c_str(), FILE_WRITE_ATTRIBUTES,
                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  SetFileTime(file, nullptr, nullptr, &now);
  CloseHandle(file);
}

HANDLE Mirror::OpenNext() {
  Look(logs_);
  current_ = logs_ + L"mirror_of_a_document_with_a_name_of_the_usual_length_" + std::to_wstring(index_++);
  return OpenLikeADocument(current_ + L".tmp");
}

// Writes the records of the header blocks and makes the queries that each start needs for them.
void Mirror::WriteHeader(HANDLE file) {
  Write(file, 190);
  const auto writeRecords = [&](int count) {
    for (int i = 0; i < count; ++i) Write(file, 110);
  };
  writeRecords(7);
  QueryValue(nullptr, L"UserType");
  writeRecords(1);
  AskLanguage();
  writeRecords(11);
  GetSystemMetrics(SM_CMONITORS);
  TryOpen(HKEY_CURRENT_USER, L"Software\\Clients\\StartMenuInternet");
  TryOpen(HKEY_LOCAL_MACHINE, L"Software\\Clients\\StartMenuInternet");
  TryOpen(HKEY_LOCAL_MACHINE, L"Software\\Clients\\StartMenuInternet\\\\shell\\open\\command");
  writeRecords(1);
  EnumDisplayMonitors(nullptr, nullptr, AskMonitor, 0);
  writeRecords(4);
  HKEY key = Create(HKEY_CURRENT_USER, kUsageKey);
  HKEY below = Create(key, kUsage);
  RegCloseKey(key);
  key = Create(below, L"Demographic");
  RegCloseKey(below);
  wchar_t name[256];
  DWORD length = 256;
  RegEnumValueW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr);
  RegCloseKey(key);
  writeRecords(6);
  Look(agent_);
  WIN32_FILE_ATTRIBUTE_DATA data;
  GetFileAttributesExW(agent_.c_str(), GetFileExInfoStandard, &data);
  writeRecords(2);
}

void Mirror::Finish(HANDLE file) {
  CloseHandle(file);
  Look(agent_);
  Look(logs_);
  MoveFileExW((current_ + L".tmp").c_str(), (current_ + L".xml").c_str(),
              MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED | MOVEFILE_WRITE_THROUGH);
  QueryValue(nullptr, L"send");
}

void Mirror::Roll(HANDLE& file) {
  Finish(file);
  file = OpenNext();
}

void Mirror::StartAndClose() {
  CheckConfiguration();
  ReadOptIn(kUsage);
  Look(agent_);
  TryOpen(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Policies\\Tolvex\\ORPIX");
  Look(logs_);
  ULARGE_INTEGER available;
  GetDiskFreeSpaceExW(logs_.c_str(), &available, nullptr, nullptr);
  QueryValue(nullptr, L"obfuscate");
  GUID id;
  static_cast<void>(CoCreateGuid(&id));
  const HANDLE file = OpenNext();
  WriteHeader(file);
  QueryValue(L"Acme", L"Date");
  ReadOptIn(L"VantraBench_Acme_Draw_3.1");
  QueryValue(nullptr, L"send");

  ReadOptIn(kUsage);
  for (int i = 0; i < 3; ++i) Write(file, 110);
  QueryValue(kUsage, L"Date");
  for (int i = 0; i < 2; ++i) Write(file, 110);
  Finish(file);
}

}  // namespace vantra::bench
