// The documents among files and folders, put together to sessions.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "reader/FileName.h"

namespace vantra::reader {

// Where a document lies. It refers to its Sessions.
struct Document {
  std::string_view folder;  // with a separator at its end, or empty
  std::string_view file;
  FileName name;
  // A document of the same name has come before it: the same one in another place, or packed.
  bool isCopy = false;

  [[nodiscard]] std::string Path() const { return std::string(folder).append(file); }
  void PutPath(std::string& path) const { path.assign(folder).append(file); }
};

// Documents in the order in which they were written. What tells of the session without being a part of it, a
// crash document, comes last. A document that belongs to no session, as those of changed opt-ins, is a
// session of its own here.
struct Session {
  std::string_view id;  // 36 characters; else the name of the document that belongs to no session
  std::vector<Document> documents;
};

// Told what cannot be read: the path, and why.
using Complaint = std::function<void(std::string_view path, std::string_view reason)>;

// About 150 bytes a document, and nothing of what is in them.
class Sessions {
 public:
  // A file, whatever its name; or a folder, which is searched through for what is named like a document.
  void Add(const std::string& path, const Complaint& complain);

  // Puts them in order, by identifier. After the last Add.
  void Sort();

  [[nodiscard]] size_t Count() const noexcept { return sessions_.size(); }
  [[nodiscard]] size_t DocumentCount() const noexcept { return entries_.size(); }
  // Good as long as this is. May be asked for by several threads.
  [[nodiscard]] Session operator[](size_t index) const;

 private:
  // A document whose name has been taken apart, in few bytes. Places are within the name.
  struct Entry {
    uint64_t order;  // the first bytes of the key, which is the session's identifier
    uint64_t name;   // where it begins in names_
    uint32_t folder;
    int32_t index;
    uint16_t size, stemSize, keyAt, keySize, sessionAt, userAt;
    Ending ending;
    bool isPacked;
  };
  void AddFolder(std::string path, const Complaint& complain);
  void AddFile(uint32_t folder, std::string_view file, const FileName& name, std::string_view session);
  [[nodiscard]] std::string_view NameOf(const Entry& entry) const noexcept;
  [[nodiscard]] std::string_view KeyOf(const Entry& entry) const noexcept;
  [[nodiscard]] bool IsSame(const Entry& a, const Entry& b) const noexcept;
  [[nodiscard]] bool IsBefore(const Entry& a, const Entry& b) const noexcept;
  [[nodiscard]] Document DocumentOf(const Entry& entry) const;

  std::vector<std::string> folders_;
  std::string names_;
  std::vector<Entry> entries_;
  std::vector<uint32_t> sessions_;  // the first entry of each
};

}  // namespace vantra::reader
