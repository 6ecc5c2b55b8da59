#include "stage/World.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>

namespace vantra::stage {
namespace {

namespace fs = std::filesystem;

// The machine's registry lies in the user's, where the platform's own values are.
constexpr wchar_t kMachine[] = L"Software\\Microsoft\\Windows\\VantraMachine";

std::optional<testkit::World> world;  // in the program that has made it
Path folder;
void* shared = nullptr;

// Opens what all processes of the case share; the user is the world's by now.
void Enter(Path of) {
  folder = std::move(of);
  HKEY machine = nullptr;
  RegCreateKeyW(HKEY_CURRENT_USER, kMachine, &machine);
  RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine);
  RegCloseKey(machine);
  auto* const section = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kSharedSize,
                                           folder.filename().c_str());
  shared = MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, 0);
  if (shared == nullptr) throw std::runtime_error("no memory can be shared");
}

Path Executable() {
  wchar_t path[MAX_PATH];
  return {std::wstring(path, GetModuleFileNameW(nullptr, path, MAX_PATH))};
}

// The hive of a key, and the rest of its name.
std::pair<HKEY, std::wstring> Split(std::string_view key) {
  return {key.starts_with("HKCU\\") ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE, Wide(key.substr(5))};
}

std::string Describe(DWORD type, const std::string& bytes) {
  if (type == REG_DWORD && bytes.size() == sizeof(DWORD))
    return "dword:" + std::to_string(*reinterpret_cast<const DWORD*>(bytes.data()));
  const std::wstring text(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / sizeof(wchar_t));
  if (!text.ends_with(L'\0')) return "unterminated:" + Utf8(text);
  return (type == REG_SZ ? "sz:" : "expand:") + Utf8({text.data(), text.size() - 1});
}

// Without the platform's own.
void AddValues(HKEY parent, const wchar_t* subkey, const std::string& path, Surroundings& found) {
  if (path.ends_with("\\Microsoft\\")) return;
  HKEY key = nullptr;
  if (RegOpenKeyExW(parent, subkey, 0, KEY_READ, &key) != ERROR_SUCCESS) return;
  wchar_t name[512];
  std::string bytes(65'536, '\0');
  DWORD values = 0, keys = 0, type = 0;
  for (DWORD length = 512, size = 65'536; RegEnumValueW(key, values, name, &length, nullptr, &type,
                                                        reinterpret_cast<BYTE*>(bytes.data()), &size) == 0;
       ++values, length = 512, size = 65'536)
    found[path + Utf8({name, length})] = Describe(type, bytes.substr(0, size));
  for (; RegEnumKeyW(key, keys, name, 512) == ERROR_SUCCESS; ++keys)
    AddValues(key, name, path + Utf8(name) + "\\", found);
  if (values + keys == 0 && !path.empty()) found[path];
  RegCloseKey(key);
}

}  // namespace

void EnterNewCase() {
  RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
  world.emplace("", false);
  RegDeleteKeyValueW(HKEY_CURRENT_USER, Wide(kUsage.substr(5)).c_str(), L"Agent");
  // The digests come from a provider that the machine's registry names.
  constexpr wchar_t kProviders[] = L"Software\\Microsoft\\Cryptography";
  HKEY providers = nullptr;
  RegOpenKeyW(HKEY_LOCAL_MACHINE, kProviders, &providers);
  Enter(world->Folder());
  SetValue("HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders",
           "Common AppData", "sz:" + (folder / "ProgramData").string());
  HKEY copy = nullptr;
  RegCreateKeyW(HKEY_LOCAL_MACHINE, kProviders, &copy);
  RegCopyTreeW(providers, nullptr, copy);
  RegCloseKey(providers), RegCloseKey(copy);
  // Copies: a link to what runs elsewhere could not be deleted.
  const Path built = Executable().parent_path();
  const bool isBeside = fs::exists(built / "Vantra.dll");
  fs::copy_file(Executable(), folder / "host.exe");
  fs::copy_file(built / "Sendrix2.exe", folder / "Sendrix2.exe", fs::copy_options::overwrite_existing);
  fs::copy_file((isBeside ? built : built.parent_path()) / "Vantra.dll", folder / "Vantra.dll");
}

