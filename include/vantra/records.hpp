// Records of usage documents as values that tests compare: an implementation detail of testkit.hpp.
#ifndef VANTRA_RECORDS_HPP
#define VANTRA_RECORDS_HPP

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace vantra::testkit {

/** A record of a usage document. Texts are unescaped: as the host gave them, but after repairs and cuts. */
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

// Removes the text up to and including the separator, or all of it, and returns what preceded the separator.
inline std::string_view Take(std::string_view& text, std::string_view separator) {
  const size_t end = text.find(separator);
  const std::string_view taken = text.substr(0, end);
  text.remove_prefix(end == text.npos ? text.size() : end + separator.size());
  return taken;
}

// Resolves decimal character references, the only kind that documents hold.
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

// A label or a value as the library records it.
inline std::string Free(std::string_view text, size_t limit) {
  text = text.substr(0, std::min(text.find('\0'), limit));
  return std::string(text.empty() ? "NOVALUE" : text);
}

inline bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

// A key, category or name as the library records it. An empty one, which the library refuses, stays empty.
inline std::string Identifier(std::string_view text) {
  std::string name(text.substr(0, text.find('\0')));
  if (!name.empty() && !IsLetter(name.front())) name.insert(0, "SK_");
  name.resize(std::min<size_t>(name.size(), 128));
  std::ranges::replace_if(
      name, [](char c) { return !IsLetter(c) && !(c >= '0' && c <= '9'); }, '_');
  return name;
}

}  // namespace detail

/** What a call of the host recorded. Made by the three functions below; operator<< prints it on one line. */
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
 * An event, a data group, and a value in a group of this name ("Session" is the session's own). Pass the
 * texts that the host passes: they are cut and repaired here as in the library, so "" equals "NOVALUE".
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

/** The same for the constants that vantra-catalog makes: of events and groups, and of values. */
template <class T>
concept Declared = requires(const T& declared) {
  declared.category;
  declared.subCategory;
  declared.name;
};
template <class T>
concept DeclaredValue = requires(const T& declared) {
  declared.group;
  declared.key;
};
inline Item Event(const Declared auto& event) { return Event(event.category, event.subCategory, event.name); }
inline Item Group(const Declared auto& group) { return Group(group.category, group.subCategory, group.name); }
inline Item Value(const DeclaredValue auto& declared, std::string_view value) {
  return Value(declared.group, declared.key, value);
}

}  // namespace vantra::testkit

#endif
