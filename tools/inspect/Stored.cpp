#include "Stored.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "Output.h"
#include "log/LogFiles.h"
#include "reader/Decoded.h"
#include "reader/FileName.h"
#include "reader/Files.h"
#include "settings/AgentFolders.h"
#include "settings/UsageSettings.h"
#include "util/Files.h"
#include "util/Paths.h"
#include "util/Text.h"
#include "util/TimeStamp.h"

namespace vantra::inspect {
namespace {

using util::FromUtf8;
using util::ToUtf8;

constexpr std::string_view kRoot = "HKEY_CURRENT_USER\\";

std::string Reason(DWORD error) {
  wchar_t text[256];
  const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                      error, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
  std::string message = ToUtf8({text, length});
  message.erase(message.find_last_not_of("\r\n. ") + 1);
  return message + " (error " + std::to_string(error) + ")";
}

bool IsWithin(const std::wstring& path, const std::wstring& folder) {
  const std::wstring root = util::WithTrailingBackslash(folder);
  return CompareStringOrdinal(util::WithTrailingBackslash(path).substr(0, root.size()).c_str(), -1,
                              root.c_str(), -1, TRUE) == CSTR_EQUAL;
}

struct Found {
  std::wstring path;
  DWORD attributes;
  uint64_t size, written;
};

// The entries of the folder, without its subfolders' entries.
std::vector<Found> ListFolder(const std::wstring& folder) {
  std::vector<Found> found;
  WIN32_FIND_DATAW data;
  const util::UniqueFind find(FindFirstFileW(util::JoinPath(folder, L"*").c_str(), &data));
  if (!find) return found;
  const auto join = [](DWORD high, DWORD low) { return uint64_t{high} << 32 | low; };
  do {
    const std::wstring_view name = data.cFileName;
    if (name == L"." || name == L"..") continue;
    found.push_back({util::JoinPath(folder, name), data.dwFileAttributes,
                     join(data.nFileSizeHigh, data.nFileSizeLow),
                     join(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime)});
  } while (FindNextFileW(find.Get(), &data));
  return found;
}

bool IsFolder(const Found& found) { return (found.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
bool IsLink(const Found& found) { return (found.attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0; }

std::string AsTime(uint64_t ticks) {
  constexpr uint64_t kTicksOfSecond = 10'000'000;
  constexpr int64_t kUnixEpoch = 11'644'473'600;
  return std::string(
      util::TimeStamp(static_cast<int64_t>(ticks / kTicksOfSecond) - kUnixEpoch).Text().View());
}

// Adds the files and links at any depth below a folder.
void ListFiles(const std::wstring& folder, size_t rootSize, size_t place, std::vector<StoredItem>& items) {
  for (const Found& found : ListFolder(folder)) {
    if (IsFolder(found) && !IsLink(found)) {
      ListFiles(found.path, rootSize, place, items);
      continue;
    }
    StoredItem item{StoredItem::Kind::File, place, ToUtf8(found.path.substr(rootSize + 1)), {}, {}, {}};
    item.size = found.size;
    item.written = AsTime(found.written);
    items.push_back(std::move(item));
  }
}

class Key {
 public:
  Key(HKEY parent, const std::wstring& name) {
    if (RegOpenKeyExW(parent, name.c_str(), 0, KEY_READ, &key_) != ERROR_SUCCESS) key_ = nullptr;
  }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  ~Key() {
    if (key_ != nullptr) RegCloseKey(key_);
  }
  [[nodiscard]] HKEY Get() const noexcept { return key_; }

 private:
  HKEY key_;
};

std::string TypeName(DWORD type) {
  constexpr std::string_view kNames[] = {"REG_NONE",  "REG_SZ",        "REG_EXPAND_SZ", "REG_BINARY",
                                         "REG_DWORD", "REG_DWORD_BIG", "REG_LINK",      "REG_MULTI_SZ"};
  return type < std::size(kNames) ? std::string(kNames[type]) : "type " + std::to_string(type);
}

std::string DataText(DWORD type, const std::vector<BYTE>& data) {
  if (type == REG_SZ || type == REG_EXPAND_SZ) {
    std::wstring text(data.size() / sizeof(wchar_t), L'\0');
    std::copy_n(data.data(), text.size() * sizeof(wchar_t), reinterpret_cast<BYTE*>(text.data()));
    return ToUtf8(text.substr(0, text.find(L'\0')));
  }
  if (type == REG_DWORD && data.size() == sizeof(DWORD))
    return std::to_string(data[0] | data[1] << 8 | data[2] << 16 | static_cast<DWORD>(data[3]) << 24);
  constexpr std::string_view kHex = "0123456789abcdef";
  std::string text;
  for (const BYTE byte : data) text.append(1, kHex[byte >> 4]).append(1, kHex[byte & 15]);
  return text;
}

void ListValues(HKEY parent, const std::wstring& name, const std::string& path, size_t place,
                std::vector<StoredItem>& items) {
  const Key key(parent, name);
  if (key.Get() == nullptr) return;
  const size_t before = items.size();
  DWORD longestName = 0;
  DWORD longestData = 0;
  DWORD longestSubkey = 0;
  RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, nullptr, &longestSubkey, nullptr, nullptr,
                   &longestName, &longestData, nullptr, nullptr);
  std::wstring text(std::max(longestName, longestSubkey) + 1, L'\0');
  for (DWORD i = 0;; ++i) {
    std::vector<BYTE> data(longestData);
    auto size = static_cast<DWORD>(text.size());
    DWORD type = 0;
    DWORD dataSize = longestData;
    if (RegEnumValueW(key.Get(), i, text.data(), &size, nullptr, &type, data.data(), &dataSize) !=
        ERROR_SUCCESS)
      break;
    data.resize(dataSize);
    items.push_back({StoredItem::Kind::Value, place, path, ToUtf8(text.substr(0, size)), TypeName(type),
                     DataText(type, data)});
  }
  for (DWORD i = 0;; ++i) {
    auto size = static_cast<DWORD>(text.size());
    if (RegEnumKeyExW(key.Get(), i, text.data(), &size, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
      break;
    const std::wstring subkey = text.substr(0, size);
    ListValues(key.Get(), subkey, path.empty() ? ToUtf8(subkey) : path + "\\" + ToUtf8(subkey), place, items);
  }
  if (items.size() == before) items.push_back({StoredItem::Kind::EmptyKey, place, path, {}, {}, {}});
}

void EraseFolder(const std::wstring& folder, std::vector<Failure>& failures) {
  const auto fail = [&](const std::wstring& path) {
    const DWORD error = GetLastError();
    if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND)
      failures.push_back({ToUtf8(path), Reason(error)});
  };
  const size_t before = failures.size();
  for (const Found& found : ListFolder(folder)) {
    if (IsFolder(found) && !IsLink(found)) {
      EraseFolder(found.path, failures);
      continue;
    }
    if ((found.attributes & FILE_ATTRIBUTE_READONLY) != 0)
      SetFileAttributesW(found.path.c_str(), FILE_ATTRIBUTE_NORMAL);
    const BOOL isGone =
        IsFolder(found) ? RemoveDirectoryW(found.path.c_str()) : DeleteFileW(found.path.c_str());
    if (!isGone) fail(found.path);
  }
  if (failures.size() == before && !RemoveDirectoryW(folder.c_str())) fail(folder);
}

// Copies a file; a document as its decoded text.
void CopyItem(const std::string& from, std::string to) {
  const auto name = reader::ParseFileName(from.substr(from.find_last_of(reader::kSeparators) + 1));
  const bool isDecoded = name && (name->isPacked || name->ending != reader::Ending::Xml);
  if (isDecoded) to += ".xml";
  reader::FileSource file;
  if (!file.Open(from)) throw std::runtime_error(std::string(file.Error()));
  Output output(to);
  const auto copy = [&](reader::Source& source) {
    std::string piece(size_t{64} << 10, '\0');
    for (size_t size; (size = source.Read(piece.data(), piece.size())) != 0;)
      output.Write(std::string_view(piece).substr(0, size));
    if (!source.Error().empty()) throw std::runtime_error(std::string(source.Error()));
  };
  if (!isDecoded) return copy(file);
  reader::DecodedSource text(file);
  copy(text);
}

}  // namespace

std::vector<Place> ListPlaces() {
  std::vector<Place> places;
  const auto add = [&](const std::wstring& path, std::string_view folder) {
    if (!path.empty()) places.push_back({ToUtf8(path), std::string(folder), false});
  };
  add(settings::GetAgentFolders().data, "Sendrix2");
  add(settings::GetProtectedModeFolders().data, "Sendrix2-LocalLow");
  add(log::LogFolder(), "Skylamp");
  places.push_back({std::string(kRoot) + ToUtf8(settings::kUsageKey), "registry.ndjson", true});
  return places;
}

std::vector<StoredItem> ListStored(const std::vector<Place>& places) {
  std::vector<StoredItem> items;
  for (size_t i = 0; i < places.size(); ++i) {
    if (places[i].isKey) {
      ListValues(HKEY_CURRENT_USER, settings::kUsageKey, {}, i, items);
    } else {
      const std::wstring folder = FromUtf8(places[i].path);
      ListFiles(folder, folder.size(), i, items);
    }
  }
  std::ranges::stable_sort(items, {}, &StoredItem::place);
  return items;
}

std::vector<Failure> Erase(const std::vector<Place>& places) {
  std::vector<Failure> failures;
  for (const Place& place : places) {
    if (!place.isKey) {
      EraseFolder(FromUtf8(place.path), failures);
      continue;
    }
    const LSTATUS status = RegDeleteTreeW(HKEY_CURRENT_USER, settings::kUsageKey);
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
      failures.push_back({place.path, Reason(static_cast<DWORD>(status))});
  }
  return failures;
}

std::vector<Failure> Export(const std::vector<Place>& places, const std::vector<StoredItem>& items,
                            const std::string& folder) {
  for (const Place& place : places) {
    if (!place.isKey && IsWithin(util::FullPath(FromUtf8(folder)), FromUtf8(place.path)))
      throw std::runtime_error("the folder lies in what is to be exported: " + folder);
  }
  if (!ListFolder(FromUtf8(folder)).empty()) throw std::runtime_error("the folder is not empty: " + folder);
  MakeFolder(folder);
  std::vector<Failure> failures;
  std::string registry;
  for (const StoredItem& item : items) {
    const Place& place = places[item.place];
    if (item.kind != StoredItem::Kind::File) {
      registry += JsonOf(item, place);
      continue;
    }
    const std::string to = folder + "\\" + place.folder + "\\" + item.path;
    MakeFolder(to.substr(0, to.rfind('\\')));
    try {
      CopyItem(place.path + "\\" + item.path, to);
    } catch (const std::exception& error) {
      failures.push_back({place.path + "\\" + item.path, error.what()});
    }
  }
  for (const Place& place : places) {
    if (place.isKey && !registry.empty()) Output(folder + "\\" + place.folder).Write(registry);
  }
  return failures;
}

std::string JsonOf(const StoredItem& item, const Place& place) {
  nlohmann::ordered_json json;
  const std::string path = item.path.empty() ? place.path : place.path + "\\" + item.path;
  constexpr std::string_view kKinds[] = {"file", "value", "key"};
  json["kind"] = kKinds[static_cast<size_t>(item.kind)];
  json["place"] = place.path;
  json["path"] = path;
  if (item.kind == StoredItem::Kind::File) {
    json["size"] = item.size;
    json["written"] = item.written;
  } else if (item.kind == StoredItem::Kind::Value) {
    json["name"] = item.name;
    json["type"] = item.type;
    json["data"] = item.data;
  }
  return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace vantra::inspect
