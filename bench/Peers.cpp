// Measures the same records written by what a host would use without the library. Each is in its file before
// the call ends.
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdio>
#include <fstream>

#include "Figures.h"

namespace vantra::bench {
namespace {

constexpr int kCalls = 300;

// The contents of the library's record. The peers get the sequence number and the time for free, though a
// host would have to produce both.
constexpr char kDoc[] = "0";
constexpr char kCategory[] = "File";
constexpr char kSubCategory[] = "Menu";
constexpr char kName[] = "Save";
constexpr char kTime[] = "2011-03-04T05:06:07Z";
constexpr size_t kRecordSize = 106;

// A peer builds the same record in its own way, without escaping, and writes it to the file.
template <class Write>
void MeasurePeer(Figures& figures, const char* name, const fs::path& path, Write&& write) {
  const HANDLE file = OpenLikeADocument(path);
  const std::string record(kRecordSize, 'x');
  const auto bare = [&](int) {
    DWORD written = 0;
    WriteFile(file, record.data(), static_cast<DWORD>(record.size()), &written, nullptr);
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
  MeasurePeer(figures, "ofstream, flush", bare, [&](int i) {
    stream << "<EventRec doc=\"" << kDoc << "\" category=\"" << kCategory << "\" subcategory=\""
           << kSubCategory << "\" name=\"" << kName << "\" time=\"" << kTime << "\" seq=\"" << i << "\" />\n"
           << std::flush;
  });

  std::FILE* const file = std::fopen((world.Folder() / "file.txt").string().c_str(), "wb");
  MeasurePeer(figures, "fprintf, fflush", bare, [&](int i) {
    std::fprintf(
        file,
        "<EventRec doc=\"%s\" category=\"%s\" subcategory=\"%s\" name=\"%s\" time=\"%s\" seq=\"%d\" />\n",
        kDoc, kCategory, kSubCategory, kName, kTime, i);
    std::fflush(file);
  });
  std::string record;
  MeasurePeer(figures, "fwrite, fflush", bare, [&](int i) {
    record.assign("<EventRec doc=\"").append(kDoc).append("\" category=\"").append(kCategory);
    record.append("\" subcategory=\"").append(kSubCategory).append("\" name=\"").append(kName);
    record.append("\" time=\"").append(kTime).append("\" seq=\"").append(std::to_string(i)).append("\" />\n");
    std::fwrite(record.data(), 1, record.size(), file);
    std::fflush(file);
  });
  std::fclose(file);

  const auto logger = spdlog::basic_logger_st("peer", (world.Folder() / "spdlog.txt").string());
  logger->flush_on(spdlog::level::trace);
  logger->set_pattern("%v");
  MeasurePeer(figures, "spdlog, flush on every record", bare, [&](int i) {
    logger->info(
        "<EventRec doc=\"{}\" category=\"{}\" subcategory=\"{}\" name=\"{}\" time=\"{}\" seq=\"{}\" />", kDoc,
        kCategory, kSubCategory, kName, kTime, i);
  });
  spdlog::shutdown();
}

}  // namespace vantra::bench
