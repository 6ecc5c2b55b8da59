/**
 * For the tests of a host: what did an action record? Needs no test framework.
 *
 *     using namespace vantra::testkit;
 *     World world("MyProduct");  // a user of its own, who consents
 *     SaveDrawing();             // the host's code, which calls Vantra as ever
 *     EXPECT_TRUE(world.HasEvent("File", "Menu", "Save")) << world.Print();
 *     EXPECT_EQ(world.Value("Shapes", "Circles"), "17");
 *     EXPECT_EQ(world.Difference({Event("File", "Menu", "Save"), Group("Drawing", "Size", "Shapes"),
 *                                 Value("Shapes", "Circles", "17")}), "");  // these, and nothing else
 *
 * C++20, for Windows; includes windows.h. Failures to make a world are thrown as std::runtime_error.
 */
#ifndef VANTRA_TESTKIT_HPP
#define VANTRA_TESTKIT_HPP

#include <shlobj.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <charconv>
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
#include <vector>

namespace vantra::testkit {

/** A record of a usage document, with the host's texts as the host gave them (after repairs and cuts). */
struct Record {
  std::string session;  // the identifier of its session
  std::string element;  // "EventRec", "NewGroup", "DataRec", ...
  std::string group;    // the name of its group, from World::Records
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

// A label or a value as the library records it.
inline std::string Free(std::string_view text, size_t limit) {
  text = text.substr(0, std::min(text.find('\0'), limit));
  return std::string(text.empty() ? "NOVALUE" : text);
}

inline bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

// A key, category or name as the library records it; an empty one is refused, and stays empty here.
inline std::string Identifier(std::string_view text) {
  std::string name(text.substr(0, text.find('\0')));
  if (!name.empty() && !IsLetter(name.front())) name.insert(0, "SK_");
  name.resize(std::min<size_t>(name.size(), 128));
  std::ranges::replace_if(
      name, [](char c) { return !IsLetter(c) && !(c >= '0' && c <= '9'); }, '_');
  return name;
}

}  // namespace detail

/** What a call of the host recorded. Made by the three functions below; printed as one line. */
struct Item {
  std::string_view kind;  // "event", "group" or "value"
  std::array<std::string, 3> texts;

  bool operator==(const Item&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const Item& item) {
    out << item.kind;
    for (const std::string& text : item.texts) out << " \"" << text << '"';
    return out;
  }
};

/**
 * An event, a data group, and a value in a group of this name ("Session" is the session's own). Texts are
 * those that the host passes: they are cut and repaired here as the library does, so "" and "NOVALUE" are the
 * same.
 */
inline Item Event(std::string_view category, std::string_view subCategory, std::string_view name) {
  return {"event", {detail::Free(category, 128), detail::Free(subCategory, 128), detail::Free(name, 128)}};
}
inline Item Group(std::string_view category, std::string_view subCategory, std::string_view name) {
  return {"group", {detail::Identifier(category), detail::Free(subCategory, 128), detail::Identifier(name)}};
}
inline Item Value(std::string_view group, std::string_view key, std::string_view value) {
  return {"value", {detail::Identifier(group), detail::Identifier(key), detail::Free(value, 512)}};
}

/**
 * While it lives, this process has a user of its own: an empty HKEY_CURRENT_USER and an empty AppData folder,
 * both removed at its end. There the transport agent is installed as a file that does not start, nothing is
 * sent, and documents are plain. The real user's choice, documents and settings are not touched.
 *
 * One World at a time. Close sessions before it ends. What a test leaves behind that crashes or is killed,
 * the next World of the same user removes. The policy of the machine still counts, and so does a Sendrix2.cfg
 * beside the program: either can forbid recording.
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
    std::map<std::string, std::string> names;  // of groups, by session and number
    for (Record& record : records) {
      std::string& name = names[record.session + record["group"]];
      if (record.element == "NewGroup") name = record["name"];
      record.group = name;
    }
    return records;
  }

  /**
   * What the host's calls recorded, in their order within a session; validation errors too. Left out is what
   * every session has: the header blocks, the opt-in, start and end.
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
      if (r.group == "UsageVersionInfo" && r["name"] == "Vantra.dll") isHeader = false;  // the last of it
    }
    return items;
  }

  /** How often this was recorded. */
  [[nodiscard]] size_t Count(const Item& item) const {
    const std::vector<Item> items = Items();
    return static_cast<size_t>(std::ranges::count(items, item));
  }

  /** Whether such an event was recorded. */
  [[nodiscard]] bool HasEvent(std::string_view category, std::string_view subCategory,
                              std::string_view name) const {
    return Count(Event(category, subCategory, name)) != 0;
  }

  /** Whether these were recorded in this order, whatever lies between them. */
  [[nodiscard]] bool HasInOrder(const std::vector<Item>& wanted) const {
    auto next = wanted.begin();
    for (const Item& item : Items()) next += next != wanted.end() && item == *next;
    return next == wanted.end();
  }

  /**
   * Empty when the host recorded these, in this order, and nothing else. Otherwise the items, one a line:
   * "-" what is wanted and was not recorded there, "+" what was recorded and is not wanted there.
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

  /** All items, one a line: what to show when an assertion fails. */
  [[nodiscard]] std::string Print() const {
    const std::vector<Item> items = Items();
    return Lines("", items.begin(), items.end());
  }

  /** The value last added under this key to a group of this name; "Session" is the session's own group. */
  [[nodiscard]] std::optional<std::string> Value(std::string_view group, std::string_view key) const {
    std::optional<std::string> value;
    for (const Record& r : Records()) {
      if (r.element != "DataRec" || r.group != detail::Identifier(group)) continue;
      // The library's own keys need not be identifiers.
      if (r["name"] == key || r["name"] == detail::Identifier(key)) value = r["data"];
    }
    return value;
  }

 private:
  static std::wstring KeyPath(const std::wstring& name) { return L"Software\\VantraTestkit\\" + name; }

  // The mutex of its name tells that a world's process lives.
  static void RemoveLeftovers() {
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::temp_directory_path())) {
      const std::wstring name = entry.path().filename().wstring();
      if (!name.starts_with(L"vantra-test-")) continue;
      const HANDLE mutex = OpenMutexW(SYNCHRONIZE, FALSE, (L"Global\\" + name).c_str());
      if (mutex == nullptr && GetLastError() == ERROR_FILE_NOT_FOUND) Remove(name);
      if (mutex != nullptr) CloseHandle(mutex);
    }
  }

  // The folder goes last, since by it the key is found.
  static void Remove(const std::wstring& name) noexcept {
    RegDeleteTreeW(HKEY_CURRENT_USER, KeyPath(name).c_str());
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\VantraTestkit");  // refused while others use it
    std::error_code ignored;
    std::filesystem::remove_all(std::filesystem::temp_directory_path(ignored) / name, ignored);
  }

  template <class Iterator>
  static std::string Lines(std::string_view mark, Iterator begin, Iterator end) {
    std::ostringstream lines;
    for (; begin != end; ++begin) lines << mark << *begin << '\n';
    return lines.str();
  }

  [[nodiscard]] std::filesystem::path Folder() const {
    return std::filesystem::temp_directory_path() / name_;
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
