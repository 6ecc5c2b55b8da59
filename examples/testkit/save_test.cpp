// How a host tests what it records: it performs an action and checks the records. Uses no test framework;
// with one, the checks become its assertions.
#include <process.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
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

std::string Version() { return "3.1 with a name that is too long to be kept in place"; }

Drawing Open(const vantra::Library& library, std::string_view theme) {
  library.Initialize("AcmeDraw", vantra::CrashHandling::kOff);
  const vantra::Product product = {.family = "Acme", .name = "Draw", .version = Version(), .build = 412};
  vantra::Session session = library.StartSession(product);
  session.Add("Theme", theme);
  return Drawing(std::move(session));
}

// The tests.
using vantra::testkit::Event, vantra::testkit::Group, vantra::testkit::Value, vantra::testkit::World;
int failures = 0;

void Expect(bool isTrue, std::string_view what, std::string_view seen = "") {
  if (isTrue) return;
  std::cerr << "failed: " << what << '\n' << seen;
  ++failures;
}
void ExpectEmpty(std::string_view difference) { Expect(difference.empty(), "other records:", difference); }

void SavingIsRecorded(const vantra::Library& library) {
  const World world("AcmeDraw");
  Drawing drawing = Open(library, "dark");
  drawing.AddCircle();
  drawing.AddCircle();
  ExpectEmpty(world.Difference({Value("Session", "Theme", "dark")}));
  drawing.Save("C:\\plans\\house.dwg");
  drawing.AddCircle();
  drawing.Save("C:\\plans\\house.dwg");
  Expect(world.HasEvent("File", "Menu", "Save"), "saving is an event", world.Print());
  Expect(world.Count(Group("Drawing", "Size", "Shapes")) == 2, "each save records shapes", world.Print());
  Expect(world.Value("Shapes", "Circles") == "3", "the last save records three circles", world.Print());
  Expect(world.Value("Shapes", "Title") == "\"A & <B>\"", "the last title is recorded as it is");
  Expect(world.Value("Session", "ProductVersion") == Version(), "the session records the version");
  Expect(world.HasInOrder({Value("Shapes", "Circles", "2"), Event("File", "Menu", "Save"),
                           Value("Shapes", "Circles", "3")}),
         "circles are counted at each save", world.Print());
  Expect(!world.Value("Shapes", "Theme"), "a value of one group is not in another");
}

// Texts that the library cuts or repairs are found by what the host passed.
void TextsAreFoundAsTheyWerePassed(const vantra::Library& library) {
  const World world("AcmeDraw");
  const std::string isLong(600, 'x');
  {
    const vantra::Session session =
        library.StartSession({.family = "Acme", .name = "Draw", .version = "3.1"});
    session.LogEvent("Help", "", "Opened");
    session.LogEvent(isLong, nullptr, "Opened");
    const auto group = session.NewDataGroup("2 D", "", "1st group");
    group.Add("1st-value", isLong);
    session.Add(isLong, "");
  }
  Expect(world.HasEvent("Help", "", "Opened") && world.HasEvent("Help", "NOVALUE", "Opened"),
         "no subcategory");
  Expect(world.Value("1st group", "1st-value") == isLong.substr(0, 512) &&
             world.Value("Session", isLong) == "NOVALUE",
         "repaired keys", world.Print());
  const auto kind = Value("ValidationErrors", "ErrorType", "SK_INVALID_STRING");
  const auto error = Value("ValidationErrors", "Value", isLong);
  const auto errors = Group("Skylamp", "", "ValidationErrors");
  ExpectEmpty(world.Difference({Event("Help", "", "Opened"), errors, kind, error, Event(isLong, "", "Opened"),
                                Group("2 D", "", "1st group"), errors, kind, error,
                                Value("1st group", "1st-value", isLong), errors, kind, error,
                                Value("Session", isLong, "")}));
}

void NothingIsRecordedWithoutConsent(const vantra::Library& library) {
  std::filesystem::path logs;
  {
    const World world("AcmeDraw", /*consents=*/false);
    Open(library, "dark").Save("C:\\plans\\house.dwg");
    Expect(world.Records().empty(), "without consent nothing is recorded");
    logs = world.Logs();
  }
  Expect(!std::filesystem::exists(logs), "a world leaves nothing behind");
  HKEY key;
  Expect(RegOpenKeyW(HKEY_CURRENT_USER, L"Environment", &key) == ERROR_SUCCESS,
         "the user's registry is back");
}

// Leaves a world behind, as a test that crashes does, and writes its path to the file.
void Abandon(const char* file) {
  const World world("AcmeDraw");
  std::ofstream(file) << world.Logs().string();
  std::_Exit(0);
}

void WhatACrashLeavesIsRemoved(const char* program) {
  Expect(_spawnl(_P_WAIT, program, "save_test", "abandoned.txt", nullptr) == 0, "a test runs");
  std::string logs;
  std::getline(std::ifstream("abandoned.txt"), logs);
  std::filesystem::remove("abandoned.txt");
  Expect(std::filesystem::exists(logs), "a test that crashes leaves its world");
  const World world("AcmeDraw");
  Expect(!std::filesystem::exists(logs), "the next world removes it");
}

}  // namespace

int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape): what is thrown fails the test
  if (argc > 1) Abandon(argv[1]);
  const vantra::Library library;
  SavingIsRecorded(library);
  TextsAreFoundAsTheyWerePassed(library);
  NothingIsRecordedWithoutConsent(library);
  SavingIsRecorded(library);  // worlds do not affect each other
  WhatACrashLeavesIsRemoved(argv[0]);
  return failures;
}
