// What a session leaves on disk.
#include "HostTest.h"
#include "reader/Files.h"

namespace vantra::test {
namespace {

// The text with what the platform says about this machine in place of the braces.
std::string OnThisMachine(std::string text) {
  OSVERSIONINFOEXW os{.dwOSVersionInfoSize = sizeof os};
  GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&os));
  SYSTEM_INFO system;
  GetSystemInfo(&system);
  MEMORYSTATUSEX memory{.dwLength = sizeof memory};
  GlobalMemoryStatusEx(&memory);
  const uint64_t facts[] = {os.dwMajorVersion,
                            os.dwMinorVersion,
                            os.dwBuildNumber,
                            os.wServicePackMajor,
                            os.wServicePackMinor,
                            os.wProductType,
                            system.dwProcessorType,
                            system.dwNumberOfProcessors,
                            memory.ullTotalPhys >> 20,
                            uint64_t(GetSystemMetrics(SM_CXSCREEN)),
                            uint64_t(GetSystemMetrics(SM_CYSCREEN))};
  for (const uint64_t fact : facts) text.replace(text.find("{}"), 2, std::to_string(fact));
  return text;
}

constexpr std::string_view kWholeDocument = R"(<?xml version="1.0" encoding="utf-8"?>

<UsageDoc version="0.5.4">
<StartSession id="ID1" time="TIME" seq="0" />
<NewGroup category="Skylamp" subcategory="NOVALUE" name="Session" time="TIME" group="1" doc="0" seq="1" />
<DataRec time="TIME" group="1" name="ProductFamily" data="Acmé &#38; Son&#39;s" seq="2" />
<DataRec time="TIME" group="1" name="ProductName" data="Draw" seq="3" />
<DataRec time="TIME" group="1" name="ProductVersion" data="3.1" seq="4" />
<DataRec time="TIME" group="1" name="ProductBuild" data="NOVALUE" seq="5" />
<DataRec time="TIME" group="1" name="ProductLanguage" data="en-US" seq="6" />
<DataRec time="TIME" group="1" name="User" data="ID2" seq="7" />
<NewGroup category="Skylamp" subcategory="NOVALUE" name="SystemInfo" time="TIME" group="2" doc="0" seq="8" />
<DataRec time="TIME" group="2" name="OS" data="{}.{}.{} SP {}.{} PT {}" seq="9" />
<DataRec time="TIME" group="2" name="OSType" data="64bit" seq="10" />
<DataRec time="TIME" group="2" name="OSLanguage" data="en-US" seq="11" />
<DataRec time="TIME" group="2" name="UserLanguage" data="en-US" seq="12" />
<DataRec time="TIME" group="2" name="Processor" data="{}" seq="13" />
<DataRec time="TIME" group="2" name="ProcessorName" data="NOVALUE" seq="14" />
<DataRec time="TIME" group="2" name="ProcessorModel" data="NOVALUE" seq="15" />
<DataRec time="TIME" group="2" name="NumProcessors" data="{}" seq="16" />
<DataRec time="TIME" group="2" name="Speed" data="NOVALUE" seq="17" />
<DataRec time="TIME" group="2" name="Memory" data="{}" seq="18" />
<DataRec time="TIME" group="2" name="MonitorCount" data="1" seq="19" />
<DataRec time="TIME" group="2" name="DefaultBrowser" data=" " seq="20" />
<NewGroup category="Skylamp" subcategory="NOVALUE" name="SkylampScreenResolution" time="TIME" group="3" doc="0" seq="21" />
<DataRec time="TIME" group="3" name="width" data="{}" seq="22" />
<DataRec time="TIME" group="3" name="height" data="{}" seq="23" />
<NewGroup category="Skylamp" subcategory="NOVALUE" name="Demographics" time="TIME" group="4" doc="0" seq="24" />
<NewGroup category="Skylamp" subcategory="NOVALUE" name="ExecutableInfo" time="TIME" group="5" doc="0" seq="25" />
<DataRec time="TIME" group="5" name="ExecutableName" data="Host of tests" seq="26" />
<DataRec time="TIME" group="5" name="ExecutableVersion" data="12.34" seq="27" />
<DataRec time="TIME" group="5" name="ExecutableBuild" data="Night &#38; Day 7" seq="28" />
<DataRec time="TIME" group="5" name="ExecutableLanguage" data="German" seq="29" />
<NewGroup category="Skylamp" subcategory="NOVALUE" name="UsageVersionInfo" time="TIME" group="6" doc="0" seq="30" />
<DataRec time="TIME" group="6" name="Sendrix2.exe" data="5.6.7" seq="31" />
<DataRec time="TIME" group="6" name="Vantra.dll" data="1.0.0" seq="32" />
<DataRec time="TIME" group="1" name="SK_1st_value" data="D:&#92;x" seq="33" />
<EventRec doc="0" category="NOVALUE" subcategory="Menu" name="a&#60;b &#38; &#34;c&#34;" time="TIME" seq="34" />
<EventRec doc="a01fbce8cdc3a456ebfcd7d622e99208" category="File" subcategory="NOVALUE" name="Sa&#39;ve&#62;" time="TIME" seq="35" />
<NewGroup category="Drawing" subcategory="Size" name="Shapes" time="TIME" group="7" doc="0" seq="36" />
<DataRec time="TIME" group="7" name="Circles" data="NOVALUE" seq="37" />
<NewGroup category="Skylamp" subcategory="NOVALUE" name="OptInInfo" time="TIME" group="8" doc="0" seq="38" />
<DataRec time="TIME" group="8" name="Key" data="MyProduct" seq="39" />
<DataRec time="TIME" group="8" name="OptedIn" data="TRUE" seq="40" />
<DataRec time="TIME" group="8" name="Date" data="TIME" seq="41" />
<EndSession id="ID1" time="TIME" seq="42" />
</UsageDoc>
)";

