// The diagnostic log: when it is written, and its lines.
#include <windows.h>

#include "Document.h"
#include "Host.h"

namespace vantra::test {
namespace {

namespace fs = std::filesystem;

Path LogFile() { return AppData() / "Tolvex" / "Skylamp" / "SKLog-Vantra.txt"; }

TEST_F(HostTest, LogIsOffWithoutItsSwitch) {
  fs::create_directories(CaseFolder() / "SKLog.config");
  RunHost([](Library& ut) {
    void* session = ut.Open();
    fs::remove(CaseFolder() / "SKLog.config");
    SwitchLogOn();  // too late for this load
    ut.CloseSession(&session);
  });
  EXPECT_FALSE(fs::exists(LogFile().parent_path()));
}

TEST_F(HostTest, LogLinesByteForByte) {
  SwitchLogOn();
  WriteFile(AppData() / "Tolvex" / "Skylamp", "a file in the folder's place");
  RunHost([](Library& ut) {
    ut.SetSerializationState(7);
    ut.OptInGet("a\nb\\");
    Progress() = GetCurrentProcessId();
  });
  const std::string start = "] | PID:" + std::to_string(Progress()) + " | TIME:TIME | VALUE:";
  const std::string end = " | DETAIL:File:..\\WrapperUTLogData LINE:";
  const std::string log = Normalised(RawLog());
  const size_t line = log.find("LINE:") + 5;  // of the trace, which is free
  EXPECT_EQ(log, "[INFO" + start + "UTSetSerializationState" + end + log.substr(line, log.find('\r') - line) +
                     "\r\n[INFO" + start + "SetSerializationState: 7" + end + "798\r\n[INFO" + start +
                     "UTOptInGet" + end + "696\r\n[DEBUG" + start +
                     "OptInGet VerifyString pcUsagekey: a\nb\\" + end + "911\r\n");
}

TEST_F(HostTest, LogIsAppendedToWhenToldSo) {
  RunHost([] {
    const std::string longLine = "x=" + std::string(600, 'y') + "\nappend=1\n";
    const std::string fitting = std::string(511, 'x') + "\nappend=1\n";
    for (const auto& [config, isKept] : {std::pair{"", false},
                                         {"append=1", true},
                                         {"append 1\r\n", true},
                                         {" ;append,=; 1 2 \n", true},
                                         {"append=0\nappend=1\n", true},
                                         {"append=1\nappend=true\n", false},
                                         {"append=01", false},
                                         {"append=yes", false},
                                         {"Append=1", false},
                                         {"append", false},
                                         {longLine.c_str(), false},
                                         {"#append=1", false},
                                         {"x\n\nappend=1", true}}) {
      SwitchLogOn(config);
      fs::create_directories(LogFile().parent_path());
      WriteFile(LogFile(), "old\r\n");
      {
        Library ut;
        ut.GetOptIn();
      }
      EXPECT_EQ(RawLog().starts_with("old\r\n"), isKept) << config;
      EXPECT_NE(RawLog().find("VALUE:UTGetOptIn"), std::string::npos) << config;
    }
  });
}

TEST_F(HostTest, LogThatCannotBeOpened) {
  SwitchLogOn();
  fs::create_directories(LogFile() / "x");
  RunHost([](Library& ut) {
    void* session = ut.Open();
    EXPECT_EQ(ut.CloseSession(&session), 0);
  });
  EXPECT_EQ(Documents().size(), 1u);
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
  EXPECT_EQ(first.Wait(), 0u);
  EXPECT_EQ(second.Wait(), 0u);
  const std::vector<std::string> lines = LogLines();
  ASSERT_EQ(lines.size(), 2u * kTurns);
  for (size_t turn = 0; turn < kTurns; ++turn) {
    EXPECT_EQ(lines[2 * turn + 1],
              "INFO SetSerializationState: " + std::to_string(turn) + " @WrapperUTLogData:798");
  }
}

}  // namespace
}  // namespace vantra::test
