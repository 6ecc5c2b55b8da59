// How a host tests what it records: one action, and the records that it leaves. Takes no test framework; with
// one the checks are its assertions.
#include <filesystem>
#include <iostream>
#include <string_view>
#include <utility>
#include <vantra/testkit.hpp>
#include <vantra/vantra.hpp>

namespace {

// The host's code.
class Drawing {
 public:
  explicit Drawing(vantra::Session session) : session_(std::move(session)) {}

  void AddCircle() { ++circles_; }
  void Save(std::string_view path) {
    session_.LogEvent("File", "Menu", "Save", path);
    const auto shapes = session_.NewDataGroup("Drawing", "Size", "Shapes", path);
    shapes.Add("Circles", circles_);
    for (const std::string_view title : {"Houses in a long row", "\"A & <B>\""}) shapes.Add("Title", title);
  }

 private:
  vantra::Session session_;
  int circles_ = 0;
};

Drawing Open(const vantra::Library& library, std::string_view theme) {
  library.Initialize("AcmeDraw", vantra::CrashHandling::kOff);
  vantra::Session session = library.StartSession({.family = "Acme", .name = "Draw", .version = "3.1"});
  session.Add("Theme", theme);
  return Drawing(std::move(session));
}

// The tests.
int failures = 0;

void Expect(bool isTrue, std::string_view what) {
  if (isTrue) return;
  std::cerr << "failed: " << what << '\n';
  ++failures;
}

void SavingIsRecorded(const vantra::Library& library) {
  const vantra::testkit::World world("AcmeDraw");
  Drawing drawing = Open(library, "dark");
  drawing.AddCircle();
  drawing.AddCircle();
  Expect(!world.HasEvent("File", "Menu", "Save"), "nothing is saved yet");
  drawing.Save("C:\\plans\\house.dwg");
  drawing.AddCircle();
  drawing.Save("C:\\plans\\house.dwg");
  Expect(world.HasEvent("File", "Menu", "Save"), "saving is an event");
  Expect(world.Value("Shapes", "Circles") == "3", "the last save tells of three circles");
  Expect(world.Value("Shapes", "Title") == "\"A & <B>\"", "the last title is recorded as it is");
  Expect(world.Value("Session", "Theme") == "dark", "the session tells the theme");
  Expect(!world.Value("Shapes", "Theme"), "a value of one group is not in another");
}

void NothingIsRecordedWithoutConsent(const vantra::Library& library) {
  std::filesystem::path logs;
  {
    const vantra::testkit::World world("AcmeDraw", /*consents=*/false);
    Open(library, "dark").Save("C:\\plans\\house.dwg");
    Expect(world.Records().empty(), "without consent nothing is recorded");
    logs = world.Logs();
  }
  Expect(!std::filesystem::exists(logs), "a world leaves nothing behind");
}

}  // namespace

int main() {  // NOLINT(bugprone-exception-escape): what is thrown fails the test
  const vantra::Library library;
  SavingIsRecorded(library);
  NothingIsRecordedWithoutConsent(library);
  SavingIsRecorded(library);  // one world knows nothing of another
  return failures;
}
