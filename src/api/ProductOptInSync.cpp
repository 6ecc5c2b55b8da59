#include "api/ProductOptInSync.h"

#include <memory>

#include "crash/MiniSession.h"
#include "settings/OptInPolicy.h"
#include "settings/UsageSettings.h"
#include "util/Paths.h"
#include "util/UserId.h"

namespace vantra::api {
namespace {

constexpr std::string_view kNilGuid = "00000000-0000-0000-0000-000000000000";

}  // namespace

bool SyncProductOptIn(std::string_view family, std::string_view name, std::string_view version,
                      const std::wstring& logsFolder) {
  const settings::OptInPolicy& policy = settings::OptInPolicy::Instance();
  const int32_t held = policy.OptIn();
  if (held == settings::kUndecided) return false;

  std::string productKey = policy.UsageKey();
  productKey.append("_").append(family).append("_").append(name).append("_").append(version);
  const int32_t stored = settings::GetOptIn(productKey);
  if (stored == held || !settings::SetOptIn(productKey, held)) return false;

  const bool isFirst = stored == settings::kUndecided;
  const int32_t optInCount = held == settings::kOptedIn ? 1 : (isFirst ? 0 : -1);
  // The file must not reveal who changed their mind, so its user identifier is made for it alone.
  const std::string identifier = util::NewUserId();
  const auto buffers = std::make_unique<crash::MiniSessionBuffers>();
  const std::wstring folder = util::WithTrailingBackslash(logsFolder);
  crash::MiniSession file({.first = "SkylampOptinProductFamily",
                           .second = "SkylampOptinProduct",
                           .third = kNilGuid,
                           .user = identifier},
                          settings::IsObfuscationOn(), folder, *buffers);
  file.CreateOptInRateFile({.usageKey = policy.UsageKey(),
                            .baseCount = isFirst ? 1 : 0,
                            .optInCount = optInCount,
                            .releaseState = policy.ReleaseState(),
                            .family = family,
                            .name = name,
                            .version = version});
  return true;
}

}  // namespace vantra::api
