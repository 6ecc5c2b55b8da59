// The world of one case: the test kit's, whose folder holds a host and the library too, a registry of the
// machine, memory that outlives a killed host, and disks that fail. The same functions serve the program that
// makes the world and the hosts that it starts. What cannot be set up is thrown as std::runtime_error.
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

inline constexpr std::string_view kUsage = "HKCU\\Software\\Tolvex\\CommonFiles\\Usage";
inline constexpr std::string_view kPolicy = "HKLM\\SOFTWARE\\Policies\\Tolvex\\ORPIX";

// Makes a new world the current one, with Vantra.dll, the agent and the folder of documents in it. The agent
// is what lies beside this program, the library too or one folder up.
void EnterNewCase();
// Removes the world; false when somebody still uses it.
[[nodiscard]] bool LeaveCase();
// In a host: makes the world in whose folder its program lies the current one.
void EnterCaseAsHost();

[[nodiscard]] const Path& CaseFolder();  // where host.exe, Vantra.dll and Sendrix2.exe lie
[[nodiscard]] Path AppData();            // the profile's roaming folder
[[nodiscard]] Path AgentFolder();        // the agent's data folder
[[nodiscard]] Path Logs();               // the documents' folder

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

// Keys begin with HKCU\ or HKLM\. A value is written as its type and content: "sz:text", "expand:text",
// "dword:7", and "unterminated:text" for bytes that are a text without its end.
void SetValue(std::string_view key, const char* name, std::string_view value);
void SetBytes(std::string_view key, const char* name, uint32_t type, std::string_view bytes);
void RemoveKey(std::string_view key);  // and all below it
[[nodiscard]] std::string GetValue(std::string_view key,
                                   const std::string& name);  // empty when there is none

// Each value below the key as "subkey\name", and each empty key as "subkey\".
using Surroundings = std::map<std::string, std::string>;
[[nodiscard]] Surroundings ValuesBelow(std::string_view key);
// What lies in the case's folder and in its registry: each file with its content, or its size when that is
// much, each folder as "path/", and the values. The platform's own values are left out.
[[nodiscard]] Surroundings LookAround();
// The first thing that is not as it should be; empty when there is none.
[[nodiscard]] std::string Difference(const Surroundings& wanted, const Surroundings& seen);

using testkit::detail::Wide;
[[nodiscard]] std::string Utf8(std::wstring_view wide);  // what is no text becomes U+FFFD

// Disks that fail, through the system below Wine. False where that is not there or does not allow it.
// From now on no file of this process grows beyond so many bytes: a write across the limit is cut short, the
// next one fails.
[[nodiscard]] bool LimitFiles(uint64_t bytes);
// An empty volume of that size over the folder, until it is unmounted.
[[nodiscard]] bool MountVolume(const Path& folder, uint64_t bytes);
bool Unmount(const Path& folder);
// Whether entries of the folder can be made, removed and renamed.
[[nodiscard]] bool SetWritable(const Path& folder, bool isWritable);

}  // namespace vantra::stage
