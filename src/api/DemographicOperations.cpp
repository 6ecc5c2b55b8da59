#include "api/DemographicOperations.h"

#include <algorithm>
#include <string_view>

#include "api/Frame.h"
#include "api/Validation.h"
#include "settings/UsageSettings.h"

namespace vantra::api {
namespace {

std::string_view OrEmpty(const char* text) noexcept { return text == nullptr ? std::string_view() : text; }

}  // namespace

bool GetDemographicHelper(const char* subkey, const char* pcKey, char* buffer, size_t* size) {
  log::Info(entry::kGetDemographicHelper);
  const CheckedText key(pcKey, CheckFor(kDemographicKey));
  if (!key.IsAccepted()) {
    log::Debug(refusal::kGetDemographicKey, key.Value().Text());
    return false;
  }
  if (buffer == nullptr || size == nullptr) {
    log::Debug(refusal::kGetDemographicHelper);
    return false;
  }
  if (*size == 0) {
    *buffer = '\0';
    return true;
  }
  const auto text = settings::GetDemographic(OrEmpty(subkey), key.Value().Text());
  if (!text) {
    log::Debug(refusal::kGetDemographicHelper);
    return false;
  }
  const size_t length = std::min(text->size(), *size - 1);
  text->copy(buffer, length);
  buffer[length] = '\0';
  *size = length + 1;
  return true;
}

bool SetDemographicHelper(const char* subkey, const char* pcKey, const char* pcValue) {
  log::Info(entry::kSetDemographicHelper);
  const CheckedText key(pcKey, CheckFor(kDemographicKey));
  if (!key.IsAccepted()) {
    log::Debug(refusal::kSetDemographicKey, key.Value().Text());
    return false;
  }
  const CheckedText value(pcValue, CheckFor(kDemographicValue | kNullAllowed | kEmptyAllowed));
  if (!value.IsAccepted()) {
    log::Debug(refusal::kSetDemographicValue, value.Value().Text());
    return false;
  }
  if (!settings::SetDemographic(OrEmpty(subkey), key.Value().Text(), value.Value().Text())) {
    log::Debug(refusal::kSetDemographicHelper);
    return false;
  }
  return true;
}

}  // namespace vantra::api
