#include "agent/Queue.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <string_view>
#include <tuple>

namespace vantra::agent {
namespace {

struct Place {
  std::string_view session;
  // -1 when the name has no index.
  int64_t index = -1;
};

// ulog_<family>_<name>_<user>_<session>[_<index>].<extension>
Place PlaceOf(std::string_view name) {
  const std::string_view stem = name.substr(0, name.rfind('.'));
  const size_t joint = stem.rfind('_');
  int64_t index = -1;
  if (joint != stem.npos) {
    const char* const end = stem.data() + stem.size();
    if (std::from_chars(stem.data() + joint + 1, end, index).ptr != end) index = -1;
  }
  return index < 0 ? Place{stem, -1} : Place{stem.substr(0, joint), index};
}

// Each session keeps the positions that its documents have by age, but fills them in the order of the index.
void OrderSessions(std::vector<Document>& documents) {
  std::map<std::string, std::vector<size_t>, std::less<>> turns;
  for (size_t i = 0; i < documents.size(); ++i)
    turns[std::string(PlaceOf(documents[i].name).session)].push_back(i);
  const std::vector<Document> byAge = documents;
  for (const auto& [session, own] : turns) {
    std::vector<size_t> byIndex = own;
    std::ranges::stable_sort(byIndex, {}, [&](size_t i) { return PlaceOf(byAge[i].name).index; });
    for (size_t i = 0; i < own.size(); ++i) documents[own[i]] = byAge[byIndex[i]];
  }
}

}  // namespace

void Order(std::vector<Document>& documents, std::span<const std::string> last) {
  std::ranges::sort(documents, {}, [](const Document& each) { return std::tie(each.written, each.name); });
  OrderSessions(documents);
  std::map<std::string_view, size_t> ranks;
  for (const std::string& name : last) ranks.emplace(name, ranks.size() + 1);
  std::ranges::stable_sort(documents, {}, [&](const Document& each) {
    const auto rank = ranks.find(each.name);
    return rank == ranks.end() ? 0 : rank->second;
  });
}

size_t CountSurplus(std::span<const Document> oldestFirst, uint64_t bytes) {
  uint64_t total = 0;
  for (const Document& each : oldestFirst) total += each.size;
  size_t count = 0;
  for (; total > bytes; ++count) total -= oldestFirst[count].size;
  return count;
}

}  // namespace vantra::agent
