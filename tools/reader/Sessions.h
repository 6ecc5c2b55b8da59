// Finds documents in files and folders, and groups them by session.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "reader/DocumentReader.h"
#include "reader/FileName.h"
#include "reader/Files.h"
#include "reader/SortedTexts.h"

namespace vantra::reader {

// A document's file. Views are valid as long as the Sessions object.
struct Document {
  std::string_view folder;  // ends in a separator, or is empty
  std::string_view file;
  FileName name;
  // Another copy of the document comes before it, in another place or packed.
  bool isCopy = false;

  [[nodiscard]] std::string Path() const { return std::string(folder).append(file); }
  void PutPath(std::string& path) const { path.assign(folder).append(file); }
};

// A session's documents in the order in which they were written, then its crash document. A document that
// belongs to no session, such as that of a changed opt-in, is a session of its own here.
struct Session {
  std::string_view id;  // 36 characters; or the stem of the name of a document that belongs to no session
  std::vector<Document> documents;
};

// Called for each file or folder that cannot be read.
using Complaint = std::function<void(std::string_view path, std::string_view reason)>;

// The sessions of any number of inputs, in the order of their identifiers, one lot at a time. Memory is
// bounded whatever the inputs hold: the names of many documents are put in order in a temporary file.
//
//   while (sessions.Next()) {
//     for (size_t i = 0; i < sessions.Count(); ++i) Use(sessions[i]);
//   }
class Sessions {
 public:
  // Each input is a file of any name, or a folder, which is searched for files named like documents. Finds
  // only sessions whose identifiers begin with beginning.
  explicit Sessions(std::vector<std::string> inputs, Complaint complain, std::string beginning = {});

  // Goes on to the next lot of whole sessions. False when there is none. Of a session with more documents
  // than a lot holds, some ten thousand, only the first ones are there, and a complaint says so. Throws
  // std::runtime_error when there is no room for the temporary file.
  [[nodiscard]] bool Next();

  // Of this lot.
  [[nodiscard]] size_t Count() const noexcept { return sessions_.size(); }
  // Valid until the next lot. Thread-safe.
  [[nodiscard]] Session operator[](size_t index) const;

  // Of all lots; known from the first one on.
  [[nodiscard]] size_t DocumentCount() const noexcept { return documents_; }

 private:
  // A document's parsed name in few bytes. Positions are within the name.
  struct Entry {
    uint64_t order;       // the first bytes of the key, which is the session's identifier
    uint32_t path;        // where it begins in paths_
    uint32_t folderSize;  // of the path before the name
    uint32_t folder;      // in the order in which they were found
    int32_t index;
    uint16_t size, stemSize, keyAt, keySize, sessionAt, userAt;
    Ending ending;
    bool isPacked;
  };
  void Add(const std::string& input);
  void AddFolder(std::string path);
  void AddFile(std::string_view folder, std::string_view file, const FileName& name);
  void Keep(std::string_view folder, std::string_view file, const FileName& name, std::string_view key);
  // Passes the documents of the lot on to others_.
  void PassOn();
  void TakeLot();
  [[nodiscard]] std::string SessionIn(const std::string& path);
  void Sort();
  void PackPaths();
  [[nodiscard]] size_t Bytes() const noexcept { return paths_.size() + entries_.size() * sizeof(Entry); }
  [[nodiscard]] static size_t SizeOf(const Entry& entry) noexcept;
  [[nodiscard]] std::string_view NameOf(const Entry& entry) const noexcept;
  [[nodiscard]] std::string_view KeyOf(const Entry& entry) const noexcept;
  [[nodiscard]] bool IsSame(const Entry& a, const Entry& b) const noexcept;
  [[nodiscard]] bool IsBefore(const Entry& a, const Entry& b) const noexcept;
  [[nodiscard]] Document DocumentOf(const Entry& entry) const;

  std::vector<std::string> inputs_;
  Complaint complain_;
  std::string beginning_;
  FileSource file_;
  DocumentReader reader_;

  std::string paths_;
  std::vector<Entry> entries_;
  std::vector<uint32_t> sessions_;  // the first entry of each
  uint32_t folders_ = 0;
  size_t documents_ = 0;
  bool isListed_ = false;
  // When there are too many documents for one lot: those of the lots to come, as LineOf writes them.
  std::optional<SortedTexts> others_;
  std::string_view nextLine_;  // the first of the next lot
};

}  // namespace vantra::reader
