// Many threads, hosts that are killed, and a library that comes and goes.
#include <windows.h>

#include <functional>
#include <random>
#include <thread>

#include "HostTest.h"

namespace vantra::test {
namespace {

constexpr int kThreads = 10;

// All records of a product's documents, in the order of the files: each must be whole, and have its number.
std::vector<Record> AllRecords(std::string_view product) {
  std::vector<Record> records;
  for (const std::string& name : Documents()) {
    if (!name.starts_with("ulog_Acme_" + std::string(product) + "_")) continue;
    const std::string text = ReadDocument(Logs() / name);
    for (size_t from = text.find("\">\n") + 3, to; (to = text.find('\n', from)) != std::string::npos;
         from = to + 1) {
      const std::string line = text.substr(from, to - from + 1);
      if (line == "</UsageDoc>\n") continue;
      const std::vector<Record> one = Records(line);
      EXPECT_TRUE(one.size() == 1 && line.starts_with("<" + one[0].element + " ") && line.ends_with(" />\n"))
          << line;
      EXPECT_EQ(one.at(0)["seq"], std::to_string(records.size()));
      records.push_back(one[0]);
    }
  }
  return records;
}

void InThreads(const std::function<void(int)>& body) {
  std::vector<std::jthread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(body, i);
}

class Threads : public HostTest {
 protected:
  Threads() { SetValue(Hive::kUser, kUsage, "send", "sz:0"); }
};

// Long enough for several splits, so that file names sort as their numbers do.
TEST_F(Threads, OneSession) {
  constexpr int kValues = 300;
  RunHost([](Library& ut) {
    void* session = ut.Open();
    InThreads([&](int thread) {
      for (int i = 0; i < kValues; ++i) {
        EXPECT_EQ(ut.AddToSession(session, ("t" + std::to_string(thread)).c_str(), std::to_string(i).c_str()),
                  0);
      }
    });
    EXPECT_EQ(ut.CloseSession(&session), 0);
  });
  const std::vector<Record> records = AllRecords("Draw");
  for (int thread = 0; thread < kThreads; ++thread) {
    int next = 0;
    for (const Record& record : records) {
      if (record["name"] != "t" + std::to_string(thread)) continue;
      ASSERT_EQ(record["data"], std::to_string(next++));
    }
    EXPECT_EQ(next, kValues);
  }
}

TEST_F(Threads, SessionsOfTheirOwn) {
  constexpr int kEvents = 100;
  RunHost([](Library& ut) {
    void* first = ut.Open("Acme", "Draw");
    InThreads([&](int thread) {
      const std::string product = "Thread" + std::to_string(thread);
      void* session = nullptr;
      ASSERT_EQ(ut.StartSession(&session, "Acme", product.c_str(), "3.1", nullptr, nullptr), 0);
      for (int i = 0; i < kEvents; ++i) {
        uint32_t group = 0;
        ut.LogEvent(session, product.c_str(), "e", std::to_string(i).c_str(), nullptr, 0);
        ut.NewDataGroup(session, product.c_str(), "g", "Group", &group, nullptr, 0);
        EXPECT_EQ(group, 7u + static_cast<uint32_t>(i));
      }
      EXPECT_EQ(ut.CloseSession(&session), 0);
    });
    EXPECT_EQ(ut.CloseSession(&first), 0);
  });
  for (int thread = 0; thread < kThreads; ++thread) {
    const std::string product = "Thread" + std::to_string(thread);
    const std::vector<Record> records = AllRecords(product);
    EXPECT_EQ(records.back().element, "EndSession");
    int count = 0;
    for (const Record& record : records) count += record["category"] == product;
    EXPECT_EQ(count, 2 * kEvents);
  }
}

// Whatever a host was told is recorded is on disk, whenever it is killed.
TEST_F(Threads, KilledHost) {
  SetValue(Hive::kUser, std::string(kUsage) + "\\MyProduct_Acme_Draw_3.1", "OptIn", "dword:1");
  std::mt19937 random(std::random_device{}());
  for (int round = 0; round < 5; ++round) {
    for (const std::string& name : Documents()) std::filesystem::remove(Logs() / name);
    Progress() = 0;
    Host host = StartHost([](Library& ut) {
      void* session = ut.Open();
      for (int i = 1;; ++i) {
        if (ut.AddToSession(session, "n", std::to_string(i).c_str()) == 0) Progress() = i;
      }
    });
    const int64_t wanted = std::uniform_int_distribution(1, 4000)(random);
    while (Progress() < wanted) SwitchToThread();
    host.Kill();
    EXPECT_EQ(host.Wait(), 1u);
    int64_t last = 0;
    for (const Record& record : AllRecords("Draw")) {
      if (record["name"] != "n") continue;
      ASSERT_EQ(record["data"], std::to_string(++last));
    }
    EXPECT_GE(last, Progress());
  }
}

// A loaded library leaves nothing behind: no handle, no thread, and the setter of filters as it was.
TEST_F(Threads, LoadAndUnload) {
  Host host = StartHost([] {
    // What else the library loads would come and go with it, slowly.
    for (const wchar_t* name : {L"shell32", L"ole32", L"user32", L"version", L"ieframe"}) LoadLibraryW(name);
    const auto* const setter = reinterpret_cast<const char*>(&SetUnhandledExceptionFilter);
    const std::string entry(setter, 32);
    const auto handles = [] {
      DWORD count = 0;
      GetProcessHandleCount(GetCurrentProcess(), &count);
      return count;
    };
    DWORD before = 0;
    for (int i = 0; i < 200; ++i) {
      if (i == 20) before = handles();
      Library ut;
      ut.Initialize("MyProduct", true, "C:\\nowhere");
      ut.SetOptIn(1);
      ut.SetDemographic("Age", "5");
      if (i % 20 != 0) continue;
      void* session = nullptr;
      EXPECT_EQ(ut.StartSession(&session, "Acme", "Draw", "3.1", nullptr, nullptr), 0);
      EXPECT_EQ(ut.LogEvent(session, "a", "b", "c", "document", 8), 0);
      EXPECT_NE(std::string(setter, 32), entry);
      EXPECT_EQ(i % 40 == 0 ? ut.CloseSession(&session) : 0, 0);
    }
    EXPECT_EQ(handles(), before);
    EXPECT_EQ(std::string(setter, 32), entry);
    EXPECT_EQ(GetModuleHandleW(L"Vantra.dll"), nullptr);
  });
  EXPECT_EQ(host.Wait(std::chrono::minutes(5)), 0u);
}

// A program that the host starts gets nothing that the library holds: it would keep the document from its
// name.
TEST_F(HostTest, NothingIsInherited) {
  SwitchLogOn();
  RunHost([](Library& ut) {
    const auto inheritable = [] {
      std::vector<size_t> handles;
      for (size_t handle = 4; handle < 8192; handle += 4) {
        DWORD flags = 0;
        if (GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) &&
            (flags & HANDLE_FLAG_INHERIT) != 0) {
          handles.push_back(handle);
        }
      }
      return handles;
    };
    const auto before = inheritable();
    EXPECT_NE(ut.Open(), nullptr);
    EXPECT_EQ(inheritable(), before);
  });
}

}  // namespace
}  // namespace vantra::test
