// host.exe SCRIPT JOURNAL: makes the calls of a script, one a line, and writes the result of each into the
// journal when it has returned. The arguments follow the call's letter in hexadecimal digits; "-" is NULL,
// "." empty.
#include <windows.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "vantra/vantra.h"

namespace {

void* session;
uint32_t group;

// As another user of this profile, who has chosen nothing yet. Wine knows one user only.
int32_t BecomeUser(const char* identifier) {
  const char* const usage = R"(Software\Tolvex\CommonFiles\Usage)";
  RegDeleteTreeA(HKEY_CURRENT_USER, usage);
  RegSetKeyValueA(HKEY_CURRENT_USER, usage, "send", REG_SZ, "0", 2);
  return RegSetKeyValueA(HKEY_CURRENT_USER, usage, "GUID", REG_SZ, identifier, 37);
}

int32_t Make(char call, const std::vector<const char*>& a, uint32_t size) {
  switch (call) {
    case 'u':
      return BecomeUser(a[0]);
    case 'i':
      return UTInitialize(a[0], true, nullptr);
    case 'p':  // pre-release
      return UTSetSerializationState(0);
    case 'o':
      return UTSetOptIn(a[0][0] - '0');
    case 's':
      return UTStartSession(&session, a[0], a[1], a[2], a[3], a[4]);
    case 'v':
      return UTAddToSession(session, a[0], a[1]);
    case 'e':
      return UTLogEvent(session, a[0], a[1], a[2], a[3], size);
    case 'g':
      return UTNewDataGroup(session, a[0], a[1], a[2], &group, a[3], size);
    case 'a':
      return UTAddToGroup(session, group, a[0], a[1]);
    case 'n':  // a number that names no group
      return UTAddToGroup(session, 9999, a[0], a[1]);
    case 'c':
      return UTCloseSession(&session);
    case 'x':
      RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
      return 1;
    default:  // waits to be killed
      Sleep(60'000);
      return 1;
  }
}

std::string Decoded(const std::string& hex) {
  std::string text;
  for (size_t i = 0; i + 1 < hex.size(); i += 2)
    text += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  return text;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  std::ifstream script(arguments[1]);
  std::ofstream journal(arguments[2]);
  for (std::string line; std::getline(script, line);) {
    std::istringstream words(line);
    std::string call;
    words >> call;
    std::vector<std::string> texts;
    std::vector<const char*> passed;
    texts.reserve(8);
    for (std::string word; words >> word;) {
      texts.push_back(Decoded(word));
      passed.push_back(word == "-" ? nullptr : texts.back().c_str());
    }
    const uint32_t size = texts.size() > 3 ? static_cast<uint32_t>(texts[3].size()) : 0;
    journal << Make(call[0], passed, size) << std::flush;
  }
}
