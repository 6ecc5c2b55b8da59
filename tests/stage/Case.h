// The world of one case: an empty folder for the host and its profile, registry hives, and memory that
// outlives a killed host. The same functions serve the program that sets the stage and the hosts that it
// starts. What cannot be set up is thrown as std::runtime_error.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "vantra/testkit.hpp"

namespace vantra::stage {

using Path = std::filesystem::path;
using Lines = std::vector<std::string>;

inline constexpr std::string_view kUsage = "Software\\Tolvex\\CommonFiles\\Usage";
inline constexpr std::string_view kPolicy = "SOFTWARE\\Policies\\Tolvex\\ORPIX";

// Makes a new world the current one, with Vantra.dll, the agent and the folder of documents in it. The agent
// is what lies beside this program, the library too or one folder up.
void EnterNewCase();
// Removes the world; false when somebody still uses it.
[[nodiscard]] bool LeaveCase();
// In a host: makes the world of that name the current one and puts its hives in place of the user's and the
// machine's.
void EnterCaseAsHost(const std::string& name);

[[nodiscard]] const std::string& CaseName();
[[nodiscard]] Path CaseFolder();   // where host.exe, Vantra.dll and Sendrix2.exe lie
[[nodiscard]] Path AppData();      // the profile's roaming folder
[[nodiscard]] Path AgentFolder();  // the agent's data folder
[[nodiscard]] Path Logs();         // the documents' folder

inline constexpr size_t kSharedSize = size_t{64} * 1024;
[[nodiscard]] void* SharedMemory();  // zero at first
// What the processes of the case share. All of them must ask for the same type.
template <class T>
[[nodiscard]] T& Shared() {
  static_assert(sizeof(T) <= kSharedSize && std::is_standard_layout_v<T>);
  return *static_cast<T*>(SharedMemory());
}
[[nodiscard]] inline std::atomic<int64_t>& Progress() { return Shared<std::atomic<int64_t>>(); }

// Removes what is there, a folder with all that it holds; false when somebody goes on using it. An image is
// in use for a moment after its process has ended.
[[nodiscard]] bool Remove(const Path& path);
[[nodiscard]] std::string ReadFile(const Path& path);  // empty when there is none
void WriteFile(const Path& path, std::string_view content);
[[nodiscard]] Lines FilesIn(const Path& folder);  // names, sorted

enum class Hive { kUser, kMachine };

// Values are written as type and content: "sz:text", "expand:text", "dword:7".
void SetValue(Hive hive, std::string_view key, std::string_view name, std::string_view value);
// Writes any bytes as a value of any type.
void SetBytes(Hive hive, std::string_view key, std::string_view name, uint32_t type, std::string_view bytes);
// Removes the key and all below it.
void RemoveKey(Hive hive, std::string_view key);
// Empty when there is no such value.
[[nodiscard]] std::string GetValue(Hive hive, std::string_view key, std::string_view name);
// "subkey\name=value" for each value below the key, sorted; for each empty key "subkey\".
[[nodiscard]] Lines ListValues(Hive hive, std::string_view key);

// What lies in the case's folder and in its registry: each file with its content, or its size when that is
// much; each folder as "path/"; each value as "HKCU key\name" or "HKLM key\name". The platform's own values
// are left out.
using Surroundings = std::map<std::string, std::string>;
[[nodiscard]] Surroundings LookAround();

using testkit::detail::Wide;
[[nodiscard]] std::string Utf8(std::wstring_view wide);  // what is no text becomes U+FFFD

}  // namespace vantra::stage
