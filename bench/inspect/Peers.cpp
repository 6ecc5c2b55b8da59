#include "Peers.h"

#include <expat.h>
#include <libxml/xmlreader.h>

#include <array>
#include <pugixml.hpp>
#include <stdexcept>
#include <utility>

namespace {

// Peers get for free what all rows have in common.
constexpr std::string_view kHead =
    R"({"document":"ulog_Acme_Draw_ee3ebfc2-9cf1-43b9-827a-84e9267912bf_00000001-4000-4000-8000-000000000001_0","seq":)";
constexpr std::string_view kCommon =
    R"(,"origin":"session","family":"Acme","product":"Draw","version":"3.1","build":"412","language":"en-US",)"
    R"("user":"ee3ebfc2-9cf1-43b9-827a-84e9267912bf","session":"00000001-4000-4000-8000-000000000001","file_index":0)";

// The attributes that become columns, in the order of the columns.
constexpr std::array<std::pair<std::string_view, std::string_view>, 8> kColumns = {
    {{"time", "time"},
     {"group", "group_id"},
     {"doc", "doc"},
     {"category", "category"},
     {"subcategory", "subcategory"},
     {"name", "name"},
     {"data", "value"},
     {"seq", "seq"}}};

class Row {
 public:
  void Clear() { texts_ = {}; }
  void Set(std::string_view attribute, std::string_view text) {
    for (size_t i = 0; i < kColumns.size(); ++i) {
      if (kColumns[i].first == attribute) texts_[i] = text;
    }
  }
  void AppendTo(std::string& rows, std::string_view kind) const {
    rows.append(kHead).append(texts_.back()).append(kCommon).append(",\"kind\":\"").append(kind).append("\"");
    for (size_t i = 0; i + 1 < kColumns.size(); ++i) {
      rows.append(",\"").append(kColumns[i].second).append("\":");
      const std::string_view text = texts_[i];
      if (text.empty() || text == "NOVALUE" || (kColumns[i].first == "doc" && text == "0")) {
        rows += "null";
      } else {
        AppendText(rows, text);
      }
    }
    rows += "}\n";
  }

 private:
  static void AppendText(std::string& rows, std::string_view text) {
    rows += '"';
    for (const char c : text) {
      if (c == '"' || c == '\\') rows += '\\';
      rows += c;
    }
    rows += '"';
  }

  std::array<std::string_view, kColumns.size()> texts_;
};

pugi::xml_node RootOf(pugi::xml_document& parsed, const std::string& document) {
  if (!parsed.load_buffer(document.data(), document.size()))
    throw std::runtime_error("pugixml refuses a document");
  return parsed.child("UsageDoc");
}

void PugiToRows(const std::string& document, std::string& rows) {
  pugi::xml_document parsed;
  for (const pugi::xml_node record : RootOf(parsed, document)) {
    Row row;
    for (const pugi::xml_attribute attribute : record.attributes())
      row.Set(attribute.name(), attribute.value());
    row.AppendTo(rows, record.name());
  }
}

void PugiParse(const std::string& document) {
  pugi::xml_document parsed;
  (void)RootOf(parsed, document);
}

std::string_view View(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

template <bool kHasRows>
void Libxml(const std::string& document, std::string* rows) {
  xmlTextReader* const reader = xmlReaderForMemory(document.data(), static_cast<int>(document.size()),
                                                   nullptr, nullptr, XML_PARSE_NONET);
  int state = 0;
  while ((state = xmlTextReaderRead(reader)) == 1) {
    if (!kHasRows || xmlTextReaderDepth(reader) != 1 ||
        xmlTextReaderNodeType(reader) != XML_READER_TYPE_ELEMENT)
      continue;
    Row row;
    const std::string_view kind = View(xmlTextReaderConstName(reader));
    while (xmlTextReaderMoveToNextAttribute(reader) == 1)
      row.Set(View(xmlTextReaderConstName(reader)), View(xmlTextReaderConstValue(reader)));
    row.AppendTo(*rows, kind);
  }
  xmlFreeTextReader(reader);
  if (state != 0) throw std::runtime_error("libxml2 refuses a document");
}

void LibxmlToRows(const std::string& document, std::string& rows) { Libxml<true>(document, &rows); }
void LibxmlParse(const std::string& document) { Libxml<false>(document, nullptr); }

void OnElement(void* context, const XML_Char* name, const XML_Char** attributes) {
  auto* const rows = static_cast<std::string*>(context);
  if (rows == nullptr || std::string_view(name) == "UsageDoc") return;
  Row row;
  for (; *attributes != nullptr; attributes += 2) row.Set(attributes[0], attributes[1]);
  row.AppendTo(*rows, name);
}

void Expat(const std::string& document, std::string* rows) {
  const XML_Parser parser = XML_ParserCreate(nullptr);
  XML_SetUserData(parser, rows);
  XML_SetStartElementHandler(parser, OnElement);
  const XML_Status status = XML_Parse(parser, document.data(), static_cast<int>(document.size()), XML_TRUE);
  XML_ParserFree(parser);
  if (status != XML_STATUS_OK) throw std::runtime_error("expat refuses a document");
}

void ExpatToRows(const std::string& document, std::string& rows) { Expat(document, &rows); }
void ExpatParse(const std::string& document) { Expat(document, nullptr); }

constexpr Peer kPeers[] = {{"pugixml", PugiToRows, PugiParse},
                           {"libxml2 reader", LibxmlToRows, LibxmlParse},
                           {"expat", ExpatToRows, ExpatParse}};

}  // namespace

std::span<const Peer> Peers() { return kPeers; }
