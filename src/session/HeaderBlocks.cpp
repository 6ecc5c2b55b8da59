#include "session/HeaderBlocks.h"

#include <map>
#include <span>
#include <string>

#include "session/UsageSession.h"
#include "session/VantraUtils.h"
#include "settings/OptInPolicy.h"
#include "settings/UsageSettings.h"
#include "util/GlobalItems.h"

namespace vantra::session {
namespace {

enum class Probed { kAtEachStart, kOncePerProcess };

struct Entry {
  std::string_view name;
  std::string (*probe)();
  Probed probed;
};

constexpr Entry kSystemInfo[] = {
    {"OS", OsVersion, Probed::kOncePerProcess},
    {"OSType", OsType, Probed::kOncePerProcess},
    {"OSLanguage", OsLanguage, Probed::kOncePerProcess},
    {"UserLanguage", UserLanguage, Probed::kAtEachStart},
    {"Processor", ProcessorType, Probed::kOncePerProcess},
    {"ProcessorName", ProcessorName, Probed::kOncePerProcess},
    {"ProcessorModel", ProcessorModel, Probed::kOncePerProcess},
    {"NumProcessors", ProcessorCount, Probed::kOncePerProcess},
    {"Speed", ProcessorSpeed, Probed::kOncePerProcess},
    {"Memory", Memory, Probed::kOncePerProcess},
    {"MonitorCount", MonitorCount, Probed::kAtEachStart},
    {"DefaultBrowser", DefaultBrowser, Probed::kAtEachStart},
};

constexpr Entry kExecutableInfo[] = {
    {"ExecutableName", ExecutableName, Probed::kOncePerProcess},
    {"ExecutableVersion", ExecutableVersion, Probed::kOncePerProcess},
    {"ExecutableBuild", ExecutableBuild, Probed::kOncePerProcess},
    {"ExecutableLanguage", ExecutableLanguage, Probed::kOncePerProcess},
};

constexpr Entry kUsageVersionInfo[] = {
    {"Sendrix2.exe", AgentVersion, Probed::kAtEachStart},
    {"Vantra.dll", LibraryVersion, Probed::kOncePerProcess},
};

// Probe results that cannot change while the process lives.
class KnownAnswers : public util::OneOf<KnownAnswers> {
 public:
  const std::string& To(const Entry& entry) {
    std::string& answer = answers_[entry.name];
    if (answer.empty()) answer = entry.probe();
    return answer;
  }

 private:
  std::map<std::string_view, std::string> answers_;
};

int32_t OpenBlock(UsageSession& session, std::string_view name) {
  return session.NewGroup({.category = "Skylamp", .subcategory = {}, .name = name, .doc = "0"});
}

void WriteBlock(UsageSession& session, std::string_view name, std::span<const Entry> entries) {
  const int32_t group = OpenBlock(session, name);
  for (const Entry& entry : entries) {
    if (entry.probed == Probed::kOncePerProcess) {
      session.AddToGroup(group, entry.name, KnownAnswers::Instance().To(entry));
    } else {
      session.AddToGroup(group, entry.name, entry.probe());
    }
  }
}

void FillSessionBlock(UsageSession& session) {
  const int32_t group = session.SessionGroup();
  const ProductTexts product = session.Product();
  session.AddToGroup(group, "ProductFamily", product.family);
  session.AddToGroup(group, "ProductName", product.name);
  session.AddToGroup(group, "ProductVersion", product.version);
  session.AddToGroup(group, "ProductBuild", product.build);
  session.AddToGroup(group, "ProductLanguage", product.language);
  session.AddToGroup(group, "User", session.User());
  const std::string userType = settings::GetUserType();
  if (!userType.empty()) session.AddToGroup(group, "UserType", userType);
}

void WriteScreenBlocks(UsageSession& session) {
  for (const MonitorSize& monitor : MonitorSizes()) {
    const int32_t group = OpenBlock(session, "SkylampScreenResolution");
    session.AddToGroup(group, "width", std::to_string(monitor.width));
    session.AddToGroup(group, "height", std::to_string(monitor.height));
  }
}

void WriteDemographics(UsageSession& session) {
  const int32_t group = OpenBlock(session, "Demographics");
  for (const auto& [name, text] : settings::ListDemographics(settings::OptInPolicy::Instance().UsageKey())) {
    session.AddToGroup(group, name, text);
  }
}

}  // namespace

void WriteHeaderBlocks(UsageSession& session) {
  using Block = void (*)(UsageSession&);
  constexpr Block kBlocks[] = {
      FillSessionBlock,
      [](UsageSession& each) { WriteBlock(each, "SystemInfo", kSystemInfo); },
      WriteScreenBlocks,
      WriteDemographics,
      [](UsageSession& each) { WriteBlock(each, "ExecutableInfo", kExecutableInfo); },
      [](UsageSession& each) { WriteBlock(each, "UsageVersionInfo", kUsageVersionInfo); },
  };
  for (const Block write : kBlocks) {
    if (session.IsEnabled()) write(session);
  }
}

}  // namespace vantra::session
