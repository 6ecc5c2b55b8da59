#include "stage/Case.h"

#include <windows.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>

namespace vantra::stage {
namespace {

namespace fs = std::filesystem;

constexpr std::wstring_view kCases = L"Software\\VantraStage\\";

struct World {
  std::string name;
  Path folder;
  HKEY hives[2]{};
  void* shared = nullptr;
};

std::optional<World> world;

HKEY CreateKey(HKEY parent, std::wstring_view path) {
  HKEY key = nullptr;
  RegCreateKeyExW(parent, std::wstring(path).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  return key;
}

struct CloseKey {
  void operator()(HKEY key) const { RegCloseKey(key); }
};
using Key = std::unique_ptr<HKEY__, CloseKey>;

Key OpenKey(HKEY parent, std::wstring_view path) {
  HKEY key = nullptr;
  RegOpenKeyExW(parent, std::wstring(path).c_str(), 0, KEY_READ, &key);
  return Key(key);
}

HKEY Root(Hive hive) { return world->hives[static_cast<int>(hive)]; }

// Opens what all processes of the case share.
void Enter(const std::string& name, Path folder) {
  world = {.name = name, .folder = std::move(folder)};
  for (const Hive hive : {Hive::kUser, Hive::kMachine}) {
    const wchar_t* const suffix = hive == Hive::kUser ? L"\\user" : L"\\machine";
    world->hives[static_cast<int>(hive)] =
        CreateKey(HKEY_CURRENT_USER, std::wstring(kCases).append(Wide(name)).append(suffix));
  }
  auto* const section =
      CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kSharedSize, Wide(name).c_str());
  world->shared = MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, 0);
  if (world->shared == nullptr) throw std::runtime_error("no memory can be shared");
}

Path Executable() {
  wchar_t path[MAX_PATH];
  return {std::wstring(path, GetModuleFileNameW(nullptr, path, MAX_PATH))};
}

std::string Describe(DWORD type, const std::string& bytes) {
  if (type == REG_DWORD && bytes.size() == sizeof(DWORD))
    return "dword:" + std::to_string(*reinterpret_cast<const DWORD*>(bytes.data()));
  const std::wstring text(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / sizeof(wchar_t));
  if (!text.ends_with(L'\0')) return "unterminated:" + Utf8(text);
  return (type == REG_SZ ? "sz:" : "expand:") + Utf8({text.data(), text.size() - 1});
}

void ListInto(HKEY key, const std::string& path, Lines& lines) {
  wchar_t name[512];
  DWORD length = 512, size = 65'536, type, index = 0;
  std::string bytes(size, '\0');
  while (RegEnumValueW(key, index, name, &length, nullptr, &type, reinterpret_cast<BYTE*>(bytes.data()),
                       &size) == ERROR_SUCCESS) {
    lines.push_back(path + Utf8({name, length}) + "=" + Describe(type, bytes.substr(0, size)));
    ++index, length = 512, size = 65'536;
  }
  const bool hasValues = index != 0;
  length = 512;
  for (index = 0; RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) == 0;
       ++index) {
    ListInto(OpenKey(key, name).get(), path + Utf8({name, length}) + "\\", lines);
    length = 512;
  }
  if (!hasValues && index == 0 && !path.empty()) lines.push_back(path);
}

}  // namespace

void EnterNewCase() {
  static int count = 0;
  const std::string name = "vantra-" + std::to_string(GetCurrentProcessId()) + "-" +
                           std::to_string(GetTickCount64()) + "-" + std::to_string(++count);
  Enter(name, fs::temp_directory_path() / name);
  fs::create_directories(Logs());
  // Copies: a link to what runs elsewhere could not be deleted.
  const Path built = Executable().parent_path();
  fs::copy_file(Executable(), CaseFolder() / "host.exe");
  fs::copy_file(built / "Sendrix2.exe", CaseFolder() / "Sendrix2.exe");
  const bool isBeside = fs::exists(built / "Vantra.dll");
  fs::copy_file((isBeside ? built : built.parent_path()) / "Vantra.dll", CaseFolder() / "Vantra.dll");
  SetValue(Hive::kUser, "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders",
           "AppData", "sz:" + AppData().string());
  // The digests come from a provider that the machine's hive names.
  constexpr wchar_t kProviders[] = L"Software\\Microsoft\\Cryptography";
  RegCopyTreeW(OpenKey(HKEY_LOCAL_MACHINE, kProviders).get(), nullptr,
               Key(CreateKey(Root(Hive::kMachine), kProviders)).get());
}

