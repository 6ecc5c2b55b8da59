// The same records through what a host would use without the library, each on the disk before the call ends.
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdio>
#include <fstream>

#include "Figures.h"

namespace vantra::bench {
namespace {

constexpr int kCalls = 300;
constexpr std::string_view kRecord =
    R"(<EventRec doc="0" category="File" subcategory="Menu" name="Save" time="2011-03-04T05:06:07Z" seq="123" />)";

// A peer is measured as it writes the finished text; making that text is not even counted.
template <class Write>
void MeasurePeer(Figures& figures, const char* name, const fs::path& path, Write&& write) {
  const HANDLE file = OpenLikeADocument(path);
  const auto bare = [&](int) {
    DWORD written = 0;
    WriteFile(file, kRecord.data(), static_cast<DWORD>(kRecord.size()), &written, nullptr);
  };
  Time(kCalls, bare);
  Time(kCalls, write);
  figures.Compare(
      "peer", name, [&] { return Time(kCalls, write); }, [&] { return Time(kCalls, bare); });
  CloseHandle(file);
}

}  // namespace

void MeasurePeers(Figures& figures, const World& world) {
  const fs::path bare = world.Folder() / "bare.bin";
  std::ofstream stream(world.Folder() / "stream.txt", std::ios::binary);
  MeasurePeer(figures, "ofstream, flush", bare, [&](int) { stream << kRecord << '\n' << std::flush; });

  std::FILE* const file = std::fopen((world.Folder() / "file.txt").string().c_str(), "wb");
  MeasurePeer(figures, "fwrite, fflush", bare, [&](int) {
    std::fwrite(kRecord.data(), 1, kRecord.size(), file);
    std::fflush(file);
  });
  std::fclose(file);

  const auto logger = spdlog::basic_logger_st("peer", (world.Folder() / "spdlog.txt").string());
  logger->flush_on(spdlog::level::trace);
  logger->set_pattern("%v");
  MeasurePeer(figures, "spdlog, flush on every record", bare, [&](int) {
    logger->info("<EventRec doc=\"{}\" category=\"{}\" subcategory=\"{}\" name=\"{}\" />", "0", "File",
                 "Menu", "Save");
  });
  spdlog::shutdown();
}

}  // namespace vantra::bench