bool LeaveCase() {
  const bool isRemoved = Remove(folder);
  world.reset();
  return isRemoved;
}

void EnterCaseAsHost() {
  const Path own = Executable().parent_path();
  HKEY user = nullptr;
  RegOpenKeyW(HKEY_CURRENT_USER, (L"Software\\VantraTestkit\\" + own.filename().native()).c_str(), &user);
  if (RegOverridePredefKey(HKEY_CURRENT_USER, user) != 0) throw std::runtime_error("no case is here");
  Enter(own);
}

const Path& CaseFolder() { return folder; }
Path AppData() { return folder / "AppData"; }
Path AgentFolder() { return AppData() / "Tolvex" / "Sendrix2"; }
Path Logs() { return AgentFolder() / "Logs"; }
void* SharedMemory() { return shared; }

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

void SetValue(std::string_view key, const char* name, std::string_view value) {
  const size_t colon = value.find(':');
  const std::string type(value.substr(0, colon)), content(value.substr(colon + 1));
  const std::wstring text = Wide(content);
  const bool hasEnd = type != "unterminated";
  const DWORD kind = type == "expand" ? REG_EXPAND_SZ : hasEnd ? REG_SZ : REG_BINARY;
  if (type != "dword")
    return SetBytes(key, name, kind,
                    {reinterpret_cast<const char*>(text.c_str()), (text.size() + hasEnd) * sizeof(wchar_t)});
  const DWORD number = std::stoul(content);
  SetBytes(key, name, REG_DWORD, {reinterpret_cast<const char*>(&number), sizeof number});
}

void SetBytes(std::string_view key, const char* name, uint32_t type, std::string_view bytes) {
  const auto [hive, path] = Split(key);
  RegSetKeyValueW(hive, path.c_str(), Wide(name).c_str(), type, bytes.data(),
                  static_cast<DWORD>(bytes.size()));
}

void RemoveKey(std::string_view key) {
  const auto [hive, path] = Split(key);
  RegDeleteTreeW(hive, path.c_str());
}

std::string GetValue(std::string_view key, const std::string& name) { return ValuesBelow(key)[name]; }

Surroundings ValuesBelow(std::string_view key) {
  const auto [hive, path] = Split(key);
  Surroundings found;
  AddValues(hive, path.c_str(), "", found);
  return found;
}

Surroundings LookAround() {
  Surroundings found;
  AddValues(HKEY_CURRENT_USER, L"", "HKCU\\", found);
  AddValues(HKEY_LOCAL_MACHINE, L"", "HKLM\\", found);
  found.erase("HKLM\\");  // which may be empty
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string path = Utf8(entry.path().lexically_relative(folder).generic_wstring());
    if (entry.is_directory())
      found[path + "/"];
    else
      found[path] = entry.file_size() < 1000 ? ReadFile(entry.path()) : std::to_string(entry.file_size());
  }
  return found;
}

std::string Difference(const Surroundings& wanted, const Surroundings& seen) {
  const auto tell = [](auto& at, auto& all) {
    return at == all.end() ? "nothing" : at->first + " = " + at->second;
  };
  if (wanted == seen) return {};
  const auto [want, see] = std::ranges::mismatch(wanted, seen);
  return tell(see, seen) + " instead of " + tell(want, wanted);
}

std::string Utf8(std::wstring_view wide) {
  const int size = static_cast<int>(wide.size());
  std::string text(wide.size() * 3, '\0');
  text.resize(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, text.data(),
                                                      static_cast<int>(text.size()), nullptr, nullptr)));
  return text;
}

}  // namespace vantra::stage
