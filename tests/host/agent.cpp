// Stands in for the transport agent: each start leaves a file with its command line beside it.
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>

int main() {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::string name = std::to_string(GetCurrentProcessId()) + "-" + std::to_string(GetTickCount64());
  std::ofstream(std::filesystem::path(path).replace_filename(name + ".agent")) << GetCommandLineA();
}
