// Sendrix2.exe: stands in for the transport agent that a product ships.
//
// It makes the Logs folder that documents are written to, moves every finished document out of it into the
// folder Outbox beside it, and ends. An uploading agent would send a document where this one moves it.
// Nothing here knows the recording library: folders and file names are all that the two share.
//
// Exit code: 0 when every finished document was collected or is still held open by somebody, 1 when one could
// not be moved, 2 when the folders cannot be used.
#include <shlobj.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace {

enum ExitCode { kDone = 0, kNotAllMoved = 1, kNoFolders = 2 };

std::string ToUtf8(std::wstring_view text) {
  const int length = static_cast<int>(text.size());
  std::string narrow(text.size() * 3, '\0');
  const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(),
                                       static_cast<int>(narrow.size()), nullptr, nullptr);
  narrow.resize(static_cast<size_t>(size));
  return narrow;
}

void Say(std::FILE* stream, std::wstring_view line) {
  std::fprintf(stream, "%s\n", ToUtf8(line).c_str());
  std::fflush(stream);
}

std::wstring Explain(DWORD error) {
  wchar_t text[512];
  DWORD length = FormatMessageW(
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK, nullptr,
      error, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
  while (length > 0 && (text[length - 1] == L' ' || text[length - 1] == L'.')) --length;
  return std::wstring(text, length) + L" (error " + std::to_wstring(error) + L")";
}

// Path of a file in a folder, in the form that may be longer than 260 characters: a document whose path just
// fits in Logs would not fit in Outbox.
std::wstring Child(const std::wstring& folder, std::wstring_view name) {
  std::wstring path = folder.starts_with(L"\\\\") ? L"\\\\?\\UNC" + folder.substr(1) : L"\\\\?\\" + folder;
  return path.append(L"\\").append(name);
}

// Makes the folder with its parents. Returns 0 or the system's error.
DWORD EnsureFolder(const std::wstring& path) {
  const int error = SHCreateDirectoryExW(nullptr, path.c_str(), nullptr);
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return 0;
  return error != 0 ? static_cast<DWORD>(error) : ERROR_PATH_NOT_FOUND;
}

bool IsFinishedDocument(const WIN32_FIND_DATAW& file) {
  const std::wstring_view name = file.cFileName;
  const bool isFolder = (file.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return !isFolder && (name.ends_with(L".xml") || name.ends_with(L".rdy"));
}

// Names of the finished documents in the order of their names. Returns 0 or the system's error.
DWORD ListDocuments(const std::wstring& folder, std::vector<std::wstring>& names) {
  WIN32_FIND_DATAW file;
  HANDLE find = FindFirstFileW(Child(folder, L"*").c_str(), &file);
  if (find == INVALID_HANDLE_VALUE) return GetLastError();
  do {
    if (IsFinishedDocument(file)) names.emplace_back(file.cFileName);
  } while (FindNextFileW(find, &file));
  const DWORD error = GetLastError();
  FindClose(find);
  std::ranges::sort(names);
  return error == ERROR_NO_MORE_FILES ? 0 : error;
}

// Moves a document and tells the name that it got. A name that the target folder already holds is never
// replaced: the newcomer's gets a number. Returns 0 or the system's error.
DWORD MoveDocument(const std::wstring& from, const std::wstring& name, const std::wstring& to,
                   std::wstring& newName) {
  const std::wstring source = Child(from, name);
  const size_t dot = name.rfind(L'.');
  newName = name;
  for (int copy = 2;; ++copy) {
    if (MoveFileExW(source.c_str(), Child(to, newName).c_str(), MOVEFILE_WRITE_THROUGH)) return 0;
    const DWORD error = GetLastError();
    if (error != ERROR_ALREADY_EXISTS && error != ERROR_FILE_EXISTS) return error;
    newName = name;
    newName.insert(dot, L"~" + std::to_wstring(copy));
  }
}

// Moves one document and says what became of it. False when it should have moved and did not.
bool Collect(const std::wstring& logs, const std::wstring& name, const std::wstring& outbox) {
  std::wstring newName;
  const DWORD error = MoveDocument(logs, name, outbox, newName);
  if (error == 0) {
    Say(stdout, newName == name ? L"Collected " + name : L"Collected " + name + L" as " + newName);
    return true;
  }
  if (error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION) {
    Say(stdout, L"In use, left for the next start: " + name);
    return true;
  }
  if (GetFileAttributesW(Child(logs, name).c_str()) == INVALID_FILE_ATTRIBUTES) {
    Say(stdout, L"Already gone: " + name);  // taken by another agent, or deleted with the user's consent
    return true;
  }
  Say(stderr, L"Sendrix2: cannot move " + name + L" to " + outbox + L": " + Explain(error));
  return false;
}

int Run() {
  wchar_t root[MAX_PATH];
  const HRESULT found =
      SHGetFolderPathW(nullptr, CSIDL_APPDATA | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, root);
  if (found != S_OK) {
    Say(stderr, L"Sendrix2: no application-data folder: " + Explain(static_cast<DWORD>(found)));
    return kNoFolders;
  }
  const std::wstring data = std::wstring(root) + L"\\Tolvex\\Sendrix2";
  const std::wstring logs = data + L"\\Logs";
  const std::wstring outbox = data + L"\\Outbox";
  for (const std::wstring& folder : {logs, outbox}) {
    if (const DWORD error = EnsureFolder(folder); error != 0) {
      Say(stderr, L"Sendrix2: cannot make " + folder + L": " + Explain(error));
      return kNoFolders;
    }
  }
  std::vector<std::wstring> names;
  if (const DWORD error = ListDocuments(logs, names); error != 0) {
    Say(stderr, L"Sendrix2: cannot list " + logs + L": " + Explain(error));
    return kNoFolders;
  }
  if (names.empty()) Say(stdout, L"No finished document in " + logs);
  int exitCode = kDone;
  for (const std::wstring& name : names) {
    if (!Collect(logs, name, outbox)) exitCode = kNotAllMoved;
  }
  return exitCode;
}

}  // namespace

int wmain(int argc, wchar_t**) {
  SetConsoleOutputCP(CP_UTF8);
  if (argc > 1) {
    Say(stderr, L"usage: Sendrix2\n\nTakes no arguments: collects the finished usage documents and ends.");
    return kNoFolders;
  }
  return Run();
}