bool LeaveCase() {
  for (HKEY hive : world->hives) RegCloseKey(hive);
  RegDeleteTreeW(HKEY_CURRENT_USER, std::wstring(kCases).append(Wide(world->name)).c_str());
  const bool isRemoved = Remove(world->folder);
  world.reset();
  return isRemoved;
}

void EnterCaseAsHost(const std::string& name) {
  Enter(name, Executable().parent_path());
  RegOverridePredefKey(HKEY_CURRENT_USER, Root(Hive::kUser));
  RegOverridePredefKey(HKEY_LOCAL_MACHINE, Root(Hive::kMachine));
}

const std::string& CaseName() { return world->name; }
Path CaseFolder() { return world->folder; }
Path AppData() { return CaseFolder() / "AppData"; }
Path AgentFolder() { return AppData() / "Tolvex" / "Sendrix2"; }
Path Logs() { return AgentFolder() / "Logs"; }
void* SharedMemory() { return world->shared; }

bool Remove(const Path& path) {
  std::error_code failure;
  for (int i = 0; i < 500 && (fs::remove_all(path, failure), failure); ++i) Sleep(10);
  return !failure;
}

std::string ReadFile(const Path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const Path& path, std::string_view content) {
  std::ofstream(path, std::ios::binary) << content;
}

Lines FilesIn(const Path& folder) {
  Lines names;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(folder, ignored)) {
    names.push_back(Utf8(entry.path().filename().native()));
  }
  std::sort(names.begin(), names.end());
  return names;
}

void SetValue(Hive hive, std::string_view key, std::string_view name, std::string_view value) {
  const std::string_view type = value.substr(0, value.find(':'));
  const std::string content(value.substr(type.size() + 1));
  const std::wstring text = Wide(content);
  const DWORD number = type == "dword" ? std::stoul(content) : 0;
  const auto bytes = [](const void* data, size_t size) {
    return std::string_view(static_cast<const char*>(data), size);
  };
  if (type == "dword") return SetBytes(hive, key, name, REG_DWORD, bytes(&number, sizeof number));
  SetBytes(hive, key, name, type == "expand" ? REG_EXPAND_SZ : REG_SZ,
           bytes(text.c_str(), (text.size() + 1) * sizeof(wchar_t)));
}

void SetBytes(Hive hive, std::string_view key, std::string_view name, uint32_t type, std::string_view bytes) {
  RegSetValueExW(Key(CreateKey(Root(hive), Wide(key))).get(), Wide(name).c_str(), 0, type,
                 reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size()));
}

void RemoveKey(Hive hive, std::string_view key) { RegDeleteTreeW(Root(hive), Wide(key).c_str()); }

std::string GetValue(Hive hive, std::string_view key, std::string_view name) {
  const std::string start = std::string(name) + "=";
  for (const std::string& line : ListValues(hive, key)) {
    if (line.starts_with(start)) return line.substr(start.size());
  }
  return {};
}

Lines ListValues(Hive hive, std::string_view key) {
  Lines lines;
  if (const Key opened = OpenKey(Root(hive), Wide(key))) ListInto(opened.get(), {}, lines);
  std::sort(lines.begin(), lines.end());
  return lines;
}

Surroundings LookAround() {
  Surroundings found;
  for (const auto& entry : fs::recursive_directory_iterator(CaseFolder())) {
    const std::string path = Utf8(entry.path().lexically_relative(CaseFolder()).generic_wstring());
    if (entry.is_directory())
      found[path + "/"];
    else
      found[path] = entry.file_size() < 1000 ? ReadFile(entry.path()) : std::to_string(entry.file_size());
  }
  for (const Hive hive : {Hive::kUser, Hive::kMachine}) {
    for (const std::string& line : ListValues(hive, "")) {
      if (line.find("\\Microsoft\\Windows") != line.npos) continue;
      const size_t name = line.find('=');
      found[(hive == Hive::kUser ? "HKCU " : "HKLM ") + line.substr(0, name)] =
          name == line.npos ? "" : line.substr(name + 1);
    }
  }
  return found;
}

std::string Utf8(std::wstring_view wide) {
  const int size = static_cast<int>(wide.size());
  std::string text(wide.size() * 3, '\0');
  text.resize(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, text.data(),
                                                      static_cast<int>(text.size()), nullptr, nullptr)));
  return text;
}

}  // namespace vantra::stage
