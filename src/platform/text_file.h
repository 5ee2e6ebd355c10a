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

/// Files are bytes: nothing here recodes a character, in names or in contents. Every failure is a RunError
/// that names the file: 7 too large for the memory, 52 a name that the system refuses, 53 no such file, 57 a
/// device that fails, 61 disk full, 62 a line asked for after the end, 70 no permission, 75 no file (a
/// folder, a pipe, a read-only place), 76 no such folder.

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, CloseFile>;

/// Whether a file of that name exists (a folder does not count).
bool FileExists(const std::string& path);

/// The path of the program's file `name` in `folder`, which ends with a separator. The case of such names
/// does not matter: an entry that differs only in case is the file. Without one, the name verbatim.
std::string PathInFolder(const std::string& folder, const std::string& name);

/// All bytes of a file, read in one go. A file of more than 1 GiB is a mistake and counts as too large.
std::string ReadFile(const std::string& path);

/// Gives the file new contents, or creates it. A failure leaves the old contents: see system_files::Replace
/// for how, and for the one exception. Raises 70 for a file that is write-protected.
void ReplaceFile(const std::string& path, std::string_view contents);

/// Walks over the lines of a text or of a file. A line ends at a carriage return, with or without a line feed
/// after it, or at a line feed alone; the last line needs no end.
class LineReader {
 public:
  /// The text must outlive the reader.
  explicit LineReader(std::string_view text) : text_(text) {}

  /// Opens a file, which is then read piece by piece: a large one takes no more memory than a small one.
  /// Raises what ReadFile does.
  static LineReader OfFile(const std::string& path);

  bool AtEnd() const { return position_ >= text_.size() && !failure_; }

  /// The next line without its end; it is good until the next call. Raises RunError 62 at the end; 7 for a
  /// line of more than 16 MB; what reading the file raises, after the last whole line before it.
  std::string_view Next() {
    if (position_ >= text_.size()) RaisePastEnd();
    std::size_t stop = LineEnd();
    // A return at the end of a piece may have its feed in the next one.
    while (stop + 2 >= text_.size() && file_) {
      ReadOn();
      if (position_ >= text_.size()) RaisePastEnd();
      stop = LineEnd();
    }
    const std::string_view line = text_.substr(position_, stop - position_);
    position_ = stop + (text_.substr(stop).starts_with("\r\n") ? 2 : 1);
    return line;
  }

 private:
  /// Where the next line ends, as far as is read. Only a control character ends a line, and few files hold
  /// any other: eight bytes are passed at a time while none is among them.
  std::size_t LineEnd() const {
    std::size_t end = position_;
    while (end + 8 <= text_.size() && !HoldsControl(text_.data() + end)) end += 8;
    while (end < text_.size() && text_[end] != '\r' && text_[end] != '\n') ++end;
    return end;
  }
  /// Whether one of the eight bytes may be below 32: subtracting 32 from such a byte borrows into its top
  /// bit.
  static bool HoldsControl(const char* eight) {
    std::uint64_t bytes;
    std::memcpy(&bytes, eight, sizeof bytes);
    return ((bytes - 0x2020202020202020) & ~bytes & 0x8080808080808080) != 0;
  }
  [[noreturn]] void RaisePastEnd() const;
  void ReadOn();

  std::string_view text_;  // the whole text, or the piece of the file that is read
  std::size_t position_ = 0;

  FileHandle file_;  // none for a text, and at the end of a file
  std::string path_;
  std::vector<char> piece_;
  std::optional<RunError> failure_;  // of reading the file, raised after the lines before it
};

/// A text file that is written line by line, each ended by carriage return and line feed. The lines go
/// through a buffer: the file is complete after Close.
class TextWriter {
 public:
  /// Opens the file, empty. Raises RunError when it can't be created, 70 too when another writer has it or
  /// when it is a pipe or a device; then nothing is open, and what another one writes is left alone.
  void Open(const std::string& path);

  /// Writes a line; with no file open it does nothing. A write that fails raises RunError once and closes
  /// the file, so that a full disk does not stop a run at each of its lines.
  void WriteLine(std::string_view line);

  /// Writes what is buffered and closes. With no file open it does nothing.
  void Close();

 private:
  FileHandle file_;
  std::string path_;
};

}  // namespace quillon
