// Records as rows of a table, with the columns of docs/records.md. Pure.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "reader/Facts.h"
#include "reader/Record.h"

namespace vantra::inspect {

enum class Format : uint8_t { Ndjson, Csv };

class RowWriter {
 public:
  RowWriter() = default;
  RowWriter(const RowWriter&) = delete;
  RowWriter& operator=(const RowWriter&) = delete;
  virtual ~RowWriter() = default;

  // The first bytes of every file.
  [[nodiscard]] virtual std::string_view Header() const noexcept = 0;

  // Begins a document: sets what all its rows have in common.
  virtual void Begin(std::string_view document, const reader::Facts& facts, std::optional<int32_t> index) = 0;

  // Writes a record of that document, as its reader returned it; returns the position after the row. A row
  // takes less than Page::kRoom.
  [[nodiscard]] virtual char* Write(const reader::Record& record, char* at) = 0;
};

[[nodiscard]] std::unique_ptr<RowWriter> MakeRowWriter(Format format);

}  // namespace vantra::inspect
