#include "LineCounter.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace {

struct KnownFiles {
  events::Language language;
  std::wstring_view files;  // extensions and whole names in lower case, each between blanks
};

constexpr KnownFiles kLanguages[] = {
    {events::Language::kAssembly, L" .asm .s "},
    {events::Language::kC, L" .c "},
    {events::Language::kCSharp, L" .cs "},
    {events::Language::kCpp, L" .cc .cpp .cxx "},
    {events::Language::kHeader, L" .h .hh .hpp "},
    {events::Language::kCMakeFile, L" .cmake cmakelists.txt "},
    {events::Language::kCss, L" .css "},
    {events::Language::kGo, L" .go "},
    {events::Language::kHtml, L" .htm .html "},
    {events::Language::kJava, L" .java "},
    {events::Language::kJavascript, L" .js .mjs "},
    {events::Language::kJson, L" .json "},
    {events::Language::kMake, L" .mk makefile "},
    {events::Language::kMarkdown, L" .md "},
    {events::Language::kPython, L" .py "},
    {events::Language::kResource, L" .rc "},
    {events::Language::kRust, L" .rs "},
    {events::Language::kShell, L" .sh "},
    {events::Language::kSql, L" .sql "},
    {events::Language::kText, L" .txt "},
    {events::Language::kTypescript, L" .ts "},
    {events::Language::kXml, L" .xml .xsd .admx .adml "},
    {events::Language::kYaml, L" .yaml .yml .clang-format .clang-tidy "},
};

constexpr std::wstring_view kSkippedFolders = L" .git .hg .svn build node_modules out ";

bool Lists(std::wstring_view list, std::wstring name) {
  std::ranges::transform(name, name.begin(), [](wchar_t c) { return c >= L'A' && c <= L'Z' ? c | 0x20 : c; });
  return !name.empty() && list.find(L' ' + name + L' ') != list.npos;
}

events::Language LanguageOf(const fs::path& file) {
  const std::wstring name = file.filename().native();
  const std::wstring extension = name.substr(std::min(name.rfind(L'.'), name.size()));
  for (const std::wstring& key : {name, extension}) {
    const auto* const language =
        std::ranges::find_if(kLanguages, [&](const KnownFiles& row) { return Lists(row.files, key); });
    if (language != std::end(kLanguages)) return language->language;
  }
  return events::Language::kOther;
}

bool IsSkipped(const fs::path& folder) {
  const DWORD attributes = GetFileAttributesW(folder.c_str());
  const bool isLink =
      attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  return isLink || Lists(kSkippedFolders, folder.filename().native());
}

// A file with a NUL byte is not text: its language becomes "Binary", and it has no lines.
bool CountFile(const fs::path& path, CountedFile& file) {
  std::ifstream stream(path, std::ios::binary);
  std::array<char, 16384> piece;
  bool isLineEmpty = true;
  bool isLineBlank = true;
  const auto endLine = [&] {
    ++file.counts.lines;
    if (isLineBlank) ++file.counts.blankLines;
    isLineEmpty = isLineBlank = true;
  };
  while (stream.read(piece.data(), piece.size()), stream.gcount() > 0) {
    const std::string_view text(piece.data(), static_cast<size_t>(stream.gcount()));
    file.counts.bytes += text.size();
    if (text.find('\0') != text.npos) file.language = events::Language::kBinary;
    for (const char c : text) {
      if (c == '\n') {
        endLine();
      } else {
        isLineEmpty = false;
        if (c != ' ' && c != '\t' && c != '\r') isLineBlank = false;
      }
    }
  }
  if (!isLineEmpty) endLine();
  if (file.language == events::Language::kBinary) file.counts.lines = file.counts.blankLines = 0;
  file.counts.files = 1;
  return stream.eof() && !stream.bad();
}

// The entries of a folder, sorted. The C runtime lists a different folder when a path is too long, so such a
// path counts as unreadable.
std::vector<fs::directory_entry> List(const fs::path& folder, std::error_code& error) {
  if (folder.native().size() + 2 >= MAX_PATH) error = std::make_error_code(std::errc::filename_too_long);
  std::vector<fs::directory_entry> entries;
  if (error) return entries;
  for (fs::directory_iterator it(folder, error); !error && it != fs::directory_iterator();
       it.increment(error)) {
    entries.push_back(*it);
  }
  std::ranges::sort(entries);
  return entries;
}

bool CountBelow(const fs::path& folder, const std::string& prefix,
                const std::function<void(const CountedFile&)>& visit) {
  std::error_code error;
  for (const fs::directory_entry& entry : List(folder, error)) {
    std::error_code ignored;
    const bool isFolder = entry.is_directory(ignored);
    if (isFolder && IsSkipped(entry.path())) continue;
    CountedFile file{prefix + ToUtf8(entry.path().filename()), LanguageOf(entry.path()), false, {}};
    if (isFolder && CountBelow(entry.path(), file.path + "/", visit)) continue;
    file.isReadable = !isFolder && CountFile(entry.path(), file);
    visit(file);
  }
  return !error;
}

}  // namespace

Counts& Counts::operator+=(const Counts& other) {
  files += other.files;
  lines += other.lines;
  blankLines += other.blankLines;
  bytes += other.bytes;
  return *this;
}

bool CountFiles(const fs::path& folder, const std::function<void(const CountedFile&)>& visit) {
  return CountBelow(folder, "", visit);
}

std::string ToUtf8(const fs::path& path) {
  const std::wstring& wide = path.native();
  std::string narrow(wide.size() * 3, '\0');
  const int size = WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), narrow.data(),
                                       static_cast<int>(narrow.size()), nullptr, nullptr);
  narrow.resize(static_cast<size_t>(size));
  return narrow;
}
