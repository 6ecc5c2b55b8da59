// What calls through vantra.hpp record, by a program that needs nothing compiled of the standard library: for
// the target of Microsoft's compiler there is none here.
#include <cstdio>
#include <cstdlib>
#include <vantra/vantra.hpp>

void* operator new(size_t size) { return std::malloc(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
namespace std {
void __throw_bad_alloc() { abort(); }
void __throw_length_error(const char*) { abort(); }
void __throw_logic_error(const char*) { abort(); }
void __throw_out_of_range_fmt(const char*, ...) { abort(); }
}  // namespace std

int main() {
  const vantra::Library vantra;
  vantra.Initialize("AcmeCalls", vantra::CrashHandling::kOff);
  const bool isStored = vantra.SetOptIn(vantra::OptIn::kIn) && vantra.SetDemographic("City", "Ulm");
  const auto session = vantra.StartSession({.family = "Acme", .name = "Calls", .version = 3});
  const auto group = session.NewDataGroup("File", nullptr, "Numbers", "a.txt");
  const bool isDone = group.Add("Big", 1ULL << 63) && group.Add("Half", std::string("0.5")) &&
                      session.Add("Whole", -17) && session.LogEvent("File", "", "Empty", "");
  return isStored && isDone && vantra.GetDemographic("City") == "Ulm" ? 0 : 1;
}
