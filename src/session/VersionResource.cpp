#include "session/VersionResource.h"

#include <algorithm>
#include <map>
#include <vector>

#include "util/Files.h"
#include "util/GlobalItems.h"
#include "util/SystemModule.h"
#include "util/Text.h"

namespace vantra::session {
namespace {

struct VersionLibrary {
  util::SystemModule module{L"version.dll"};
  decltype(&GetFileVersionInfoSizeW) size = module.Find<decltype(size)>("GetFileVersionInfoSizeW");
  decltype(&GetFileVersionInfoW) read = module.Find<decltype(read)>("GetFileVersionInfoW");
  decltype(&VerQueryValueW) query = module.Find<decltype(query)>("VerQueryValueW");

  explicit operator bool() const { return size != nullptr && read != nullptr && query != nullptr; }
};

struct Translation {
  WORD language;
  WORD codePage;
};

// Bytes from this place to the resource's end. The lengths that a query returns come from the file and cannot
// be trusted.
size_t RoomAt(const std::vector<BYTE>& resource, const void* place) noexcept {
  const auto used = static_cast<size_t>(static_cast<const BYTE*>(place) - resource.data());
  return used < resource.size() ? resource.size() - used : 0;
}

std::string QueryText(const VersionLibrary& library, const std::vector<BYTE>& resource,
                      const Translation& translation, const wchar_t* name) {
  wchar_t block[64];
  swprintf(block, std::size(block), L"\\StringFileInfo\\%04x%04x\\%ls", translation.language,
           translation.codePage, name);
  void* text = nullptr;
  UINT length = 0;
  if (!library.query(resource.data(), block, &text, &length) || length == 0) return {};
  const size_t room = RoomAt(resource, text) / sizeof(wchar_t);
  return util::ToUtf8(std::wstring(static_cast<const wchar_t*>(text), std::min<size_t>(length, room)));
}

class KnownVersions : public util::OneOf<KnownVersions> {
 public:
  const VersionTexts& Of(const std::wstring& path, const util::FileInfo& info) {
    Known& known = files_[path];
    if (known.size != info.size || known.written != info.written) {
      known = {info.size, info.written, ReadVersionTexts(path)};
    }
    return known.texts;
  }

 private:
  struct Known {
    uint64_t size = 0;
    uint64_t written = 0;
    VersionTexts texts;
  };

  std::map<std::wstring, Known> files_;
};

}  // namespace

VersionTexts ReadVersionTexts(const std::wstring& path) {
  if (path.empty()) return {};
  const VersionLibrary library;
  DWORD ignored = 0;
  const DWORD size = library ? library.size(path.c_str(), &ignored) : 0;
  if (size == 0) return {};
  std::vector<BYTE> resource(size);
  if (!library.read(path.c_str(), 0, size, resource.data())) return {};
  void* found = nullptr;
  UINT length = 0;
  if (!library.query(resource.data(), L"\\VarFileInfo\\Translation", &found, &length) ||
      std::min<size_t>(length, RoomAt(resource, found)) < sizeof(Translation)) {
    return {};
  }
  const auto& translation = *static_cast<const Translation*>(found);

  wchar_t language[MAX_PATH];
  const DWORD languageLength = VerLanguageNameW(translation.language, language, MAX_PATH);
  return {QueryText(library, resource, translation, L"ProductName"),
          QueryText(library, resource, translation, L"ProductVersion"),
          QueryText(library, resource, translation, L"PrivateBuild"),
          languageLength == 0 || languageLength >= MAX_PATH ? std::string() : util::ToUtf8(language)};
}

VersionTexts KnownVersionTexts(const std::wstring& path) {
  const auto info = util::GetFileInfo(path);
  // The platform searches for a bare name.
  if (!info || info->isFolder) return ReadVersionTexts(path);
  return KnownVersions::Instance().Of(path, *info);
}

}  // namespace vantra::session
