// Reads a table of the file, which must and may hold certain keys, and reports whatever is wrong. Pure.
#pragma once

#include <toml++/toml.h>

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Catalogue.h"

namespace vantra::catalogue {

enum class Need : bool { May, Must };

// What is wrong with a text, as a sentence that continues its key; empty if nothing is.
using FaultOf = std::function<std::string(std::string_view)>;

[[nodiscard]] Place PlaceOf(const toml::source_region& source) noexcept;
[[nodiscard]] inline Place PlaceOf(const toml::node& node) noexcept { return PlaceOf(node.source()); }

// For a name in code.
[[nodiscard]] std::string FaultOfName(std::string_view text);

class TableReader {
 public:
  // what names the table in messages, with its article. Keys other than these are mistakes.
  TableReader(const toml::table& table, std::string_view what, std::span<const std::string_view> keys,
              std::vector<Mistake>& mistakes);

  [[nodiscard]] Place At() const noexcept { return PlaceOf(table_); }
  [[nodiscard]] const std::string& What() const noexcept { return what_; }
  [[nodiscard]] const toml::node* Find(std::string_view key) const noexcept { return table_.get(key); }

  // A text; empty when it is missing. Line breaks become blanks, except in a recorded text.
  [[nodiscard]] std::string Text(std::string_view key, Need need, const FaultOf& faultOf = {}) const;
  // The words of the text at the key "as", or else of these texts.
  [[nodiscard]] std::string NameInCode(const std::vector<std::string_view>& texts) const;
  // A version in quotes, or a day.
  [[nodiscard]] std::optional<Moment> When(std::string_view key) const;

  // The table of this name, which must be there.
  [[nodiscard]] const toml::table* Table(std::string_view key) const;
  // Visits the tables of an array that may be missing; the nodes of one that must exist and not be empty.
  void ForEach(std::string_view key, const std::function<void(const toml::table&)>& visit) const;
  void ForEachNode(std::string_view key, const std::function<void(const toml::node&)>& visit) const;

  // The fault is a sentence that continues the key.
  void Complain(std::string_view key, std::string_view fault) const;

 private:
  void Add(Place place, std::string sentence) const { mistakes_.push_back({place, std::move(sentence)}); }

  const toml::table& table_;
  std::string what_;
  std::vector<Mistake>& mistakes_;
};

}  // namespace vantra::catalogue
