#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

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

/// The path of the program's file `name` in `folder`, which ends with a separator. Case does not tell such
/// names apart: an entry that differs only in case is the file; with none, the name as it stands.
std::string PathInFolder(const std::string& folder, const std::string& name);

/// All bytes of a file, read in one go.
std::string ReadFile(const std::string& path);

/// Puts `contents` in the place of the file, or leaves the old file whole when that fails: the new file is
/// written beside it and renamed over it.
void ReplaceFile(const std::string& path, std::string_view contents);

/// Walks over the lines of a text. A line ends at a carriage return, with or without a line feed behind it,
/// or at a line feed alone; the last line needs no end.
class LineReader {
 public:
  explicit LineReader(std::string_view text)
      : text_(text), return_(text.find('\r')), feed_(text.find('\n')) {}

  bool AtEnd() const { return position_ >= text_.size(); }

  /// The next line without its end. Raises RunError 62 at the end of the text.
  std::string_view Next();

 private:
  std::size_t Find(char end, std::size_t& next) const;

  std::string_view text_;
  std::size_t position_ = 0;
  // The next carriage return and line feed at or behind the position: each is searched once, in large
  // strides.
  std::size_t return_;
  std::size_t feed_;
};

/// A text file that is written line by line, each ended by carriage return and line feed. The lines go
/// through a buffer: the file is complete after Close.
class TextWriter {
 public:
  /// Opens the file, empty. Raises RunError when it can't be created, 70 too when another writer has it; then
  /// nothing is open, and what another one writes is left alone.
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
