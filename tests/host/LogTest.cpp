// The diagnostic log: when it is written, and its lines.
#include "HostTest.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;

Path LogFile() { return AppData() / "Tolvex" / "Skylamp" / "SKLog-Vantra.txt"; }

TEST_F(HostTest, LogIsOffWithoutItsSwitch) {
  fs::create_directories(CaseFolder() / "SKLog.config");
  RunHost([](Library& ut) {
    fs::remove(CaseFolder() / "SKLog.config");
    SwitchLogOn();  // too late for this load
    void* session = ut.Open();
    ut.CloseSession(&session);
  });
  EXPECT_FALSE(fs::exists(LogFile().parent_path()));
}

// At each load anew; and a log that cannot be opened is none.
TEST_F(HostTest, LogIsAppendedToOrCutOrLeft) {
  RunHost([] {
    fs::create_directories(LogFile().parent_path());
    for (const auto& [config, isKept] : {std::pair{"", false}, {"append;1", true}, {"append=0", false}}) {
      SwitchLogOn(config);
      WriteFile(LogFile(), "old\r\n");
      Library().GetOptIn();
      const std::string log = ReadFile(LogFile());
      EXPECT_EQ(log.starts_with("old\r\n"), isKept) << config;
      EXPECT_NE(log.find("VALUE:UTGetOptIn"), std::string::npos) << config;
    }
    fs::remove(LogFile());
    fs::create_directories(LogFile());
    EXPECT_EQ(Library().SetOptIn(5), 1);
  });
}

// Hosts of one user share the file: each line goes to its end, wherever the others have moved that to.
TEST_F(HostTest, LogOfTwoProcesses) {
  SwitchLogOn();
  constexpr int kTurns = 200;
  const auto start = [](int me) {
    return StartHost([me](Library& ut) {
      for (++Progress(); Progress() < 2;) Sleep(0);
      for (int turn = me; turn < kTurns; turn += 2) {
        while (Progress() != turn + 2) Sleep(0);
        ut.SetSerializationState(turn);
        ++Progress();
      }
    });
  };
  Host first = start(0);
  Host second = start(1);
  EXPECT_EQ(first.Wait() + second.Wait(), 0u);
  const Lines lines = LogLines();
  ASSERT_EQ(lines.size(), 2u * kTurns);
  for (size_t turn = 0; turn < kTurns; ++turn) {
    EXPECT_NE(lines[2 * turn + 1].find(" | VALUE:SetSerializationState: " + std::to_string(turn) + " | "),
              std::string::npos);
  }
}

}  // namespace
}  // namespace vantra::test
