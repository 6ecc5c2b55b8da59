#include "inspect/Program.h"

#include "inspect/Output.h"
#ifdef _WIN32
#include "util/Text.h"
#endif

namespace vantra {
namespace {

#ifdef _WIN32
using Character = wchar_t;
using util::ToUtf8;
#else
using Character = char;
std::string ToUtf8(const char* text) { return text; }
#endif

int Start(int count, Character** texts) {
  inspect::PrepareStandardStreams();
  std::vector<std::string> arguments;
  for (int i = count - 1; i > 0; --i) arguments.push_back(ToUtf8(texts[i]));
  return Main(std::move(arguments));
}

}  // namespace
}  // namespace vantra

#ifdef _WIN32
int wmain(int count, wchar_t** texts) { return vantra::Start(count, texts); }
#else
int main(int count, char** texts) { return vantra::Start(count, texts); }
#endif
