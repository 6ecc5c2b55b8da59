// Records what host.toml declares, and some things that it does not; leaves the documents in a folder beside
// it.
#include <filesystem>
#include <host.hpp>
#include <iostream>
#include <vantra/testkit.hpp>

namespace kit = vantra::testkit;

int main() {
  const vantra::Library library;
  const kit::World world(host::kProductUsageKey);
  library.Initialize(host::kProductUsageKey, vantra::CrashHandling::kOff);
  auto session = library.StartSession(
      {.family = host::kProductFamily, .name = host::kProductName, .version = "3.1 beta"});
  host::session_theme(session, host::Theme::kOdd);
  host::file_menu_save(session, "C:\\house.dwg");
  host::drawing_shapes(session, host::Theme::k64Bit).circles(17U).is_big(true);
  const auto theme = host::Theme::kOdd.RecordedText();
  const std::string difference = world.Difference(
      {kit::Value(host::kSessionTheme, theme), kit::Event(host::kFileMenuSave),
       kit::Group(host::kDrawingShapes(host::Theme::k64Bit)), kit::Value(host::kDrawingShapesCircles, "17"),
       kit::Value(host::kDrawingShapesIsBig, "true")});
  std::cerr << difference;
  const bool isAsked = world.HasEvent(host::kFileMenuSave) && !world.HasEvent(host::kFileOpen) &&
                       world.Value(host::kSessionTheme) == theme;
  for (int i = 0; i < 2; ++i) session.LogEvent("File", "Menu", "Svae");
  session.LogEvent("File", nullptr, "Open", "C:\\house.dwg");
  session.Add("Zoom", "much");
  session.NewDataGroup("Drawing", "none", "Shapes").Add("Circles", "many");
  session.NewDataGroup("Drawing", "dark", "Shapes").Add("Circles", "many");
  session.Close();
  std::filesystem::copy(world.Logs(), "documents");
  return difference.empty() && isAsked ? 0 : 1;
}
