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

// What is wrong with a text, as a sentence that goes on from its key; empty when nothing is.
using FaultOf = std::function<std::string(std::string_view)>;

[[nodiscard]] Place PlaceOf(const toml::source_region& source) noexcept;
[[nodiscard]] inline Place PlaceOf(const toml::node& node) noexcept { return PlaceOf(node.source()); }

// Of a name in code.
[[nodiscard]] std::string FaultOfName(std::string_view text);

class TableReader {
 public:
  // What it is, with its article. Other keys than these are mistakes.
  TableReader(const toml::table& table, std::string_view what, std::span<const std::string_view> keys,
              std::vector<Mistake>& mistakes);

  [[nodiscard]] Place At() const noexcept { return PlaceOf(table_); }
  [[nodiscard]] const std::string& What() const noexcept { return what_; }
  [[nodiscard]] const toml::node* Find(std::string_view key) const noexcept { return table_.get(key); }

  // A text, on one line unless it is a recorded one: line breaks become blanks. Empty when it is missing.
  [[nodiscard]] std::string Text(std::string_view key, Need need, const FaultOf& faultOf = {}) const;
  // The words of what the key "as" says, else of these texts.
  [[nodiscard]] std::string NameInCode(const std::vector<std::string_view>& texts) const;
  // A version in quotes, or a day.
  [[nodiscard]] std::optional<Moment> When(std::string_view key) const;

  // The table of this name, which must be there.
  [[nodiscard]] const toml::table* Table(std::string_view key) const;
  // The tables of an array that may be missing; the nodes of one that must be there and hold some.
  void ForEach(std::string_view key, const std::function<void(const toml::table&)>& visit) const;
  void ForEachNode(std::string_view key, const std::function<void(const toml::node&)>& visit) const;

  // A sentence that goes on from the key.
  void Complain(std::string_view key, std::string_view fault) const;

 private:
  void Add(Place place, std::string sentence) const { mistakes_.push_back({place, std::move(sentence)}); }

  const toml::table& table_;
  std::string what_;
  std::vector<Mistake>& mistakes_;
};

}  // namespace vantra::catalogue
