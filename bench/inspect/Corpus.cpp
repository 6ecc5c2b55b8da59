#include "Corpus.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

#include "session/DocumentName.h"
#include "session/Obfuscation.h"
#include "session/UsageDocument.h"

namespace {

using namespace vantra;

constexpr std::string_view kUser = "ee3ebfc2-9cf1-43b9-827a-84e9267912bf";
constexpr session::ProductTexts kProduct{"Acme", "Draw", "3.1", "412", "en-US"};
constexpr size_t kDocumentsOfSession = 4;
constexpr int64_t kStart = 1'790'000'000;

constexpr std::array<std::string_view, 16> kWords = {
    "File",   "Menu",    "Save",   "Open",      "Shapes", "Toolbar", "Width",        "Print preview",
    "Layers", "Zoom in", "Export", "Selection", "Undo",   "Circles", "SnapDistance", "Recent documents list"};
constexpr std::array<std::string_view, 8> kChinese = {
    "文件", "保存文档",     "打开最近使用的文件列表", "形状选择工具", "打印预览窗口大小",
    "图层", "缩放比例设置", "导出为便携文档格式"};

// Writes one session's documents.
class Writer {
 public:
  Writer(const Corpus& corpus, std::string folder, uint32_t number)
      : corpus_(corpus), folder_(std::move(folder)), random_(number) {
    std::array<char, 40> id{};
    std::snprintf(id.data(), id.size(), "%08x-%04x-4%03x-8%03x-%08x%04x", Random(), Random() & 0xFFFF,
                  Random() & 0xFFF, Random() & 0xFFF, Random(), number & 0xFFFF);
    id_ = id.data();
    start_ = kStart + int64_t{number} * 10'000;
    stamp_.time.Set(start_);
    startTime_ = stamp_.time.Text().View();
  }

  uint64_t Write(int32_t index, bool isLast) {
    document_.Clear();
    session::AppendPrologue(document_);
    index == 0 ? Begin() : session::AppendResumeSession(document_, id_, kProduct, startTime_, kUser, stamp_);
    if (index != 0) stamp_.seq.Increment();
    while (document_.Text().size() < corpus_.documentSize) Act(stamp_.seq.Value());
    (isLast ? session::AppendEndSession : session::AppendSplitSession)(document_, id_, stamp_);
    stamp_.seq.Increment();
    return Save(index);
  }

 private:
  uint32_t Random() { return static_cast<uint32_t>(random_()); }

  std::string_view Label() {
    return corpus_.texts == Corpus::Texts::Chinese ? kChinese[Random() % kChinese.size()]
                                                   : kWords[Random() % kWords.size()];
  }

  std::string_view Value() {
    value_.clear();
    switch (corpus_.texts) {
      case Corpus::Texts::Chinese:
        for (uint32_t i = Random() % 4; i < 5; ++i) value_ += kChinese[Random() % kChinese.size()];
        break;
      case Corpus::Texts::Escapes:
        for (uint32_t i = Random() % 16; i < 48; ++i) value_ += "&<>\"'\\"[Random() % 6];
        break;
      default:
        value_ = Random() % 2 == 0 ? std::to_string(Random() % 10000)
                                   : std::string(kWords[Random() % kWords.size()]);
    }
    return value_;
  }

  void Value(int32_t group, std::string_view name, std::string_view value) {
    session::AppendDataRec(document_, group, name, value, stamp_);
    stamp_.seq.Increment();
  }

  void Group(const session::Labels& labels) {
    group_.Increment();
    session::AppendNewGroup(document_, labels, group_, stamp_);
    stamp_.seq.Increment();
  }

  void Begin() {
    session::AppendStartSession(document_, id_, stamp_);
    stamp_.seq.Increment();
    Group({"Skylamp", {}, "Session", "0"});
    const std::pair<std::string_view, std::string_view> entries[] = {
        {"ProductFamily", kProduct.family},     {"ProductName", kProduct.name},
        {"ProductVersion", kProduct.version},   {"ProductBuild", kProduct.build},
        {"ProductLanguage", kProduct.language}, {"User", kUser}};
    for (const auto& [name, value] : entries) Value(1, name, value);
  }

  // One second of a user's work: an event, and values that belong together.
  void Act(int64_t second) {
    stamp_.time.Set(start_ + second);
    const std::string_view doc = Random() % 2 == 0 ? "0" : "0208ae7a5901ccfcd3cbcd5b3b1d6ce0";
    session::AppendEventRec(document_, {Label(), Label(), Label(), doc}, stamp_);
    stamp_.seq.Increment();
    Group({Label(), Label(), Label(), doc});
    for (uint32_t i = Random() % 4; i < 5; ++i) Value(group_.Value(), Label(), Value());
  }

  uint64_t Save(int32_t index) {
    util::TextBuffer name;
    if (!session::AppendDocumentName(name, kProduct.family, kProduct.name, kUser, id_))
      throw std::runtime_error("no name");
    std::string path = folder_ + "/" + std::string(name.Text()) + "_" + std::to_string(index);
    std::ofstream file(path + (corpus_.isObfuscated ? ".rdy" : ".xml"), std::ios::binary);
    if (corpus_.isObfuscated) {
      file << session::kObfuscationMarker;
      session::Obfuscate(document_.Bytes());
    }
    file << document_.Text();
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
    return document_.Text().size();
  }

  const Corpus& corpus_;
  std::string folder_;
  std::minstd_rand random_;
  std::string id_, startTime_, value_;
  util::TextBuffer document_;
  util::Counter group_{0};
  session::RecordStamp stamp_;
  int64_t start_;
};

}  // namespace

uint64_t Write(const Corpus& corpus, const std::string& folder) {
  std::filesystem::create_directories(folder);
  uint64_t bytes = 0;
  for (size_t done = 0; done < corpus.documents; done += kDocumentsOfSession) {
    Writer writer(corpus, folder, static_cast<uint32_t>(done + 1));
    const size_t count = std::min(kDocumentsOfSession, corpus.documents - done);
    for (size_t i = 0; i < count; ++i) bytes += writer.Write(static_cast<int32_t>(i), i + 1 == count);
  }
  return bytes;
}
