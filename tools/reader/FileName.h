// What the name of a document's file tells.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vantra::reader {

enum class Ending : uint8_t { Xml, Rdy, Tmp };

// Views are into the name that was parsed.
constexpr size_t kGuidSize = 36;
struct FileName {
  std::string_view stem;  // without endings: the name of the document, wherever its file lies
  Ending ending;
  bool isPacked;                 // a .gz behind the ending
  std::string_view session;      // 36 characters, or empty when the name does not tell
  std::string_view user;         // likewise
  std::optional<int32_t> index;  // of a document of a session; others have none
};

// Nothing when the name does not end like that of a document.
[[nodiscard]] std::optional<FileName> ParseFileName(std::string_view name) noexcept;

// The identifier of documents that belong to no session.
constexpr std::string_view kNilGuid = "00000000-0000-0000-0000-000000000000";

}  // namespace vantra::reader
