/**
 * For the tests of a host: checks what an action recorded. Needs no test framework.
 *
 *     using namespace vantra::testkit;
 *     World world("MyProduct");  // a user of its own, who consents
 *     SaveDrawing();             // the host's code, which calls Vantra as usual
 *     EXPECT_TRUE(world.HasEvent("File", "Menu", "Save")) << world.Print();
 *     EXPECT_EQ(world.Value("Shapes", "Circles"), "17");
 *     EXPECT_EQ(world.Difference({Event("File", "Menu", "Save"), Group("Drawing", "Size", "Shapes"),
 *                                 Value("Shapes", "Circles", "17")}), "");  // these, and nothing else
 *
 * C++20, Windows only; includes windows.h. A World that cannot be made throws std::runtime_error.
 */
#ifndef VANTRA_TESTKIT_HPP
#define VANTRA_TESTKIT_HPP

#include <shlobj.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vantra/records.hpp>
#include <vector>

namespace vantra::testkit {

namespace detail {

inline std::wstring Wide(std::string_view utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end())).wstring();
}

}  // namespace detail

/**
 * During its lifetime this process has a user of its own: an empty HKEY_CURRENT_USER and an empty AppData
 * folder, both removed at the end. For this user the transport agent is installed, as a file that cannot be
 * started, nothing is sent, and documents are not obfuscated. The real user's choice, documents and settings
 * are not touched.
 *
 * Only one World may exist at a time, and sessions must be closed before it ends. What a test leaves behind
 * when it crashes or is killed is removed by the next World of the same user. The machine's group policy and
 * a Sendrix2.cfg beside the program still apply: either can forbid recording. Not thread-safe.
 */
