// The library under its exported names.
#pragma once

#include "stage/Case.h"
#include "vantra/vantra.h"

namespace vantra::stage {

// The exports of a Vantra.dll that is loaded as long as this lives.
class Library {
 public:
  // Throws when it does not load.
  explicit Library(const Path& file = CaseFolder() / "Vantra.dll");
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

 private:
  void* module_;

  struct Export {
    void* address;
    template <class F>
    operator F*() const {  // NOLINT: converts to the type that the member declares
      return reinterpret_cast<F*>(address);
    }
  };
  [[nodiscard]] Export Find(const char* name) const;

 public:
  decltype(&::UTInitialize) Initialize = Find("UTInitialize");
  decltype(&::UTStartSession) StartSession = Find("UTStartSession");
  decltype(&::UTAddToSession) AddToSession = Find("UTAddToSession");
  decltype(&::UTLogEvent) LogEvent = Find("UTLogEvent");
  decltype(&::UTNewDataGroup) NewDataGroup = Find("UTNewDataGroup");
  decltype(&::UTAddToGroup) AddToGroup = Find("UTAddToGroup");
  decltype(&::UTCloseSession) CloseSession = Find("UTCloseSession");
  decltype(&::UTGetOptIn) GetOptIn = Find("UTGetOptIn");
  decltype(&::UTSetOptIn) SetOptIn = Find("UTSetOptIn");
  decltype(&::UTOptInGet) OptInGet = Find("UTOptInGet");
  decltype(&::UTOptInSet) OptInSet = Find("UTOptInSet");
  decltype(&::UTGetDemographic) GetDemographic = Find("UTGetDemographic");
  decltype(&::UTSetDemographic) SetDemographic = Find("UTSetDemographic");
  decltype(&::UTGetNonDefaultDemographic) GetNonDefaultDemographic = Find("UTGetNonDefaultDemographic");
  decltype(&::UTSetNonDefaultDemographic) SetNonDefaultDemographic = Find("UTSetNonDefaultDemographic");
  decltype(&::UTSetSerializationState) SetSerializationState = Find("UTSetSerializationState");

  // A session of a user who has opted in: family "Acme", name "Draw" unless told otherwise. Throws when a
  // call fails.
  [[nodiscard]] void* Open(const char* family = "Acme", const char* name = "Draw");
};

// Adds values to the session until the text in its open file, the only one, has so many bytes exactly.
void FillTo(Library& ut, void* session, size_t bytes);

}  // namespace vantra::stage