constexpr std::string_view kUser = "0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9";

TEST_F(HostTest, WholeDocumentPlainAndObfuscated) {
  SetValue(kUsage, "GUID", "sz:" + std::string(kUser));
  SetValue(kUsage, "send", "sz:1");
  for (const std::string extension : {".xml", ".rdy"}) {
    SetValue(kUsage, "obfuscate", extension == ".xml" ? "dword:0" : "dword:2");
    RunHost([](Library& ut) {
      EXPECT_EQ(ut.Initialize("MyProduct", false, nullptr), 0);
      EXPECT_EQ(ut.SetOptIn(1), 0);
      void* session = nullptr;
      EXPECT_EQ(ut.StartSession(&session, "Acmé & Son's", "Draw", "3.1", nullptr, "en-US"), 0);
      EXPECT_EQ(ut.AddToSession(session, "1st-value", "D:\\x"), 0);
      EXPECT_EQ(ut.LogEvent(session, "", "Menu", "a<b & \"c\"", nullptr, 7), 0);
      EXPECT_EQ(ut.LogEvent(session, "File", nullptr, "Sa've>", "C:\\plans\\house.dwg", 18), 0);
      uint32_t group = 0;
      EXPECT_EQ(ut.NewDataGroup(session, "Drawing", "Size", "Shapes", &group, nullptr, 0), 0);
      EXPECT_EQ(group, 7u);
      EXPECT_EQ(ut.AddToGroup(session, group, "Circles", ""), 0);
      EXPECT_TRUE(OpenFile().string().ends_with("_0.tmp") && reader::IsBeingWritten(OpenFile().string()));
      EXPECT_EQ(ut.CloseSession(&session), 0);
      EXPECT_EQ(session, nullptr);
    });
    const std::string document = OnlyDocument();
    EXPECT_EQ(Normalised(document), OnThisMachine(std::string(kWholeDocument)));
    EXPECT_EQ(Documents()[0], "ulog_Acmé & Son's_Draw_" + std::string(kUser) + "_" +
                                  Records(document)[0]["id"] + "_0" + extension);
    std::filesystem::remove(Logs() / Wide(Documents()[0]));
  }
  // Two starts, two closes; the second start found the opt-in reported and nothing to fetch.
  const std::string agent = "\"" + (CaseFolder() / "Sendrix2.exe").string() + "\"";
  EXPECT_EQ(AgentStarts(), Lines(4, agent));
}

}  // namespace
}  // namespace vantra::test