class World {
 public:
  /**
   * @param usageKey  The usage key that the host declares.
   * @param consents  Whether the user has opted in; otherwise the user has not chosen yet.
   */
  explicit World(std::string_view usageKey, bool consents = true) {
    RemoveLeftovers();
    std::filesystem::create_directories(Logs());
    RegCreateKeyW(HKEY_CURRENT_USER, KeyPath(name_).c_str(), &key_);
    std::ofstream(Folder() / "Sendrix2.exe").flush();
    const std::wstring usage = L"Software\\Tolvex\\CommonFiles\\Usage";
    Set(L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders", L"AppData", AppData());
    Set(usage, L"Agent", Folder());
    Set(usage, L"send", L"0");
    Set(usage, L"obfuscate", L"0");
    if (consents) Set(usage + L"\\" + detail::Wide(usageKey), L"OptIn", L"1");
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

  /** The folder that is removed in the end: AppData and the agent lie in it. */
  [[nodiscard]] std::filesystem::path Folder() const {
    return std::filesystem::temp_directory_path() / name_;
  }

  /** The folder of the documents. */
  [[nodiscard]] std::filesystem::path Logs() const { return AppData() / "Tolvex" / "Sendrix2" / "Logs"; }

  /** All records of all sessions in this World, including open ones. Those of a session are in order. */
  [[nodiscard]] std::vector<Record> Records() const {
    std::vector<std::filesystem::directory_entry> files;
    for (const auto& file : std::filesystem::directory_iterator(Logs())) {
      // Documents that report a changed opt-in hold no records of the host.
      if (!file.path().filename().wstring().starts_with(L"ulog_SkylampOptin")) files.push_back(file);
    }
    std::ranges::sort(files, {}, [](const auto& file) { return file.last_write_time(); });
    std::vector<Record> records;
    for (const auto& entry : files) {
      std::ifstream file(entry.path(), std::ios::binary);
      detail::AppendRecords(std::string(std::istreambuf_iterator<char>(file), {}), records);
    }
    std::map<std::string, std::string> names;  // of groups, by session and number
    for (Record& record : records) {
      std::string& name = names[record.session + record["group"]];
      if (record.element == "NewGroup") name = record["name"];
      record.group = name;
    }
    return records;
  }

  /**
   * What the host's calls recorded, in order within a session, including validation errors. Without what
   * every session has: header blocks, opt-in, start and end.
   */
  [[nodiscard]] std::vector<Item> Items() const {
    std::vector<Item> items;
    bool isHeader = false;
    for (const Record& r : Records()) {
      if (r.element == "StartSession") isHeader = true;
      if (r.element == "ResumeSession") isHeader = false;
      if (!isHeader && r.group != "OptInInfo") {
        if (r.element == "EventRec") items.push_back(Event(r["category"], r["subcategory"], r["name"]));
        if (r.element == "NewGroup") items.push_back(Group(r["category"], r["subcategory"], r["name"]));
        if (r.element == "DataRec") items.push_back(testkit::Value(r.group, r["name"], r["data"]));
      }
      if (r.group == "UsageVersionInfo" && r["name"] == "Vantra.dll") isHeader = false;  // its last value
    }
    return items;
  }

  /** How often the item was recorded. */
  [[nodiscard]] size_t Count(const Item& item) const {
    const std::vector<Item> items = Items();
    return static_cast<size_t>(std::ranges::count(items, item));
  }

  /** Whether such an event was recorded. */
  [[nodiscard]] bool HasEvent(std::string_view category, std::string_view subCategory,
                              std::string_view name) const {
    return Count(Event(category, subCategory, name)) != 0;
  }

  /** The same, by a constant that vantra-catalog makes. */
  [[nodiscard]] bool HasEvent(const Declared auto& event) const { return Count(Event(event)) != 0; }

  /** Whether these were recorded in this order, with anything between them. */
  [[nodiscard]] bool HasInOrder(const std::vector<Item>& wanted) const {
    auto next = wanted.begin();
    for (const Item& item : Items()) next += next != wanted.end() && item == *next;
    return next == wanted.end();
  }

  /**
   * Empty when the host recorded exactly these, in this order. Otherwise the items, one a line: "-" marks one
   * that is wanted but was not recorded there, "+" one that was recorded but is not wanted there.
   */
  [[nodiscard]] std::string Difference(const std::vector<Item>& wanted) const {
    const std::vector<Item> items = Items();
    if (items == wanted) return "";
    const auto [want, item] = std::ranges::mismatch(wanted, items);
    const auto [wantEnd, itemEnd] = std::mismatch(wanted.rbegin(), std::reverse_iterator(want),
                                                  items.rbegin(), std::reverse_iterator(item));
    return Lines("  ", wanted.begin(), want) + Lines("- ", want, wantEnd.base()) +
           Lines("+ ", item, itemEnd.base()) + Lines("  ", wantEnd.base(), wanted.end());
  }

  /** All items, one a line, to show when an assertion fails. */
  [[nodiscard]] std::string Print() const {
    const std::vector<Item> items = Items();
    return Lines("", items.begin(), items.end());
  }

  /** The last value under this key in a group of this name ("Session" is the session's own), if any. */
  [[nodiscard]] std::optional<std::string> Value(std::string_view group, std::string_view key) const {
    std::optional<std::string> value;
    for (const Record& r : Records()) {
      if (r.element != "DataRec" || r.group != detail::Identifier(group)) continue;
      // The library's own keys are not repaired, so they may be no identifiers.
      if (r["name"] == key || r["name"] == detail::Identifier(key)) value = r["data"];
    }
    return value;
  }

  /** The same, by a constant that vantra-catalog makes. */
  [[nodiscard]] std::optional<std::string> Value(const DeclaredValue auto& declared) const {
    return Value(declared.group, declared.key);
  }

 private:
  static std::wstring KeyPath(const std::wstring& name) { return L"Software\\VantraTestkit\\" + name; }

  // A mutex with a world's name exists as long as the world's process runs.
  static void RemoveLeftovers() {
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::temp_directory_path())) {
      const std::wstring name = entry.path().filename().wstring();
      if (!name.starts_with(L"vantra-test-")) continue;
      const HANDLE mutex = OpenMutexW(SYNCHRONIZE, FALSE, (L"Global\\" + name).c_str());
      if (mutex == nullptr && GetLastError() == ERROR_FILE_NOT_FOUND) Remove(name);
      if (mutex != nullptr) CloseHandle(mutex);
    }
  }

  // The folder is removed last, since leftover keys are found by their folders.
  static void Remove(const std::wstring& name) noexcept {
    RegDeleteTreeW(HKEY_CURRENT_USER, KeyPath(name).c_str());
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\VantraTestkit");  // fails while others use it
    std::error_code ignored;
    std::filesystem::remove_all(std::filesystem::temp_directory_path(ignored) / name, ignored);
  }

  template <class Iterator>
  static std::string Lines(std::string_view mark, Iterator begin, Iterator end) {
    std::ostringstream lines;
    for (; begin != end; ++begin) lines << mark << *begin << '\n';
    return lines.str();
  }

  [[nodiscard]] std::filesystem::path AppData() const { return Folder() / "AppData"; }

  void Set(const std::wstring& path, const wchar_t* name, const std::wstring& text) const {
    RegSetKeyValueW(key_, path.c_str(), name, REG_SZ, text.c_str(),
                    static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  }

  void Leave() noexcept {
    if (isRedirected_) RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    if (key_ != nullptr) RegCloseKey(key_);
    Remove(name_);
    if (mutex_ != nullptr) CloseHandle(mutex_);
  }

  std::wstring name_ =
      L"vantra-test-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(GetTickCount64());
  HANDLE mutex_ = CreateMutexW(nullptr, FALSE, (L"Global\\" + name_).c_str());
  HKEY key_ = nullptr;
  bool isRedirected_ = false;
};

}  // namespace vantra::testkit

#endif
