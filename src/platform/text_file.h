#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/run_error.h"

namespace quillon {

/// Files: existence, reading, replacing, line by line. Names and contents are bytes and never converted.
/// Every failure is a RunError that contains the file's name:
///
///     7   too large for the memory       57  input/output error      70  no permission
///     52  bad file name                  61  disk full               75  a folder, a pipe, a read-only disk
///     53  file not found                 62  read past the end       76  folder not found

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, CloseFile>;

/// Whether a file of that name exists. Folders do not count.
bool FileExists(const std::string& path);

/// The path of the file `name` in `folder`, which ends with a separator. If there is none, a file whose name
/// differs only in case is used instead.
std::string PathInFolder(const std::string& folder, const std::string& name);

/// The contents of a file. A file of more than 1 GiB raises RunError 7.
std::string ReadFile(const std::string& path);

/// Replaces the contents of a file, or creates it. On failure the file is unchanged; system_files::Replace
/// has the one exception. Raises RunError 70 for a write-protected file.
void ReplaceFile(const std::string& path, std::string_view contents);

/// Reads a text or a file line by line. A line ends with a carriage return, a line feed, or both in this
/// order. The last line needs no end.
class LineReader {
 public:
  /// The text must outlive the reader.
  explicit LineReader(std::string_view text) : text_(text) {}

  /// Opens a file, which is read in pieces to save memory. Raises what ReadFile raises.
  static LineReader OfFile(const std::string& path);

  /// Whether no line is left. After a failure of reading it stays false, and each Next raises that failure.
  bool AtEnd() const { return position_ >= text_.size() && !failure_; }

  /// The next line without its end, valid until the next call. Raises RunError 62 at the end, and 7 for a
  /// line of more than 16 MiB. A read error is raised after the last complete line before it.
  std::string_view Next() {
    if (position_ >= text_.size()) RaisePastEnd();
    std::size_t stop = LineEnd();
    // The line feed after a carriage return may be in the next piece.
    while (stop + 2 >= text_.size() && file_) {
      ReadNextPiece();
      if (position_ >= text_.size()) RaisePastEnd();
      stop = LineEnd();
    }
    const std::string_view line = text_.substr(position_, stop - position_);
    position_ = stop + (text_.substr(stop).starts_with("\r\n") ? 2 : 1);
    return line;
  }

 private:
  /// The position of the next line end or of the end of the piece. Skips eight bytes without control
  /// characters at a time.
  std::size_t LineEnd() const {
    std::size_t end = position_;
    while (end + 8 <= text_.size() && !ContainsControl(text_.data() + end)) end += 8;
    while (end < text_.size() && text_[end] != '\r' && text_[end] != '\n') ++end;
    return end;
  }
  /// Whether one of eight bytes may be less than 32: subtracting 32 from it sets its highest bit.
  static bool ContainsControl(const char* eight) {
    std::uint64_t bytes;
    std::memcpy(&bytes, eight, sizeof bytes);
    return ((bytes - 0x2020202020202020) & ~bytes & 0x8080808080808080) != 0;
  }
  [[noreturn]] void RaisePastEnd() const;
  void ReadNextPiece();

  std::string_view text_;  // the whole text, or the piece of the file that is read
  std::size_t position_ = 0;

  FileHandle file_;  // none for a text, and at the end of a file
  std::string path_;
  std::vector<char> piece_;
  std::optional<RunError> failure_;  // a read error, raised after the lines before it
};

/// Writes a text file line by line; each line ends with carriage return and line feed. Lines are buffered:
/// the file is complete after Close.
class TextWriter {
 public:
  /// Opens the file and empties it. Raises RunError when it can't be created; 70 also when another writer has
  /// opened it, or when it is a pipe or a device. A file that another writer has opened is unchanged.
  void Open(const std::string& path);

  /// Writes a line. Does nothing when no file is open. A failure raises RunError and closes the file, so that
  /// a full disk is reported only once.
  void WriteLine(std::string_view line);

  /// Writes the buffered lines and closes the file. Does nothing when no file is open.
  void Close();

 private:
  FileHandle file_;
  std::string path_;
};

}  // namespace quillon
