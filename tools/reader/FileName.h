// Parses the file names of documents.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vantra::reader {

enum class Ending : uint8_t { Xml, Rdy, Tmp };

// Views into the parsed name.
constexpr size_t kGuidSize = 36;
struct FileName {
  std::string_view stem;  // without endings: the same for all copies of the document
  Ending ending;
  bool isPacked;                 // a .gz follows the ending
  std::string_view session;      // 36 characters; empty when the name holds none
  std::string_view user;         // likewise
  std::optional<int32_t> index;  // only documents of sessions have one
};

// Empty when the name does not end like that of a document.
[[nodiscard]] std::optional<FileName> ParseFileName(std::string_view name) noexcept;

// The identifier of documents that belong to no session.
constexpr std::string_view kNilGuid = "00000000-0000-0000-0000-000000000000";

}  // namespace vantra::reader
