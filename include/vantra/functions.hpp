// The functions of vantra.h as a table that is linked or found at run time: a detail of vantra.hpp.
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

// The functions in use. Those of a library that is not there fail as its own would.
struct Functions {
  decltype(&UTInitialize) initialize = &Refuse<1>;
  decltype(&UTStartSession) startSession = &Refuse<1>;
  decltype(&UTAddToSession) addToSession = &Refuse<1>;
  decltype(&UTLogEvent) logEvent = &Refuse<1>;
  decltype(&UTNewDataGroup) newDataGroup = &Refuse<1>;
  decltype(&UTAddToGroup) addToGroup = &Refuse<1>;
  decltype(&UTCloseSession) closeSession = &Refuse<1>;
  decltype(&UTGetOptIn) getOptIn = &Refuse<-1>;
  decltype(&UTSetOptIn) setOptIn = &Refuse<1>;
  decltype(&UTOptInGet) optInGet = &Refuse<-1>;
  decltype(&UTOptInSet) optInSet = &Refuse<1>;
  decltype(&UTGetNonDefaultDemographic) getDemographic = &Refuse<1>;
  decltype(&UTSetNonDefaultDemographic) setDemographic = &Refuse<1>;
  decltype(&UTSetSerializationState) setSerializationState = &Refuse<1>;
};

inline Functions Linked() noexcept {
  return {&UTInitialize,
          &UTStartSession,
          &UTAddToSession,
          &UTLogEvent,
          &UTNewDataGroup,
          &UTAddToGroup,
          &UTCloseSession,
          &UTGetOptIn,
          &UTSetOptIn,
          &UTOptInGet,
          &UTOptInSet,
          &UTGetNonDefaultDemographic,
          &UTSetNonDefaultDemographic,
          &UTSetSerializationState};
}

// All of them, or nothing.
template <class Find>
std::optional<Functions> FindAll(Find find) noexcept {
  Functions f;
  const auto take = [&find](auto& function, const char* name) {
    // By way of a plain function pointer, which may become any other.
    function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(
        reinterpret_cast<void (*)()>(find(name)));
    return function != nullptr;
  };
  const bool isWhole = take(f.initialize, "UTInitialize") && take(f.startSession, "UTStartSession") &&
                       take(f.addToSession, "UTAddToSession") && take(f.logEvent, "UTLogEvent") &&
                       take(f.newDataGroup, "UTNewDataGroup") && take(f.addToGroup, "UTAddToGroup") &&
                       take(f.closeSession, "UTCloseSession") && take(f.getOptIn, "UTGetOptIn") &&
                       take(f.setOptIn, "UTSetOptIn") && take(f.optInGet, "UTOptInGet") &&
                       take(f.optInSet, "UTOptInSet") &&
                       take(f.getDemographic, "UTGetNonDefaultDemographic") &&
                       take(f.setDemographic, "UTSetNonDefaultDemographic") &&
                       take(f.setSerializationState, "UTSetSerializationState");
  return isWhole ? std::optional(f) : std::nullopt;
}

}  // namespace vantra::detail

#endif
