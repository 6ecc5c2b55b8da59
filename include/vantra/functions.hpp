// A table of the functions of vantra.h, linked or found at run time: an implementation detail of vantra.hpp.
#ifndef VANTRA_FUNCTIONS_HPP
#define VANTRA_FUNCTIONS_HPP

#include <vantra/vantra.h>

#include <optional>
#include <type_traits>

namespace vantra::detail {

template <int32_t result, class... Arguments>
int32_t Refuse(Arguments...) noexcept {
  return result;
}

// The functions in use, named without UT. A function that is missing does nothing and returns a failure.
struct Functions {
  decltype(&UTInitialize) Initialize = &Refuse<1>;
  decltype(&UTStartSession) StartSession = &Refuse<1>;
  decltype(&UTAddToSession) AddToSession = &Refuse<1>;
  decltype(&UTLogEvent) LogEvent = &Refuse<1>;
  decltype(&UTNewDataGroup) NewDataGroup = &Refuse<1>;
  decltype(&UTAddToGroup) AddToGroup = &Refuse<1>;
  decltype(&UTCloseSession) CloseSession = &Refuse<1>;
  decltype(&UTGetOptIn) GetOptIn = &Refuse<-1>;
  decltype(&UTSetOptIn) SetOptIn = &Refuse<1>;
  decltype(&UTOptInGet) OptInGet = &Refuse<-1>;
  decltype(&UTOptInSet) OptInSet = &Refuse<1>;
  decltype(&UTGetDemographic) GetDemographic = &Refuse<1>;
  decltype(&UTSetDemographic) SetDemographic = &Refuse<1>;
  decltype(&UTGetNonDefaultDemographic) GetNonDefaultDemographic = &Refuse<1>;
  decltype(&UTSetNonDefaultDemographic) SetNonDefaultDemographic = &Refuse<1>;
  decltype(&UTSetSerializationState) SetSerializationState = &Refuse<1>;
};

// Whether a library can be used without the function. Functions added after 1.0.0 are optional, since a host
// may find an older library.
enum class Need { kRequired, kOptional };

// Calls visit(function, name, need, linked) for each function. linked() returns the linked function; only
// code that calls it needs the import library.
template <class Visit>
constexpr void ForEachFunction(Functions& f, Visit visit) {
  using enum Need;
  visit(f.Initialize, "UTInitialize", kRequired, [] { return &UTInitialize; });
  visit(f.StartSession, "UTStartSession", kRequired, [] { return &UTStartSession; });
  visit(f.AddToSession, "UTAddToSession", kRequired, [] { return &UTAddToSession; });
  visit(f.LogEvent, "UTLogEvent", kRequired, [] { return &UTLogEvent; });
  visit(f.NewDataGroup, "UTNewDataGroup", kRequired, [] { return &UTNewDataGroup; });
  visit(f.AddToGroup, "UTAddToGroup", kRequired, [] { return &UTAddToGroup; });
  visit(f.CloseSession, "UTCloseSession", kRequired, [] { return &UTCloseSession; });
  visit(f.GetOptIn, "UTGetOptIn", kRequired, [] { return &UTGetOptIn; });
  visit(f.SetOptIn, "UTSetOptIn", kRequired, [] { return &UTSetOptIn; });
  visit(f.OptInGet, "UTOptInGet", kRequired, [] { return &UTOptInGet; });
  visit(f.OptInSet, "UTOptInSet", kRequired, [] { return &UTOptInSet; });
  // Not used by vantra.hpp, which reaches the common store through the next two.
  visit(f.GetDemographic, "UTGetDemographic", kOptional, [] { return &UTGetDemographic; });
  visit(f.SetDemographic, "UTSetDemographic", kOptional, [] { return &UTSetDemographic; });
  visit(f.GetNonDefaultDemographic, "UTGetNonDefaultDemographic", kRequired,
        [] { return &UTGetNonDefaultDemographic; });
  visit(f.SetNonDefaultDemographic, "UTSetNonDefaultDemographic", kRequired,
        [] { return &UTSetNonDefaultDemographic; });
  visit(f.SetSerializationState, "UTSetSerializationState", kRequired,
        [] { return &UTSetSerializationState; });
}

constexpr size_t CountRows() {
  Functions functions;
  size_t rows = 0;
  ForEachFunction(functions, [&rows](auto...) { ++rows; });
  return rows;
}
static_assert(CountRows() * sizeof(void (*)()) == sizeof(Functions), "each function has a row");

inline Functions Linked() noexcept {
  Functions functions;
  ForEachFunction(functions, [](auto& function, const char*, Need, auto linked) { function = linked(); });
  return functions;
}

// Sets function to the export at this address. False, and no change, for a null pointer.
template <class Function, class Address>
bool Take(Function& function, Address address) noexcept {
  // Through a plain function pointer, which may be cast to any other type.
  const auto found = reinterpret_cast<Function>(reinterpret_cast<void (*)()>(address));
  if (found != nullptr) function = found;
  return found != nullptr;
}

// The functions that find(name) finds; empty when a required one is missing.
template <class Find>
std::optional<Functions> FindAll(Find find) noexcept {
  Functions functions;
  bool isWhole = true;
  ForEachFunction(functions, [&](auto& function, const char* name, Need need, auto /*linked*/) {
    isWhole = isWhole && (Take(function, find(name)) || need == Need::kOptional);
  });
  return isWhole ? std::optional(functions) : std::nullopt;
}

}  // namespace vantra::detail

#endif
