/**
 * For the tests of a host: what did an action record? Needs no test framework.
 *
 *     vantra::testkit::World world("MyProduct");  // a user of its own, who consents
 *     SaveDrawing();                              // the host's code, which calls Vantra as ever
 *     EXPECT_TRUE(world.HasEvent("File", "Menu", "Save"));
 *     EXPECT_EQ(world.Value("Shapes", "Circles"), "17");
 *
 * C++20, for Windows; includes windows.h. Failures to make a world are thrown as std::runtime_error.
 */
#ifndef VANTRA_TESTKIT_HPP
#define VANTRA_TESTKIT_HPP

#include <shlobj.h>
#include <windows.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vantra::testkit {

/** A record of a usage document, with the host's texts as the host gave them (after repairs and cuts). */
struct Record {
  std::string session;  // the identifier of its session
  std::string element;  // "EventRec", "NewGroup", "DataRec", ...
  std::map<std::string, std::string, std::less<>> attributes;

  /** An attribute's value; empty when there is none. */
  [[nodiscard]] std::string operator[](std::string_view name) const {
    const auto found = attributes.find(name);
    return found == attributes.end() ? std::string() : found->second;
  }
};

namespace detail {

// Cuts what lies before the separator off the text, all of it when there is none.
inline std::string_view Take(std::string_view& text, std::string_view separator) {
  const size_t end = text.find(separator);
  const std::string_view taken = text.substr(0, end);
  text.remove_prefix(end == text.npos ? text.size() : end + separator.size());
  return taken;
}

// Resolves the references to characters by decimal number, the only ones that are written.
inline std::string Unescaped(std::string_view text) {
  std::string plain;
  while (!text.empty()) {
    const size_t length = text.find("&#");
    plain += Take(text, "&#");
    if (length == text.npos) break;
    const std::string_view number = Take(text, ";");
    int code = 0;
    std::from_chars(number.data(), number.data() + number.size(), code);
    plain += static_cast<char>(code);
  }
  return plain;
}

inline void AppendRecords(std::string_view document, std::vector<Record>& records) {
  std::string session;
  while (!document.empty()) {
    std::string_view line = Take(document, " />\n");
    line.remove_prefix(line.rfind('<') + 1);
    Record record;
    record.element = Take(line, " ");
    while (!line.empty()) {
      const std::string name(Take(line, "=\""));
      record.attributes[name] = Unescaped(Take(line, "\""));
      Take(line, " ");
    }
    if (record.element == "StartSession" || record.element == "ResumeSession") session = record["id"];
    record.session = session;
    if (!record.attributes.empty()) records.push_back(std::move(record));
  }
}

inline std::wstring Wide(std::string_view utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end())).wstring();
}

}  // namespace detail

/**
 * While it lives, this process has a user of its own: an empty HKEY_CURRENT_USER and an empty AppData folder,
 * both removed at its end. There the transport agent is installed as a file that does not start, nothing is
 * sent, and documents are plain. The real user's choice, documents and settings are not touched.
 *
 * One World at a time. Close sessions before it ends. The policy of the machine still counts, and so does a
 * Sendrix2.cfg beside the program: either can forbid recording.
 */
class World {
 public:
  /**
   * @param usageKey  The usage key that the host declares.
   * @param consents  Whether the user has opted in; otherwise the user has not chosen yet.
   */
  explicit World(std::string_view usageKey, bool consents = true) {
    const std::wstring name =
        L"vantra-test-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(GetTickCount64());
    keyPath_ = L"Software\\VantraTestkit\\" + name;
    folder_ = std::filesystem::temp_directory_path() / name;
    std::filesystem::create_directories(Logs());
    std::ofstream(folder_ / "Sendrix2.exe").flush();
    const std::wstring usage = L"Software\\Tolvex\\CommonFiles\\Usage";
    Set(L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders", L"AppData", AppData());
    Set(usage, L"Agent", folder_);
    Set(usage, L"send", L"0");
    Set(usage, L"obfuscate", L"0");
    if (consents) Set(usage + L"\\" + detail::Wide(usageKey), L"OptIn", L"1");
    RegCreateKeyW(HKEY_CURRENT_USER, keyPath_.c_str(), &key_);
    isRedirected_ = key_ != nullptr && RegOverridePredefKey(HKEY_CURRENT_USER, key_) == ERROR_SUCCESS;
    wchar_t root[MAX_PATH] = L"";
    SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, root);
    if (!isRedirected_ || AppData() != root) {
      Leave();
      throw std::runtime_error("testkit: the user's registry and folders cannot be redirected here");
    }
  }
  ~World() { Leave(); }
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  /** Where documents are. */
  [[nodiscard]] std::filesystem::path Logs() const { return AppData() / "Tolvex" / "Sendrix2" / "Logs"; }

  /** All records of all sessions in this World, open ones too; a session's records in the order written. */
  [[nodiscard]] std::vector<Record> Records() const {
    std::vector<std::filesystem::directory_entry> files;
    for (const auto& file : std::filesystem::directory_iterator(Logs())) {
      // What tells of a changed opt-in is no record of the host's.
      if (!file.path().filename().wstring().starts_with(L"ulog_SkylampOptin")) files.push_back(file);
    }
    std::ranges::sort(files, {}, [](const auto& file) { return file.last_write_time(); });
    std::vector<Record> records;
    for (const auto& entry : files) {
      std::ifstream file(entry.path(), std::ios::binary);
      detail::AppendRecords(std::string(std::istreambuf_iterator<char>(file), {}), records);
    }
    return records;
  }

  /** Whether such an event was recorded. */
  [[nodiscard]] bool HasEvent(std::string_view category, std::string_view subCategory,
                              std::string_view name) const {
    return std::ranges::any_of(Records(), [&](const Record& record) {
      return record.element == "EventRec" && record["category"] == category &&
             record["subcategory"] == subCategory && record["name"] == name;
    });
  }

  /** The value last added under this key to a group of this name; "Session" is the session's own group. */
  [[nodiscard]] std::optional<std::string> Value(std::string_view group, std::string_view key) const {
    std::map<std::string, std::string> names;  // of groups, by session and number
    std::optional<std::string> value;
    for (const Record& record : Records()) {
      std::string& name = names[record.session + record["group"]];
      if (record.element == "NewGroup") name = record["name"];
      if (record.element == "DataRec" && name == group && record["name"] == key) value = record["data"];
    }
    return value;
  }

 private:
  [[nodiscard]] std::filesystem::path AppData() const { return folder_ / "AppData"; }

  void Set(const std::wstring& path, const wchar_t* name, const std::wstring& text) const {
    RegSetKeyValueW(HKEY_CURRENT_USER, (keyPath_ + L"\\" + path).c_str(), name, REG_SZ, text.c_str(),
                    static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  }

  void Leave() noexcept {
    if (isRedirected_) RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    if (key_ != nullptr) RegCloseKey(key_);
    RegDeleteTreeW(HKEY_CURRENT_USER, keyPath_.c_str());
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\VantraTestkit");  // refused while others use it
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

  std::wstring keyPath_;
  std::filesystem::path folder_;
  HKEY key_ = nullptr;
  bool isRedirected_ = false;
};

}  // namespace vantra::testkit

#endif
